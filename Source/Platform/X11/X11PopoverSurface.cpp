#include "Platform/X11/X11PopoverSurface.h"

#include "Platform/X11/ManagedWindow.h"
#include "Platform/X11/QtSynchronization.h"
#include "Platform/X11/WorkArea.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <string>

#include <QGuiApplication>
#include <QScreen>
#include <QWindow>
#include <xcb/xfixes.h>

namespace nocta {

namespace {

/// In device pixels. Qt leaves a screen's origin where the server has it and scales from there.
Rectangle deviceFrame(const QScreen& screen) {
    const auto frame = screen.geometry();
    const double scale = screen.devicePixelRatio();
    return {.x = static_cast<double>(frame.x()),
            .y = static_cast<double>(frame.y()),
            .width = std::round(frame.width() * scale),
            .height = std::round(frame.height() * scale)};
}

Rectangle toLogical(const Rectangle& device, const QScreen& screen) {
    const auto origin = screen.geometry().topLeft();
    const double scale = screen.devicePixelRatio();
    return {.x = origin.x() + (device.x - origin.x()) / scale,
            .y = origin.y() + (device.y - origin.y()) / scale,
            .width = device.width / scale,
            .height = device.height / scale};
}

bool contains(const Rectangle& frame, double x, double y) {
    return x >= frame.x && x < frame.x + frame.width && y >= frame.y && y < frame.y + frame.height;
}

QScreen* screenOf(const Rectangle& anchor) {
    for (auto* screen : QGuiApplication::screens()) {
        if (contains(deviceFrame(*screen), anchor.x + anchor.width / 2, anchor.y + anchor.height / 2)) {
            return screen;
        }
    }
    return nullptr;
}

} // namespace

X11PopoverSurface::X11PopoverSurface(QWindow& window)
    : isManaged(!server.isLost() && server.isXwayland()), window(window) {
    if (isManaged) {
        prepareManaged(window);
        QObject::connect(&window, &QWindow::activeChanged, &context, [this] { keyboardMoved(); });
    } else {
        window.setFlags(Qt::FramelessWindowHint | Qt::BypassWindowManagerHint);
    }
}

X11PopoverSurface::~X11PopoverSurface() {
    hide();
}

PopoverSurroundings X11PopoverSurface::surroundings(const std::optional<Rectangle>& anchor) const {
    auto* screen = anchor ? screenOf(*anchor) : nullptr;
    const bool isOnScreen = screen != nullptr;
    if (screen == nullptr) {
        screen = QGuiApplication::primaryScreen();
    }
    if (screen == nullptr) {
        return {};
    }
    const auto frame = deviceFrame(*screen);
    const auto free = server.isLost() ? WorkArea{.area = frame} : workArea(server, frame);
    return {.workArea = toLogical(free.area, *screen),
            .anchor = isOnScreen ? std::optional(toLogical(*anchor, *screen)) : std::nullopt,
            .panelSide = free.panelSide};
}

bool X11PopoverSurface::isTranslucent() const {
    if (server.isLost() || !window.format().hasAlpha()) {
        return false;
    }
    const auto selection = server.atom("_NET_WM_CM_S" + std::to_string(server.screenNumber()));
    const XReply<xcb_get_selection_owner_reply_t> owner(
        xcb_get_selection_owner_reply(server.get(), xcb_get_selection_owner(server.get(), selection), nullptr));
    return owner && owner->owner != XCB_WINDOW_NONE;
}

void X11PopoverSurface::show(const PopoverSurroundings& /*surroundings*/, const Rectangle& frame,
                             const Rectangle& body) {
    if (server.isLost()) {
        return;
    }
    const QRect geometry(static_cast<int>(std::lround(frame.x)), static_cast<int>(std::lround(frame.y)),
                         static_cast<int>(std::ceil(frame.width)), static_cast<int>(std::ceil(frame.height)));
    if (auto* screen = QGuiApplication::screenAt(geometry.center()); screen != nullptr && screen != window.screen()) {
        window.setScreen(screen);
    }
    window.setGeometry(geometry);
    const auto id = prepareWindow();

    const double scale = window.devicePixelRatio();
    const auto device = [scale](double value) { return std::lround(value * scale); };
    const xcb_rectangle_t input{.x = static_cast<std::int16_t>(device(body.x - frame.x)),
                                .y = static_cast<std::int16_t>(device(body.y - frame.y)),
                                .width = static_cast<std::uint16_t>(device(body.width)),
                                .height = static_cast<std::uint16_t>(device(body.height))};
    // The input shape, by a region: of the two extensions that can do it the one that other back ends use as well.
    const XReply<xcb_xfixes_query_version_reply_t> version(
        xcb_xfixes_query_version_reply(server.get(), xcb_xfixes_query_version(server.get(), 2, 0), nullptr));
    if (version) {
        const auto region = xcb_generate_id(server.get());
        xcb_xfixes_create_region(server.get(), region, 1, &input);
        xcb_xfixes_set_window_shape_region(server.get(), id, XCB_SHAPE_SK_INPUT, 0, 0, region);
        xcb_xfixes_destroy_region(server.get(), region);
    }
    // Left, right, top, bottom: the part of the window that is shadow, so that a compositor draws no second one.
    const std::array<std::uint32_t, 4> extents{
        static_cast<std::uint32_t>(input.x),
        static_cast<std::uint32_t>(device(frame.width) - input.x - input.width),
        static_cast<std::uint32_t>(input.y),
        static_cast<std::uint32_t>(device(frame.height) - input.y - input.height),
    };
    xcb_change_property(server.get(), XCB_PROP_MODE_REPLACE, id, server.atom("_GTK_FRAME_EXTENTS"), XCB_ATOM_CARDINAL,
                        32, extents.size(), extents.data());
    server.synchronize();

    window.show();
    window.raise();
    synchronizeQt();
    if (!keyboard) {
        hadKeyboard = false;
        keyboard.emplace(server, id, isManaged ? KeyboardKeeper::Giver::windowManager : KeyboardKeeper::Giver::server);
    }
}

void X11PopoverSurface::takeKeyboard() {
    if (keyboard && !server.isLost()) {
        keyboard->take();
    }
}

void X11PopoverSurface::hide() {
    if (keyboard && !server.isLost()) {
        // In one go: a window manager that moves the keyboard meanwhile keeps it where it wants it.
        const ServerGrab grab(server);
        keyboard->giveBack();
    }
    keyboard.reset();
    window.hide();
}

void X11PopoverSurface::keyboardMoved() {
    if (window.isActive()) {
        hadKeyboard = keyboard.has_value();
        return;
    }
    // To a window of ours it goes while a break is on.
    if (hadKeyboard && QGuiApplication::focusWindow() == nullptr && onDismiss) {
        hadKeyboard = false;
        // Not from within the window's own event.
        QMetaObject::invokeMethod(
            &context,
            [this] {
                if (keyboard) {
                    onDismiss();
                }
            },
            Qt::QueuedConnection);
    }
}

xcb_window_t X11PopoverSurface::prepareWindow() const {
    window.create();
    synchronizeQt();
    const auto id = static_cast<xcb_window_t>(window.winId());
    if (isManaged) {
        if (!window.isVisible()) {
            setManagedStates(server, id);
        }
        return id;
    }
    const std::array types{server.atom("_NET_WM_WINDOW_TYPE_POPUP_MENU"), server.atom("_NET_WM_WINDOW_TYPE_NORMAL")};
    xcb_change_property(server.get(), XCB_PROP_MODE_REPLACE, id, server.atom("_NET_WM_WINDOW_TYPE"), XCB_ATOM_ATOM, 32,
                        types.size(), types.data());
    return id;
}

} // namespace nocta
