#include "Support/WlrCompositor.h"

#include "Support/Eventually.h"
#include "Support/Labwc.h"
#include "Support/Sway.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <list>
#include <stdexcept>
#include <string_view>

#include <unistd.h>
#include <wayland-client.h>
#include <wlr-foreign-toplevel-management-unstable-v1.h>

namespace nocta::test {

namespace {

/// These compositors refuse to run as root. What they need is given to nobody in particular, as whom they run then.
constexpr uid_t nobody = 65534;

bool isRoot() {
    return geteuid() == 0;
}

/// A folder that the compositor may write to.
void makeFolder(const std::filesystem::path& path) {
    std::filesystem::create_directory(path);
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    if (isRoot() && chown(path.c_str(), nobody, nobody) != 0) {
        throw std::runtime_error("no folder for a compositor");
    }
}

/// Whatever the umask and wherever this checkout lies.
void letEverybodyRead(const std::filesystem::path& file) {
    using std::filesystem::perms;
    std::filesystem::permissions(file, perms::owner_all | perms::group_read | perms::others_read);
}

/// A connection to a compositor and the objects on it, which end together.
class OwnedConnection {
  public:
    explicit OwnedConnection(const std::filesystem::path& socket) : display(wl_display_connect(socket.c_str())) {
        if (display == nullptr) {
            throw std::runtime_error("the compositor does not listen");
        }
    }
    OwnedConnection(const OwnedConnection&) = delete;
    OwnedConnection& operator=(const OwnedConnection&) = delete;
    ~OwnedConnection() {
        for (auto* const object : objects) {
            wl_proxy_destroy(object);
        }
        wl_display_disconnect(display);
    }

    [[nodiscard]] wl_display* get() const { return display; }
    /// Takes what is of a type of wayland-scanner's, and returns it.
    template <class Object>
    Object* own(Object* object) {
        // The library's own wrappers do the same. NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast)
        objects.push_back(reinterpret_cast<wl_proxy*>(object));
        return object;
    }

  private:
    wl_display* display;
    std::vector<wl_proxy*> objects;
};

/// A short visit to a compositor, of which it learns what there is.
class Visit {
  public:
    explicit Visit(const std::filesystem::path& socket) : connection(socket) {
        wl_registry_add_listener(connection.own(wl_display_get_registry(connection.get())), &registryListener, this);
        // What is bound in the first answers in the second.
        synchronize();
        synchronize();
    }

    [[nodiscard]] std::vector<std::string> outputs() const { return {names.begin(), names.end()}; }
    [[nodiscard]] std::size_t windowCount() const { return windows.size(); }
    [[nodiscard]] bool activate(const std::string& applicationId) const {
        const auto found = std::ranges::find(windows, applicationId, &Window::applicationId);
        if (found == windows.end() || seat == nullptr) {
            return false;
        }
        zwlr_foreign_toplevel_handle_v1_activate(found->handle, seat);
        synchronize();
        return true;
    }

  private:
    struct Window {
        Visit* visit;
        zwlr_foreign_toplevel_handle_v1* handle;
        std::string applicationId;
    };

    static const wl_registry_listener registryListener;
    static const wl_output_listener outputListener;
    static const zwlr_foreign_toplevel_manager_v1_listener managerListener;
    static const zwlr_foreign_toplevel_handle_v1_listener windowListener;

    void synchronize() const {
        if (wl_display_roundtrip(connection.get()) < 0) {
            throw std::runtime_error("the compositor does not answer");
        }
    }

