#include "Platform/WaylandClient/WaylandClient.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdarg>
#include <cstdlib>
#include <filesystem>
#include <utility>

#include <poll.h>
#include <wayland-client.h>

namespace nocta {

namespace {

using MonotonicClock = std::chrono::steady_clock;

/// How long a compositor that is alive may take for an answer.
constexpr std::chrono::seconds patience{5};
/// Until a compositor that takes nothing more is tried again.
constexpr Seconds sendingPause{0.02};

/// The library's own words on standard error are not for those who use this program.
void keepSilent(const char* /*format*/, va_list /*arguments*/) {}

wl_display* connect() {
    wl_log_set_handler_client(&keepSilent);
    // Without a name the library tries one of its own.
    return WaylandClient::serverName() ? wl_display_connect(nullptr) : nullptr;
}

} // namespace

const wl_registry_listener WaylandClient::registryListener{
    .global =
        [](void* client, wl_registry*, std::uint32_t name, const char* interface, std::uint32_t version) {
            static_cast<WaylandClient*>(client)->handlers.onGlobal(
                {.name = name, .interface = interface, .version = version});
        },
    .global_remove = [](void* client, wl_registry*,
                        std::uint32_t name) { static_cast<WaylandClient*>(client)->handlers.onGlobalRemoved(name); }};

const wl_callback_listener WaylandClient::questionListener{
    .done = [](void* data, wl_callback* callback, std::uint32_t) {
        auto& all = static_cast<WaylandClient*>(data)->questions;
        const auto question = std::ranges::find(all, callback, &Question::callback);
        const auto onDone = std::move(question->onDone);
        wl_callback_destroy(callback);
        all.erase(question);
        onDone();
    }};

WaylandClient::WaylandClient(RunLoop& loop, std::string_view needed, Handlers handlers)
    : loop(loop), handlers(std::move(handlers)), display(offers(needed) ? connect() : nullptr) {
    if (display != nullptr) {
        globals = wl_display_get_registry(display);
        wl_registry_add_listener(globals, &registryListener, this);
        watch = loop.watch(wl_display_get_fd(display), [this] { serve(); });
    }
}

WaylandClient::~WaylandClient() {
    watch.reset();
    if (display == nullptr) {
        return;
    }
    for (const auto& question : questions) {
        wl_callback_destroy(question.callback);
    }
    wl_registry_destroy(globals);
    // What was asked for last, if the compositor takes it at all.
    wl_display_flush(display);
    wl_display_disconnect(display);
}

bool WaylandClient::start() {
    return display != nullptr && synchronize();
}

void WaylandClient::send() {
    if (display == nullptr || isLost) {
        return;
    }
    sending.reset();
    if (wl_display_flush(display) >= 0) {
        return;
    }
    if (errno == EAGAIN) {
        sending = loop.oneShot(sendingPause, [this] { send(); });
    } else if (errno != EPIPE) { // after which there may be something left to read: why the connection ended
        lose();
    }
}

void WaylandClient::notifyWhenDone(std::function<void()> onDone) {
    if (display == nullptr || isLost) {
        return;
    }
    auto* callback = wl_display_sync(display);
    questions.push_back({.callback = callback, .onDone = std::move(onDone)});
    wl_callback_add_listener(callback, &questionListener, this);
}

bool WaylandClient::synchronize() {
    bool isDone = false;
    // Shared, as the answer may come after the patience has ended.
    const auto answer = std::make_shared<bool*>(&isDone);
    notifyWhenDone([answer] {
        if (*answer != nullptr) {
            **answer = true;
        }
    });
    const auto end = MonotonicClock::now() + patience;
    while (!isDone && display != nullptr && !isLost) {
        send();
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - MonotonicClock::now());
        if (left.count() <= 0) {
            break;
        }
        pollfd readable{.fd = wl_display_get_fd(display), .events = POLLIN, .revents = 0};
        // A compositor that takes nothing at present is tried again soon.
        constexpr int pause = 20;
        poll(&readable, 1, sending ? pause : static_cast<int>(left.count()));
        if (!receive()) {
            lose();
        }
    }
    *answer = nullptr;
    return isDone;
}

std::optional<std::string> WaylandClient::serverName() {
    const char* variable = std::getenv("WAYLAND_DISPLAY");
    if (variable == nullptr || *variable == '\0') {
        return std::nullopt;
    }
    const std::filesystem::path socket(variable);
    const char* folder = std::getenv("XDG_RUNTIME_DIR");
    const bool isInRuntimeFolder =
        socket.is_relative() || (folder != nullptr && socket.parent_path() == std::filesystem::path(folder));
    std::string name = isInRuntimeFolder ? socket.filename().string() : socket.string();
    std::ranges::replace(name, '/', '-');
    return "wayland-" + name;
}

const WaylandClient::Interfaces& WaylandClient::offeredInterfaces() {
    static std::string askedServer;
    static Interfaces names;
    const char* variable = std::getenv("WAYLAND_DISPLAY");
    const std::string server = variable != nullptr ? variable : "";
    if (!names.empty() && server == askedServer) {
        return names;
    }
    names.clear();
    askedServer = server;
    const std::unique_ptr<wl_display, void (*)(wl_display*)> display(connect(), &wl_display_disconnect);
    if (!display) {
        return names;
    }
    static const wl_registry_listener listener{
        .global = [](void* found, wl_registry*, std::uint32_t, const char* interface,
                     std::uint32_t) { static_cast<Interfaces*>(found)->insert(interface); },
        .global_remove = [](void*, wl_registry*, std::uint32_t) {}};
    auto* const registry = wl_display_get_registry(display.get());
    wl_registry_add_listener(registry, &listener, &names);
    if (wl_display_roundtrip(display.get()) < 0) {
        names.clear();
    }
    wl_registry_destroy(registry);
    return names;
}

void WaylandClient::serve() {
    if (receive()) {
        send();
    } else {
        lose();
    }
}

bool WaylandClient::receive() {
    while (wl_display_prepare_read(display) != 0) {
        if (wl_display_dispatch_pending(display) < 0) {
            return false;
        }
    }
    return wl_display_read_events(display) >= 0 && wl_display_dispatch_pending(display) >= 0;
}

void WaylandClient::lose() {
    if (!std::exchange(isLost, true)) {
        watch.reset();
        sending.reset();
        farewell = loop.oneShot(Seconds(0), [this] { handlers.onLost(); });
    }
}

} // namespace nocta
