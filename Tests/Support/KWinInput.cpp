#include "Support/KWinInput.h"

#include <stdexcept>
#include <string_view>

#include <fake-input.h>
#include <linux/input-event-codes.h>
#include <wayland-client.h>

namespace nocta::test {

KWinInput::KWinInput() : display(wl_display_connect(nullptr)) {
    if (display == nullptr) {
        throw std::runtime_error("no compositor");
    }
    static const wl_registry_listener listener{
        .global =
            [](void* found, wl_registry* registry, std::uint32_t name, const char* interface, std::uint32_t version) {
                constexpr std::uint32_t withKeyboard = 4;
                if (std::string_view(interface) == org_kde_kwin_fake_input_interface.name && version >= withKeyboard) {
                    *static_cast<org_kde_kwin_fake_input**>(found) = static_cast<org_kde_kwin_fake_input*>(
                        wl_registry_bind(registry, name, &org_kde_kwin_fake_input_interface, withKeyboard));
                }
            },
        .global_remove = [](void*, wl_registry*, std::uint32_t) {}};
    registry = wl_display_get_registry(display);
    wl_registry_add_listener(registry, &listener, &devices);
    wl_display_roundtrip(display);
    if (devices == nullptr) {
        throw std::runtime_error("the compositor takes no input of programs");
    }
    org_kde_kwin_fake_input_authenticate(devices, "test", "test");
    wl_display_roundtrip(display);
}

KWinInput::~KWinInput() {
    org_kde_kwin_fake_input_destroy(devices);
    wl_registry_destroy(registry);
    wl_display_roundtrip(display);
    wl_display_disconnect(display);
}

void KWinInput::type(std::initializer_list<std::uint32_t> keys) {
    for (const auto key : keys) {
        press(key);
    }
    for (const auto* key = keys.end(); key != keys.begin();) {
        --key;
        release(*key);
    }
}

void KWinInput::move(const Point& point) {
    org_kde_kwin_fake_input_pointer_motion_absolute(devices, wl_fixed_from_int(point.x), wl_fixed_from_int(point.y));
    wl_display_roundtrip(display);
}

void KWinInput::click() {
    for (const auto state : {WL_POINTER_BUTTON_STATE_PRESSED, WL_POINTER_BUTTON_STATE_RELEASED}) {
        org_kde_kwin_fake_input_button(devices, BTN_LEFT, state);
        wl_display_roundtrip(display);
    }
}

void KWinInput::send(std::uint32_t key, bool isDown) {
    org_kde_kwin_fake_input_keyboard_key(devices, key, isDown ? 1 : 0);
    wl_display_roundtrip(display);
}

} // namespace nocta::test
