#pragma once

#include <cstdint>

struct wl_display;
struct wl_registry;
struct zwlr_virtual_pointer_manager_v1;
struct zwlr_virtual_pointer_v1;

namespace nocta::test {

/// A mouse on the compositor that WAYLAND_DISPLAY names, plugged in as long as this lives.
class WaylandPointer {
  public:
    /// Throws where the compositor takes none.
    WaylandPointer();
    WaylandPointer(const WaylandPointer&) = delete;
    WaylandPointer& operator=(const WaylandPointer&) = delete;
    ~WaylandPointer();

    /// To that place of a desktop of that size, in logical pixels.
    void move(std::uint32_t x, std::uint32_t y, std::uint32_t width, std::uint32_t height);
    /// Presses and releases the left button.
    void click();

  private:
    wl_display* display;
    wl_registry* registry = nullptr;
    zwlr_virtual_pointer_manager_v1* manager = nullptr;
    zwlr_virtual_pointer_v1* pointer = nullptr;
};

} // namespace nocta::test
