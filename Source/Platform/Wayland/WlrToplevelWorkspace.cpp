#include "Platform/Wayland/WlrToplevelWorkspace.h"

#include <algorithm>
#include <span>
#include <utility>

#include <wayland-client.h>
#include <wlr-foreign-toplevel-management-unstable-v1.h>

namespace nocta {

class WlrToplevelWorkspace::Observer final : public WorkspaceObserver {
  public:
    Observer(WlrToplevelWorkspace& workspace, std::shared_ptr<Observation> observation)
        : workspace(workspace), observation(std::move(observation)) {}
    Observer(const Observer&) = delete;
    Observer& operator=(const Observer&) = delete;
    ~Observer() override { workspace.end(observation); }

  private:
    WlrToplevelWorkspace& workspace;
    std::shared_ptr<Observation> observation;
};

const zwlr_foreign_toplevel_handle_v1_listener WlrToplevelWorkspace::toplevelListener{
    .title = [](void*, zwlr_foreign_toplevel_handle_v1*, const char*) {},
    .app_id = [](void* data, zwlr_foreign_toplevel_handle_v1*,
                 const char* id) { static_cast<Toplevel*>(data)->announced.applicationId = id; },
    .output_enter = [](void*, zwlr_foreign_toplevel_handle_v1*, wl_output*) {},
    .output_leave = [](void*, zwlr_foreign_toplevel_handle_v1*, wl_output*) {},
    .state =
        [](void* data, zwlr_foreign_toplevel_handle_v1*, wl_array* array) {
            const std::span states(static_cast<const std::uint32_t*>(array->data), array->size / sizeof(std::uint32_t));
            static_cast<Toplevel*>(data)->announced.isActivated =
                std::ranges::find(states, std::uint32_t{ZWLR_FOREIGN_TOPLEVEL_HANDLE_V1_STATE_ACTIVATED}) !=
                states.end();
        },
    .done =
        [](void* data, zwlr_foreign_toplevel_handle_v1*) {
            auto& toplevel = *static_cast<Toplevel*>(data);
            toplevel.workspace->done(toplevel);
        },
    .closed =
        [](void* data, zwlr_foreign_toplevel_handle_v1*) {
            auto& toplevel = *static_cast<Toplevel*>(data);
            toplevel.workspace->close(toplevel);
        },
    .parent = [](void*, zwlr_foreign_toplevel_handle_v1*, zwlr_foreign_toplevel_handle_v1*) {}};

const zwlr_foreign_toplevel_manager_v1_listener WlrToplevelWorkspace::managerListener{
    .toplevel =
        [](void* data, zwlr_foreign_toplevel_manager_v1*, zwlr_foreign_toplevel_handle_v1* handle) {
            auto& workspace = *static_cast<WlrToplevelWorkspace*>(data);
            auto& toplevel = workspace.toplevels.emplace_back(
                Toplevel{.workspace = &workspace, .handle = handle, .announced = {}, .inForce = {}});
            zwlr_foreign_toplevel_handle_v1_add_listener(handle, &toplevelListener, &toplevel);
        },
    .finished = [](void*, zwlr_foreign_toplevel_manager_v1*) {}};

WlrToplevelWorkspace::WlrToplevelWorkspace(RunLoop& loop, std::vector<std::filesystem::path> desktopFileFolders)
    : loop(loop),
      desktopFiles(std::move(desktopFileFolders)),
      client(loop, {.onGlobal =
                        [this](const WaylandGlobal& global) {
                            if (global.interface == zwlr_foreign_toplevel_manager_v1_interface.name) {
                                manager = Global{.name = global.name, .version = global.version};
                            }
                        },
                    .onGlobalRemoved = [](std::uint32_t /*name*/) {},
                    // Whoever serves the displays ends the program.
                    .onLost = [] {}}) {
    if (!client.start()) {
        manager.reset();
    }
}

WlrToplevelWorkspace::~WlrToplevelWorkspace() {
    stop();
}

std::unique_ptr<WorkspaceObserver> WlrToplevelWorkspace::addActivationObserver(ActivationHandler handler) {
    auto observation = std::make_shared<Observation>(std::move(handler));
    observations.push_back(observation);
    if (manager && observations.size() == 1) {
        begin();
    }
    return std::make_unique<Observer>(*this, std::move(observation));
}

void WlrToplevelWorkspace::begin() {
    constexpr std::uint32_t newestKnown = 3;
    bound = static_cast<zwlr_foreign_toplevel_manager_v1*>(wl_registry_bind(client.registry(), manager->name,
                                                                            &zwlr_foreign_toplevel_manager_v1_interface,
                                                                            std::min(manager->version, newestKnown)));
    zwlr_foreign_toplevel_manager_v1_add_listener(bound, &managerListener, this);
    isBeginning = true;
    client.synchronize();
    isBeginning = false;
}

void WlrToplevelWorkspace::stop() {
    if (bound == nullptr) {
        return;
    }
    for (const auto& toplevel : toplevels) {
        zwlr_foreign_toplevel_handle_v1_destroy(toplevel.handle);
    }
    toplevels.clear();
    zwlr_foreign_toplevel_manager_v1_stop(bound);
    zwlr_foreign_toplevel_manager_v1_destroy(std::exchange(bound, nullptr));
    client.send();
}

void WlrToplevelWorkspace::end(const std::shared_ptr<Observation>& observation) {
    *observation = nullptr;
    std::erase(observations, observation);
    if (observations.empty()) {
        nextFiles.reset();
        searched.reset();
        searchedNext.reset();
        stop();
    }
}

void WlrToplevelWorkspace::done(Toplevel& toplevel) {
    const auto before = std::exchange(toplevel.inForce, toplevel.announced);
    // With none activated, between two windows or while a surface that is no window has the keyboard, the last one
    // stays in front.
    if (toplevel.inForce.isActivated && toplevel.inForce != before) {
        cameToFront(toplevel.inForce.applicationId);
    }
}

void WlrToplevelWorkspace::close(Toplevel& toplevel) {
    zwlr_foreign_toplevel_handle_v1_destroy(toplevel.handle);
    toplevels.remove_if([&toplevel](const Toplevel& each) { return &each == &toplevel; });
}

void WlrToplevelWorkspace::cameToFront(const std::string& applicationId) {
    if (searched) {
        searchedNext = applicationId;
        return;
    }
    searched = applicationId;
    isFirstSearch = isBeginning;
    // Not from within the events, in which an observer would end what they are about.
    nextFiles = loop.oneShot(Seconds(0), [this] { search(); });
}

void WlrToplevelWorkspace::search() {
    nextFiles.reset();
    // About two milliseconds' worth: a fade goes on meanwhile.
    constexpr std::size_t filesATurn = 50;
    if (searched->empty() || desktopFiles.isCurrent() || desktopFiles.readOn(filesATurn)) {
        finish();
    } else {
        nextFiles = loop.oneShot(Seconds(0), [this] { search(); });
    }
}

void WlrToplevelWorkspace::finish() {
    const auto id = *std::exchange(searched, std::nullopt);
    RunningApplication application{.bundleIdentifier = desktopFiles.idOfWindowClass(id, id)};
    if (!application.bundleIdentifier && !id.empty()) {
        application.bundleIdentifier = lowerCase(id);
    }
    const bool isNews = !std::exchange(isFirstSearch, false);
    if (searchedNext) {
        cameToFront(*std::exchange(searchedNext, std::nullopt));
    }
    if (application == std::exchange(front, application) || !isNews) {
        return;
    }
    const auto observed = observations;
    for (const auto& observation : observed) {
        // It may end its own observation.
        if (const auto handler = *observation) {
            handler(application);
        }
    }
}

} // namespace nocta
