#pragma once

#include <cstdint>
#include <functional>
#include <list>

struct wl_array;
struct wl_buffer;
struct wl_output;
struct wl_pointer;
struct wl_pointer_listener;
struct wl_seat;
struct wl_seat_listener;
struct wl_surface;
struct wl_touch;
struct wl_touch_listener;
struct wp_viewport;
struct zwlr_layer_surface_v1;
struct zwlr_layer_surface_v1_listener;

namespace nocta {

class LayerShell;

/// Sees the click that is meant to close a popover. A Wayland compositor tells a program of no click but those on its
/// own surfaces; so this has one on every screen, transparent, above the windows and below the overlays, that keeps the
/// click from what is below it, as an open menu does. Full-screen windows are above it: their clicks are not seen.
///
/// For as long as it lives. Without a viewporter, by which one pixel fills a screen, it sees nothing.
class ClickCatcher {
  public:
    /// Calls `onClick` from within the compositor's event, in which this must not end. `shell` outlives it.
    ClickCatcher(LayerShell& shell, std::function<void()> onClick);
    ClickCatcher(const ClickCatcher&) = delete;
    ClickCatcher& operator=(const ClickCatcher&) = delete;
    ~ClickCatcher();

  private:
    struct Veil {
        ClickCatcher* catcher;
        wl_surface* surface;
        wp_viewport* viewport;
        zwlr_layer_surface_v1* layer;
    };
    struct Seat {
        ClickCatcher* catcher = nullptr;
        wl_seat* seat = nullptr;
        wl_pointer* pointer = nullptr;
        wl_touch* touch = nullptr;
        bool isOnVeil = false; ///< the pointer
    };

    static const zwlr_layer_surface_v1_listener veilListener;
    static const wl_seat_listener seatListener;
    static const wl_pointer_listener pointerListener;
    static const wl_touch_listener touchListener;

    void makePixel();
    void cover(wl_output* output);
    void listenTo(std::uint32_t seatName, std::uint32_t version);
    void configure(const Veil& veil, std::uint32_t serial, std::uint32_t width, std::uint32_t height) const;
    [[nodiscard]] bool isVeil(const wl_surface* surface) const;

    LayerShell& shell;
    std::function<void()> onClick;
    wl_buffer* pixel = nullptr;
    std::list<Veil> veils;
    std::list<Seat> seats;
};

} // namespace nocta
