#include "Core/AppState.h"
#include "Core/BreakEngine.h"

#include "BreakEngineInspector.h"
#include "FreshPlatform.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>
#include <memory>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

namespace nocta {
namespace {

using std::chrono::nanoseconds;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr Seconds turn = SimulatedRunLoop::shortestTurn;

nanoseconds rounded(Seconds time) {
    return std::chrono::round<nanoseconds>(time);
}

/// Runs a break engine through a script on virtual time and compares everything that people see and everything counted
/// with what should have been.
class BreakTimeline {
  public:
    BreakTimeline() {
        auto& state = AppState::shared();
        state.breaksEnabled = true;
        state.breakIntervalMinutes = 20;
        state.breakDurationSeconds = 20;
        taken = state.breaksTaken.observe([this](std::int64_t) { note("taken"); });
        skipped = state.breaksSkipped.observe([this](std::int64_t) { note("skipped"); });
    }

    /// Lets time pass until `time`, and then acts.
    void at(Seconds time, const std::function<void()>& action) {
        advanceTo(time);
        action();
    }
    void advanceTo(Seconds time) { platform.advance(rounded(time) - platform.runLoop.elapsed()); }

    void skip() const { ASSERT_TRUE(platform.windows.windows().back()->pressSkip()); }

    /// What the Breaks tab does with its switch and its interval.
    void switchBreaks(bool on) const {
        AppState::shared().breaksEnabled = on;
        on ? engine->start() : engine->stop();
    }
    void setInterval(std::int64_t minutes) const {
        AppState::shared().breakIntervalMinutes = minutes;
        engine->restartTimer();
    }
    // Beside `setInterval`. NOLINTNEXTLINE(readability-convert-member-functions-to-static)
    void setLength(std::int64_t seconds) const { AppState::shared().breakDurationSeconds = seconds; }

    void expect(Seconds time, const char* event) { expected.emplace_back(rounded(time), event); }
    /// A break from `start` to `end`, which is counted as `tally` and fades out.
    void expectBreak(Seconds start, Seconds end, const char* tally) {
        expect(start, "shown");
        expect(end, tally);
        expect(end, "fades out");
        expect(end + Seconds(0.5), "closed");
    }

    /// One line for every event that is missing, and one for every event too many.
    [[nodiscard]] std::vector<std::string> differences() const {
        std::vector<Event> seen = tallies;
        for (const auto& window : platform.windows.windows()) {
            if (window->shown()) {
                seen.emplace_back(*window->shown(), "shown");
            }
            for (const auto& fade : window->fades()) {
                if (fade.alpha == 0) {
                    seen.emplace_back(fade.start, "fades out");
                }
            }
            if (window->closed()) {
                seen.emplace_back(*window->closed(), "closed");
            }
        }
        std::vector<Event> wanted = expected;
        std::ranges::sort(seen);
        std::ranges::sort(wanted);
        std::vector<Event> missing;
        std::vector<Event> tooMany;
        std::ranges::set_difference(wanted, seen, std::back_inserter(missing));
        std::ranges::set_difference(seen, wanted, std::back_inserter(tooMany));
        std::vector<std::string> lines;
        lines.reserve(missing.size() + tooMany.size());
        for (const auto& [time, event] : missing) {
            lines.push_back("missing: " + event + " at " + std::to_string(time.count()) + " ns");
        }
        for (const auto& [time, event] : tooMany) {
            lines.push_back("too many: " + event + " at " + std::to_string(time.count()) + " ns");
        }
        return lines;
    }

    SimulatedPlatform& platform = freshPlatform();
    std::unique_ptr<BreakEngine> engine = BreakEngineInspector::makeEngine();

  private:
    using Event = std::pair<nanoseconds, std::string>;

    void note(const char* event) { tallies.emplace_back(platform.runLoop.elapsed(), event); }

