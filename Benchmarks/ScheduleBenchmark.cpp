// What the schedule costs: a year of it on virtual time, and one step of it on the real clock, calendar and event loop.

#include "Core/AppState.h"
#include "Core/CircadianScheduler.h"
#include "Platform/Posix/SystemClock.h"
#include "Platform/Qt/QtRunLoop.h"
#include "Platform/Simulated/SimulatedPlatform.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <type_traits>
#include <utility>

#include <sys/resource.h>

#include <QCoreApplication>
#include <QEventLoop>

#include <benchmark/benchmark.h>

// Every allocation, the C library's own included, comes through these.

namespace {

thread_local std::size_t allocations = 0;

} // namespace

extern "C" {

// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming): the C library's names
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t nmemb, std::size_t size);
void* __libc_realloc(void* ptr, std::size_t size);

void* malloc(std::size_t size) {
    ++allocations;
    return __libc_malloc(size);
}

void* calloc(std::size_t nmemb, std::size_t size) {
    ++allocations;
    return __libc_calloc(nmemb, size);
}

void* realloc(void* ptr, std::size_t size) {
    ++allocations;
    return __libc_realloc(ptr, size);
}
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)
}

namespace {

using namespace nocta; // NOLINT(google-build-using-namespace)

/// The system's calendar, which knows what it has allocated.
class CountingCalendar final : public Calendar {
  public:
    /// Steps of the schedule, each of which asks for the offset once.
    [[nodiscard]] std::size_t steps() const { return offsets; }
    [[nodiscard]] std::size_t allocated() const { return own; }

    [[nodiscard]] std::optional<DateComponents> components(Instant instant) const override {
        return counted([&] { return calendar.components(instant); });
    }
    [[nodiscard]] std::optional<Instant> instant(const DateComponents& components) const override {
        return counted([&] { return calendar.instant(components); });
    }
    [[nodiscard]] std::optional<int> dayOfYear(Instant instant) const override {
        return counted([&] { return calendar.dayOfYear(instant); });
    }
    [[nodiscard]] Seconds offsetFromUTC(Instant instant) const override {
        ++offsets;
        return counted([&] { return calendar.offsetFromUTC(instant); });
    }

  private:
    template <class Question>
    std::invoke_result_t<Question> counted(Question question) const {
        const std::size_t before = allocations;
        auto answer = question();
        own += allocations - before;
        return answer;
    }

    SystemCalendar calendar;
    mutable std::size_t offsets = 0;
    mutable std::size_t own = 0;
};

/// Qt's event loop, where a minute takes a hundredth of a second.
class HastyRunLoop final : public RunLoop {
  public:
    std::unique_ptr<Timer> oneShot(Seconds delay, std::function<void()> callback) override {
        return loop.oneShot(delay, std::move(callback));
    }
    std::unique_ptr<Timer> repeating(Seconds interval, TimerPrecision precision,
                                     std::function<void()> callback) override {
        return loop.repeating(interval / 6000, precision, std::move(callback));
    }
    void async(std::function<void()> task) override { loop.async(std::move(task)); }
    std::unique_ptr<RunLoopSource> watch(int descriptor, std::function<void()> callback) override {
        return loop.watch(descriptor, std::move(callback));
    }

  private:
    QtRunLoop loop;
};

/// The schedule at one place, on the simulated platform, where no display notes what it is handed.
SimulatedPlatform& world() {
    static SimulatedPlatform& world = []() -> SimulatedPlatform& {
        auto& made = *new SimulatedPlatform;
        made.displays.displays.clear();
        made.settings.setBoolean("scheduleEnabled", true);
        made.install();
        constexpr Location berlin{.latitude = 52.52, .longitude = 13.4};
        CircadianScheduler::shared().requestLocation();
        made.location.deliver(std::span(&berlin, 1));
        made.advance(Seconds(60));
        return made;
    }();
    world.install();
    return world;
}

/// The same on the real clock and calendar, with nothing to change.
void settle(Calendar& calendar) {
    static SystemClock clock;
    world();
    auto record = Platform::current();
    record.clock = &clock;
    record.calendar = &calendar;
    Platform::install(record);
    CircadianScheduler::shared().tick();
}

void year(benchmark::State& state) {
    auto& platform = world();
    CircadianScheduler::shared().start();
    for ([[maybe_unused]] auto _ : state) {
        platform.advance(std::chrono::days(365));
    }
    CircadianScheduler::shared().stop();
}
BENCHMARK(year)->Unit(benchmark::kMillisecond);

/// `tick` itself.
void step(benchmark::State& state) {
    CountingCalendar calendar;
    settle(calendar);
    auto& scheduler = CircadianScheduler::shared();
    const std::size_t before = allocations;
    const std::size_t calendarBefore = calendar.allocated();
    for ([[maybe_unused]] auto _ : state) {
        scheduler.tick();
    }
    const std::size_t ofTheCalendar = calendar.allocated() - calendarBefore;
    state.counters["allocations"] = static_cast<double>(allocations - before - ofTheCalendar);
    state.counters["calendar's"] = static_cast<double>(ofTheCalendar);
    world();
}
BENCHMARK(step);

/// A step as it really comes: the timer fires, the loop turns once more, and there it is. An iteration is a hundred.
void wakeUps(benchmark::State& state) {
    constexpr std::size_t count = 100;
    CountingCalendar calendar;
    settle(calendar);
    HastyRunLoop loop;
    auto record = Platform::current();
    record.runLoop = &loop;
    Platform::install(record);
    auto& scheduler = CircadianScheduler::shared();
    scheduler.start();

    const auto switches = [] {
        rusage usage{};
        getrusage(RUSAGE_THREAD, &usage);
        return usage.ru_nvcsw; // NOLINT(cppcoreguidelines-pro-type-union-access): the C library's way to name it
    };
    QEventLoop events;
    const auto run = [&](std::size_t steps) {
        for (const std::size_t end = calendar.steps() + steps; calendar.steps() < end;) {
            events.processEvents(QEventLoop::WaitForMoreEvents);
        }
    };
    run(10); // what Qt prepares once
    const std::size_t allocationsBefore = allocations;
    const std::size_t calendarBefore = calendar.allocated();
    const std::size_t stepsBefore = calendar.steps();
    const auto switchesBefore = switches();
    for ([[maybe_unused]] auto _ : state) {
        run(count);
    }
    const auto steps = static_cast<double>(calendar.steps() - stepsBefore);
    const std::size_t ofTheCalendar = calendar.allocated() - calendarBefore;
    state.counters["allocations/step"] = static_cast<double>(allocations - allocationsBefore - ofTheCalendar) / steps;
    state.counters["wake-ups/step"] = static_cast<double>(switches() - switchesBefore) / steps;
    scheduler.stop();
    world();
}
BENCHMARK(wakeUps)->Iterations(5)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
