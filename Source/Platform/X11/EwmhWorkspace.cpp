#include "Platform/X11/EwmhWorkspace.h"

#include "Platform/DesktopFiles/SandboxedApplication.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace nocta {

namespace {

/// Atoms are units of four bytes.
std::vector<std::uint32_t> numbers(std::string_view bytes) {
    std::vector<std::uint32_t> result(bytes.size() / sizeof(std::uint32_t));
    // memcpy wants places to copy from and to even where there is nothing to copy.
    if (!result.empty()) {
        std::memcpy(result.data(), bytes.data(), result.size() * sizeof(std::uint32_t));
    }
    return result;
}

} // namespace

class EwmhWorkspace::Observer final : public WorkspaceObserver {
  public:
    Observer(EwmhWorkspace& workspace, std::shared_ptr<Observation> observation)
        : workspace(workspace), observation(std::move(observation)) {}
    Observer(const Observer&) = delete;
    Observer& operator=(const Observer&) = delete;
    ~Observer() override { workspace.end(observation); }

  private:
    EwmhWorkspace& workspace;
    std::shared_ptr<Observation> observation;
};

EwmhWorkspace::EwmhWorkspace(RunLoop& loop, std::vector<std::filesystem::path> desktopFileFolders)
    : loop(loop),
      desktopFiles(std::move(desktopFileFolders)),
      client(loop, [this](const xcb_generic_event_t& event) { handleEvent(event); }),
      processes(client),
      available(!client.server().isLost() && !client.server().isXwayland()),
      atoms(internedAtoms()) {}

std::array<xcb_atom_t, EwmhWorkspace::atomCount> EwmhWorkspace::internedAtoms() const {
    constexpr std::array<std::string_view, atomCount> names{"_NET_ACTIVE_WINDOW",
                                                            "_GTK_APPLICATION_ID",
                                                            "_KDE_NET_WM_DESKTOP_FILE",
                                                            "_NET_WM_WINDOW_TYPE",
                                                            "_NET_WM_WINDOW_TYPE_DESKTOP",
                                                            "_NET_WM_WINDOW_TYPE_DOCK",
                                                            "_NET_WM_WINDOW_TYPE_NOTIFICATION"};
    std::array<xcb_atom_t, atomCount> result{};
    if (!available) {
        return result;
    }
    std::array<xcb_intern_atom_cookie_t, atomCount> questions{};
    for (std::size_t i = 0; i < names.size(); ++i) {
        questions[i] = xcb_intern_atom(client.get(), 0, static_cast<std::uint16_t>(names[i].size()), names[i].data());
    }
    for (std::size_t i = 0; i < names.size(); ++i) {
        const XReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(client.get(), questions[i], nullptr));
        result[i] = reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
    }
    return result;
}

std::unique_ptr<WorkspaceObserver> EwmhWorkspace::addActivationObserver(ActivationHandler handler) {
    auto observation = std::make_shared<Observation>(std::move(handler));
    observations.push_back(observation);
    if (available && observations.size() == 1) {
        selectEvents(client.server().root(), true);
        searchFirst();
    }
    return std::make_unique<Observer>(*this, std::move(observation));
}

void EwmhWorkspace::end(const std::shared_ptr<Observation>& observation) {
    *observation = nullptr;
    std::erase(observations, observation);
    if (observations.empty() && available) {
        current.reset();
        nextFiles.reset();
        stopWaitingForName();
        selectEvents(client.server().root(), false);
    }
}

void EwmhWorkspace::selectEvents(xcb_window_t window, bool isWanted) {
    const std::uint32_t mask = isWanted ? XCB_EVENT_MASK_PROPERTY_CHANGE : XCB_EVENT_MASK_NO_EVENT;
    xcb_change_window_attributes(client.get(), window, XCB_CW_EVENT_MASK, &mask);
    client.send();
}

void EwmhWorkspace::handleEvent(const xcb_generic_event_t& event) {
    if ((event.response_type & 0x7f) != XCB_PROPERTY_NOTIFY) {
        return;
    }
    const auto& change = reinterpret_cast<const xcb_property_notify_event_t&>(event); // NOLINT
    const bool concernsUs = change.window == nameless
                                ? change.atom == XCB_ATOM_WM_CLASS || change.atom == atoms[gtkApplicationId] ||
                                      change.atom == atoms[kdeDesktopFile]
                                : change.atom == atoms[activeWindow];
    if (concernsUs && !observations.empty()) {
        search();
    }
}

xcb_get_property_cookie_t EwmhWorkspace::askActiveWindow() const {
    return xcb_get_property(client.get(), 0, client.server().root(), atoms[activeWindow], XCB_ATOM_WINDOW, 0, 1);
}

xcb_window_t EwmhWorkspace::activeWindowOf(const XReply<xcb_get_property_reply_t>& reply) {
    return reply && reply->format == 32 && reply->value_len == 1
               ? *static_cast<const xcb_window_t*>(xcb_get_property_value(reply.get()))
               : xcb_window_t{XCB_WINDOW_NONE};
}