    Subscription taken;
    Subscription skipped;
    std::vector<Event> tallies;
    std::vector<Event> expected;
};

TEST(BreakTimeline, TellsOfMissingEventsAndOfThoseTooMany) {
    BreakTimeline timeline;
    timeline.engine->start();
    timeline.advanceTo(Seconds(1200));
    timeline.expect(Seconds(1200.5), "shown");
    EXPECT_THAT(timeline.differences(),
                ElementsAre("missing: shown at 1200500000000 ns", "too many: shown at 1200000000000 ns"));
}

TEST(BreakTimeline, AWorkingDay) {
    BreakTimeline timeline;
    timeline.engine->start();
    timeline.advanceTo(std::chrono::hours(8));
    for (Seconds start(1200); start < std::chrono::hours(8); start += Seconds(1220)) {
        timeline.expectBreak(start, start + Seconds(20), "taken");
    }
    EXPECT_THAT(timeline.differences(), IsEmpty());
    EXPECT_EQ(AppState::shared().breaksTaken.get(), 23); // 28800 s hold 23 times 1220 s
}

TEST(BreakTimeline, SkipsAtEveryMomentOfABreakShiftThoseAfterThem) {
    BreakTimeline timeline;
    timeline.engine->start();
    Seconds start(1200);
    for (const double moment : {0.0, 0.3, 0.6, 1.0, 7.7, 19.0, 19.999}) {
        const Seconds skip = start + Seconds(moment);
        timeline.at(skip, [&] { timeline.skip(); });
        timeline.expectBreak(start, skip, "skipped");
        start = skip + Seconds(1200);
    }
    timeline.advanceTo(start + Seconds(25));
    timeline.expectBreak(start, start + Seconds(20), "taken");
    EXPECT_THAT(timeline.differences(), IsEmpty());
}

TEST(BreakTimeline, SettingsChangedInTheMiddle) {
    BreakTimeline timeline;
    timeline.engine->start();
    timeline.at(Seconds(1000), [&] { timeline.setInterval(15); }); // starts over
    timeline.expectBreak(Seconds(1900), Seconds(1920), "taken");
    timeline.at(Seconds(1910), [&] { timeline.setLength(60); }); // from the next break on
    timeline.expectBreak(Seconds(2820), Seconds(2880), "taken");
    timeline.at(Seconds(3780 + 30), [&] { timeline.setInterval(60); }); // in a break: it ends at once, uncounted
    timeline.expect(Seconds(3780), "shown");
    timeline.expect(Seconds(3810), "closed");
    timeline.at(Seconds(7000), [&] { timeline.setLength(15); });
    timeline.expectBreak(Seconds(7410), Seconds(7425), "taken");
    timeline.advanceTo(Seconds(11000));
    EXPECT_THAT(timeline.differences(), IsEmpty());
}

TEST(BreakTimeline, BreaksSwitchedOffAndOnAgainAtEveryStage) {
    BreakTimeline timeline;
    timeline.engine->start();
    const auto offAndOn = [&](Seconds time) {
        timeline.at(time, [&] { timeline.switchBreaks(false); });
        timeline.at(time + Seconds(100), [&] { timeline.switchBreaks(true); });
        return time + Seconds(100 + 1200); // the next break
    };
    Seconds next = offAndOn(Seconds(600)); // at work
    timeline.expect(next, "shown");
    timeline.expect(next + Seconds(0.3), "closed");
    next = offAndOn(next + Seconds(0.3)); // fading in
    timeline.expect(next, "shown");
    timeline.expect(next + Seconds(12), "closed");
    next = offAndOn(next + Seconds(12)); // counting
    timeline.expectBreak(next, next + Seconds(20), "taken");
    next = offAndOn(next + Seconds(20.2)); // fading out
    timeline.expectBreak(next, next + Seconds(20), "taken");
    timeline.advanceTo(next + Seconds(1000));
    EXPECT_THAT(timeline.differences(), IsEmpty());
}

TEST(BreakTimeline, TheSettingAloneTurnedOffDuringABreakLetsItEnd) {
    BreakTimeline timeline;
    timeline.engine->start();
    timeline.at(Seconds(1210), [] { AppState::shared().breaksEnabled = false; });
    timeline.expectBreak(Seconds(1200), Seconds(1220), "taken");
    timeline.advanceTo(std::chrono::hours(5));
    EXPECT_THAT(timeline.differences(), IsEmpty());
    EXPECT_EQ(timeline.platform.runLoop.timerCount(), 0U);
}

TEST(BreakTimeline, BreaksOfNoLength) {
    for (const std::int64_t length : {0, -1, -1'000'000'000}) {
        BreakTimeline timeline;
        timeline.setLength(length);
        timeline.engine->start();
        timeline.advanceTo(std::chrono::hours(2));
        for (Seconds start(1200); start <= std::chrono::hours(2); start += Seconds(1200) + turn) {
            timeline.expectBreak(start, start + turn, "taken");
        }
        EXPECT_THAT(timeline.differences(), IsEmpty());
    }
}

TEST(BreakTimeline, BreaksOfOneSecondAndOfAnHour) {
    for (const std::int64_t length : {1, 3600}) {
        BreakTimeline timeline;
        timeline.setLength(length);
        timeline.engine->start();
        timeline.advanceTo(Seconds(10000));
        for (Seconds start(1200); start < Seconds(10000); start += Seconds(1200 + length)) {
            timeline.expectBreak(start, start + Seconds(length), "taken");
        }
        EXPECT_THAT(timeline.differences(), IsEmpty());
    }
}

TEST(BreakTimeline, WithoutPausesAnOverlayEndsTheFadeBeforeIt) {
    BreakTimeline timeline;
    timeline.setInterval(0); // the first turn, from outside the loop, takes no time
    Seconds start(0);
    for (int i = 0; i < 3; ++i) {
        timeline.expect(start, "shown");
        timeline.expect(start + Seconds(20), "taken");
        timeline.expect(start + Seconds(20), "fades out");
        start += Seconds(20) + turn;
        timeline.expect(start, "closed");
    }
    timeline.expect(start, "shown");
    timeline.advanceTo(start);
    EXPECT_THAT(timeline.differences(), IsEmpty());
}

// --- Whatever people do ---

struct Act {
    enum class Kind {
        pass,
        skip,
        switchOn, ///< with what the Breaks tab does then
        switchOff,
        allow, ///< the setting alone
        forbid,
        setInterval,
        assignInterval, ///< the setting alone
        setLength,
        suspend
    };

    Kind kind = Kind::pass;
    std::int64_t amount = 0; ///< milliseconds, minutes or seconds

    friend std::ostream& operator<<(std::ostream& stream, const Act& act) {
        constexpr std::array names{"pass",   "skip",     "switch on",       "switch off", "allow",
                                   "forbid", "interval", "interval's text", "length",     "suspend"};
        return stream << names.at(static_cast<std::size_t>(act.kind)) << ' ' << act.amount;
    }
};

rc::Gen<Act> genAct() {
    using Kind = Act::Kind;
    const auto genKind = rc::gen::weightedElement<Kind>({{6, Kind::pass},
                                                         {4, Kind::skip},
                                                         {1, Kind::switchOn},
                                                         {1, Kind::switchOff},
                                                         {1, Kind::allow},
                                                         {1, Kind::forbid},
                                                         {1, Kind::setInterval},
                                                         {1, Kind::assignInterval},
                                                         {1, Kind::setLength},
                                                         {1, Kind::suspend}});
    return rc::gen::mapcat(genKind, [](Kind kind) {
        auto amount = rc::gen::just<std::int64_t>(0);
        switch (kind) {
        case Kind::pass:
            amount = rc::gen::weightedOneOf<std::int64_t>({{1, rc::gen::inRange<std::int64_t>(0, 1000)},
                                                           {2, rc::gen::inRange<std::int64_t>(0, 25'000)},
                                                           {3, rc::gen::inRange<std::int64_t>(0, 2'000'000)}});
            break;
        case Kind::setInterval:
        case Kind::assignInterval:
            amount = rc::gen::element<std::int64_t>(-7, 0, 1, 15, 20, 60, 1'000'000);
            break;
        case Kind::setLength:
            amount = rc::gen::element<std::int64_t>(-1, 0, 1, 15, 20, 60, 100'000);
            break;
        case Kind::suspend:
            amount = rc::gen::inRange<std::int64_t>(0, 100'000);
            break;
        default:
            break;
        }
        return rc::gen::map(amount, [kind](std::int64_t value) { return Act{.kind = kind, .amount = value}; });
    });
}

/// The three states by the clock, and nothing else.
struct CycleModel {
    enum class State { stopped, working, onBreak };

    State state = State::stopped;
    bool enabled = false;
    std::int64_t interval = 20;
    std::int64_t length = 20;
    nanoseconds now{0};
    nanoseconds end{0};         ///< of the work period or the break
    nanoseconds periodStart{0}; ///< of the last work period, by the wall clock
    nanoseconds asleep{0};
    std::int64_t taken = 0;
    std::int64_t skipped = 0;
    std::int64_t shown = 0;
    std::int64_t stoppedBreaks = 0;

    /// `shortest`: what a period of no length takes; more than nothing when it begins inside the loop.
    void work(nanoseconds shortest) {
        if (!enabled) {
            state = State::stopped;
            return;
        }
        state = State::working;
        periodStart = now + asleep;
        end = now + std::max<nanoseconds>(std::chrono::minutes(interval), shortest);
    }

    void stop() {
        stoppedBreaks += state == State::onBreak ? 1 : 0;
        state = State::stopped;
    }

    void restart() {
        stop();
        work(nanoseconds(0));
    }

    void pass(nanoseconds time) {
        const nanoseconds last = now + time;
        while (state != State::stopped && end <= last) {
            now = end;
            if (state == State::working && !enabled) {
                state = State::stopped;
            } else if (state == State::working) {
                state = State::onBreak;
                ++shown;
                end += std::max<nanoseconds>(std::chrono::seconds(length), SimulatedRunLoop::shortestTurn);
            } else {
                ++taken;
                work(SimulatedRunLoop::shortestTurn);
            }
        }
        now = last;
    }

    void run(const Act& act) {
        switch (act.kind) {
        case Act::Kind::pass:
            pass(std::chrono::milliseconds(act.amount));
            break;
        case Act::Kind::skip:
            if (state == State::onBreak) {
                ++skipped;
                work(nanoseconds(0));
            }
            break;
        case Act::Kind::switchOn:
        case Act::Kind::switchOff:
            enabled = act.kind == Act::Kind::switchOn;
            restart();
            break;
        case Act::Kind::allow:
        case Act::Kind::forbid:
            enabled = act.kind == Act::Kind::allow;
            break;
        case Act::Kind::setInterval:
            interval = act.amount;
            restart();
            break;
        case Act::Kind::assignInterval:
            interval = act.amount;
            break;
        case Act::Kind::setLength:
            length = act.amount;
            break;
        case Act::Kind::suspend:
            asleep += std::chrono::milliseconds(act.amount);
            if (std::chrono::milliseconds(act.amount) >= std::chrono::seconds(length) && state != State::stopped) {
                restart();
            }
            break;
        }
    }
};

void run(const Act& act, const BreakTimeline& timeline) {
    switch (act.kind) {
    case Act::Kind::pass:
        timeline.platform.advance(std::chrono::milliseconds(act.amount));
        break;
    case Act::Kind::skip:
        if (!timeline.platform.windows.windows().empty()) {
            (void)timeline.platform.windows.windows().back()->pressSkip();
        }
        break;
    case Act::Kind::switchOn:
    case Act::Kind::switchOff:
        timeline.switchBreaks(act.kind == Act::Kind::switchOn);
        break;
    case Act::Kind::allow:
    case Act::Kind::forbid:
        AppState::shared().breaksEnabled = act.kind == Act::Kind::allow;
        break;
    case Act::Kind::setInterval:
        timeline.setInterval(act.amount);
        break;
    case Act::Kind::assignInterval:
        AppState::shared().breakIntervalMinutes = act.amount;
        break;
    case Act::Kind::setLength:
        timeline.setLength(act.amount);
        break;
    case Act::Kind::suspend:
        timeline.platform.jump(std::chrono::milliseconds(act.amount));
        if (std::chrono::milliseconds(act.amount) >=
                std::chrono::seconds(AppState::shared().breakDurationSeconds.get()) &&
            timeline.engine->isCycleRunning()) {
            timeline.engine->restartTimer();
        }
        break;
    }
}

RC_GTEST_PROP(BreakCycle, WhateverPeopleDoThereIsOneTimerOneOverlayAndEveryBreakIsCountedOnce, ()) {
    const BreakTimeline timeline;
    BreakEngineInspector inspector(*timeline.engine);
    auto& state = AppState::shared();
    timeline.switchBreaks(false);
    state.breaksTaken = 0;
    state.breaksSkipped = 0;
    CycleModel model;

    for (Act act : *rc::gen::container<std::vector<Act>>(genAct())) {
        if (act.kind == Act::Kind::pass && model.interval <= 0) {
            act.amount %= 200; // breaks without work between them would be thousands
        }
        run(act, timeline);
        model.run(act);

        using State = CycleModel::State;
        RC_ASSERT(timeline.engine->isCycleRunning() == (model.state != State::stopped));
        RC_ASSERT(inspector.hasWorkTimer() == (model.state == State::working));
        RC_ASSERT(inspector.hasBreakTimer() == (model.state == State::onBreak));
        RC_ASSERT(inspector.hasOverlay() == (model.state == State::onBreak));
        RC_ASSERT(inspector.orphanedTimers() == 0U);

        RC_ASSERT(state.breaksTaken.get() == model.taken);
        RC_ASSERT(state.breaksSkipped.get() == model.skipped);
        const auto& windows = timeline.platform.windows.windows();
        RC_ASSERT(static_cast<std::int64_t>(windows.size()) == model.shown);
        RC_ASSERT(std::ranges::count_if(windows, [](const auto& window) { return window->isFadingOut(); }) ==
                  model.taken + model.skipped);
        RC_ASSERT(model.taken + model.skipped + model.stoppedBreaks + (model.state == State::onBreak ? 1 : 0) ==
                  model.shown);
        RC_ASSERT(std::ranges::count_if(windows, [](const auto& window) {
                      return window->isOnScreen() && !window->isFadingOut();
                  }) == (model.state == State::onBreak ? 1 : 0));
        RC_ASSERT(timeline.platform.windows.openWindows() <= 1U);

        const Seconds left =
            Seconds(std::chrono::minutes(model.interval)) - Seconds(model.now + model.asleep - model.periodStart);
        RC_ASSERT(timeline.engine->timeUntilBreak() >= Seconds(0));
        RC_ASSERT(std::chrono::abs(timeline.engine->timeUntilBreak() - std::max(Seconds(0), left)) < Seconds(1e-5));
    }
    timeline.engine->stop();
    timeline.platform.advance(Seconds(1));
    RC_ASSERT(timeline.platform.windows.openWindows() == 0U);
    RC_ASSERT(timeline.platform.runLoop.timerCount() == 0U);
}

} // namespace
} // namespace nocta
