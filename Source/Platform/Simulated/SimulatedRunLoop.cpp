#include "Platform/Simulated/SimulatedRunLoop.h"

#include "Platform/TimerInterval.h"

#include <optional>
#include <utility>

namespace nocta {

/// Fires at `offset(1)`, and if it repeats at `offset(2)` and so on, after its start.
class SimulatedRunLoop::SimulatedTimer final : public Timer {
  public:
    SimulatedTimer(SimulatedRunLoop& loop, Seconds interval, bool repeats, std::function<void()> callback)
        : loop(loop),
          interval(wouldStopTime(loop, interval, repeats) ? shortestTurn : interval),
          repeats(repeats),
          start(loop.now),
          callback(std::make_shared<std::function<void()>>(std::move(callback))) {
        scheduleNext();
    }

    SimulatedTimer(const SimulatedTimer&) = delete;
    SimulatedTimer& operator=(const SimulatedTimer&) = delete;

    ~SimulatedTimer() override {
        if (key) {
            loop.timers.erase(*key);
        }
    }

    void fire() {
        key.reset();
        if (repeats) {
            scheduleNext();
        }
        // The callback may destroy this timer, and must outlive itself.
        const auto running = callback;
        (*running)();
    }

  private:
    static bool wouldStopTime(const SimulatedRunLoop& loop, Seconds interval, bool repeats) {
        return repeats ? !(interval > shortestTurn) : loop.isAdvancing && !(interval > Seconds::zero());
    }

    void scheduleNext() {
        ++count;
        if (const auto length = timerInterval(interval)) {
            // Odd intervals have the length zero, which is not what a multiple of them gives.
            const auto offset = *length == Nanoseconds::zero() ? *length : timerOffset(interval, count);
            key = loop.schedule(start + offset, *this);
        }
    }

    SimulatedRunLoop& loop;
    Seconds interval;
    bool repeats;
    Nanoseconds start;
    std::int64_t count = 0;
    std::shared_ptr<std::function<void()>> callback;
    std::optional<Key> key;
};

void SimulatedRunLoop::advance(Seconds duration) {
    const Nanoseconds end = now + timerInterval(duration).value();
    isAdvancing = true;
    runTasks();
    while (!timers.empty() && timers.begin()->first.first <= end) {
        const auto [key, timer] = *timers.begin();
        timers.erase(timers.begin());
        now = key.first;
        timer->fire();
        runTasks();
    }
    now = end;
    isAdvancing = false;
}

std::unique_ptr<Timer> SimulatedRunLoop::oneShot(Seconds delay, std::function<void()> callback) {
    return std::make_unique<SimulatedTimer>(*this, delay, false, std::move(callback));
}

std::unique_ptr<Timer> SimulatedRunLoop::repeating(Seconds interval, TimerPrecision /*precision*/,
                                                   std::function<void()> callback) {
    return std::make_unique<SimulatedTimer>(*this, interval, true, std::move(callback));
}

void SimulatedRunLoop::async(std::function<void()> task) {
    tasks.push_back(std::move(task));
}

std::unique_ptr<RunLoopSource> SimulatedRunLoop::watch(int /*descriptor*/, std::function<void()> /*callback*/) {
    return std::make_unique<RunLoopSource>();
}

void SimulatedRunLoop::runTasks() {
    while (!tasks.empty()) {
        const auto task = std::move(tasks.front());
        tasks.pop_front();
        task();
    }
}

SimulatedRunLoop::Key SimulatedRunLoop::schedule(Nanoseconds due, SimulatedTimer& timer) {
    const Key key{due, ++scheduled};
    timers.emplace(key, &timer);
    return key;
}

} // namespace nocta
