#include "Core/AppState.h"
#include "Core/ExpectedFade.h"
#include "Core/FilterTimeline.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <optional>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

namespace nocta {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const Factors neutral = factorsOf(6500, 1.0);
const Factors dusk = factorsOf(3400, 0.8);
const Factors evening = factorsOf(2700, 0.7);

TEST(FilterTimeline, TellsOfAMissingWrite) {
    FilterTimeline timeline;
    timeline.expectWrite(Seconds(0), dusk);
    EXPECT_THAT(timeline.differences(), ElementsAre(HasSubstr("missing write at 0 ns")));
}

TEST(FilterTimeline, TellsOfAWriteTooMany) {
    FilterTimeline timeline;
    timeline.call([](FilterEngine& engine) { engine.applyImmediate(3400, 0.8); });
    EXPECT_THAT(timeline.differences(), ElementsAre(HasSubstr("too many write at 0 ns")));
}

TEST(FilterTimeline, TellsOfAnotherTimeOtherFactorsAndOtherDisplays) {
    FilterTimeline timeline;
    for (const double brightness : {0.8, 0.7, 0.6}) {
        timeline.call([&](FilterEngine& engine) { engine.applyImmediate(3400, brightness); });
    }
    timeline.expectWrite(Seconds(1e-9), factorsOf(3400, 0.8));
    timeline.expectWrite(Seconds(0), factorsOf(3400, 0.70001));
    timeline.expectWrite(Seconds(0), factorsOf(3400, 0.6), {1, 2});
    EXPECT_EQ(timeline.differences().size(), 3U);
}

TEST(FilterTimeline, AFadeWritesEveryFrameInItsTimeAndNoMore) {
    FilterTimeline timeline;
    timeline.advance(Seconds(0.25));
    timeline.call([](FilterEngine& engine) { engine.apply(3400, 0.8, 2.0); });
    timeline.advance(Seconds(5));
    timeline.expectFade(Seconds(0.25), untouched, dusk, 60);
    EXPECT_THAT(timeline.differences(), IsEmpty());
}

TEST(FilterTimeline, AFadeInterruptedByAnotherGoesOnFromTheScreen) {
    FilterTimeline timeline;
    timeline.call([](FilterEngine& engine) { engine.apply(3400, 0.8, 1.5); });
    timeline.advance(Seconds(0.51)); // frame 15 was at 0.5 s
    timeline.call([](FilterEngine& engine) { engine.apply(2700, 0.7, 2.0); });
    timeline.advance(Seconds(5));
    timeline.expectFrames(Seconds(0), untouched, dusk, 45, 1, 15);
    timeline.expectFade(Seconds(0.51), fadeFrame(untouched, dusk, 15, 45), evening, 60);
    EXPECT_THAT(timeline.differences(), IsEmpty());
}

TEST(FilterTimeline, AFadeAskedForAgainStaysTheFirst) {
    FilterTimeline timeline;
    timeline.call([](FilterEngine& engine) { engine.apply(3400, 0.8, 1.5); });
    for (int i = 0; i < 10; ++i) {
        timeline.advance(Seconds(0.1));
        timeline.call([](FilterEngine& engine) { engine.apply(3400, 0.8, 0.5); });
    }
    timeline.advance(Seconds(5));
    timeline.expectFade(Seconds(0), untouched, dusk, 45);
    EXPECT_THAT(timeline.differences(), IsEmpty());
}

TEST(FilterTimeline, SwitchingOffDuringAFadeLeadsToNeutral) {
    FilterTimeline timeline;
    timeline.call([](FilterEngine& engine) { engine.apply(3400, 0.8, 2.0); });
    timeline.advance(Seconds(1.01)); // frame 30 was at 1 s
    timeline.call([](FilterEngine& engine) { engine.setEnabled(false); });
    timeline.advance(Seconds(0.5));
    timeline.call([](FilterEngine& engine) { engine.apply(2700, 0.7, 1.0); }); // refused
    timeline.advance(Seconds(5));
    timeline.expectFrames(Seconds(0), untouched, dusk, 60, 1, 30);
    timeline.expectFade(Seconds(1.01), fadeFrame(untouched, dusk, 30, 60), neutral, 45);
    EXPECT_THAT(timeline.differences(), IsEmpty());
}

TEST(FilterTimeline, AnImmediateRequestDuringAFadeIsTheLastWrite) {
    FilterTimeline timeline;
    timeline.call([](FilterEngine& engine) { engine.apply(3400, 0.8, 2.0); });
    timeline.advance(Seconds(0.41)); // frame 12 was at 0.4 s
    timeline.call([](FilterEngine& engine) { engine.applyImmediate(2700, 0.7); });
    timeline.advance(Seconds(5));
    timeline.expectFrames(Seconds(0), untouched, dusk, 60, 1, 12);
    timeline.expectWrite(Seconds(0.41), evening);
    EXPECT_THAT(timeline.differences(), IsEmpty());
}

TEST(FilterTimeline, ASliderThatMovesWritesEachOfItsValuesAtOnce) {
    FilterTimeline timeline;
    for (int i = 0; i < 5; ++i) {
        const double brightness = 0.9 - 0.1 * i;
        timeline.call([&](FilterEngine& engine) { engine.applyInteractive(3400, brightness); });
        timeline.expectWrite(Seconds(0.01 * i), factorsOf(3400, brightness));
        timeline.advance(Seconds(0.01));
    }
    timeline.advance(Seconds(5));
    EXPECT_THAT(timeline.differences(), IsEmpty());
}

TEST(FilterTimeline, AResetDuringAFadeIsTheEndOfIt) {
    FilterTimeline timeline;
    timeline.call([](FilterEngine& engine) { engine.apply(3400, 0.8, 2.0); });
    timeline.advance(Seconds(0.41));
    timeline.call([](FilterEngine& engine) { engine.resetAllDisplays(); });
    timeline.advance(Seconds(5));
    timeline.call([](FilterEngine& engine) { engine.apply(2700, 0.7, 0.5); });
    timeline.advance(Seconds(5));
    timeline.expectFrames(Seconds(0), untouched, dusk, 60, 1, 12);
    timeline.expectRestore(Seconds(0.41));
    timeline.expectFade(Seconds(5.41), untouched, evening, 15);
    EXPECT_THAT(timeline.differences(), IsEmpty());
}

TEST(FilterTimeline, ADisplayPluggedInDuringAFadeGetsTheFramesThatFollow) {
    FilterTimeline timeline;
    timeline.call([](FilterEngine& engine) { engine.apply(3400, 0.8, 1.5); });
    timeline.advance(Seconds(0.51));
    timeline.plug({2, 1});
    timeline.advance(Seconds(0.5)); // up to frame 30 at 1 s
    timeline.plug({});
    timeline.advance(Seconds(0.3)); // up to frame 39 at 1.3 s
    timeline.plug({1});
    timeline.advance(Seconds(5));
    timeline.expectFrames(Seconds(0), untouched, dusk, 45, 1, 15);
    timeline.expectFrames(Seconds(0), untouched, dusk, 45, 16, 30, {2, 1});
    timeline.expectFrames(Seconds(0), untouched, dusk, 45, 31, 39, {});
    timeline.expectFrames(Seconds(0), untouched, dusk, 45, 40, 45);
    EXPECT_THAT(timeline.differences(), IsEmpty());
}

TEST(FilterTimeline, SwitchingOnAndOffInTurnFollowsTheSwitch) {
    FilterTimeline timeline;
    AppState::shared().activePresetID = "dusk";
    timeline.call([](FilterEngine& engine) { engine.setEnabled(true); });
    timeline.advance(Seconds(2));
    timeline.call([](FilterEngine& engine) { engine.setEnabled(false); });
    timeline.advance(Seconds(2));
    timeline.call([](FilterEngine& engine) { engine.setEnabled(true); });
    timeline.advance(Seconds(2));
    timeline.expectFade(Seconds(0), untouched, dusk, 45);
    timeline.expectFade(Seconds(2), dusk, neutral, 45);
    timeline.expectFade(Seconds(4), neutral, dusk, 45);
    EXPECT_THAT(timeline.differences(), IsEmpty());
}

// Properties

rc::Gen<std::int64_t> genTemperature() {
    return rc::gen::weightedOneOf<std::int64_t>({{3, rc::gen::elementOf(std::vector<std::int64_t>{6500, 3400, 2700})},
                                                 {2, rc::gen::inRange<std::int64_t>(500, 41000)}});
}

rc::Gen<double> genBrightness() {
    // 0.8015 is within the tolerance of 0.8.
    return rc::gen::weightedOneOf<double>(
        {{3, rc::gen::elementOf(std::vector<double>{1.0, 0.8, 0.8015})},
         {2, rc::gen::map(rc::gen::inRange(0, 1'500'001), [](int millionths) { return millionths / 1e6; })}});
}

bool match(const Factors& left, const Factors& right) {
    const auto a = left.values();
    const auto b = right.values();
    return std::equal(a.begin(), a.end(), b.begin(), [](double x, double y) { return std::abs(x - y) < 0.002; });
}

/// Fades are as long as a number of sixty-fourths of a second, so that their number of frames is exact.
constexpr int durationUnit = 64;

std::int64_t framesOf(int duration) {
    return std::max(1, duration * 30 / durationUnit);
}

double secondsOf(int duration) {
    return static_cast<double>(duration) / durationUnit;
}

RC_GTEST_PROP(FilterFadeProperty, EveryFrameLiesBetweenTheEndsAndTheLastIsTheTarget, ()) {
    auto& platform = freshPlatform();
    platform.displays.displays.clear(); // what is loaded would only pile up
    const auto engine = FilterEngineInspector::makeEngine();
    const FilterEngineInspector inspector(*engine);

    const auto fromTemp = *genTemperature();
    engine->applyImmediate(fromTemp, *genBrightness());
    const auto from = inspector.current().values();
    const auto temp = *genTemperature();
    const auto brightness = *genBrightness();
    const Factors target = factorsOf(temp, brightness);
    RC_PRE(!match(inspector.current(), target));
    const auto to = target.values();

    const int duration = *rc::gen::inRange(1, 5 * durationUnit + 1);
    const int flushesBefore = platform.displays.flushes();
    engine->apply(temp, brightness, secondsOf(duration));
    for (std::int64_t frame = 1; frame <= framesOf(duration); ++frame) {
        RC_ASSERT(inspector.hasTimer());
        platform.advance(frameTime(frame) - platform.runLoop.elapsed());
        RC_ASSERT(platform.displays.flushes() == flushesBefore + frame);
        const auto shown = inspector.current().values();
        for (std::size_t i = 0; i < shown.size(); ++i) {
            RC_ASSERT(shown[i] >= std::min(from[i], to[i]));
            RC_ASSERT(shown[i] <= std::max(from[i], to[i]));
        }
    }
    RC_ASSERT(inspector.current() == target);
    RC_ASSERT(!inspector.hasTimer());
}

struct Command {
    enum class Kind { apply, immediate, interactive, switchOn, switchOff, reset, choose, advance };

