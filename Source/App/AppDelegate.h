#pragma once

#include "Interface/StatusBar/StatusBarController.h"
#include "Platform/Application.h"
#include "Platform/EventMonitor.h"
#include "Platform/RunLoop.h"
#include "Platform/SystemEvents.h"

#include <memory>

namespace nocta {

/// Starts and stops the program's parts, in their order. Reaches all of them through their shared instances.
class AppDelegate final : public ApplicationDelegate, private SystemEventsDelegate {
  public:
    AppDelegate();

    /// Makes the item in the panel and puts the user's filter on the screen at once, without a fade; with the filter
    /// off, nothing is loaded. Then starts the schedule, the profiles of applications, the breaks if they are on, the
    /// score and the shortcut, and a moment later shows the popover.
    void applicationDidFinishLaunching() override;

    /// Stops what runs, then gives the displays back their own calibration. Settings need no saving: every change was
    /// saved when it happened.
    void applicationWillTerminate() override;

    /// Shows the popover.
    bool applicationShouldHandleReopen(bool hasVisibleWindows) override;

    /// Makes the next built-in preset the active one, fades to it, redraws the item and tells the user.
    void cyclePreset();

  private:
    /// What a minute's timer would find out up to a minute late is found out at once; a work period starts over when
    /// the eyes had as long as a break to rest.
    void systemDidWake(Seconds asleep) override;
    void clockDidChange() override;
    void sessionDidBecomeActive() override;

    /// Brings the score up to date and counts the filtered minutes of one period of the score's timer, also at launch.
    static void updateExposureScore();

    // All as long as the program runs.
    std::shared_ptr<StatusBarController> statusBar;
    std::unique_ptr<Timer> scoreTimer;
    std::unique_ptr<EventMonitorToken> keyMonitor;
    std::unique_ptr<Timer> firstOpening;
};

} // namespace nocta
