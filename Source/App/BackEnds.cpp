#include "App/BackEnds.h"

#include "App/SessionStatusBar.h"
#include "Platform/DBus/NotifierStatusItem.h"
#include "Platform/X11/EwmhWorkspace.h"
#include "Platform/X11/RandrDisplayService.h"
#include "Platform/X11/TrayStatusItem.h"
#include "Platform/X11/X11PopoverSurface.h"
#include "Platform/X11/X11SurfaceHost.h"
#include "Platform/X11/XInputEventMonitor.h"

#include <array>

#include <QCoreApplication>

namespace nocta {

namespace {

using MakeDisplayService = std::unique_ptr<DisplayService> (*)(RunLoop&, const std::function<void()>&);

std::unique_ptr<DisplayService> makeRandr(RunLoop& loop, const std::function<void()>& onServerLost) {
    const QString guard = QCoreApplication::applicationDirPath() + QStringLiteral("/nocta-guard");
    return std::make_unique<RandrDisplayService>(
        loop, RandrDisplayService::Options{.guardProgram = guard.toStdString(), .onServerLost = onServerLost});
}

constexpr std::array<MakeDisplayService, 1> displayServices{&makeRandr};

template <class Service>
using Make = std::unique_ptr<Service> (*)(RunLoop&);

template <class Service, class BackEnd>
std::unique_ptr<Service> make(RunLoop& loop) {
    return std::make_unique<BackEnd>(loop);
}

constexpr std::array<Make<Workspace>, 1> workspaces{&make<Workspace, EwmhWorkspace>};
constexpr std::array<Make<EventMonitor>, 1> eventMonitors{&make<EventMonitor, XInputEventMonitor>};

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
    return XConnection::serverName();
}

const char* reachableWindowSystem() {
    return XConnection().isLost() ? nullptr : "xcb";
}

std::unique_ptr<DisplayService> makeDisplayService(RunLoop& loop, const std::function<void()>& onServerLost) {
    return firstAvailable(displayServices, loop, onServerLost);
}

std::unique_ptr<Workspace> makeWorkspace(RunLoop& loop) {
    return firstAvailable(workspaces, loop);
}

std::unique_ptr<EventMonitor> makeEventMonitor(RunLoop& loop) {
    return firstAvailable(eventMonitors, loop);
}

std::unique_ptr<SurfaceHost> makeSurfaceHost(RunLoop& loop) {
    return std::make_unique<X11SurfaceHost>(loop);
}

std::unique_ptr<PopoverSurface> makePopoverSurface(QWindow& window) {
    return std::make_unique<X11PopoverSurface>(window);
}

std::unique_ptr<StatusBar> makeStatusBar(RunLoop& loop, const SymbolPainter& paint) {
    return std::make_unique<SessionStatusBar>(
        [paint] { return std::make_unique<NotifierStatusItem>(paint, NotifierStatusItem::ClickPlace::global); },
        [&loop, paint] { return std::make_unique<TrayStatusItem>(loop, paint); });
}

} // namespace nocta
