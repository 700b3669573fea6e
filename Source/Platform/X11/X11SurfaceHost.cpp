#include "Platform/X11/X11SurfaceHost.h"

#include "Platform/X11/KeyboardKeeper.h"
#include "Platform/X11/ManagedWindow.h"
#include "Platform/X11/OverlayStacking.h"
#include "Platform/X11/QtSynchronization.h"
#include "Platform/X11/RandrScreens.h"
#include "Platform/X11/XConnection.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include <QGuiApplication>
#include <QScreen>
#include <QWindow>
#include <xcb/xfixes.h>

namespace nocta {

namespace {

/// How many pixels a logical one has on that output.
double scaleOf(const std::string& output) {
    const auto* found = QGuiApplication::primaryScreen();
    for (const auto* screen : QGuiApplication::screens()) {
        if (screen->name().toStdString() == output) {
            found = screen;
        }
    }
    return found != nullptr ? found->devicePixelRatio() : 1;
}

Screen described(const RandrScreen& screen) {
    const double scale = scaleOf(screen.output);
    return {.name = screen.output,
            .frame = {.x = screen.x / scale,
                      .y = screen.y / scale,
                      .width = screen.width / scale,
                      .height = screen.height / scale}};
}

/// The primary one, or the first; nothing where all are off.
std::optional<RandrScreen> screenToCover(const XConnection& server) {
    const auto all = randrScreens(server);
    const auto primary = std::ranges::find(all, true, &RandrScreen::isPrimary);
    if (primary != all.end()) {
        return *primary;
    }
    return all.empty() ? std::nullopt : std::optional(all.front());
}

/// Ends a contest over the top of the stack or the keyboard with a program that answers every move of ours: after a few
/// moves within a second we rest until the second is over.
class Patience {
  public:
    /// `tryAgain` is called after a rest.
    Patience(RunLoop& loop, std::function<void()> tryAgain) : loop(loop), tryAgain(std::move(tryAgain)) {}

    [[nodiscard]] bool lasts() const { return moves < movesInARow; }

    void spend() {
        ++moves;
        if (!row) {
            row = loop.oneShot(Seconds(1), [this] {
                row.reset();
                if (std::exchange(moves, 0) >= movesInARow) {
                    tryAgain();
                }
            });
        }
    }

  private:
    static constexpr int movesInARow = 10;

    RunLoop& loop;
    std::function<void()> tryAgain;
    std::unique_ptr<Timer> row;
    int moves = 0;
};

class X11Overlay final : public OverlaySurface {
  public:
    X11Overlay(QWindow& window, RunLoop& loop, std::function<void()> onTranslucencyChange)
        : window(window), onTranslucencyChange(std::move(onTranslucencyChange)), patience(loop, [this] { hold(); }) {
        if (!server.hasRandr()) {
            return;
        }
        isManaged = server.isXwayland();
        if (isManaged) {
            prepareManaged(window);
        } else {
            window.setFlags(Qt::FramelessWindowHint | Qt::BypassWindowManagerHint);
        }
        eventWatch = loop.watch(server.descriptor(), [this] { handleEvents(); });
        opacityProperty = server.atom("_NET_WM_WINDOW_OPACITY");
        watchCompositor();
        watchScreens();
        followScreen();
    }
    X11Overlay(const X11Overlay&) = delete;
    X11Overlay& operator=(const X11Overlay&) = delete;
    ~X11Overlay() override {
        releaseKeyboard();
        window.hide();
    }

    void show() override {
        if (keyboard || !server.hasRandr()) {
            return;
        }
        followScreen();
        window.create();
        synchronizeQt();
        const auto id = static_cast<xcb_window_t>(window.winId());
        select(server.root(), XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY);
        select(id, XCB_EVENT_MASK_FOCUS_CHANGE | XCB_EVENT_MASK_VISIBILITY_CHANGE);
        forbidUnredirection(id);
        if (isManaged) {
            setManagedStates(server, id, fullscreen);
            keyboard.emplace(server, id, KeyboardKeeper::Giver::windowManager);
        } else {
            stacking.emplace(server, id);
            keyboard.emplace(server, id);
        }
        followScreen();
        sendOpacity();
        if (stacking) {
            stacking->arrange();
        }
        server.synchronize();
        window.show();
        synchronizeQt();
        hold();
    }

