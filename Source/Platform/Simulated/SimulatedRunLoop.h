#pragma once

#include "Platform/RunLoop.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <map>

namespace nocta {

/// A run loop on virtual time: nothing happens until `advance`, and then everything that is due, in order of its
/// instant and, at one instant, of its scheduling. A turn of the loop takes no time, unless a callback asks for the
/// next one by a timer of no length: virtual time passes whatever is asked for.
class SimulatedRunLoop final : public RunLoop {
  public:
    using Nanoseconds = std::chrono::nanoseconds;

    /// What a timer of no length takes where it would otherwise keep virtual time from passing: if it repeats, and if a
    /// callback asks for it.
    static constexpr Nanoseconds shortestTurn = std::chrono::microseconds(100);

    /// Runs the tasks handed over, then lets time pass and fires what falls due on the way, the end included. What the
    /// callbacks schedule takes part.
    void advance(Seconds duration);

    /// Virtual time passed since the start.
    [[nodiscard]] Nanoseconds elapsed() const { return now; }

    /// Timers that are still to fire.
    [[nodiscard]] std::size_t timerCount() const { return timers.size(); }

    std::unique_ptr<Timer> oneShot(Seconds delay, std::function<void()> callback) override;
    std::unique_ptr<Timer> repeating(Seconds interval, TimerPrecision precision,
                                     std::function<void()> callback) override;
    void async(std::function<void()> task) override;
    /// Descriptors belong to the real world: the watch never calls back.
    std::unique_ptr<RunLoopSource> watch(int descriptor, std::function<void()> callback) override;

  private:
    class SimulatedTimer;
    /// Due instant, then order of scheduling.
    using Key = std::pair<Nanoseconds, std::uint64_t>;

    void runTasks();
    Key schedule(Nanoseconds due, SimulatedTimer& timer);

    Nanoseconds now{0};
    bool isAdvancing = false;
    std::uint64_t scheduled = 0;
    std::map<Key, SimulatedTimer*> timers;
    std::deque<std::function<void()>> tasks;
};

} // namespace nocta
