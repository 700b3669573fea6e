#include "Platform/Wayland/LayerSurface.h"

#include "Platform/Wayland/LayerShell.h"
#include "Platform/WaylandClient/LayerShellProtocol.h"

#include <algorithm>
#include <utility>
#include <vector>

#include <QGuiApplication>
#include <QScreen>
#include <QWindow>
#include <qpa/qplatformnativeinterface.h>
#include <wayland-client.h>

namespace nocta {

namespace {

/// Null until Qt has made the window's.
wl_surface* surfaceOf(QWindow& window) {
    return static_cast<wl_surface*>(
        QGuiApplication::platformNativeInterface()->nativeResourceForWindow("surface", &window));
}

/// All that are shown.
std::vector<LayerSurface*>& shownSurfaces() {
    static std::vector<LayerSurface*> surfaces;
    return surfaces;
}

} // namespace

const zwlr_layer_surface_v1_listener LayerSurface::listener{
    .configure =
        [](void* data, zwlr_layer_surface_v1*, std::uint32_t serial, std::uint32_t width, std::uint32_t height) {
            static_cast<LayerSurface*>(data)->configure(serial, {static_cast<int>(width), static_cast<int>(height)});
        },
    .closed =
        [](void* data, zwlr_layer_surface_v1*) {
            auto& closed = *static_cast<LayerSurface*>(data);
            closed.hide();
            closed.onClosed();
        }};

LayerSurface::LayerSurface(LayerShell& shell, QWindow& window, std::function<void()> onClosed)
    : shell(shell), window(window), onClosed(std::move(onClosed)) {
    // The second keeps Qt from giving the surface a role of its own.
    window.setFlags(Qt::FramelessWindowHint | Qt::BypassWindowManagerHint);
}

LayerSurface::~LayerSurface() {
    hide();
}

void LayerSurface::show(QScreen* screen, const LayerPlace& place) {
    hide();
    wl_output* output = nullptr;
    if (screen != nullptr) {
        window.setScreen(screen);
        output = static_cast<wl_output*>(
            QGuiApplication::platformNativeInterface()->nativeResourceForScreen("output", screen));
    }
    window.create();
    auto* const made = surfaceOf(window);
    if (made == nullptr || shell.get() == nullptr) {
        return;
    }
    wantedLayer = layer = place.layer;
    rank = place.rank;
    surface = zwlr_layer_shell_v1_get_layer_surface(shell.get(), made, output, static_cast<std::uint32_t>(place.layer),
                                                    place.purpose);
    zwlr_layer_surface_v1_add_listener(surface, &listener, this);
    zwlr_layer_surface_v1_set_size(surface, static_cast<std::uint32_t>(place.size.width()),
                                   static_cast<std::uint32_t>(place.size.height()));
    zwlr_layer_surface_v1_set_anchor(surface, place.anchors);
    zwlr_layer_surface_v1_set_margin(surface, place.margins.top(), place.margins.right(), place.margins.bottom(),
                                     place.margins.left());
    zwlr_layer_surface_v1_set_exclusive_zone(surface, place.coversPanels ? -1 : 0);
    sendKeyboard();
    commit();
    shownSurfaces().push_back(this);
    arrange();
}

void LayerSurface::hide() {
    if (surface == nullptr) {
        return;
    }
    zwlr_layer_surface_v1_destroy(std::exchange(surface, nullptr));
    window.hide();
    // A surface keeps the role it had, and Qt keeps the surface of a hidden window.
    window.destroy();
    shell.flush();
    std::erase(shownSurfaces(), this);
    arrange();
}

void LayerSurface::setKeyboard(LayerPlace::Keyboard wanted) {
    if (std::exchange(keyboard, wanted) != wanted && surface != nullptr) {
        sendKeyboard();
        commit();
    }
}

void LayerSurface::arrange() {
    for (auto* const each : shownSurfaces()) {
        const bool isBelow = std::ranges::any_of(shownSurfaces(), [each](const LayerSurface* other) {
            return other->rank == LayerPlace::Rank::above && each->rank == LayerPlace::Rank::below &&
                   other->window.screen() == each->window.screen();
        });
        const auto next = isBelow ? LayerPlace::Layer::top : each->wantedLayer;
        if (next != each->layer &&
            zwlr_layer_surface_v1_get_version(each->surface) >= ZWLR_LAYER_SURFACE_V1_SET_LAYER_SINCE_VERSION) {
            each->layer = next;
            zwlr_layer_surface_v1_set_layer(each->surface, static_cast<std::uint32_t>(next));
            each->commit();
        }
    }
}

void LayerSurface::configure(std::uint32_t serial, QSize size) {
    zwlr_layer_surface_v1_ack_configure(surface, serial);
    window.resize(size);
    // Nothing may be drawn before.
    if (!window.isVisible()) {
        window.show();
    }
}

void LayerSurface::commit() const {
    wl_surface_commit(surfaceOf(window));
    shell.flush();
}

void LayerSurface::sendKeyboard() const {
    // Older compositors know no more than all or nothing.
    const bool knowsOnDemand = zwlr_layer_surface_v1_get_version(surface) >= 4;
    const auto sent =
        keyboard == LayerPlace::Keyboard::onDemand && !knowsOnDemand ? LayerPlace::Keyboard::exclusive : keyboard;
    zwlr_layer_surface_v1_set_keyboard_interactivity(surface, static_cast<std::uint32_t>(sent));
}

} // namespace nocta
