#pragma once

#include "Platform/Time.h"

#include <functional>
#include <memory>

namespace nocta {

/// A running timer or watch. Destroying it ends it: its callback is not called again. It may be destroyed inside its
/// own callback.
class RunLoopSource {
  public:
    RunLoopSource() = default;
    RunLoopSource(const RunLoopSource&) = delete;
    RunLoopSource& operator=(const RunLoopSource&) = delete;
    virtual ~RunLoopSource() = default;
};

using Timer = RunLoopSource;

enum class TimerPrecision {
    coarse, ///< early or late by a tenth of the interval at most, never by over a second, so that wake-ups fall
            ///< together
    frame,  ///< as near to its instant as the system can; only while something moves on the screen
};

/// The main thread's event loop. Everything runs on it: callbacks never overlap and never fire inside the call that
/// asked for them.
///
/// Intervals count monotonic time without suspend. One that is zero, negative or not a number is due at the next turn
/// of the loop; one beyond a century is never due.
class RunLoop {
  public:
    RunLoop() = default;
    RunLoop(const RunLoop&) = delete;
    RunLoop& operator=(const RunLoop&) = delete;
    virtual ~RunLoop() = default;

    /// Fires once, `delay` from now, to the millisecond.
    [[nodiscard]] virtual std::unique_ptr<Timer> oneShot(Seconds delay, std::function<void()> callback) = 0;

    /// Fires at every multiple of `interval` from now: a late firing does not shift those after it, and firings missed
    /// while the loop was busy are skipped, not made up for.
    [[nodiscard]] virtual std::unique_ptr<Timer> repeating(Seconds interval, TimerPrecision precision,
                                                           std::function<void()> callback) = 0;

    /// Runs `task` at the next turn of the loop, after the tasks that were handed over before it.
    virtual void async(std::function<void()> task) = 0;

    /// Calls back whenever `descriptor`, which stays the caller's, has something to read, is at its end or has failed.
    [[nodiscard]] virtual std::unique_ptr<RunLoopSource> watch(int descriptor, std::function<void()> callback) = 0;
};

} // namespace nocta
