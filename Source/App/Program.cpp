#include "App/Program.h"

#include "App/BackEnds.h"
#include "Interface/BreakOverlay/QuickWindowHost.h"
#include "Interface/Popover/PopoverModel.h"
#include "Interface/StatusBar/QuickPopoverHost.h"
#include "Interface/StatusBar/StatusPicture.h"
#include "Platform/CombinedSystemEvents.h"
#include "Platform/DBus/BusApplicationHost.h"
#include "Platform/DBus/BusNotificationService.h"
#include "Platform/DBus/GeoClueLocationService.h"
#include "Platform/DBus/LoginSystemEvents.h"
#include "Platform/DBus/PortalAppearance.h"
#include "Platform/Platform.h"
#include "Platform/Posix/FreedMemory.h"
#include "Platform/Posix/KernelSystemEvents.h"
#include "Platform/Posix/RuntimeLock.h"
#include "Platform/Posix/SystemClock.h"
#include "Platform/Posix/TerminationSignals.h"
#include "Platform/Qt/QtApplication.h"
#include "Platform/Qt/QtRunLoop.h"
#include "Platform/Qt/QtSettingsStore.h"
#include "Remote/RemoteControl.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>

#include <unistd.h>

namespace nocta {

namespace {

int failure(const char* reason) {
    std::fprintf(stderr, "nocta: %s\n", reason);
    return 1;
}

/// Whichever connection to the server notices first. At once: nothing is left to put in order, and Qt, which would end
/// the process by itself, has no way of its own to leave a server that is gone.
void endWithoutServer() {
    // Qt's threads may notice as well, while the process ends; who returned from here would end it before its last
    // word.
    static std::atomic_flag isEnding;
    while (isEnding.test_and_set()) {
        pause();
    }
    std::fputs("nocta: the display server went away\n", stderr);
    std::_Exit(EXIT_FAILURE);
}

} // namespace

int runProgram(char** argv, ApplicationDelegate& delegate, const std::function<void()>& cyclePreset) {
    // Before there is an application, which a second launch needs not wait for and which needs a display server.
    BusApplicationHost host;
    const auto reopen = [&delegate] { delegate.applicationShouldHandleReopen(false); };
    switch (host.claim(reopen)) {
    case ApplicationHost::Claim::primary:
    case ApplicationHost::Claim::unavailable:
        break;
    case ApplicationHost::Claim::forwarded:
        return 0;
    case ApplicationHost::Claim::unanswered:
        return failure("another Nocta is running, but it does not answer");
    }

    const auto server = displayServerName();
    if (!server) {
        return failure("no display server: neither DISPLAY nor a session that Nocta knows");
    }
    // Also with a bus: two sessions of a user may share the display server and not the bus.
    RuntimeLock lock;
    if (lock.acquire("nocta-" + *server + ".lock") == RuntimeLock::Result::heldByAnother) {
        return failure("another Nocta is running on this display server");
    }
    const auto* const windowSystem = reachableWindowSystem();
    if (windowSystem == nullptr) {
        return failure("no display whose colours can be changed is reachable");
    }

    QtApplication application(windowSystem, argv, &endWithoutServer);
    QtRunLoop runLoop;
    const auto displays = makeDisplayService(runLoop, &endWithoutServer);
    if (!displays) {
        return failure("no display whose colours can be changed is reachable");
    }

    const auto workspace = makeWorkspace(runLoop);
    const auto eventMonitor = makeEventMonitor(runLoop);
    const auto surfaces = makeSurfaceHost(runLoop);
    QuickWindowHost windows(*surfaces, runLoop, &returnFreedMemory);
    const auto statusBar = makeStatusBar(runLoop, &paintStatusPicture);
    QuickPopoverHost popovers(runLoop, &makePopoverSurface, &PopoverModel::makeScene, &returnFreedMemory);
    SystemClock clock;
    SystemCalendar calendar;
    QtSettingsStore settings(QtSettingsStore::userFile());
    GeoClueLocationService location;
    KernelSystemEvents kernelEvents(runLoop);
    LoginSystemEvents loginEvents;
    CombinedSystemEvents systemEvents({&kernelEvents, &loginEvents});
    BusNotificationService notifications(runLoop);
    PortalAppearance appearance;
    Platform::install({.application = &application,
                       .runLoop = &runLoop,
                       .clock = &clock,
                       .calendar = &calendar,
                       .settings = &settings,
                       .displays = displays.get(),
                       .location = &location,
                       .systemEvents = &systemEvents,
                       .workspace = workspace.get(),
                       .eventMonitor = eventMonitor.get(),
                       .notifications = &notifications,
                       .windows = &windows,
                       .statusBar = statusBar.get(),
                       .popovers = &popovers,
                       .appearance = &appearance});
    RemoteControl remote(host.connection(), {.cyclePreset = cyclePreset, .openPopover = reopen});
    host.serve(remote);
    const TerminationSignals signals(runLoop, [&application] { application.terminate(); });
    application.run(delegate);
    return 0;
}

} // namespace nocta
