#include "App/BackEnds.h"

#include "App/NoDisplayService.h"
#include "App/SessionStatusBar.h"
#include "Platform/DBus/NotifierStatusItem.h"
#include "Platform/DBus/PortalEventMonitor.h"
#include "Platform/KWin/KGlobalAccelEventMonitor.h"
#include "Platform/KWin/KWinScriptWorkspace.h"
#include "Platform/KWin/NightColorDisplayService.h"
#include "Platform/Mutter/MutterDisplayService.h"
#include "Platform/Sway/SwayEventMonitor.h"
#include "Platform/Sway/SwayPanel.h"
#include "Platform/Wayland/LayerPopoverSurface.h"
#include "Platform/Wayland/LayerSurfaceHost.h"
#include "Platform/Wayland/WlrGammaDisplayService.h"
#include "Platform/Wayland/WlrToplevelWorkspace.h"
#include "Platform/WaylandClient/WaylandClient.h"
#include "Platform/X11/EwmhWorkspace.h"
#include "Platform/X11/RandrDisplayService.h"
#include "Platform/X11/TrayStatusItem.h"
#include "Platform/X11/X11PopoverSurface.h"
#include "Platform/X11/X11SurfaceHost.h"
#include "Platform/X11/XInputEventMonitor.h"

#include <array>

#include <QCoreApplication>
#include <QGuiApplication>

namespace nocta {

namespace {

using MakeDisplayService = std::unique_ptr<DisplayService> (*)(RunLoop&, const std::function<void()>&);

/// A program that stands beside this one.
std::string pathOf(const char* program) {
    return (QCoreApplication::applicationDirPath() + QLatin1Char('/') + QLatin1String(program)).toStdString();
}

std::unique_ptr<DisplayService> makeRandr(RunLoop& loop, const std::function<void()>& onServerLost) {
    return std::make_unique<RandrDisplayService>(
        loop, RandrDisplayService::Options{.guardProgram = pathOf("nocta-guard"), .onServerLost = onServerLost});
}

/// The display server's end is told by the connection that has the windows.
std::unique_ptr<DisplayService> makeMutter(RunLoop& loop, const std::function<void()>& /*onServerLost*/) {
    return std::make_unique<MutterDisplayService>(loop, pathOf("nocta-mutter-guard"));
}

std::unique_ptr<DisplayService> makeWlrGamma(RunLoop& loop, const std::function<void()>& onServerLost) {
    return std::make_unique<WlrGammaDisplayService>(loop, onServerLost);
}

std::unique_ptr<DisplayService> makeNightColor(RunLoop& loop, const std::function<void()>& onServerLost) {
    return std::make_unique<NightColorDisplayService>(loop, onServerLost);
}

constexpr std::array<MakeDisplayService, 4> displayServices{&makeWlrGamma, &makeNightColor, &makeRandr, &makeMutter};

template <class Service>
using Make = std::unique_ptr<Service> (*)(RunLoop&);

template <class Service, class BackEnd>
std::unique_ptr<Service> make(RunLoop& loop) {
    return std::make_unique<BackEnd>(loop);
}

constexpr std::array<Make<Workspace>, 3> workspaces{
    &make<Workspace, WlrToplevelWorkspace>, &make<Workspace, KWinScriptWorkspace>, &make<Workspace, EwmhWorkspace>};

std::unique_ptr<EventMonitor> makeKGlobalAccelEventMonitor(RunLoop& /*loop*/) {
    return std::make_unique<KGlobalAccelEventMonitor>();
}

std::unique_ptr<EventMonitor> makePortalEventMonitor(RunLoop& /*loop*/) {
    return std::make_unique<PortalEventMonitor>();
}

// Where it is there, KGlobalAccel asks the user nothing, unlike the portal.
constexpr std::array<Make<EventMonitor>, 3> waylandEventMonitors{
    &make<EventMonitor, SwayEventMonitor>, &makeKGlobalAccelEventMonitor, &makePortalEventMonitor};
/// The second for Xwayland, which sees no other program's keys.
constexpr std::array<Make<EventMonitor>, 2> x11EventMonitors{&make<EventMonitor, XInputEventMonitor>,
                                                             &makePortalEventMonitor};

/// Whether Qt's windows are on a Wayland compositor itself, and not on the X server that it runs for others: then that
/// server is left alone, which such a compositor starts for its first client.
bool isOnWayland() {
    return QGuiApplication::platformName() == QStringLiteral("wayland");
}

/// The first that can serve; null where none can.
template <class Makers, class... Arguments>
auto firstAvailable(const Makers& makers, Arguments&... arguments) -> decltype(makers.front()(arguments...)) {
    for (const auto make : makers) {
        if (auto service = make(arguments...); service->isAvailable()) {
            return service;
        }
    }
    return nullptr;
}

} // namespace

std::optional<std::string> displayServerName() {
    // Both have a name where a Wayland session serves X programs too, and where one of them is left from another
    // session.
    auto wayland = WaylandClient::serverName();
    if (wayland && WaylandClient::hasServer()) {
        return wayland;
    }
    const auto x11 = XConnection::serverName();
    return x11 ? x11 : wayland;
}

const char* reachableWindowSystem() {
    // Elsewhere a window of Wayland's cannot be put where an overlay or a popover belongs.
    if (WaylandClient::offers("zwlr_layer_shell_v1")) {
        return "wayland";
    }
    if (!XConnection().isLost()) {
        return "xcb";
    }
    return WaylandClient::hasServer() ? "wayland" : nullptr;
}

std::unique_ptr<DisplayService> makeDisplayService(RunLoop& loop, const std::function<void()>& onServerLost) {
    auto service = firstAvailable(displayServices, loop, onServerLost);
    if (!service && WaylandClient::hasServer()) {
        return std::make_unique<NoDisplayService>();
    }
    return service;
}

std::unique_ptr<Workspace> makeWorkspace(RunLoop& loop) {
    return firstAvailable(workspaces, loop);
}

std::unique_ptr<EventMonitor> makeEventMonitor(RunLoop& loop) {
    return isOnWayland() ? firstAvailable(waylandEventMonitors, loop) : firstAvailable(x11EventMonitors, loop);
}

std::unique_ptr<SurfaceHost> makeSurfaceHost(RunLoop& loop) {
    if (isOnWayland()) {
        return std::make_unique<LayerSurfaceHost>();
    }
    return std::make_unique<X11SurfaceHost>(loop);
}

std::unique_ptr<PopoverSurface> makePopoverSurface(QWindow& window) {
    if (isOnWayland()) {
        return std::make_unique<LayerPopoverSurface>(window, [] { return sideOfSwayPanel().value_or(Side::top); });
    }
    return std::make_unique<X11PopoverSurface>(window);
}

std::unique_ptr<StatusBar> makeStatusBar(RunLoop& loop, const SymbolPainter& paint) {
    const auto notifier = [paint] { return std::make_unique<NotifierStatusItem>(paint); };
    if (isOnWayland()) {
        return std::make_unique<SessionStatusBar>(notifier);
    }
    return std::make_unique<SessionStatusBar>(notifier,
                                              [&loop, paint] { return std::make_unique<TrayStatusItem>(loop, paint); });
}

} // namespace nocta
