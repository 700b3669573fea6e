#pragma once

#include "Core/BreakOverlayWindowController.h"
#include "Core/HandedOverTimer.h"
#include "Core/Signal.h"
#include "Platform/Time.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace nocta {

/// The cycle of work and breaks: a work period of `breakIntervalMinutes`, then an overlay over the main screen for
/// `breakDurationSeconds`, and again. A break of its full length counts as taken, one that the user ends as skipped.
/// Main thread only; whoever changes a setting of the breaks calls `start`, `stop` or `restartTimer`.
///
/// An interval or a length of zero or less ends at the next turn of the run loop. Minutes beyond 64 bits of seconds
/// and tallies beyond 64 bits end in `fatalError`.
class BreakEngine {
  public:
    /// Created on first use, never destroyed.
    static BreakEngine& shared();

    /// Begins a work period, in place of whatever runs, if `breaksEnabled`.
    void start();
    /// Ends the work period or the break at once, without a fade. Nothing is counted.
    void stop();
    /// For a changed interval: what runs starts over.
    void restartTimer();
    /// Ends the break on the screen as skipped. Without one it counts all the same, and a new work period begins beside
    /// the one that runs, which still ends in a break at its time.
    void skipBreak();

    /// What is left of the work period by the interval as it is set now, never negative. Goes on falling to 0 during a
    /// break and when the cycle has ended.
    [[nodiscard]] Seconds timeUntilBreak() const;
    /// Whether a work period or a break runs, so that `restartTimer` has something to restart.
    [[nodiscard]] bool isCycleRunning() const;
    /// Whether a break is on the screen, so that `skipBreak` has something to skip.
    [[nodiscard]] bool isBreakShown() const { return overlay != nullptr; }
    /// Calls back when a break has come onto the screen, and when it has left it.
    Subscription observeBreaks(std::function<void()> callback) { return breaks.connect(std::move(callback)); }

  private:
    friend class BreakEngineInspector;

    BreakEngine();

    void scheduleNextBreak();
    void triggerBreak();
    void showBreakOverlay(std::int64_t duration);
    void endBreak();
    void dismissOverlay();

    std::unique_ptr<HandedOverTimer> workTimer;
    std::unique_ptr<HandedOverTimer> breakTimer;
    std::unique_ptr<BreakOverlayWindowController> overlay;
    Signal<> breaks;
    Instant startTime; ///< of the current work period; before the first one, of this object
    /// Timers of a work period that another one followed before it ended: they run on, also after `stop`.
    std::vector<std::unique_ptr<HandedOverTimer>> orphanedTimers;
};

} // namespace nocta
