#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <xcb/randr.h>
#include <xcb/xcb.h>

namespace nocta {

struct FreeWithC {
    void operator()(void* memory) const { std::free(memory); } // NOLINT: xcb hands out malloc'ed memory
};

/// What xcb returns and the caller frees; null after an error.
template <class Reply>
using XReply = std::unique_ptr<Reply, FreeWithC>;

/// A connection of our own to the X server that DISPLAY names, and its RandR extension.
class XConnection {
  public:
    XConnection();

    /// Names the server that DISPLAY names, whichever way it does; nothing where it names none.
    [[nodiscard]] static std::optional<std::string> serverName();

    /// Whether there is a server, and its RandR (1.3 at least) can list CRTCs without probing. Otherwise nothing of
    /// RandR may be asked.
    [[nodiscard]] bool hasRandr() const { return randrEvents != 0; }
    /// Whether the server was never there or has gone: then only this and `hasRandr` may be asked.
    [[nodiscard]] bool isLost() const { return xcb_connection_has_error(get()) != 0; }

    [[nodiscard]] xcb_connection_t* get() const { return connection.get(); }
    [[nodiscard]] int descriptor() const { return xcb_get_file_descriptor(get()); }
    /// The number of the X screen that DISPLAY names.
    [[nodiscard]] int screenNumber() const { return screen; }
    [[nodiscard]] xcb_window_t root() const { return rootWindow; }
    /// The number of RandR's first event.
    [[nodiscard]] int firstRandrEvent() const { return randrEvents; }

    /// Whether the server only serves old programs in a Wayland session: it accepts gamma ramps without any effect, and
    /// sees neither the windows nor the keys of others. Waits for the server.
    [[nodiscard]] bool isXwayland() const;
    /// The atom of that name. Waits for the server.
    [[nodiscard]] xcb_atom_t atom(std::string_view name) const;

    void flush() const { xcb_flush(get()); }
    /// Waits until the server has carried out everything sent so far.
    void synchronize() const;
    /// Sends a gamma ramp: `size` entries of red, then of green, then of blue.
    void setCrtcGamma(xcb_randr_crtc_t crtc, const std::uint16_t* values, std::size_t size) const;

  private:
    std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection;
    int screen = 0;
    xcb_window_t rootWindow = XCB_WINDOW_NONE;
    int randrEvents = 0;
};

/// Keeps every other client's requests waiting while it lives, so that several of ours are carried out as one.
class ServerGrab {
  public:
    explicit ServerGrab(const XConnection& server) : server(server) { xcb_grab_server(server.get()); }
    ServerGrab(const ServerGrab&) = delete;
    ServerGrab& operator=(const ServerGrab&) = delete;
    ~ServerGrab() {
        xcb_ungrab_server(server.get());
        server.flush();
    }

  private:
    const XConnection& server;
};

} // namespace nocta
