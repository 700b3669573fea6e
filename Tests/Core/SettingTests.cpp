#include "Core/Setting.h"

#include "Core/FlatJson.h"
#include "Core/Generators.h"
#include "Platform/Simulated/InMemorySettingsStore.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

namespace nocta {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Data = InMemorySettingsStore::Data;

/// One setting of each type. Unlike the shared state, it can be loaded as often as a test likes.
class Settings : public SettingsObject {
  public:
    explicit Settings(SettingsStore& store) {
        moveToEnd(profiles);
        defaults = &store;
        loadDefaults();
        isInitializing = false;
    }

    static void note(const bool& value) { noted.push_back(value); }
    static inline std::vector<bool> noted;

    Setting<std::string> text{*this, "text", "default"};
    Setting<ProfileMap> profiles{*this, "profiles", {{"a", "b"}}};
    Setting<std::int64_t> integer{*this, "integer", 7};
    Setting<double> real{*this, "real", 0.5};
    Setting<bool> boolean{*this, "boolean", true, &Settings::note};
    Setting<Instant> instant{*this, "instant", Instant(Seconds(1000))};
};

TEST(Setting, AnEmptyStoreLeavesTheDefaultsAndIsNotWritten) {
    InMemorySettingsStore store;
    const Settings settings(store);
    EXPECT_EQ(settings.text.get(), "default");
    EXPECT_EQ(settings.integer.get(), 7);
    EXPECT_EQ(settings.real.get(), 0.5);
    EXPECT_EQ(settings.boolean.get(), true);
    EXPECT_EQ(settings.instant.get(), Instant(Seconds(1000)));
    EXPECT_EQ(settings.profiles.get(), (ProfileMap{{"a", "b"}}));
    EXPECT_THAT(store.writes(), IsEmpty());
    EXPECT_EQ(store.synchronizations(), 0);
}

TEST(Setting, AnAssignmentWritesTheWholeSnapshotInOneStep) {
    InMemorySettingsStore store;
    Settings settings(store);
    settings.integer = 8;
    EXPECT_THAT(store.writes(), ElementsAre("text", "integer", "real", "boolean", "instant", "profiles"));
    EXPECT_EQ(store.synchronizations(), 1);
}

TEST(Setting, LoadingCallsNoReactionAndAssigningDoes) {
    InMemorySettingsStore store;
    store.values["boolean"] = false;
    Settings::noted.clear();
    Settings settings(store);
    EXPECT_THAT(Settings::noted, IsEmpty());
    settings.boolean = false;
    settings.integer = 9;
    EXPECT_THAT(Settings::noted, ElementsAre(false));
}

TEST(Setting, TheReactionComesWhenTheValueIsSaved) {
    static InMemorySettingsStore store;
    static bool wasSaved = false;
    class One : public SettingsObject {
      public:
        One() {
            defaults = &store;
            isInitializing = false;
        }
        static void react(const bool& value) {
            wasSaved = store.boolean("flag") == value && store.synchronizations() == 1;
        }
        Setting<bool> flag{*this, "flag", false, &One::react};
    } one;
    one.flag = true;
    EXPECT_TRUE(wasSaved);
}

RC_GTEST_PROP(SettingProperty, WhatIsSavedIsLoadedByTheNextObject, ()) {
    InMemorySettingsStore store;
    Settings first(store);
    first.text = *genText();
    first.integer = *rc::gen::arbitrary<std::int64_t>();
    first.real = *rc::gen::arbitrary<double>();
    first.boolean = *rc::gen::arbitrary<bool>();
    first.instant = Instant(Seconds(*rc::gen::arbitrary<double>()));
    first.profiles = *genProfiles();

    const Settings second(store);
    RC_ASSERT(second.text.get() == first.text.get());
    RC_ASSERT(second.integer.get() == first.integer.get());
    RC_ASSERT(second.real.get() == first.real.get());
    RC_ASSERT(second.boolean.get() == first.boolean.get());
    RC_ASSERT(second.instant.get() == first.instant.get());
    RC_ASSERT(second.profiles.get() == first.profiles.get());
}

RC_GTEST_PROP(SettingProperty, ProfilesThatWereCutOffLeaveTheDefault, ()) {
    InMemorySettingsStore store;
    Settings(store).profiles = *genProfiles();
    auto& bytes = std::get<Data>(store.values["profiles"]).bytes;
    bytes.resize(*rc::gen::inRange<std::size_t>(0, bytes.size()));
    const Settings settings(store);
    RC_ASSERT(settings.profiles.get() == (ProfileMap{{"a", "b"}}));
}

TEST(FlatJson, ReadsTheEscapesOfJson) {
    const auto decoded = decodeFlatJson(R"({"a\"\\\/\b\f\n\r\t":"\u00e4\ud83d\ude00","":"ä"})");
    ASSERT_TRUE(decoded);
    EXPECT_EQ(*decoded,
              (std::map<std::string, std::string>{{"a\"\\/\b\f\n\r\t", "\xC3\xA4\xF0\x9F\x98\x80"}, {"", "\xC3\xA4"}}));
}

TEST(FlatJson, RefusesEverythingElse) {
    for (const char* text : {"", "{", "}", "{} ", "[]", R"({"a":1})", R"({"a":"b",})", R"({"a": "b"})", R"({"a":"b)",
                             "{\"a\":\"\n\"}", R"({"a":"\x"})", R"({"a":"\u12"})", R"({"a":"b","a":"c"})"}) {
        EXPECT_EQ(decodeFlatJson(text), std::nullopt) << text;
    }
}

} // namespace
} // namespace nocta
