#pragma once

#include "Platform/Application.h"
#include "Platform/EventMonitor.h"
#include "Platform/RunLoop.h"
#include "Platform/SystemEvents.h"

#include <memory>

namespace nocta {

/// Starts and stops the program's parts, in their order. Reaches all of them through their shared instances.
class AppDelegate final : public ApplicationDelegate, private SystemEventsDelegate {
  public:
    /// Puts the user's filter on the screen at once, without a fade; with the filter off, nothing is loaded. Then
    /// starts the schedule, the profiles of applications, the breaks if they are on, the score and the shortcut.
    void applicationDidFinishLaunching() override;

    /// Stops what runs, then gives the displays back their own calibration. Settings need no saving: every change was
    /// saved when it happened.
    void applicationWillTerminate() override;

    /// Makes the next built-in preset the active one, fades to it and tells the user.
    static void cyclePreset();

  private:
    /// What a minute's timer would find out up to a minute late is found out at once; a work period starts over when
    /// the eyes had as long as a break to rest.
    void systemDidWake(Seconds asleep) override;
    void clockDidChange() override;
    void sessionDidBecomeActive() override;

    /// Brings the score up to date and counts the filtered minutes of one period of the score's timer, also at launch.
    static void updateExposureScore();

    // Both as long as the program runs.
    std::unique_ptr<Timer> scoreTimer;
    std::unique_ptr<EventMonitorToken> keyMonitor;
};

} // namespace nocta