    void takeKeyboard() override {
        wantsKeyboard = true;
        holdKeyboard();
    }

    void releaseKeyboard() override {
        if (std::exchange(wantsKeyboard, false) && keyboard) {
            keyboard->giveBack();
        }
    }

    [[nodiscard]] std::vector<std::uint32_t> pressedKeys() const override {
        std::vector<std::uint32_t> keys;
        const XReply<xcb_query_keymap_reply_t> reply(
            xcb_query_keymap_reply(server.get(), xcb_query_keymap(server.get()), nullptr));
        if (reply) {
            constexpr std::uint32_t bits = 8;
            for (std::uint32_t code = 0; code < bits * std::size(reply->keys); ++code) {
                const std::uint32_t eightKeys = reply->keys[code / bits]; // NOLINT: the reply's array is that long
                if ((eightKeys >> code % bits & 1U) != 0) {
                    keys.push_back(code);
                }
            }
        }
        return keys;
    }

    [[nodiscard]] bool isTranslucent() const override { return compositorRuns && window.format().hasAlpha(); }

    void setOpacity(double newOpacity) override {
        // Not by Qt, which may keep the request to itself until it has something else to send.
        if (std::exchange(opacity, newOpacity) != newOpacity) {
            sendOpacity();
        }
    }

  private:
    static constexpr std::array<std::string_view, 1> fullscreen{"_NET_WM_STATE_FULLSCREEN"};

    void select(xcb_window_t target, std::uint32_t events) const {
        xcb_change_window_attributes(server.get(), target, XCB_CW_EVENT_MASK, &events);
    }

    /// A compositor takes a window that covers the screen out of its hands otherwise, and flashes when it takes it
    /// back.
    void forbidUnredirection(xcb_window_t id) const {
        constexpr std::uint32_t never = 2;
        xcb_change_property(server.get(), XCB_PROP_MODE_REPLACE, id, server.atom("_NET_WM_BYPASS_COMPOSITOR"),
                            XCB_ATOM_CARDINAL, 32, 1, &never);
    }

    void sendOpacity() {
        if (!keyboard) {
            return;
        }
        const auto id = static_cast<xcb_window_t>(window.winId());
        const auto value = static_cast<std::uint32_t>(std::clamp(opacity, 0.0, 1.0) * UINT32_MAX);
        xcb_change_property(server.get(), XCB_PROP_MODE_REPLACE, id, opacityProperty, XCB_ATOM_CARDINAL, 32, 1, &value);
        server.flush();
    }

    void watchCompositor() {
        compositorSelection = server.atom("_NET_WM_CM_S" + std::to_string(server.screenNumber()));
        const auto* fixes = xcb_get_extension_data(server.get(), &xcb_xfixes_id);
        if (fixes != nullptr && fixes->present != 0) {
            // Nothing else may be asked of the extension before its version.
            const XReply<xcb_xfixes_query_version_reply_t> version(
                xcb_xfixes_query_version_reply(server.get(), xcb_xfixes_query_version(server.get(), 2, 0), nullptr));
            firstFixesEvent = fixes->first_event;
            xcb_xfixes_select_selection_input(server.get(), server.root(), compositorSelection,
                                              XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                                                  XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                                                  XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE);
        }
        compositorRuns = hasCompositor();
    }

    [[nodiscard]] bool hasCompositor() const {
        const XReply<xcb_get_selection_owner_reply_t> owner(xcb_get_selection_owner_reply(
            server.get(), xcb_get_selection_owner(server.get(), compositorSelection), nullptr));
        return owner && owner->owner != XCB_WINDOW_NONE;
    }

    void watchScreens() {
        xcb_randr_select_input(server.get(), server.root(),
                               XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE |
                                   XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE);
        server.flush();
    }

    void followScreen() {
        const auto screen = screenToCover(server);
        if (!screen) {
            return;
        }
        if (!keyboard) {
            const auto frame = described(*screen).frame;
            window.setGeometry(QRectF(frame.x, frame.y, frame.width, frame.height).toRect());
            return;
        }
        // Not in Qt's units: whole logical pixels may leave a line of the screen open.
        const std::array<std::uint32_t, 4> place{static_cast<std::uint32_t>(screen->x),
                                                 static_cast<std::uint32_t>(screen->y), screen->width, screen->height};
        xcb_configure_window(server.get(), static_cast<xcb_window_t>(window.winId()),
                             XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH |
                                 XCB_CONFIG_WINDOW_HEIGHT,
                             place.data());
        server.flush();
    }

