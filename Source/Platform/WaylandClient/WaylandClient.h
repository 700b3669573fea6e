#pragma once

#include "Platform/RunLoop.h"

#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>

struct wl_callback;
struct wl_callback_listener;
struct wl_display;
struct wl_registry;
struct wl_registry_listener;

namespace nocta {

/// Something that a compositor offers: an output, or a way to ask it for something.
struct WaylandGlobal {
    std::uint32_t name = 0; ///< the compositor's number of it, never zero, the same for every client
    std::string_view interface;
    std::uint32_t version = 0;
};

/// A connection of its own to the compositor, served from the run loop. Only what is asked for after the construction
/// waits for the compositor, and says so.
class WaylandClient {
  public:
    /// Called from the run loop and from within `start` and `synchronize`; the client is not destroyed inside them.
    struct Handlers {
        std::function<void(const WaylandGlobal&)> onGlobal;
        std::function<void(std::uint32_t name)> onGlobalRemoved;
        std::function<void()> onLost; ///< once, from the run loop, when the connection has ended
    };

    /// Connects to the compositor that WAYLAND_DISPLAY names, where it offers the interface that is needed. `loop`
    /// outlives the client.
    WaylandClient(RunLoop& loop, std::string_view needed, Handlers handlers);
    WaylandClient(const WaylandClient&) = delete;
    WaylandClient& operator=(const WaylandClient&) = delete;
    /// Whoever made objects on the connection has destroyed them before.
    ~WaylandClient();

    /// Learns of every global there is. Waits for the compositor; false where there is no connection, or no answer.
    [[nodiscard]] bool start();

    /// Null where there is no connection.
    [[nodiscard]] wl_registry* registry() const { return globals; }

    /// Sends the requests that were queued, without waiting: what the compositor does not take now is sent later.
    void send();
    /// Calls `onDone` from the run loop when the compositor has carried out what was asked for so far; never once the
    /// connection has ended.
    void notifyWhenDone(std::function<void()> onDone);
    /// Waits until it has. False when the connection has ended, or the compositor does not answer for seconds.
    bool synchronize();

    /// A name of the compositor that WAYLAND_DISPLAY names, fit for a file name; nothing where it names none.
    [[nodiscard]] static std::optional<std::string> serverName();
    /// Whether one answers at that name. Main thread only, as `offers`: what it offered when it was first asked is
    /// remembered, as some compositors take a twentieth of a second for every new client.
    [[nodiscard]] static bool hasServer() { return !offeredInterfaces().empty(); }
    /// Whether it offers that interface.
    [[nodiscard]] static bool offers(std::string_view interface) { return offeredInterfaces().contains(interface); }

  private:
    struct Question {
        wl_callback* callback;
        std::function<void()> onDone;
    };

    using Interfaces = std::set<std::string, std::less<>>;

    static const wl_registry_listener registryListener;
    static const wl_callback_listener questionListener;

    /// Empty where no compositor answers. Waits for it, and needs no run loop.
    static const Interfaces& offeredInterfaces();

    void serve();
    /// Takes what has come in; false when the connection has ended.
    bool receive();
    void lose();

    RunLoop& loop;
    Handlers handlers;
    wl_display* display;
    wl_registry* globals = nullptr;
    std::list<Question> questions;
    bool isLost = false;
    std::unique_ptr<RunLoopSource> watch;
    std::unique_ptr<Timer> sending;
    std::unique_ptr<Timer> farewell;
};

} // namespace nocta
