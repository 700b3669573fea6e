#include "Core/AppState.h"

#include "Core/FilterEngine.h"
#include "Core/FilterEngineInspector.h"
#include "Core/FlatJson.h"
#include "Core/FreshPlatform.h"
#include "Core/Generators.h"

#include <csignal>
#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

// The state is one for the whole process, and ctest gives each of these tests a process of its own.

namespace nocta {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::StartsWith;
using Data = InMemorySettingsStore::Data;

const std::vector<std::string> keysInOrder{
    "activePresetID",       "customTemp",    "customBrightness", "filterEnabled", "scheduleEnabled",
    "scheduleUsesLocation", "manualSunrise", "manualSunset",     "breaksEnabled", "breakIntervalMinutes",
    "breakDurationSeconds", "launchAtLogin", "showMenuBarScore", "appProfiles"};

/// 2026-03-20 00:00:00 UTC; simulated time starts at noon of that day.
constexpr double midnight = 1773964800;
constexpr double hour = 3600;

Instant at(double secondsSince1970) {
    return Instant(Seconds(secondsSince1970));
}

FilterEngineInspector engine() {
    return FilterEngineInspector(FilterEngine::shared());
}

/// A value for each of the fourteen keys, none of them the default.
std::map<std::string, InMemorySettingsStore::Value, std::less<>> otherValues() {
    return {{"activePresetID", std::string("evening")},
            {"customTemp", std::int64_t{4200}},
            {"customBrightness", 0.6},
            {"filterEnabled", false},
            {"scheduleEnabled", true},
            {"scheduleUsesLocation", false},
            {"manualSunrise", 1700000000.25},
            {"manualSunset", 1700050000.5},
            {"breaksEnabled", true},
            {"breakIntervalMinutes", std::int64_t{45}},
            {"breakDurationSeconds", std::int64_t{30}},
            {"launchAtLogin", true},
            {"showMenuBarScore", false},
            {"appProfiles", Data{R"({"org.example.editor":"focus","org.example.player":"cinema"})"}}};
}

/// Everything but the profiles is as in `otherValues`.
void expectOtherThirteen(const AppState& state) {
    EXPECT_EQ(state.activePresetID.get(), "evening");
    EXPECT_EQ(state.customTemp.get(), 4200);
    EXPECT_EQ(state.customBrightness.get(), 0.6);
    EXPECT_EQ(state.filterEnabled.get(), false);
    EXPECT_EQ(state.scheduleEnabled.get(), true);
    EXPECT_EQ(state.scheduleUsesLocation.get(), false);
    EXPECT_EQ(state.manualSunrise.get(), at(1700000000.25));
    EXPECT_EQ(state.manualSunset.get(), at(1700050000.5));
    EXPECT_EQ(state.breaksEnabled.get(), true);
    EXPECT_EQ(state.breakIntervalMinutes.get(), 45);
    EXPECT_EQ(state.breakDurationSeconds.get(), 30);
    EXPECT_EQ(state.launchAtLogin.get(), true);
    EXPECT_EQ(state.showMenuBarScore.get(), false);
}

void expectFreshStatistics(const AppState& state) {
    EXPECT_EQ(state.exposureScore.get(), 100);
    EXPECT_EQ(state.totalFilteredMinutes.get(), 0);
    EXPECT_EQ(state.breaksTaken.get(), 0);
    EXPECT_EQ(state.breaksSkipped.get(), 0);
}

/// Assigns every property its own value once more, in order of declaration.
std::vector<std::function<void()>> reassignments(AppState& state) {
    std::vector<std::function<void()>> all;
    const auto add = [&all](auto& property) {
        all.emplace_back([&property] {
            auto same = property.get();
            property = std::move(same);
        });
    };
    add(state.activePresetID);
    add(state.customTemp);
    add(state.customBrightness);
    add(state.filterEnabled);
    add(state.scheduleEnabled);
    add(state.scheduleUsesLocation);
    add(state.manualSunrise);
    add(state.manualSunset);
    add(state.breaksEnabled);
    add(state.breakIntervalMinutes);
    add(state.breakDurationSeconds);
    add(state.exposureScore);
    add(state.totalFilteredMinutes);
    add(state.breaksTaken);
    add(state.breaksSkipped);
    add(state.appProfiles);
    add(state.launchAtLogin);
    add(state.showMenuBarScore);
    return all;
}

// Starting

TEST(AppState, IsOneInstance) {
    freshPlatform();
    EXPECT_EQ(&AppState::shared(), &AppState::shared());
}

TEST(AppState, AFirstLaunchHasTheDefaults) {
    freshPlatform();
    const AppState& state = AppState::shared();
    EXPECT_EQ(state.activePresetID.get(), "natural");
    EXPECT_EQ(state.customTemp.get(), 6500);
    EXPECT_EQ(state.customBrightness.get(), 1.0);
    EXPECT_EQ(state.filterEnabled.get(), true);
    EXPECT_EQ(state.scheduleEnabled.get(), false);
    EXPECT_EQ(state.scheduleUsesLocation.get(), true);
    EXPECT_EQ(state.manualSunrise.get(), at(midnight + 6.5 * hour));
    EXPECT_EQ(state.manualSunset.get(), at(midnight + 20 * hour));
    EXPECT_EQ(state.breaksEnabled.get(), false);
    EXPECT_EQ(state.breakIntervalMinutes.get(), 20);
    EXPECT_EQ(state.breakDurationSeconds.get(), 20);
    expectFreshStatistics(state);
    EXPECT_THAT(state.appProfiles.get(), IsEmpty());
    EXPECT_EQ(state.launchAtLogin.get(), false);
    EXPECT_EQ(state.showMenuBarScore.get(), true);
}

TEST(AppState, AFirstLaunchWritesNothingAndTouchesNoDisplay) {
    auto& platform = freshPlatform();
    (void)AppState::shared();
    platform.advance(Seconds(3600));
    EXPECT_THAT(platform.settings.writes(), IsEmpty());
    EXPECT_THAT(platform.settings.values, IsEmpty());
    EXPECT_EQ(platform.settings.synchronizations(), 0);
    EXPECT_EQ(platform.runLoop.timerCount(), 0U);
    EXPECT_THAT(platform.displays.loads(), IsEmpty());
}

TEST(AppState, TheDefaultSunTimesAreThoseOfTheLocalDay) {
    auto& platform = freshPlatform();
    platform.calendar.offset = Seconds(5.5 * hour);
    EXPECT_EQ(AppState::shared().manualSunrise.get(), at(midnight + 1 * hour));
    EXPECT_EQ(AppState::shared().manualSunset.get(), at(midnight + 14.5 * hour));
}

TEST(AppState, TheDefaultSunTimesAreThoseOfYesterdayWhereItIsStillYesterday) {
    auto& platform = freshPlatform(at(midnight + 2 * hour));
    platform.calendar.offset = Seconds(-3 * hour);
    EXPECT_EQ(AppState::shared().manualSunrise.get(), at(midnight - 24 * hour + 9.5 * hour));
    EXPECT_EQ(AppState::shared().manualSunset.get(), at(midnight - 24 * hour + 23 * hour));
}

TEST(AppState, TheDefaultSunTimesHaveNoSeconds) {
    freshPlatform(at(midnight + 17 * hour + 42 * 60 + 59.75));
    EXPECT_EQ(AppState::shared().manualSunrise.get(), at(midnight + 6.5 * hour));
    EXPECT_EQ(AppState::shared().manualSunset.get(), at(midnight + 20 * hour));
}

TEST(AppState, ACalendarWithoutTheDefaultSunTimesIsFatal) {
    auto& platform = freshPlatform();
    platform.calendar.isBroken = true;
    EXPECT_EXIT((void)AppState::shared(), testing::KilledBySignal(SIGABRT), StartsWith("Fatal error: "));
}

TEST(AppState, ACalendarThatCannotExpressTodayIsFatal) {
    freshPlatform(at(std::numeric_limits<double>::infinity()));
    EXPECT_EXIT((void)AppState::shared(), testing::KilledBySignal(SIGABRT), StartsWith("Fatal error: "));
}

// Loading

TEST(AppState, LoadsEveryKey) {
    auto& platform = freshPlatform();
    platform.settings.values = otherValues();
    const AppState& state = AppState::shared();
    expectOtherThirteen(state);
    EXPECT_EQ(state.appProfiles.get(), (ProfileMap{{"org.example.editor", "focus"}, {"org.example.player", "cinema"}}));
    expectFreshStatistics(state);
    EXPECT_THAT(platform.settings.writes(), IsEmpty());
}

TEST(AppState, LoadingASwitchedOffFilterDoesNotSwitchTheEngine) {
    auto& platform = freshPlatform();
    platform.settings.values["filterEnabled"] = false;
    EXPECT_FALSE(AppState::shared().filterEnabled.get());
    EXPECT_TRUE(engine().isEnabled());
    EXPECT_FALSE(engine().hasTimer());
    EXPECT_EQ(platform.runLoop.timerCount(), 0U);
}

TEST(AppState, LoadingASwitchedOnFilterDoesNotStartAFade) {
    auto& platform = freshPlatform();
    platform.settings.values = otherValues();
    platform.settings.values["filterEnabled"] = true;
    EXPECT_TRUE(AppState::shared().filterEnabled.get());
    EXPECT_FALSE(engine().hasTimer());
    EXPECT_EQ(platform.runLoop.timerCount(), 0U);
}

TEST(AppState, AnAbsentKeyLeavesItsDefaultAlone) {
    auto& platform = freshPlatform();
    platform.settings.values["breakIntervalMinutes"] = std::int64_t{50};
    const AppState& state = AppState::shared();
    EXPECT_EQ(state.breakIntervalMinutes.get(), 50);
    EXPECT_EQ(state.breakDurationSeconds.get(), 20);
    EXPECT_EQ(state.showMenuBarScore.get(), true);
    EXPECT_EQ(state.manualSunset.get(), at(midnight + 20 * hour));
}

TEST(AppState, ValuesOutsideAnySensibleRangeAreLoadedUnchanged) {
    auto& platform = freshPlatform();
    auto& values = platform.settings.values;
    values["customTemp"] = std::int64_t{100000};
    values["customBrightness"] = -3.5;
    values["breakIntervalMinutes"] = std::numeric_limits<std::int64_t>::max();
    values["breakDurationSeconds"] = std::int64_t{-1};
    values["activePresetID"] = std::string();
    const AppState& state = AppState::shared();
    EXPECT_EQ(state.customTemp.get(), 100000);
    EXPECT_EQ(state.customBrightness.get(), -3.5);
    EXPECT_EQ(state.breakIntervalMinutes.get(), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(state.breakDurationSeconds.get(), -1);
    EXPECT_EQ(state.activePresetID.get(), "");
}

TEST(AppState, ACustomTemperatureOfZeroIsAValue) {
    auto& platform = freshPlatform();
    platform.settings.values["customTemp"] = std::int64_t{0};
    EXPECT_EQ(AppState::shared().customTemp.get(), 0);
}

TEST(AppState, ASunriseOfZeroIsTheStartOf1970AndNotAnAbsentValue) {
    auto& platform = freshPlatform();
    platform.settings.values["manualSunrise"] = 0.0;
    EXPECT_EQ(AppState::shared().manualSunrise.get(), at(0));
}

TEST(AppState, ValuesOfAnotherTypeReadAsTheStoreConvertsThem) {
    auto& platform = freshPlatform();
    auto& values = platform.settings.values;
    values["customTemp"] = std::string("warm");
    values["customBrightness"] = std::string("bright");
    values["filterEnabled"] = Data{"x"};
    values["manualSunset"] = std::string("evening");
    values["breakIntervalMinutes"] = Data{"20"};
    values["showMenuBarScore"] = std::string("maybe");
    const AppState& state = AppState::shared();
    EXPECT_EQ(state.customTemp.get(), 0);
    EXPECT_EQ(state.customBrightness.get(), 0.0);
    EXPECT_EQ(state.filterEnabled.get(), false);
    EXPECT_EQ(state.manualSunset.get(), at(0));
    EXPECT_EQ(state.breakIntervalMinutes.get(), 0);
    EXPECT_EQ(state.showMenuBarScore.get(), false);
}

TEST(AppState, AnActivePresetThatIsNoTextLeavesTheDefault) {
    auto& platform = freshPlatform();
    platform.settings.values["activePresetID"] = std::int64_t{3};
    EXPECT_EQ(AppState::shared().activePresetID.get(), "natural");
}

TEST(AppState, EmptyProfilesAreLoaded) {
    auto& platform = freshPlatform();
    platform.settings.values["appProfiles"] = Data{"{}"};
    EXPECT_THAT(AppState::shared().appProfiles.get(), IsEmpty());
}

TEST(AppState, ProfilesWithEscapesAndSpacesAreLoaded) {
    auto& platform = freshPlatform();
    platform.settings.values["appProfiles"] = Data{"\n{ \"a\\u00e4\\n\" : \"no such preset\", \"\":\"\" }\t"};
    EXPECT_EQ(AppState::shared().appProfiles.get(), (ProfileMap{{"a\xC3\xA4\n", "no such preset"}, {"", ""}}));
}

struct BadProfiles {
    const char* name;
    InMemorySettingsStore::Value value;

    friend std::ostream& operator<<(std::ostream& stream, const BadProfiles& profiles) {
        return stream << profiles.name;
    }
};

class AppStateBadProfiles : public testing::TestWithParam<BadProfiles> {};

TEST_P(AppStateBadProfiles, LeaveTheMapEmptyAndLoseNothingElse) {
    auto& platform = freshPlatform();
    platform.settings.values = otherValues();
    platform.settings.values["appProfiles"] = GetParam().value;
    AppState& state = AppState::shared();
    EXPECT_THAT(state.appProfiles.get(), IsEmpty());
    expectOtherThirteen(state);

    // They stay where they are until the next save.
    EXPECT_TRUE(platform.settings.values["appProfiles"] == GetParam().value);
    state.breaksEnabled = false;
    EXPECT_TRUE(platform.settings.values["appProfiles"] == InMemorySettingsStore::Value(Data{"{}"}));
}

INSTANTIATE_TEST_SUITE_P(
    All, AppStateBadProfiles,
    testing::Values(BadProfiles{"Text", std::string(R"({"a":"focus"})")}, BadProfiles{"Integer", std::int64_t{1}},
                    BadProfiles{"Boolean", true}, BadProfiles{"Nothing", Data{""}}, BadProfiles{"Blank", Data{" \n"}},
                    BadProfiles{"NoJson", Data{"focus"}}, BadProfiles{"JsonNull", Data{"null"}},
                    BadProfiles{"JsonArray", Data{R"(["a","focus"])"}}, BadProfiles{"JsonText", Data{R"("focus")"}},
                    BadProfiles{"JsonNumber", Data{"7"}}, BadProfiles{"NumberMember", Data{R"({"a":"focus","b":1})"}},
                    BadProfiles{"NullMember", Data{R"({"a":"focus","b":null})"}},
                    BadProfiles{"BooleanMember", Data{R"({"a":"focus","b":true})"}},
                    BadProfiles{"ObjectMember", Data{R"({"a":"focus","b":{"c":"d"}})"}},
                    BadProfiles{"ArrayMember", Data{R"({"a":"focus","b":["dusk"]})"}},
                    BadProfiles{"Truncated", Data{R"({"a":"focus","b":"du)"}},
                    BadProfiles{"WithoutItsLastBrace", Data{R"({"a":"focus")"}},
                    BadProfiles{"FollowedByMore", Data{R"({"a":"focus"}{})"}},
                    BadProfiles{"FollowedByNul", Data{std::string("{\"a\":\"focus\"}\0dusk", 18)}},
                    BadProfiles{"TrailingComma", Data{R"({"a":"focus",})"}},
                    BadProfiles{"SingleQuotes", Data{"{'a':'focus'}"}},
                    BadProfiles{"Comment", Data{R"({"a":"focus"/**/})"}},
                    BadProfiles{"InvalidUtf8", Data{"{\"a\":\"\xFF\"}"}},
                    BadProfiles{"LoneSurrogate", Data{R"({"a":"\ud800"})"}}),
    [](const auto& parameter) { return std::string(parameter.param.name); });

// Saving

TEST(AppState, TheFirstChangeWritesAllKeysInTheirOrderWithTheirTypes) {
    auto& platform = freshPlatform();
    AppState::shared().breakIntervalMinutes = 25;
    EXPECT_THAT(platform.settings.writes(), ElementsAreArray(keysInOrder));
    EXPECT_EQ(platform.settings.synchronizations(), 1);
    const std::map<std::string, InMemorySettingsStore::Value, std::less<>> expected{
        {"activePresetID", std::string("natural")},
        {"customTemp", std::int64_t{6500}},
        {"customBrightness", 1.0},
        {"filterEnabled", true},
        {"scheduleEnabled", false},
        {"scheduleUsesLocation", true},
        {"manualSunrise", midnight + 6.5 * hour},
        {"manualSunset", midnight + 20 * hour},
        {"breaksEnabled", false},
        {"breakIntervalMinutes", std::int64_t{25}},
        {"breakDurationSeconds", std::int64_t{20}},
        {"launchAtLogin", false},
        {"showMenuBarScore", true},
        {"appProfiles", Data{"{}"}}};
    EXPECT_TRUE(platform.settings.values == expected);
}

TEST(AppState, EveryPersistedAssignmentRewritesEveryKeyAndNoStatisticDoes) {
    auto& platform = freshPlatform();
    const auto all = reassignments(AppState::shared());
    ASSERT_EQ(all.size(), 18U);
    std::size_t index = 0;
    std::size_t saves = 0;
    for (const auto& reassign : all) {
        // The statistics stand eleventh to fourteenth, counted from zero.
        const bool isStatistic = index >= 11 && index <= 14;
        saves += isStatistic ? 0 : 1;
        reassign();
        ASSERT_EQ(platform.settings.writes().size(), saves * keysInOrder.size()) << index;
        ASSERT_EQ(platform.settings.synchronizations(), static_cast<int>(saves)) << index;
        ++index;
    }
    EXPECT_EQ(saves, 14U);
    for (std::size_t i = 0; i < platform.settings.writes().size(); ++i) {
        ASSERT_EQ(platform.settings.writes()[i], keysInOrder[i % keysInOrder.size()]);
    }
}

TEST(AppState, EverySettingStandsUnderItsOwnKey) {
    auto& platform = freshPlatform();
    AppState& state = AppState::shared();
    state.activePresetID = "evening";
    state.customTemp = 4200;
    state.customBrightness = 0.6;
    state.filterEnabled = false;
    state.scheduleEnabled = true;
    state.scheduleUsesLocation = false;
    state.manualSunrise = at(1700000000.25);
    state.manualSunset = at(1700050000.5);
    state.breaksEnabled = true;
    state.breakIntervalMinutes = 45;
    state.breakDurationSeconds = 30;
    state.launchAtLogin = true;
    state.showMenuBarScore = false;
    state.appProfiles = ProfileMap{{"org.example.editor", "focus"}, {"org.example.player", "cinema"}};
    auto expected = otherValues();
    auto& stored = platform.settings.values;
    // The order of the members is free.
    ASSERT_TRUE(std::holds_alternative<Data>(stored["appProfiles"]));
    const auto profiles = decodeFlatJson(std::get<Data>(stored["appProfiles"]).bytes);
    ASSERT_TRUE(profiles);
    EXPECT_EQ(*profiles,
              (std::map<std::string, std::string>{{"org.example.editor", "focus"}, {"org.example.player", "cinema"}}));
    expected.erase("appProfiles");
    stored.erase("appProfiles");
    EXPECT_TRUE(stored == expected);
}

TEST(AppState, OneProfileIsStoredAsCompactJson) {
    auto& platform = freshPlatform();
    AppState::shared().appProfiles = ProfileMap{{"org.example.editor", "focus"}};
    EXPECT_EQ(std::get<Data>(platform.settings.values["appProfiles"]).bytes, R"({"org.example.editor":"focus"})");
}

TEST(AppState, StatisticsAreNeverStored) {
    auto& platform = freshPlatform();
    AppState& state = AppState::shared();
    state.exposureScore = 12;
    state.totalFilteredMinutes = 345;
    state.breaksTaken = 6;
    state.breaksSkipped = 7;
    EXPECT_THAT(platform.settings.values, IsEmpty());
    state.launchAtLogin = true;
    EXPECT_EQ(platform.settings.values.size(), 14U);
    for (const auto& [key, value] : platform.settings.values) {
        EXPECT_THAT(keysInOrder, testing::Contains(key));
    }
}

TEST(AppState, StatisticsStartAfreshWhateverTheStoreHolds) {
    auto& platform = freshPlatform();
    for (const auto* key : {"exposureScore", "totalFilteredMinutes", "breaksTaken", "breaksSkipped"}) {
        platform.settings.values[key] = std::int64_t{55};
    }
    expectFreshStatistics(AppState::shared());
}

TEST(AppState, NothingIsClampedOnAssignment) {
    freshPlatform();
    AppState& state = AppState::shared();
    state.customTemp = -1;
    state.customBrightness = 1e300;
    state.exposureScore = 101;
    state.breakIntervalMinutes = 0;
    EXPECT_EQ(state.customTemp.get(), -1);
    EXPECT_EQ(state.customBrightness.get(), 1e300);
    EXPECT_EQ(state.exposureScore.get(), 101);
    EXPECT_EQ(state.breakIntervalMinutes.get(), 0);
}

TEST(AppState, ProfilesWithoutAnEncodingLeaveTheOldEntryAndTheOtherKeysAreWritten) {
    auto& platform = freshPlatform();
    AppState& state = AppState::shared();
    state.appProfiles = ProfileMap{{"org.example.editor", "focus"}};
    const auto thirteen = std::vector<std::string>(keysInOrder.begin(), keysInOrder.end() - 1);
    for (const auto& bad : {ProfileMap{{"a", "\xFF"}}, ProfileMap{{"\xC3", "focus"}},
                            ProfileMap{{"good", "dusk"}, {"truncated", "\xE2\x82"}}}) {
        const auto before = static_cast<std::ptrdiff_t>(platform.settings.writes().size());
        state.appProfiles = bad;
        EXPECT_EQ(state.appProfiles.get(), bad);
        const auto& writes = platform.settings.writes();
        EXPECT_THAT(std::vector<std::string>(writes.begin() + before, writes.end()), ElementsAreArray(thirteen));
        EXPECT_EQ(std::get<Data>(platform.settings.values["appProfiles"]).bytes, R"({"org.example.editor":"focus"})");
    }
    state.customTemp = 4321;
    EXPECT_EQ(std::get<std::int64_t>(platform.settings.values["customTemp"]), 4321);
    state.appProfiles = ProfileMap{{"a", "dusk"}};
    EXPECT_EQ(std::get<Data>(platform.settings.values["appProfiles"]).bytes, R"({"a":"dusk"})");
}

TEST(AppState, ProfilesWithoutAnEncodingLeaveAnAbsentEntryAbsent) {
    auto& platform = freshPlatform();
    AppState::shared().appProfiles = ProfileMap{{"a", "\xFF"}};
    EXPECT_FALSE(platform.settings.contains("appProfiles"));
    EXPECT_EQ(platform.settings.values.size(), 13U);
    EXPECT_EQ(platform.settings.synchronizations(), 1);
}

// The filter's switch

TEST(AppState, AssigningTheFilterItsOwnValueStillSavesAndStillCallsTheEngine) {
    auto& platform = freshPlatform();
    AppState& state = AppState::shared();
    state.activePresetID = "dusk";
    ASSERT_FALSE(engine().hasTimer());
    const auto before = platform.settings.writes().size();
    state.filterEnabled = true;
    EXPECT_EQ(platform.settings.writes().size(), before + 14);
    EXPECT_TRUE(engine().hasTimer()); // on its way from the untouched screen to the preset
    ASSERT_TRUE(engine().pending());
    EXPECT_EQ(engine().pending()->brightness, 0.8);
}

TEST(AppState, TheFilterSwitchReachesTheEngine) {
    freshPlatform();
    AppState& state = AppState::shared();
    state.filterEnabled = false;
    EXPECT_FALSE(engine().isEnabled());
    state.filterEnabled = true;
    EXPECT_TRUE(engine().isEnabled());
}

TEST(AppState, NoOtherAssignmentReachesTheEngine) {
    auto& platform = freshPlatform();
    AppState& state = AppState::shared();
    state.activePresetID = "sleep";
    state.customTemp = 2000;
    state.customBrightness = 0.2;
    state.scheduleEnabled = true;
    state.breaksEnabled = true;
    state.exposureScore = 3;
    EXPECT_FALSE(engine().hasTimer());
    EXPECT_THAT(platform.displays.loads(), IsEmpty());
    EXPECT_EQ(platform.displays.flushes(), 0);
}

/// Notes at every step of a save what the engine was like.
class WatchingStore final : public SettingsStore {
  public:
    std::vector<bool> enabledAtSteps;

    [[nodiscard]] bool contains(std::string_view /*key*/) const override { return false; }
    [[nodiscard]] std::optional<std::string> text(std::string_view /*key*/) const override { return std::nullopt; }
    [[nodiscard]] std::int64_t integer(std::string_view /*key*/) const override { return 0; }
    [[nodiscard]] double real(std::string_view /*key*/) const override { return 0.0; }
    [[nodiscard]] bool boolean(std::string_view /*key*/) const override { return false; }
    [[nodiscard]] std::optional<std::string> data(std::string_view /*key*/) const override { return std::nullopt; }
    void setText(std::string_view /*key*/, std::string_view /*value*/) override { note(); }
    void setInteger(std::string_view /*key*/, std::int64_t /*value*/) override { note(); }
    void setReal(std::string_view /*key*/, double /*value*/) override { note(); }
    void setBoolean(std::string_view /*key*/, bool /*value*/) override { note(); }
    void setData(std::string_view /*key*/, std::string_view /*bytes*/) override { note(); }
    void synchronize() override { note(); }

  private:
    void note() { enabledAtSteps.push_back(engine().isEnabled()); }
};

TEST(AppState, TheFilterIsSwitchedOnceEverythingIsSaved) {
    auto& platform = freshPlatform();
    static WatchingStore store;
    Platform installed = Platform::current();
    installed.settings = &store;
    Platform::install(installed);
    AppState::shared().filterEnabled = false;
    EXPECT_THAT(store.enabledAtSteps, ElementsAreArray(std::vector<bool>(15, true)));
    EXPECT_FALSE(engine().isEnabled());
    EXPECT_THAT(platform.settings.writes(), IsEmpty());
}

// Derived values

TEST(AppState, ABuiltInPresetWinsOverTheCustomValues) {
    freshPlatform();
    AppState& state = AppState::shared();
    state.customTemp = 1234;
    state.customBrightness = 0.1;
    state.activePresetID = "dusk";
    EXPECT_EQ(state.activePreset().id, "dusk");
    EXPECT_EQ(state.effectiveTemp(), 3400);
    EXPECT_EQ(state.effectiveBrightness(), 0.8);
    state.activePresetID = "sleep";
    EXPECT_EQ(state.activePreset().id, "sleep");
    EXPECT_EQ(state.effectiveTemp(), 1900);
    EXPECT_EQ(state.effectiveBrightness(), 0.5);
}

TEST(AppState, AnyOtherIdMeansTheCustomValuesAndThePresetNatural) {
    freshPlatform();
    AppState& state = AppState::shared();
    state.customTemp = 1234;
    state.customBrightness = 0.25;
    for (const auto* id : {"custom", "midnight", "", "Dusk", "dusk "}) {
        state.activePresetID = id;
        EXPECT_EQ(state.activePreset(), Preset::natural) << id;
        EXPECT_EQ(state.effectiveTemp(), 1234) << id;
        EXPECT_EQ(state.effectiveBrightness(), 0.25) << id;
    }
}

TEST(AppState, ALoadedCustomIdPutsTheLoadedCustomValuesInForce) {
    auto& platform = freshPlatform();
    platform.settings.values["activePresetID"] = std::string("custom");
    platform.settings.values["customTemp"] = std::int64_t{4321};
    platform.settings.values["customBrightness"] = 0.55;
    const AppState& state = AppState::shared();
    EXPECT_EQ(state.activePreset(), Preset::natural);
    EXPECT_EQ(state.effectiveTemp(), 4321);
    EXPECT_EQ(state.effectiveBrightness(), 0.55);
}

TEST(AppState, ALoadedStaleIdIsKeptAndActsLikeCustom) {
    auto& platform = freshPlatform();
    platform.settings.values["activePresetID"] = std::string("candle");
    platform.settings.values["customTemp"] = std::int64_t{4321};
    const AppState& state = AppState::shared();
    EXPECT_EQ(state.activePresetID.get(), "candle");
    EXPECT_EQ(state.activePreset(), Preset::natural);
    EXPECT_EQ(state.effectiveTemp(), 4321);
    EXPECT_EQ(state.effectiveBrightness(), 1.0);
}

TEST(AppState, DerivedValuesFollowEveryChange) {
    freshPlatform();
    AppState& state = AppState::shared();
    state.activePresetID = "custom";
    state.customTemp = 3000;
    EXPECT_EQ(state.effectiveTemp(), 3000);
    state.customTemp = 3100;
    EXPECT_EQ(state.effectiveTemp(), 3100);
    state.customBrightness = 0.4;
    EXPECT_EQ(state.effectiveBrightness(), 0.4);
}

// Observing

TEST(AppState, EveryAssignmentToAnyPropertyAnnouncesItself) {
    freshPlatform();
    AppState& state = AppState::shared();
    int announcements = 0;
    const auto subscription = state.observeWillChange([&] { ++announcements; });
    int expected = 0;
    for (const auto& reassign : reassignments(state)) {
        reassign();
        EXPECT_EQ(announcements, ++expected);
    }
}

TEST(AppState, TheAnnouncementComesBeforeTheValueIsStoredOrSaved) {
    auto& platform = freshPlatform();
    AppState& state = AppState::shared();
    std::vector<std::int64_t> seen;
    std::vector<std::size_t> written;
    const auto subscription = state.observeWillChange([&] {
        seen.push_back(state.customTemp.get());
        seen.push_back(state.breaksTaken.get());
        written.push_back(platform.settings.writes().size());
    });
    state.customTemp = 3000;
    state.breaksTaken = 1;
    state.customTemp = 3000;
    EXPECT_THAT(seen, ElementsAre(6500, 0, 3000, 0, 3000, 1));
    EXPECT_THAT(written, ElementsAre(0U, 14U, 14U));
}

TEST(AppState, APropertyHasAStreamOfItsOwnValues) {
    freshPlatform();
    AppState& state = AppState::shared();
    std::vector<std::string> ids;
    std::vector<std::int64_t> scores;
    std::vector<Instant> sunrises;
    const auto idStream = state.activePresetID.observe([&](const std::string& id) { ids.push_back(id); });
    const auto scoreStream = state.exposureScore.observe([&](std::int64_t score) { scores.push_back(score); });
    const auto sunriseStream = state.manualSunrise.observe([&](Instant instant) { sunrises.push_back(instant); });
    state.activePresetID = "dusk";
    state.exposureScore = 80;
    state.activePresetID = "dusk";
    state.customTemp = 5;
    state.manualSunrise = at(7);
    EXPECT_THAT(ids, ElementsAre("dusk", "dusk"));
    EXPECT_THAT(scores, ElementsAre(80));
    EXPECT_THAT(sunrises, ElementsAre(at(7)));
}

TEST(AppState, SubscriptionsEndWhenTheyAreDestroyed) {
    freshPlatform();
    AppState& state = AppState::shared();
    int wills = 0;
    int values = 0;
    {
        const auto will = state.observeWillChange([&] { ++wills; });
        const auto stream = state.customTemp.observe([&](std::int64_t) { ++values; });
        state.customTemp = 1;
    }
    state.customTemp = 2;
    EXPECT_EQ(wills, 1);
    EXPECT_EQ(values, 1);
}

TEST(AppState, SubscriptionsMayEndInsideTheirOwnCallbacks) {
    freshPlatform();
    AppState& state = AppState::shared();
    int wills = 0;
    int values = 0;
    std::optional<Subscription> will;
    std::optional<Subscription> stream;
    will = state.observeWillChange([&] {
        ++wills;
        will.reset();
    });
    stream = state.customTemp.observe([&](std::int64_t) {
        ++values;
        stream.reset();
    });
    state.customTemp = 1;
    state.customTemp = 2;
    EXPECT_EQ(wills, 1);
    EXPECT_EQ(values, 1);
}

TEST(AppState, WhereAnObserverAssignsAgainTheNewestValueIsTheOneStored) {
    auto& platform = freshPlatform();
    AppState& state = AppState::shared();
    const auto limiter = state.customTemp.observe([&](std::int64_t temp) {
        if (temp < 1000) {
            state.customTemp = 1000;
        }
    });
    state.customTemp = 3;
    EXPECT_EQ(state.customTemp.get(), 1000);
    EXPECT_EQ(std::get<std::int64_t>(platform.settings.values["customTemp"]), 1000);
}

RC_GTEST_PROP(AppStateProperty, WhatIsStoredIsWhatWasAssigned, ()) {
    static auto& platform = freshPlatform();
    AppState& state = AppState::shared();
    const auto id = *genText();
    const auto temp = *rc::gen::arbitrary<std::int64_t>();
    const auto brightness = *rc::gen::arbitrary<double>();
    const auto usesLocation = *rc::gen::arbitrary<bool>();
    const auto sunrise = *rc::gen::arbitrary<double>();
    const auto minutes = *rc::gen::arbitrary<std::int64_t>();
    const auto profiles = *genProfiles();
    state.activePresetID = id;
    state.customTemp = temp;
    state.customBrightness = brightness;
    state.scheduleUsesLocation = usesLocation;
    state.manualSunrise = at(sunrise);
    state.breakIntervalMinutes = minutes;
    state.appProfiles = profiles;

    auto& stored = platform.settings.values;
    RC_ASSERT(stored.size() == 14U);
    RC_ASSERT(std::get<std::string>(stored["activePresetID"]) == id);
    RC_ASSERT(std::get<std::int64_t>(stored["customTemp"]) == temp);
    RC_ASSERT(std::get<double>(stored["customBrightness"]) == brightness);
    RC_ASSERT(std::get<bool>(stored["scheduleUsesLocation"]) == usesLocation);
    RC_ASSERT(std::get<double>(stored["manualSunrise"]) == sunrise);
    RC_ASSERT(std::get<std::int64_t>(stored["breakIntervalMinutes"]) == minutes);
    const auto decoded = decodeFlatJson(std::get<Data>(stored["appProfiles"]).bytes);
    RC_ASSERT(decoded.has_value());
    RC_ASSERT(*decoded == (std::map<std::string, std::string>(profiles.begin(), profiles.end())));
}

} // namespace
} // namespace nocta
