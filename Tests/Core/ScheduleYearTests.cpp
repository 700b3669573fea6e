#include "CircadianSchedulerInspector.h"
#include "Core/AppState.h"
#include "Core/ExpectedFade.h"
#include "Core/ExpectedSchedule.h"
#include "Core/FreshPlatform.h"
#include "Core/Preset.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace nocta {
namespace {

using expected::City;
using expected::utc;

struct Change {
    Instant time;
    std::string preset;

    bool operator==(const Change&) const = default;
    friend std::ostream& operator<<(std::ostream& stream, const Change& change) {
        return stream << change.preset << " at " << static_cast<std::int64_t>(change.time.time_since_epoch().count());
    }
};

/// A display that remembers of every frame when it came and what white became.
class White final : public DisplayService {
  public:
    struct Frame {
        std::chrono::nanoseconds time{0};
        double red = 0;
        double green = 0;
        double blue = 0;
    };

    explicit White(const SimulatedRunLoop& loop) : loop(loop) {}

    std::vector<Frame> frames;

    [[nodiscard]] bool isAvailable() const override { return true; }
    std::size_t activeDisplays(std::span<DisplayID> buffer) override {
        if (!buffer.empty()) {
            buffer.front() = 1;
        }
        return 1;
    }
    void load(DisplayID /*display*/, std::span<const float> red, std::span<const float> green,
              std::span<const float> blue) override {
        frames.push_back({.time = loop.elapsed(),
                          .red = static_cast<double>(red.back()),
                          .green = static_cast<double>(green.back()),
                          .blue = static_cast<double>(blue.back())});
    }
    void flush() override {}
    void reload() override { ADD_FAILURE() << "nobody asked for it"; }
    void restoreCalibration() override { ADD_FAILURE() << "nobody asked for it"; }

  private:
    const SimulatedRunLoop& loop;
};

/// 17 seconds into every minute a step, from the year's first minute in local time on.
class ScheduleYear : public testing::TestWithParam<City> {
  protected:
    ScheduleYear() {
        auto record = Platform::current();
        record.displays = &white;
        Platform::install(record);
        platform.settings.setBoolean("scheduleEnabled", true);
        for (const auto& [instant, offset] : city.changes) {
            platform.calendar.changes.push_back({.at = instant, .offset = offset});
        }
        platform.calendar.offset = city.offset;
        platform.jump(firstStep - platform.clock.now());
    }

    /// Starts the schedule with the fix of the city, lets `duration` pass and tells every change of the preset.
    std::vector<Change> changesIn(Seconds duration) {
        std::vector<Change> changes;
        const auto subscription = AppState::shared().activePresetID.observe([&](const std::string& id) {
            changes.push_back({platform.clock.now(), id});
        });
        CircadianScheduler::shared().requestLocation();
        platform.location.deliver(std::vector{Location{city.latitude, city.longitude}});
        platform.advance(Seconds(0));
        CircadianScheduler::shared().start();
        platform.advance(duration);
        return changes;
    }

    [[nodiscard]] std::vector<Change> expectedChangesIn(Seconds duration) const {
        const expected::Schedule schedule(city);
        std::vector<Change> changes;
        std::string active = "natural";
        for (Instant step = firstStep; step <= firstStep + duration; step += Seconds(60)) {
            if (const char* id = schedule.presetAt(step); id != active) {
                active = id;
                changes.push_back({step, active});
            }
        }
        return changes;
    }

    /// The frames of the fades of these changes, and no others, are what reached the display.
    void expectTheFadesOf(const std::vector<Change>& changes) const {
        auto frame = white.frames.begin();
        Factors screen;
        for (const auto& change : changes) {
            const Preset& preset = *builtInPreset(change.preset);
            const Factors target = factorsOf(preset.colorTemp, preset.brightness);
            const auto start = std::chrono::round<std::chrono::nanoseconds>(change.time - firstStep);
            const auto frames = static_cast<std::int64_t>(preset.transitionSecs * 30);
            for (std::int64_t i = 1; i <= frames; ++i, ++frame) {
                ASSERT_NE(frame, white.frames.end()) << change;
                ASSERT_EQ(frame->time, start + frameTime(i)) << change;
                const Factors factors = fadeFrame(screen, target, i, frames);
                ASSERT_NEAR(frame->red, factors.r * factors.brightness, 1e-6) << change;
                ASSERT_NEAR(frame->green, factors.g * factors.brightness, 1e-6) << change;
                ASSERT_NEAR(frame->blue, factors.b * factors.brightness, 1e-6) << change;
            }
            screen = target;
        }
        EXPECT_EQ(frame, white.frames.end()) << "a frame that no change explains";
    }

    const City& city = GetParam();
    SimulatedPlatform& platform = freshPlatform();
    White white{platform.runLoop};
    Instant firstStep = utc(std::chrono::year(2028) / std::chrono::January / 1, 0) - city.offset + Seconds(17);
};

TEST_P(ScheduleYear, EveryChangeComesAtItsMinuteAndNothingElseReachesTheDisplay) {
    constexpr Seconds leapYearAndADay = std::chrono::days(366 + 1);
    const auto expected = expectedChangesIn(leapYearAndADay);
    const auto changes = changesIn(leapYearAndADay);
    ASSERT_GT(expected.size(), 366U * 3);
    ASSERT_EQ(changes.size(), expected.size());
    for (std::size_t i = 0; i < changes.size(); ++i) {
        ASSERT_EQ(changes[i], expected[i]);
    }
    expectTheFadesOf(changes);
    EXPECT_EQ(static_cast<std::size_t>(platform.settings.synchronizations()), changes.size()) << "saved once a change";
}

INSTANTIATE_TEST_SUITE_P(In, ScheduleYear, testing::ValuesIn(expected::cities2028()),
                         [](const auto& each) { return std::string(each.param.name); });

} // namespace
} // namespace nocta