    OwnedConnection connection;
    wl_seat* seat = nullptr;
    std::list<std::string> names; ///< of outputs
    std::list<Window> windows;
};

const wl_output_listener Visit::outputListener{
    .geometry = [](void*, wl_output*, std::int32_t, std::int32_t, std::int32_t, std::int32_t, std::int32_t, const char*,
                   const char*, std::int32_t) {},
    .mode = [](void*, wl_output*, std::uint32_t, std::int32_t, std::int32_t, std::int32_t) {},
    .done = [](void*, wl_output*) {},
    .scale = [](void*, wl_output*, std::int32_t) {},
    .name = [](void* data, wl_output*, const char* name) { *static_cast<std::string*>(data) = name; },
    .description = [](void*, wl_output*, const char*) {}};

const zwlr_foreign_toplevel_handle_v1_listener Visit::windowListener{
    .title = [](void*, zwlr_foreign_toplevel_handle_v1*, const char*) {},
    .app_id = [](void* data, zwlr_foreign_toplevel_handle_v1*,
                 const char* id) { static_cast<Window*>(data)->applicationId = id; },
    .output_enter = [](void*, zwlr_foreign_toplevel_handle_v1*, wl_output*) {},
    .output_leave = [](void*, zwlr_foreign_toplevel_handle_v1*, wl_output*) {},
    .state = [](void*, zwlr_foreign_toplevel_handle_v1*, wl_array*) {},
    .done = [](void*, zwlr_foreign_toplevel_handle_v1*) {},
    .closed =
        [](void* data, zwlr_foreign_toplevel_handle_v1*) {
            auto* const closed = static_cast<Window*>(data);
            closed->visit->windows.remove_if([closed](const Window& window) { return &window == closed; });
        },
    .parent = [](void*, zwlr_foreign_toplevel_handle_v1*, zwlr_foreign_toplevel_handle_v1*) {}};

const zwlr_foreign_toplevel_manager_v1_listener Visit::managerListener{
    .toplevel =
        [](void* data, zwlr_foreign_toplevel_manager_v1*, zwlr_foreign_toplevel_handle_v1* handle) {
            auto& visit = *static_cast<Visit*>(data);
            visit.connection.own(handle);
            auto& window = visit.windows.emplace_back(Window{.visit = &visit, .handle = handle, .applicationId = {}});
            zwlr_foreign_toplevel_handle_v1_add_listener(handle, &windowListener, &window);
        },
    .finished = [](void*, zwlr_foreign_toplevel_manager_v1*) {}};

const wl_registry_listener Visit::registryListener{
    .global =
        [](void* data, wl_registry* registry, std::uint32_t name, const char* interface, std::uint32_t /*version*/) {
            auto& visit = *static_cast<Visit*>(data);
            const std::string_view kind(interface);
            if (kind == wl_output_interface.name) {
                constexpr std::uint32_t withNames = 4;
                auto* const output = visit.connection.own(
                    static_cast<wl_output*>(wl_registry_bind(registry, name, &wl_output_interface, withNames)));
                wl_output_add_listener(output, &outputListener, &visit.names.emplace_back());
            } else if (kind == wl_seat_interface.name) {
                visit.seat = visit.connection.own(
                    static_cast<wl_seat*>(wl_registry_bind(registry, name, &wl_seat_interface, 1)));
            } else if (kind == zwlr_foreign_toplevel_manager_v1_interface.name) {
                auto* const manager = visit.connection.own(static_cast<zwlr_foreign_toplevel_manager_v1*>(
                    wl_registry_bind(registry, name, &zwlr_foreign_toplevel_manager_v1_interface, 3)));
                zwlr_foreign_toplevel_manager_v1_add_listener(manager, &managerListener, &visit);
            }
        },
    .global_remove = [](void*, wl_registry*, std::uint32_t) {}};

} // namespace

WlrCompositor::WlrCompositor(std::optional<std::size_t> gammaSize) {
    // Its own folders in it are closed to others; this one is passed through.
    std::filesystem::permissions(folder.path(), std::filesystem::perms::owner_all | std::filesystem::perms::group_exec |
                                                    std::filesystem::perms::others_exec);
    for (const auto* name : {"runtime", "home", "gamma"}) {
        makeFolder(folder.path() / name);
    }
    if (gammaSize) {
        setGammaSize(*gammaSize);
    }
}

void WlrCompositor::start(std::vector<std::string> arguments, const Process::Environment& environment,
                          const std::function<bool()>& isReady) {
    const auto library = folder.path() / "headless-gamma.so";
    std::filesystem::copy_file(NOCTA_HEADLESS_GAMMA_LIBRARY, library);
    letEverybodyRead(library);
    std::vector<std::string> all;
    if (isRoot()) {
        const auto id = std::to_string(nobody);
        all = {"setpriv", "--reuid=" + id, "--regid=" + id, "--clear-groups"};
    }
    // Set behind setpriv, which is not to be preloaded.
    all.insert(all.end(), {"env", "LD_PRELOAD=" + library.string()});
    all.insert(all.end(), arguments.begin(), arguments.end());
    Process::Environment variables{{"HOME", folder.path() / "home"},
                                   {"XDG_RUNTIME_DIR", runtimeFolder()},
                                   {"XDG_CONFIG_HOME", ""},
                                   {"NOCTA_TEST_GAMMA", folder.path() / "gamma"},
                                   {"WLR_BACKENDS", "headless"},
                                   {"WLR_HEADLESS_OUTPUTS", "2"},
                                   {"WLR_LIBINPUT_NO_DEVICES", "1"},
                                   {"WLR_RENDERER", "pixman"},
                                   {"DISPLAY", ""},
                                   {"WAYLAND_DISPLAY", ""}};
    variables.insert(variables.end(), environment.begin(), environment.end());
    process = std::make_unique<Process>(std::move(all), variables);
    const bool hasStarted = eventually([&] {
        const auto found = findSocket();
        if (!found) {
            return false;
        }
        waylandSocket = *found;
        try {
            return outputs().size() == 2 && isReady();
        } catch (const std::runtime_error&) {
            return false;
        }
    });
    if (!hasStarted) {
        throw std::runtime_error("no compositor: " + process->errors());
    }
    setenv("WAYLAND_DISPLAY", waylandSocket.c_str(), 1);
    unsetenv("DISPLAY");
}

WlrCompositor::~WlrCompositor() {
    unsetenv("WAYLAND_DISPLAY");
    if (process) {
        process->signal(SIGCONT);
        process->signal(SIGTERM);
        process->waitForEnd();
    }
}

void WlrCompositor::kill() {
    process->signal(SIGKILL);
    process->waitForEnd();
}

std::optional<std::filesystem::path> WlrCompositor::findSocket() const {
    for (const auto& entry : std::filesystem::directory_iterator(runtimeFolder())) {
        if (entry.is_socket() && entry.path().filename().string().starts_with("wayland-")) {
            return entry.path();
        }
    }
    return std::nullopt;
}

std::filesystem::path WlrCompositor::write(const std::string& name, const std::string& content) const {
    auto file = folder.path() / name;
    std::ofstream(file) << content;
    letEverybodyRead(file);
    return file;
}

std::vector<std::string> WlrCompositor::outputs() const {
    return Visit(waylandSocket).outputs();
}

std::string WlrCompositor::plug() const {
    const auto before = outputs();
    process->signal(SIGUSR2);
    std::string added;
    const bool isThere = eventually([&] {
        for (const auto& name : outputs()) {
            if (std::ranges::find(before, name) == before.end()) {
                added = name;
            }
        }
        return !added.empty();
    });
    if (!isThere) {
        throw std::runtime_error("the compositor plugs nothing in");
    }
    return added;
}

void WlrCompositor::unplug() const {
    const auto before = outputs().size();
    process->signal(SIGUSR1);
    if (!eventually([&] { return outputs().size() < before; })) {
        throw std::runtime_error("the compositor pulls nothing out");
    }
}

std::size_t WlrCompositor::windowCount() const {
    return Visit(waylandSocket).windowCount();
}

void WlrCompositor::focus(const std::string& applicationId) const {
    if (!Visit(waylandSocket).activate(applicationId)) {
        throw std::runtime_error("no window of " + applicationId);
    }
}

std::optional<std::vector<std::uint16_t>> WlrCompositor::table(const std::string& output) const {
    std::ifstream file(folder.path() / "gamma" / output, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(file)), {});
    if (bytes.empty()) {
        return std::nullopt;
    }
    std::vector<std::uint16_t> values(bytes.size() / sizeof(std::uint16_t));
    std::memcpy(values.data(), bytes.data(), values.size() * sizeof(std::uint16_t));
    return values;
}

void WlrCompositor::setGammaSize(std::size_t size) const {
    const auto file = folder.path() / "gamma" / "size";
    const auto unfinished = folder.path() / "gamma" / "size.new";
    std::ofstream(unfinished) << size;
    letEverybodyRead(unfinished);
    std::filesystem::rename(unfinished, file);
}

void WlrCompositor::endGammaClients() const {
    process->signal(SIGWINCH);
}

std::vector<WlrCompositorKind> installedWlrCompositors() {
    return {
        {.name = "Sway", .make = [](std::optional<std::size_t> size) { return std::make_unique<Sway>(size); }},
#ifdef NOCTA_HAS_LABWC
        {.name = "Labwc", .make = [](std::optional<std::size_t> size) { return std::make_unique<Labwc>(size); }},
#endif
    };
}

} // namespace nocta::test