    Kind kind = Kind::reset;
    std::int64_t temp = 6500;
    double brightness = 1.0;
    int duration = 0;                    ///< of a fade
    std::chrono::nanoseconds passing{0}; ///< time to let pass

    friend std::ostream& operator<<(std::ostream& stream, const Command& command) {
        constexpr std::array names{"apply",     "immediate", "interactive", "switchOn",
                                   "switchOff", "reset",     "choose",      "advance"};
        return stream << names.at(static_cast<std::size_t>(command.kind)) << '{' << command.temp << " K, "
                      << command.brightness << ", " << command.duration << "/64 s, " << command.passing.count()
                      << " ns}";
    }
};

rc::Gen<Command> genCommand() {
    using Kind = Command::Kind;
    const auto kind = rc::gen::weightedElement<Kind>({{6, Kind::apply},
                                                      {2, Kind::immediate},
                                                      {1, Kind::interactive},
                                                      {2, Kind::switchOn},
                                                      {2, Kind::switchOff},
                                                      {1, Kind::reset},
                                                      {2, Kind::choose},
                                                      {8, Kind::advance}});
    return rc::gen::apply(
        [](Kind chosen, std::int64_t temp, double brightness, int duration, int passing) {
            return Command{chosen, temp, brightness, duration, std::chrono::nanoseconds(passing)};
        },
        kind, genTemperature(), genBrightness(), rc::gen::inRange(-durationUnit, 2 * durationUnit),
        rc::gen::inRange(0, 1'200'000'000));
}

/// What the engine is, said in its two states and one rule for each request.
struct Model {
    struct Fade {
        Factors from;
        Factors to;
        std::int64_t frames = 1;
        std::int64_t drawn = 0;
        std::chrono::nanoseconds start{0};
    };

    bool isEnabled = true;
    Factors current;
    std::optional<Fade> fade;
    int writes = 0;
    int restores = 0;
    std::chrono::nanoseconds now{0};
    std::int64_t chosenTemp = 6500;
    double chosenBrightness = 1.0;

    void run(const Command& command) {
        switch (command.kind) {
        case Command::Kind::apply:
            request(command.temp, command.brightness, command.duration);
            break;
        case Command::Kind::immediate:
        case Command::Kind::interactive:
            request(command.temp, command.brightness, 0);
            break;
        case Command::Kind::switchOn:
            isEnabled = true;
            request(chosenTemp, chosenBrightness, durationUnit * 3 / 2);
            break;
        case Command::Kind::switchOff:
            isEnabled = false;
            request(6500, 1.0, durationUnit * 3 / 2);
            break;
        case Command::Kind::reset:
            fade.reset();
            current = untouched;
            ++restores;
            break;
        case Command::Kind::choose:
            chosenTemp = command.temp;
            chosenBrightness = command.brightness;
            break;
        case Command::Kind::advance:
            now += command.passing;
            while (fade && fade->start + frameTime(fade->drawn + 1) <= now) {
                ++fade->drawn;
                ++writes;
                current = fadeFrame(fade->from, fade->to, fade->drawn, fade->frames);
                if (fade->drawn == fade->frames) {
                    fade.reset();
                }
            }
            break;
        }
    }

    void request(std::int64_t temp, double brightness, int duration) {
        const Factors target = factorsOf(temp, brightness);
        const bool isRefused = !isEnabled && !(temp == 6500 && brightness >= 1.0);
        if (isRefused || match(current, target) || (fade && match(fade->to, target))) {
            return;
        }
        if (duration > 0) {
            fade = Fade{current, target, framesOf(duration), 0, now};
        } else {
            fade.reset();
            current = target;
            ++writes;
        }
    }
};

void run(const Command& command, FilterEngine& engine, SimulatedPlatform& platform) {
    switch (command.kind) {
    case Command::Kind::apply:
        engine.apply(command.temp, command.brightness, secondsOf(command.duration));
        break;
    case Command::Kind::immediate:
        engine.applyImmediate(command.temp, command.brightness);
        break;
    case Command::Kind::interactive:
        engine.applyInteractive(command.temp, command.brightness);
        break;
    case Command::Kind::switchOn:
        engine.setEnabled(true);
        break;
    case Command::Kind::switchOff:
        engine.setEnabled(false);
        break;
    case Command::Kind::reset:
        engine.resetAllDisplays();
        break;
    case Command::Kind::choose:
        AppState::shared().customTemp = command.temp;
        AppState::shared().customBrightness = command.brightness;
        break;
    case Command::Kind::advance:
        platform.advance(command.passing);
        break;
    }
}

RC_GTEST_PROP(FilterEngineModel, AnySequenceOfRequestsFollowsTheTwoStates, ()) {
    auto& platform = freshPlatform();
    platform.displays.displays.clear(); // what is loaded would only pile up
    const auto engine = FilterEngineInspector::makeEngine();
    const FilterEngineInspector inspector(*engine);
    Model model;
    // The one state object is older than this engine.
    AppState::shared().activePresetID = "custom";
    AppState::shared().customTemp = model.chosenTemp;
    AppState::shared().customBrightness = model.chosenBrightness;

    for (const Command& command : *rc::gen::container<std::vector<Command>>(genCommand())) {
        run(command, *engine, platform);
        model.run(command);
        RC_ASSERT(inspector.isEnabled() == model.isEnabled);
        RC_ASSERT(areNear(inspector.current(), model.current));
        RC_ASSERT(inspector.hasTimer() == model.fade.has_value());
        RC_ASSERT(platform.runLoop.timerCount() == (model.fade ? 1U : 0U));
        RC_ASSERT(inspector.pending() == (model.fade ? std::optional(model.fade->to) : std::nullopt));
        RC_ASSERT(platform.displays.flushes() == model.writes);
        RC_ASSERT(platform.displays.restores() == model.restores);
    }
}

} // namespace
} // namespace nocta
