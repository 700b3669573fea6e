#pragma once

#include "Platform/Platform.h"
#include "Platform/Simulated/InMemorySettingsStore.h"
#include "Platform/Simulated/SimulatedAppearance.h"
#include "Platform/Simulated/SimulatedApplication.h"
#include "Platform/Simulated/SimulatedClock.h"
#include "Platform/Simulated/SimulatedDisplayService.h"
#include "Platform/Simulated/SimulatedEventMonitor.h"
#include "Platform/Simulated/SimulatedLocationService.h"
#include "Platform/Simulated/SimulatedNotificationService.h"
#include "Platform/Simulated/SimulatedPopoverHost.h"
#include "Platform/Simulated/SimulatedRunLoop.h"
#include "Platform/Simulated/SimulatedStatusBar.h"
#include "Platform/Simulated/SimulatedSystemEvents.h"
#include "Platform/Simulated/SimulatedWindowHost.h"
#include "Platform/Simulated/SimulatedWorkspace.h"

namespace nocta {

/// A whole world in memory, with a clock of its own: a year runs through it in no time.
class SimulatedPlatform {
  public:
    /// Noon of 20 March 2026, UTC, unless told otherwise.
    static constexpr Instant defaultStart{Seconds(1774008000)};

    explicit SimulatedPlatform(Instant start = defaultStart) : clock(runLoop, start), notifications(runLoop) {}

    SimulatedApplication application;
    SimulatedRunLoop runLoop;
    SimulatedClock clock;
    SimulatedCalendar calendar;
    InMemorySettingsStore settings;
    SimulatedDisplayService displays;
    SimulatedLocationService location;
    SimulatedSystemEvents systemEvents;
    SimulatedWorkspace workspace;
    SimulatedEventMonitor eventMonitor;
    SimulatedNotificationService notifications;
    SimulatedStatusBar statusBar;
    SimulatedPopoverHost popovers;
    SimulatedAppearance appearance;
    SimulatedWindowHost windows{runLoop};

    /// Makes this the process's platform. It outlives every shared instance.
    void install() {
        Platform::install({.application = &application,
                           .runLoop = &runLoop,
                           .clock = &clock,
                           .calendar = &calendar,
                           .settings = &settings,
                           .displays = &displays,
                           .location = &location,
                           .systemEvents = &systemEvents,
                           .workspace = &workspace,
                           .eventMonitor = &eventMonitor,
                           .notifications = &notifications,
                           .windows = &windows,
                           .statusBar = &statusBar,
                           .popovers = &popovers,
                           .appearance = &appearance});
    }

    /// Lets time pass and fires what falls due.
    void advance(Seconds duration) { runLoop.advance(duration); }
    /// Moves the wall clock only; fires nothing.
    void jump(Seconds distance) { clock.jump(distance); }
};

} // namespace nocta
