#include "Platform/Wayland/ClickCatcher.h"

#include "Platform/Wayland/LayerShell.h"
#include "Platform/WaylandClient/LayerShellProtocol.h"

#include <algorithm>
#include <utility>

#include <QGuiApplication>
#include <QScreen>
#include <qpa/qplatformnativeinterface.h>
#include <sys/mman.h>
#include <unistd.h>
#include <viewporter.h>
#include <wayland-client.h>

namespace nocta {

const zwlr_layer_surface_v1_listener ClickCatcher::veilListener{
    .configure =
        [](void* data, zwlr_layer_surface_v1*, std::uint32_t serial, std::uint32_t width, std::uint32_t height) {
            const auto& veil = *static_cast<Veil*>(data);
            veil.catcher->configure(veil, serial, width, height);
        },
    // Its screen has gone; what is left of it harms nobody.
    .closed = [](void*, zwlr_layer_surface_v1*) {}};

// Newer libraries know more events than the seats here are asked for.
const wl_pointer_listener ClickCatcher::pointerListener = [] {
    wl_pointer_listener listener{};
    listener.enter = [](void* data, wl_pointer*, std::uint32_t, wl_surface* surface, wl_fixed_t, wl_fixed_t) {
        auto& seat = *static_cast<Seat*>(data);
        seat.isOnVeil = seat.catcher->isVeil(surface);
    };
    listener.leave = [](void* data, wl_pointer*, std::uint32_t, wl_surface*) {
        static_cast<Seat*>(data)->isOnVeil = false;
    };
    listener.motion = [](void*, wl_pointer*, std::uint32_t, wl_fixed_t, wl_fixed_t) {};
    listener.button = [](void* data, wl_pointer*, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t state) {
        const auto& seat = *static_cast<Seat*>(data);
        if (seat.isOnVeil && state == WL_POINTER_BUTTON_STATE_PRESSED) {
            seat.catcher->onClick();
        }
    };
    listener.axis = [](void*, wl_pointer*, std::uint32_t, std::uint32_t, wl_fixed_t) {};
    listener.frame = [](void*, wl_pointer*) {};
    listener.axis_source = [](void*, wl_pointer*, std::uint32_t) {};
    listener.axis_stop = [](void*, wl_pointer*, std::uint32_t, std::uint32_t) {};
    listener.axis_discrete = [](void*, wl_pointer*, std::uint32_t, std::int32_t) {};
    return listener;
}();

const wl_touch_listener ClickCatcher::touchListener = [] {
    wl_touch_listener listener{};
    listener.down = [](void* data, wl_touch*, std::uint32_t, std::uint32_t, wl_surface* surface, std::int32_t,
                       wl_fixed_t, wl_fixed_t) {
        const auto& catcher = *static_cast<Seat*>(data)->catcher;
        if (catcher.isVeil(surface)) {
            catcher.onClick();
        }
    };
    listener.up = [](void*, wl_touch*, std::uint32_t, std::uint32_t, std::int32_t) {};
    listener.motion = [](void*, wl_touch*, std::uint32_t, std::int32_t, wl_fixed_t, wl_fixed_t) {};
    listener.frame = [](void*, wl_touch*) {};
    listener.cancel = [](void*, wl_touch*) {};
    return listener;
}();

const wl_seat_listener ClickCatcher::seatListener{
    .capabilities =
        [](void* data, wl_seat* seat, std::uint32_t capabilities) {
            auto& each = *static_cast<Seat*>(data);
            if ((capabilities & WL_SEAT_CAPABILITY_POINTER) != 0 && each.pointer == nullptr) {
                each.pointer = wl_seat_get_pointer(seat);
                wl_pointer_add_listener(each.pointer, &pointerListener, &each);
            }
            if ((capabilities & WL_SEAT_CAPABILITY_TOUCH) != 0 && each.touch == nullptr) {
                each.touch = wl_seat_get_touch(seat);
                wl_touch_add_listener(each.touch, &touchListener, &each);
            }
        },
    .name = [](void*, wl_seat*, const char*) {}};

ClickCatcher::ClickCatcher(LayerShell& shell, std::function<void()> onClick)
    : shell(shell), onClick(std::move(onClick)) {
    if (shell.get() == nullptr || shell.compositor() == nullptr || shell.viewporter() == nullptr ||
        shell.sharedMemory() == nullptr) {
        return;
    }
    makePixel();
    if (pixel == nullptr) {
        return;
    }
    // Qt's own objects of the screens: of any others on its connection, the compositor would tell Qt that its windows
    // are on them, and Qt takes one that is released meanwhile for a screen.
    auto* const native = QGuiApplication::platformNativeInterface();
    for (auto* const screen : QGuiApplication::screens()) {
        // With all outputs off, Qt has one screen without an extent.
        if (!screen->geometry().isEmpty()) {
            cover(static_cast<wl_output*>(native->nativeResourceForScreen("output", screen)));
        }
    }
    for (const auto& seat : shell.seats()) {
        listenTo(seat.name, seat.version);
    }
    shell.flush();
}

ClickCatcher::~ClickCatcher() {
    for (const auto& seat : seats) {
        if (seat.pointer != nullptr) {
            wl_pointer_release(seat.pointer);
        }
        if (seat.touch != nullptr) {
            wl_touch_release(seat.touch);
        }
        wl_seat_release(seat.seat);
    }
    for (const auto& veil : veils) {
        zwlr_layer_surface_v1_destroy(veil.layer);
        wp_viewport_destroy(veil.viewport);
        wl_surface_destroy(veil.surface);
    }
    if (pixel != nullptr) {
        wl_buffer_destroy(pixel);
    }
    shell.flush();
}

void ClickCatcher::makePixel() {
    constexpr int size = 4; // bytes; all of them zero, as of any new file
    const int file = memfd_create("nocta", MFD_CLOEXEC);
    if (file < 0) {
        return;
    }
    if (ftruncate(file, size) == 0) {
        auto* const pool = wl_shm_create_pool(shell.sharedMemory(), file, size);
        pixel = wl_shm_pool_create_buffer(pool, 0, 1, 1, size, WL_SHM_FORMAT_ARGB8888);
        wl_shm_pool_destroy(pool);
    }
    close(file);
}

void ClickCatcher::cover(wl_output* output) {
    auto* const surface = wl_compositor_create_surface(shell.compositor());
    auto* const viewport = wp_viewporter_get_viewport(shell.viewporter(), surface);
    auto* const layer = zwlr_layer_shell_v1_get_layer_surface(shell.get(), surface, output,
                                                              ZWLR_LAYER_SHELL_V1_LAYER_TOP, "nocta-click");
    auto& veil = veils.emplace_back(Veil{.catcher = this, .surface = surface, .viewport = viewport, .layer = layer});
    zwlr_layer_surface_v1_add_listener(layer, &veilListener, &veil);
    zwlr_layer_surface_v1_set_anchor(layer, ZWLR_LAYER_SURFACE_V1_ANCHOR_TOP | ZWLR_LAYER_SURFACE_V1_ANCHOR_BOTTOM |
                                                ZWLR_LAYER_SURFACE_V1_ANCHOR_LEFT | ZWLR_LAYER_SURFACE_V1_ANCHOR_RIGHT);
    // Over the panels too.
    zwlr_layer_surface_v1_set_exclusive_zone(layer, -1);
    wl_surface_commit(surface);
}

void ClickCatcher::listenTo(std::uint32_t seatName, std::uint32_t version) {
    constexpr std::uint32_t needed = 5; // one that can be released
    if (version < needed) {
        return;
    }
    auto* const bound = static_cast<wl_seat*>(wl_registry_bind(shell.registry(), seatName, &wl_seat_interface, needed));
    auto& seat = seats.emplace_back(Seat{.catcher = this, .seat = bound});
    wl_seat_add_listener(bound, &seatListener, &seat);
}

void ClickCatcher::configure(const Veil& veil, std::uint32_t serial, std::uint32_t width, std::uint32_t height) const {
    zwlr_layer_surface_v1_ack_configure(veil.layer, serial);
    if (width == 0 || height == 0) {
        return;
    }
    wp_viewport_set_destination(veil.viewport, static_cast<std::int32_t>(width), static_cast<std::int32_t>(height));
    wl_surface_attach(veil.surface, pixel, 0, 0);
    wl_surface_damage(veil.surface, 0, 0, static_cast<std::int32_t>(width), static_cast<std::int32_t>(height));
    wl_surface_commit(veil.surface);
    shell.flush();
}

bool ClickCatcher::isVeil(const wl_surface* surface) const {
    return std::ranges::any_of(veils, [surface](const Veil& veil) { return veil.surface == surface; });
}

} // namespace nocta
