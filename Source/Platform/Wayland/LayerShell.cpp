#include "Platform/Wayland/LayerShell.h"

#include "Platform/WaylandClient/LayerShellProtocol.h"

#include <algorithm>

#include <QGuiApplication>
#include <qpa/qplatformnativeinterface.h>
#include <viewporter.h>
#include <wayland-client.h>

namespace nocta {

namespace {

/// The newest version of the layer shell whose requests are known here.
constexpr std::uint32_t newestShell = 4;

template <class Object>
Object* bind(wl_registry* registry, const LayerShell::Global& global, const wl_interface& interface,
             std::uint32_t newestKnown = 1) {
    return static_cast<Object*>(
        wl_registry_bind(registry, global.name, &interface, std::min(global.version, newestKnown)));
}

} // namespace

LayerShell::LayerShell() {
    auto* const native = QGuiApplication::platformNativeInterface();
    display =
        static_cast<wl_display*>(native != nullptr ? native->nativeResourceForIntegration("wl_display") : nullptr);
    if (display == nullptr) {
        return;
    }
    static const wl_registry_listener listener{
        .global =
            [](void* data, wl_registry*, std::uint32_t name, const char* interface, std::uint32_t version) {
                static_cast<LayerShell*>(data)->add({.name = name, .interface = interface, .version = version});
            },
        .global_remove = [](void* data, wl_registry*,
                            std::uint32_t name) { static_cast<LayerShell*>(data)->remove(name); }};
    registryOfGlobals = wl_display_get_registry(display);
    wl_registry_add_listener(registryOfGlobals, &listener, this);
    wl_display_roundtrip(display);
}

LayerShell::~LayerShell() {
    if (scaling != nullptr) {
        wp_viewporter_destroy(scaling);
    }
    if (memory != nullptr) {
        wl_shm_destroy(memory);
    }
    if (surfaces != nullptr) {
        wl_compositor_destroy(surfaces);
    }
    if (shell != nullptr) {
        if (zwlr_layer_shell_v1_get_version(shell) >= ZWLR_LAYER_SHELL_V1_DESTROY_SINCE_VERSION) {
            zwlr_layer_shell_v1_destroy(shell);
        } else {
            wl_proxy_destroy(reinterpret_cast<wl_proxy*>(shell)); // NOLINT: what a version without a destructor has
        }
    }
    if (registryOfGlobals != nullptr) {
        wl_registry_destroy(registryOfGlobals);
    }
}

void LayerShell::flush() const {
    if (display != nullptr) {
        wl_display_flush(display);
    }
}

void LayerShell::add(const Global& global) {
    if (global.interface == zwlr_layer_shell_v1_interface.name) {
        shell = bind<zwlr_layer_shell_v1>(registryOfGlobals, global, zwlr_layer_shell_v1_interface, newestShell);
    } else if (global.interface == wl_compositor_interface.name) {
        surfaces = bind<wl_compositor>(registryOfGlobals, global, wl_compositor_interface);
    } else if (global.interface == wl_shm_interface.name) {
        memory = bind<wl_shm>(registryOfGlobals, global, wl_shm_interface);
    } else if (global.interface == wp_viewporter_interface.name) {
        scaling = bind<wp_viewporter>(registryOfGlobals, global, wp_viewporter_interface);
    } else if (global.interface == wl_seat_interface.name) {
        allSeats.push_back(global);
    }
}

void LayerShell::remove(std::uint32_t name) {
    std::erase_if(allSeats, [name](const Global& global) { return global.name == name; });
}

} // namespace nocta