void EwmhWorkspace::searchFirst() {
    current = std::make_shared<Search>();
    current->isFirst = true;
    const XReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(client.get(), askActiveWindow(), nullptr));
    askAbout(current, activeWindowOf(reply));
}

void EwmhWorkspace::search() {
    if (current) {
        current->isOutdated = true;
        return;
    }
    current = std::make_shared<Search>();
    client.ask<xcb_get_property_reply_t>(askActiveWindow().sequence,
                                         [this, search = current](const XReply<xcb_get_property_reply_t>& reply) {
                                             if (search == current) {
                                                 askAbout(search, activeWindowOf(reply));
                                             }
                                         });
}

void EwmhWorkspace::askAbout(const SearchRef& search, xcb_window_t window) {
    if (nameless != window) {
        stopWaitingForName();
    }
    // Between two windows there is often none for a moment.
    if (window == XCB_WINDOW_NONE) {
        finish(std::nullopt);
        return;
    }
    search->window = window;
    processes.ask(window, [search](std::optional<pid_t> process) { search->process = process; });
    askProperty(search, atoms[windowType], [this, search](std::string_view value) {
        for (const auto type : numbers(value)) {
            search->isApplication &=
                type != atoms[typeDesktop] && type != atoms[typeDock] && type != atoms[typeNotification];
        }
    });
    askProperty(search, atoms[gtkApplicationId],
                [search](std::string_view value) { search->identity.gtkApplicationId = value; });
    askProperty(search, atoms[kdeDesktopFile],
                [search](std::string_view value) { search->identity.kdeDesktopFile = value; });
    // The last answer: replies come in their order.
    askProperty(search, XCB_ATOM_WM_CLASS, [this, search](std::string_view value) {
        search->identity.setWindowClass(value);
        identify(search);
    });
}

void EwmhWorkspace::askProperty(const SearchRef& search, xcb_atom_t property,
                                std::function<void(std::string_view value)> take) {
    constexpr std::uint32_t longest = 256; // units of four bytes
    client.ask<xcb_get_property_reply_t>(
        xcb_get_property(client.get(), 0, search->window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, longest).sequence,
        [this, search, take = std::move(take)](const XReply<xcb_get_property_reply_t>& reply) {
            if (search == current) {
                search->isGone |= !reply;
                take(reply ? std::string_view(static_cast<const char*>(xcb_get_property_value(reply.get())),
                                              static_cast<std::size_t>(xcb_get_property_value_length(reply.get())))
                           : std::string_view());
            }
        });
}

void EwmhWorkspace::identify(const SearchRef& search) {
    const auto& identity = search->identity;
    if (search->isGone || !identity.isEmpty()) {
        stopWaitingForName();
    }
    // What the first search found holds also when it is outdated: what came then is a change from it.
    if ((search->isOutdated && !search->isFirst) || search->isGone || !search->isApplication ||
        processes.isOwn(search->process)) {
        finish(std::nullopt);
    } else if (identity.isEmpty() && nameless != search->window) {
        // Some programs show a window first and name it then.
        nameless = search->window;
        selectEvents(nameless, true);
        askAbout(search, nameless);
    } else if (auto id = identity.statedId()) {
        finish(RunningApplication{.bundleIdentifier = std::move(id)});
    } else if (auto sandboxed = search->process ? sandboxedApplication(*search->process) : std::nullopt) {
        finish(RunningApplication{.bundleIdentifier = std::move(sandboxed)});
    } else if (identity.isEmpty() || desktopFiles.isCurrent()) {
        identifyByClass();
    } else {
        readDesktopFiles();
    }
}

void EwmhWorkspace::readDesktopFiles() {
    // About two milliseconds' worth: a fade goes on meanwhile.
    constexpr std::size_t filesATurn = 50;
    if (!desktopFiles.readOn(filesATurn)) {
        nextFiles = loop.oneShot(Seconds(0), [this] { readDesktopFiles(); });
        return;
    }
    nextFiles.reset();
    identifyByClass();
}

void EwmhWorkspace::identifyByClass() {
    const auto& identity = current->identity;
    RunningApplication application{.bundleIdentifier =
                                       desktopFiles.idOfWindowClass(identity.instance, identity.className)};
    if (!application.bundleIdentifier && !identity.className.empty()) {
        application.bundleIdentifier = lowerCase(identity.className);
    }
    finish(application);
}

void EwmhWorkspace::finish(const std::optional<RunningApplication>& application) {
    const auto finished = std::exchange(current, nullptr);
    if (finished->isOutdated) {
        search();
    }
    if (!application || application == std::exchange(front, application) || finished->isFirst) {
        return;
    }
    const auto observed = observations;
    for (const auto& observation : observed) {
        // It may end its own observation.
        if (const auto handler = *observation) {
            handler(*application);
        }
    }
}

void EwmhWorkspace::stopWaitingForName() {
    if (nameless != XCB_WINDOW_NONE) {
        selectEvents(std::exchange(nameless, XCB_WINDOW_NONE), false);
    }
}

} // namespace nocta
