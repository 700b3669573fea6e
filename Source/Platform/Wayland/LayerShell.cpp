#include "Platform/Wayland/LayerShell.h"

#include "Platform/Wayland/LayerShellProtocol.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

#include <QGuiApplication>
#include <qpa/qplatformnativeinterface.h>
#include <wayland-client.h>

namespace nocta {

namespace {

/// The newest version whose requests are known here.
constexpr std::uint32_t newestKnown = 4;

void bindShell(void* shell, wl_registry* registry, std::uint32_t name, const char* interface, std::uint32_t version) {
    if (std::string_view(interface) == zwlr_layer_shell_v1_interface.name) {
        *static_cast<zwlr_layer_shell_v1**>(shell) = static_cast<zwlr_layer_shell_v1*>(
            wl_registry_bind(registry, name, &zwlr_layer_shell_v1_interface, std::min(version, newestKnown)));
    }
}

const wl_registry_listener registryListener{.global = &bindShell,
                                            .global_remove = [](void*, wl_registry*, std::uint32_t) {}};

} // namespace

LayerShell::LayerShell() {
    auto* const native = QGuiApplication::platformNativeInterface();
    display =
        static_cast<wl_display*>(native != nullptr ? native->nativeResourceForIntegration("wl_display") : nullptr);
    if (display != nullptr) {
        registry = wl_display_get_registry(display);
        wl_registry_add_listener(registry, &registryListener, &shell);
        wl_display_roundtrip(display);
    }
}

LayerShell::~LayerShell() {
    if (shell != nullptr) {
        if (zwlr_layer_shell_v1_get_version(shell) >= ZWLR_LAYER_SHELL_V1_DESTROY_SINCE_VERSION) {
            zwlr_layer_shell_v1_destroy(shell);
        } else {
            wl_proxy_destroy(reinterpret_cast<wl_proxy*>(shell)); // NOLINT: what a version without a destructor has
        }
    }
    if (registry != nullptr) {
        wl_registry_destroy(registry);
    }
}

void LayerShell::flush() const {
    if (display != nullptr) {
        wl_display_flush(display);
    }
}

} // namespace nocta
