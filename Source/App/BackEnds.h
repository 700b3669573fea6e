#pragma once

#include "Platform/DisplayService.h"
#include "Platform/EventMonitor.h"
#include "Platform/PopoverSurface.h"
#include "Platform/RunLoop.h"
#include "Platform/StatusItem.h"
#include "Platform/SurfaceHost.h"
#include "Platform/Workspace.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

class QWindow;

namespace nocta {

/// The name of the display server of this session, the same for every program that means the same server; nothing where
/// the environment names none that a back end knows.
[[nodiscard]] std::optional<std::string> displayServerName();

/// Qt's name of the window system of that server, if the server answers; null where none does.
[[nodiscard]] const char* reachableWindowSystem();

/// The first display back end that can serve this session, in order of preference. Where none can, a Wayland session
/// gets one that does nothing, as everything but the filter works there; any other gets null. `onServerLost` is called
/// from the run loop when the server it serves has gone.
[[nodiscard]] std::unique_ptr<DisplayService> makeDisplayService(RunLoop& loop,
                                                                 const std::function<void()>& onServerLost);

/// The same of those that tell which application is in front, and of those that see keys and clicks in other programs.
/// Null where this session lets nobody know.
[[nodiscard]] std::unique_ptr<Workspace> makeWorkspace(RunLoop& loop);
[[nodiscard]] std::unique_ptr<EventMonitor> makeEventMonitor(RunLoop& loop);

/// Who places this program's windows on the reachable window system; never null. Needs Qt's application.
[[nodiscard]] std::unique_ptr<SurfaceHost> makeSurfaceHost(RunLoop& loop);
[[nodiscard]] std::unique_ptr<PopoverSurface> makePopoverSurface(QWindow& window);

/// Where this session shows status items, with pictures drawn by `paint`: in panels that know StatusNotifierItems, else
/// in the system tray. Never null.
[[nodiscard]] std::unique_ptr<StatusBar> makeStatusBar(RunLoop& loop, const SymbolPainter& paint);

} // namespace nocta
