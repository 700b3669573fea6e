#include "Core/Preset.h"

#include "Core/FatalExit.h"
#include "Core/Generators.h"

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <rapidcheck/gtest.h>

namespace nocta {
namespace {

using Json = nlohmann::json;

const std::vector<std::string> keys{"id", "name", "icon", "colorTemp", "brightness", "transitionSecs", "isBuiltIn"};

Json naturalJson() {
    return Json::parse(R"({"id":"natural","name":"Natural","icon":"sun.max","colorTemp":6500,"brightness":1,)"
                       R"("transitionSecs":1,"isBuiltIn":true})");
}

Preset sample() {
    return {"id", "Name", "icon", 4321, 0.75, 2.5, false};
}

rc::Gen<Preset> genPreset() {
    return rc::gen::apply(
        [](std::string id, std::string name, std::string icon, std::int64_t colorTemp, double brightness,
           double transitionSecs, bool isBuiltIn) {
            return Preset{std::move(id), std::move(name), std::move(icon), colorTemp,
                          brightness,    transitionSecs,  isBuiltIn};
        },
        genText(), genText(), genText(), rc::gen::arbitrary<std::int64_t>(), rc::gen::arbitrary<double>(),
        rc::gen::arbitrary<double>(), rc::gen::arbitrary<bool>());
}

TEST(Preset, TheSixShippedPresetsStandInTheirOrder) {
    ASSERT_EQ(Preset::builtIn.size(), 6U);
    EXPECT_EQ(Preset::builtIn[0], (Preset{"natural", "Natural", "sun.max", 6500, 1.0, 1.0, true}));
    EXPECT_EQ(Preset::builtIn[1], (Preset{"focus", "Focus", "brain.head.profile", 5000, 0.9, 1.5, true}));
    EXPECT_EQ(Preset::builtIn[2], (Preset{"dusk", "Dusk", "sunset", 3400, 0.8, 2.0, true}));
    EXPECT_EQ(Preset::builtIn[3], (Preset{"evening", "Evening", "moon", 2700, 0.7, 2.0, true}));
    EXPECT_EQ(Preset::builtIn[4], (Preset{"sleep", "Sleep", "zzz", 1900, 0.5, 3.0, true}));
    EXPECT_EQ(Preset::builtIn[5], (Preset{"cinema", "Cinema", "film", 4000, 1.0, 1.5, true}));
}

TEST(Preset, NaturalIsTheFirst) {
    EXPECT_EQ(Preset::natural.id, "natural");
    EXPECT_EQ(Preset::natural, Preset::builtIn[0]);
}

TEST(Preset, LookupFindsEveryShippedPreset) {
    for (const std::string id : {"natural", "focus", "dusk", "evening", "sleep", "cinema"}) {
        const Preset* found = builtInPreset(id);
        ASSERT_NE(found, nullptr) << id;
        EXPECT_EQ(found->id, id);
    }
}

TEST(Preset, LookupIsExact) {
    for (const std::string_view id :
         {"custom", "", "Natural", "NATURAL", "natural ", " natural", "natura", "naturals", "6500"}) {
        EXPECT_EQ(builtInPreset(id), nullptr) << id;
    }
    EXPECT_EQ(builtInPreset(std::string_view("natural\0", 8)), nullptr);
}

TEST(Preset, EveryFieldCountsInAComparison) {
    const Preset original = sample();
    EXPECT_EQ(original, sample());
    const auto expectUnequal = [&](auto change) {
        Preset changed = original;
        change(changed);
        EXPECT_NE(changed, original);
    };
    expectUnequal([](Preset& preset) { preset.id = "other"; });
    expectUnequal([](Preset& preset) { preset.name = "Other"; });
    expectUnequal([](Preset& preset) { preset.icon = "other"; });
    expectUnequal([](Preset& preset) { preset.colorTemp = 4322; });
    expectUnequal([](Preset& preset) { preset.brightness = 0.76; });
    expectUnequal([](Preset& preset) { preset.transitionSecs = 2.6; });
    expectUnequal([](Preset& preset) { preset.isBuiltIn = true; });
}

TEST(Preset, ColourFactorsAreThoseOfItsTemperature) {
    // The published values have four decimals.
    constexpr double halfOfLastDecimal = 0.00005;
    const auto [neutralRed, neutralGreen, neutralBlue] = Preset::natural.rgb();
    EXPECT_EQ(neutralRed, 1.0);
    EXPECT_NEAR(neutralGreen, 0.9965, halfOfLastDecimal);
    EXPECT_NEAR(neutralBlue, 0.9806, halfOfLastDecimal);
    const auto [duskRed, duskGreen, duskBlue] = builtInPreset("dusk")->rgb();
    EXPECT_EQ(duskRed, 1.0);
    EXPECT_NEAR(duskGreen, 0.7437, halfOfLastDecimal);
    EXPECT_NEAR(duskBlue, 0.5301, halfOfLastDecimal);
}

TEST(Preset, ColourFactorsFollowAChangedTemperatureAndIgnoreTheBrightness) {
    Preset preset = Preset::natural;
    preset.colorTemp = 1900;
    preset.brightness = 0.1;
    const auto [r, g, b] = preset.rgb();
    EXPECT_EQ(r, 1.0);
    EXPECT_NEAR(g, 0.5167, 0.00005);
    EXPECT_EQ(b, 0.0);
}

/// Presets of these ids, which differ in nothing else.
std::vector<Preset> presetsNamed(const std::vector<std::string>& ids) {
    std::vector<Preset> presets;
    presets.reserve(ids.size());
    for (const auto& id : ids) {
        presets.push_back({.id = id, .name = {}, .icon = {}});
    }
    return presets;
}

TEST(NextPreset, StepsThroughTheListInItsOrderAndFromTheLastToTheFirst) {
    std::string id = "natural";
    for (const std::string next : {"focus", "dusk", "evening", "sleep", "cinema", "natural"}) {
        id = nextPreset(Preset::builtIn, id).id;
        EXPECT_EQ(id, next);
    }
}

TEST(NextPreset, IsTheSecondWhereNoPresetIsActive) {
    for (const char* id : {"custom", "", "Cinema", "moonlight"}) {
        EXPECT_EQ(nextPreset(Preset::builtIn, id).id, "focus") << id;
    }
}

TEST(NextPreset, OfASinglePresetIsItself) {
    const auto presets = presetsNamed({"only"});
    EXPECT_EQ(&nextPreset(presets, "only"), &presets.front());
    EXPECT_EQ(&nextPreset(presets, "custom"), &presets.front());
}

TEST(NextPreset, FollowsTheFirstOfTwoOfOneId) {
    const auto presets = presetsNamed({"a", "b", "a", "c"});
    EXPECT_EQ(nextPreset(presets, "a").id, "b");
}

TEST(NextPresetDeathTest, AnEmptyListIsFatal) {
    EXPECT_FATAL((void)nextPreset({}, "natural"), "Division by zero in remainder operation");
}

TEST(PresetJson, NaturalEncodesAsSevenMembers) {
    EXPECT_EQ(Json(Preset::natural), naturalJson());
}

TEST(PresetJson, EncodedMembersHaveTheirTypes) {
    const Json json = Preset::natural;
    EXPECT_TRUE(json.at("id").is_string());
    EXPECT_TRUE(json.at("name").is_string());
    EXPECT_TRUE(json.at("icon").is_string());
    EXPECT_TRUE(json.at("colorTemp").is_number_integer());
    EXPECT_TRUE(json.at("brightness").is_number_float());
    EXPECT_TRUE(json.at("transitionSecs").is_number_float());
    EXPECT_TRUE(json.at("isBuiltIn").is_boolean());
    EXPECT_EQ(json.size(), keys.size());
}

TEST(PresetJson, DecodesWhatAnotherProgramMayHaveWritten) {
    // Whole numbers for the real ones, white space, another order and a member too many.
    const auto json = Json::parse(R"( { "isBuiltIn" : false, "transitionSecs":2, "brightness":0, "colorTemp":-5,
                                        "extra":[1], "icon":"", "name":"Ä", "id":"x" } )");
    EXPECT_EQ(json.get<Preset>(), (Preset{"x", "Ä", "", -5, 0.0, 2.0, false}));
}

TEST(PresetJson, EveryMemberIsRequired) {
    ASSERT_NO_THROW((void)naturalJson().get<Preset>());
    for (const auto& key : keys) {
        Json json = naturalJson();
        json.erase(key);
        EXPECT_THROW((void)json.get<Preset>(), Json::exception) << key;
    }
}

TEST(PresetJson, EveryMemberKeepsItsType) {
    const std::vector<Json> notText{nullptr, true, 1, 1.5, Json::array(), Json::object()};
    const std::vector<Json> notInteger{nullptr, true, 1.5, "6500", Json::array(), Json::object()};
    const std::vector<Json> notReal{nullptr, false, "1.0", Json::array(), Json::object()};
    const std::vector<Json> notBoolean{nullptr, 0, 1, 1.0, "true", Json::array(), Json::object()};
    const std::vector<std::pair<std::string, std::vector<Json>>> wrongValues{
        {"id", notText},         {"name", notText},           {"icon", notText},        {"colorTemp", notInteger},
        {"brightness", notReal}, {"transitionSecs", notReal}, {"isBuiltIn", notBoolean}};
    for (const auto& [key, values] : wrongValues) {
        for (const auto& value : values) {
            Json json = naturalJson();
            json[key] = value;
            EXPECT_THROW((void)json.get<Preset>(), Json::exception) << key << ": " << value;
        }
    }
}

TEST(PresetJson, WhatIsNoObjectFails) {
    for (const char* text : {"null", "[]", "6500", "\"natural\"", "true", "{}"}) {
        EXPECT_THROW((void)Json::parse(text).get<Preset>(), Json::exception) << text;
    }
}

TEST(PresetJson, TheTemperatureReachesBothEndsOfItsRangeAndNoFurther) {
    const auto decode = [](const char* number) {
        Json json = naturalJson();
        json["colorTemp"] = Json::parse(number);
        return json.get<Preset>().colorTemp;
    };
    EXPECT_EQ(decode("9223372036854775807"), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(decode("-9223372036854775808"), std::numeric_limits<std::int64_t>::min());
    EXPECT_THROW((void)decode("9223372036854775808"), Json::exception);
    EXPECT_THROW((void)decode("18446744073709551616"), Json::exception);
    EXPECT_THROW((void)decode("-9223372036854775809"), Json::exception);
}

TEST(PresetJson, AFailedDecodeLeavesThePresetAsItWas) {
    Json json = naturalJson();
    json.erase("isBuiltIn");
    Preset preset = sample();
    EXPECT_THROW(json.get_to(preset), Json::exception);
    EXPECT_EQ(preset, sample());
}

RC_GTEST_PROP(PresetJsonProperty, DecodingWhatEncodingProducedGivesAnEqualPreset, ()) {
    const Preset preset = *genPreset();
    const std::string text = Json(preset).dump();
    RC_ASSERT(Json::parse(text).get<Preset>() == preset);
}

} // namespace
} // namespace nocta
