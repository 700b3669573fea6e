#include "Support/WaylandPointer.h"

#include <chrono>
#include <stdexcept>
#include <string_view>

#include <linux/input-event-codes.h>
#include <wayland-client.h>
#include <wlr-virtual-pointer-unstable-v1.h>

namespace nocta::test {

namespace {

/// Milliseconds, as those of real devices: programs tell a double click by them.
std::uint32_t now() {
    using std::chrono::milliseconds;
    return static_cast<std::uint32_t>(
        std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now().time_since_epoch()).count());
}

} // namespace

WaylandPointer::WaylandPointer() : display(wl_display_connect(nullptr)) {
    if (display == nullptr) {
        throw std::runtime_error("no compositor");
    }
    static const wl_registry_listener listener{
        .global =
            [](void* found, wl_registry* globals, std::uint32_t name, const char* interface, std::uint32_t) {
                if (std::string_view(interface) == zwlr_virtual_pointer_manager_v1_interface.name) {
                    *static_cast<zwlr_virtual_pointer_manager_v1**>(found) =
                        static_cast<zwlr_virtual_pointer_manager_v1*>(
                            wl_registry_bind(globals, name, &zwlr_virtual_pointer_manager_v1_interface, 1));
                }
            },
        .global_remove = [](void*, wl_registry*, std::uint32_t) {}};
    registry = wl_display_get_registry(display);
    wl_registry_add_listener(registry, &listener, &manager);
    wl_display_roundtrip(display);
    if (manager == nullptr) {
        throw std::runtime_error("the compositor takes no pointers");
    }
    pointer = zwlr_virtual_pointer_manager_v1_create_virtual_pointer(manager, nullptr);
    wl_display_roundtrip(display);
}

WaylandPointer::~WaylandPointer() {
    zwlr_virtual_pointer_v1_destroy(pointer);
    zwlr_virtual_pointer_manager_v1_destroy(manager);
    wl_registry_destroy(registry);
    wl_display_roundtrip(display);
    wl_display_disconnect(display);
}

void WaylandPointer::move(std::uint32_t x, std::uint32_t y, std::uint32_t width, std::uint32_t height) {
    zwlr_virtual_pointer_v1_motion_absolute(pointer, now(), x, y, width, height);
    zwlr_virtual_pointer_v1_frame(pointer);
    wl_display_roundtrip(display);
}

void WaylandPointer::click() {
    for (const auto state : {WL_POINTER_BUTTON_STATE_PRESSED, WL_POINTER_BUTTON_STATE_RELEASED}) {
        zwlr_virtual_pointer_v1_button(pointer, now(), BTN_LEFT, state);
        zwlr_virtual_pointer_v1_frame(pointer);
        wl_display_roundtrip(display);
    }
}

} // namespace nocta::test
