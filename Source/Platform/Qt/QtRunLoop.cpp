#include "Platform/Qt/QtRunLoop.h"

#include "Platform/TimerInterval.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include <QCoreApplication>
#include <QSocketNotifier>
#include <QTimer>

namespace nocta {

namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using MonotonicClock = std::chrono::steady_clock; // CLOCK_MONOTONIC: stands still while the machine is suspended

/// Runs one callback, again and again, and survives its own destruction inside it.
class Callback {
  public:
    explicit Callback(std::function<void()> function)
        : function(std::make_shared<std::function<void()>>(std::move(function))) {}

    void operator()() const {
        const auto running = function;
        (*running)();
    }

  private:
    std::shared_ptr<std::function<void()>> function;
};

/// Fires at whole multiples of its interval after its start (or once, at the first). Each wait is measured anew from
/// the start: Qt's own repeating timers know whole milliseconds only, and 33 ms in place of 1/30 s would end a fade
/// early.
class QtTimer final : public Timer {
  public:
    QtTimer(Seconds interval, bool repeats, Qt::TimerType type, std::function<void()> callback)
        : interval(interval), repeats(repeats), callback(std::move(callback)) {
        timer.setSingleShot(true);
        timer.setTimerType(type);
        QObject::connect(&timer, &QTimer::timeout, &timer, [this] { timeOut(); });
        wait();
    }

  private:
    void wait() {
        // Qt counts in 32-bit milliseconds; a longer wait is taken in pieces.
        constexpr nanoseconds longestWait = std::chrono::days(1);
        const nanoseconds remaining = start + timerOffset(interval, count) - MonotonicClock::now();
        isPartialWait = remaining > longestWait;
        timer.start(std::chrono::ceil<milliseconds>(std::clamp(remaining, nanoseconds::zero(), longestWait)));
    }

    void timeOut() {
        if (isPartialWait) {
            wait();
            return;
        }
        if (repeats) {
            const Seconds elapsed = MonotonicClock::now() - start;
            count = std::max(count, static_cast<std::int64_t>(elapsed / interval)) + 1;
            wait();
        }
        callback(); // may destroy this timer
    }

    Seconds interval;
    bool repeats;
    Callback callback;
    MonotonicClock::time_point start = MonotonicClock::now();
    std::int64_t count = 1; ///< the firing waited for
    bool isPartialWait = false;
    QTimer timer;
};

class QtWatch final : public RunLoopSource {
  public:
    QtWatch(int descriptor, std::function<void()> function)
        : callback(std::move(function)), notifier(descriptor, QSocketNotifier::Read) {
        QObject::connect(&notifier, &QSocketNotifier::activated, &notifier, [this] { callback(); });
    }

  private:
    Callback callback;
    QSocketNotifier notifier;
};

} // namespace

std::unique_ptr<Timer> QtRunLoop::oneShot(Seconds delay, std::function<void()> callback) {
    if (!timerInterval(delay)) {
        return std::make_unique<Timer>();
    }
    // A coarse one may be half a second late, which is seen where a break's end is awaited beside its countdown.
    return std::make_unique<QtTimer>(Seconds(*timerInterval(delay)), false, Qt::PreciseTimer, std::move(callback));
}

std::unique_ptr<Timer> QtRunLoop::repeating(Seconds interval, TimerPrecision precision,
                                            std::function<void()> callback) {
    if (!timerInterval(interval)) {
        return std::make_unique<Timer>();
    }
    constexpr Seconds shortest = milliseconds(1);
    const auto type = precision == TimerPrecision::frame ? Qt::PreciseTimer : Qt::CoarseTimer;
    return std::make_unique<QtTimer>(interval > shortest ? interval : shortest, true, type, std::move(callback));
}

void QtRunLoop::async(std::function<void()> task) {
    QMetaObject::invokeMethod(QCoreApplication::instance(), std::move(task), Qt::QueuedConnection);
}

std::unique_ptr<RunLoopSource> QtRunLoop::watch(int descriptor, std::function<void()> callback) {
    return std::make_unique<QtWatch>(descriptor, std::move(callback));
}

} // namespace nocta