    void handleEvents() {
        bool windowsChanged = false;
        bool windowLeft = false;
        bool focusLost = false;
        bool compositorChanged = false;
        bool screensChanged = false;
        while (const XReply<xcb_generic_event_t> event{xcb_poll_for_event(server.get())}) {
            const int type = event->response_type & 0x7f;
            switch (type) {
            case XCB_UNMAP_NOTIFY:
            case XCB_DESTROY_NOTIFY:
                windowLeft = true;
                break;
            case XCB_MAP_NOTIFY:
            case XCB_CONFIGURE_NOTIFY:
            case XCB_CIRCULATE_NOTIFY:
            case XCB_REPARENT_NOTIFY:
            case XCB_VISIBILITY_NOTIFY:
                windowsChanged = true;
                break;
            case XCB_FOCUS_OUT:
                focusLost |=
                    reinterpret_cast<const xcb_focus_out_event_t*>(event.get())->mode != XCB_NOTIFY_MODE_GRAB; // NOLINT
                break;
            default:
                compositorChanged |= firstFixesEvent != 0 && type == firstFixesEvent + XCB_XFIXES_SELECTION_NOTIFY;
                screensChanged |= type == server.firstRandrEvent() + XCB_RANDR_NOTIFY ||
                                  type == server.firstRandrEvent() + XCB_RANDR_SCREEN_CHANGE_NOTIFY;
            }
        }
        if (server.isLost()) {
            eventWatch.reset(); // whoever serves the displays ends the program
            return;
        }
        if (screensChanged) {
            followScreen();
        }
        if (windowsChanged || windowLeft) {
            holdPlace(windowLeft);
        }
        if (windowsChanged || windowLeft || focusLost) {
            holdKeyboard();
        }
        // Last: it calls out.
        if (compositorChanged) {
            const bool ran = std::exchange(compositorRuns, hasCompositor());
            if (ran != compositorRuns) {
                onTranslucencyChange();
            }
        }
    }

    void hold() {
        holdPlace(false);
        holdKeyboard();
    }

    void holdPlace(bool windowLeft) {
        if (!stacking) {
            return;
        }
        if (windowLeft && stacking->isBelowLocker()) {
            stacking->arrange();
        } else if (patience.lasts() && stacking->restore()) {
            patience.spend();
        }
    }

    void holdKeyboard() {
        if (wantsKeyboard && keyboard && !(stacking && stacking->isBelowLocker()) && patience.lasts() &&
            keyboard->take()) {
            patience.spend();
        }
    }

    XConnection server;
    QWindow& window;
    std::function<void()> onTranslucencyChange;
    std::unique_ptr<RunLoopSource> eventWatch;
    Patience patience;
    xcb_atom_t compositorSelection = XCB_ATOM_NONE;
    xcb_atom_t opacityProperty = XCB_ATOM_NONE;
    int firstFixesEvent = 0;
    bool compositorRuns = false;
    bool isManaged = false;
    std::optional<KeyboardKeeper> keyboard;  ///< since it was shown
    std::optional<OverlayStacking> stacking; ///< the same, of a window that nobody manages
    bool wantsKeyboard = false;
    double opacity = 1;
};

} // namespace

std::optional<Screen> X11SurfaceHost::mainScreen() const {
    const XConnection server;
    if (!server.hasRandr()) {
        return std::nullopt;
    }
    const auto all = randrScreens(server);
    const auto primary = std::ranges::find(all, true, &RandrScreen::isPrimary);
    return primary != all.end() ? std::optional(described(*primary)) : std::nullopt;
}

std::vector<Screen> X11SurfaceHost::screens() const {
    const XConnection server;
    std::vector<Screen> all;
    if (server.hasRandr()) {
        for (const auto& screen : randrScreens(server)) {
            all.push_back(described(screen));
        }
    }
    if (!all.empty()) {
        lastKnown = all.front();
    } else {
        all.push_back(lastKnown);
    }
    return all;
}

std::unique_ptr<OverlaySurface> X11SurfaceHost::makeOverlay(QWindow& window,
                                                            std::function<void()> onTranslucencyChange) {
    return std::make_unique<X11Overlay>(window, loop, std::move(onTranslucencyChange));
}

} // namespace nocta
