#include "Platform/Qt/QtSettingsStore.h"

#include "Core/AppState.h"
#include "Platform/Platform.h"
#include "Platform/Posix/SystemClock.h"
#include "Support/TemporaryFolder.h"

#include <bit>
#include <cmath>
#include <fstream>
#include <iterator>
#include <limits>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <nlohmann/json.hpp>

namespace nocta {
namespace {

class QtSettingsStoreTest : public testing::Test {
  protected:
    [[nodiscard]] std::filesystem::path path() const { return folder.path() / "nocta" / "nocta.conf"; }

    [[nodiscard]] std::unique_ptr<QtSettingsStore> open() const {
        return std::make_unique<QtSettingsStore>(QString::fromStdString(path()));
    }

    /// A store on the file's present content. Under another name: of a name that it knows, the library has the content
    /// in memory.
    std::unique_ptr<QtSettingsStore> reopened() {
        const auto copy = folder.path() / ("copy-" + std::to_string(++copies) + ".conf");
        std::filesystem::copy_file(path(), copy);
        return std::make_unique<QtSettingsStore>(QString::fromStdString(copy));
    }

    std::unique_ptr<QtSettingsStore> openedOn(const std::string& content) {
        const auto file = folder.path() / ("written-" + std::to_string(++copies) + ".conf");
        std::ofstream(file, std::ios::binary) << content;
        return std::make_unique<QtSettingsStore>(QString::fromStdString(file));
    }

    [[nodiscard]] std::string content() const {
        std::ifstream file(path(), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    test::TemporaryFolder folder;
    int copies = 0;
};

/// Any Unicode text, with what an INI file has to escape in it more often than by chance.
rc::Gen<std::string> anyText() {
    const auto character =
        rc::gen::weightedOneOf<char32_t>({{4, rc::gen::inRange<char32_t>(0x20, 0x7f)},
                                          {3, rc::gen::elementOf(std::u32string(U"\"\\,;=%@()[]\n\r\t\0 '#x0", 20))},
                                          {1, rc::gen::inRange<char32_t>(0x01, 0x20)},
                                          {2, rc::gen::inRange<char32_t>(0x80, 0xd800)},
                                          {1, rc::gen::inRange<char32_t>(0xe000, 0x10ffff)}});
    return rc::gen::map(rc::gen::container<std::u32string>(character), [](const std::u32string& text) {
        return QString::fromUcs4(text.data(), static_cast<qsizetype>(text.size())).toStdString();
    });
}

rc::Gen<double> anyFiniteNumber() {
    return rc::gen::suchThat(rc::gen::map(rc::gen::arbitrary<std::uint64_t>(),
                                          [](std::uint64_t bits) { return std::bit_cast<double>(bits); }),
                             [](double number) { return std::isfinite(number); });
}

TEST_F(QtSettingsStoreTest, EveryValueComesBackFromTheFile) {
    rc::check("values round-trip", [&] {
        const auto text = *anyText();
        const auto integer = *rc::gen::arbitrary<std::int64_t>();
        const auto real = *anyFiniteNumber();
        const auto boolean = *rc::gen::arbitrary<bool>();
        const auto bytes = *rc::gen::arbitrary<std::string>();
        const auto store = open();
        store->setText("text", text);
        store->setInteger("integer", integer);
        store->setReal("real", real);
        store->setBoolean("boolean", boolean);
        store->setData("data", bytes);
        store->synchronize();
        const auto read = reopened();
        RC_ASSERT(read->text("text") == text);
        RC_ASSERT(read->integer("integer") == integer);
        RC_ASSERT(read->real("real") == real);
        RC_ASSERT(read->boolean("boolean") == boolean);
        RC_ASSERT(read->data("data") == bytes);
    });
}

TEST_F(QtSettingsStoreTest, EverySettingComesBackFromTheFile) {
    SystemClock clock;
    SystemCalendar calendar;
    const auto store = open();
    Platform::install({.clock = &clock, .calendar = &calendar, .settings = store.get()});
    auto& state = AppState::shared();
    rc::check("settings round-trip", [&] {
        const auto texts = *rc::gen::container<std::vector<std::string>>(1, anyText());
        const auto integers = *rc::gen::container<std::vector<std::int64_t>>(3, rc::gen::arbitrary<std::int64_t>());
        const auto numbers = *rc::gen::container<std::vector<double>>(3, anyFiniteNumber());
        const auto profiles = *rc::gen::container<ProfileMap>(anyText(), anyText());
        const auto switches = *rc::gen::container<std::vector<bool>>(5, rc::gen::arbitrary<bool>());
        state.activePresetID = texts[0];
        state.customTemp = integers[0];
        state.breakIntervalMinutes = integers[1];
        state.breakDurationSeconds = integers[2];
        state.customBrightness = numbers[0];
        state.manualSunrise = Instant(Seconds(numbers[1]));
        state.manualSunset = Instant(Seconds(numbers[2]));
        state.scheduleEnabled = switches[0];
        state.scheduleUsesLocation = switches[1];
        state.breaksEnabled = switches[2];
        state.launchAtLogin = switches[3];
        state.showMenuBarScore = switches[4];
        state.appProfiles = profiles;
        const auto read = reopened();
        RC_ASSERT(read->text("activePresetID") == texts[0]);
        RC_ASSERT(read->integer("customTemp") == integers[0]);
        RC_ASSERT(read->integer("breakIntervalMinutes") == integers[1]);
        RC_ASSERT(read->integer("breakDurationSeconds") == integers[2]);
        RC_ASSERT(read->real("customBrightness") == numbers[0]);
        RC_ASSERT(read->real("manualSunrise") == numbers[1]);
        RC_ASSERT(read->real("manualSunset") == numbers[2]);
        RC_ASSERT(read->boolean("filterEnabled"));
        RC_ASSERT(read->boolean("scheduleEnabled") == switches[0]);
        RC_ASSERT(read->boolean("scheduleUsesLocation") == switches[1]);
        RC_ASSERT(read->boolean("breaksEnabled") == switches[2]);
        RC_ASSERT(read->boolean("launchAtLogin") == switches[3]);
        RC_ASSERT(read->boolean("showMenuBarScore") == switches[4]);
        RC_ASSERT(nlohmann::json::parse(read->data("appProfiles").value()).get<ProfileMap>() == profiles);
    });
}

TEST_F(QtSettingsStoreTest, TheFileIsReadableByAPerson) {
    const auto store = open();
    store->setText("activePresetID", "dusk");
    store->setInteger("customTemp", 3400);
    store->setReal("customBrightness", 0.8);
    store->setBoolean("filterEnabled", true);
    store->setData("appProfiles", R"({"org.gimp.GIMP":"natural","org.kde.okular":"dusk"})");
    store->synchronize();
    EXPECT_EQ(content(),
              "[General]\n"
              "activePresetID=dusk\n"
              R"ini(appProfiles="@ByteArray({\"org.gimp.GIMP\":\"natural\",\"org.kde.okular\":\"dusk\"})")ini"
              "\n"
              "customBrightness=0.8\n"
              "customTemp=3400\n"
              "filterEnabled=true\n");
}

TEST_F(QtSettingsStoreTest, NothingIsWrittenBeforeTheFirstSynchronize) {
    const auto store = open();
    EXPECT_FALSE(store->contains("customTemp"));
    EXPECT_FALSE(std::filesystem::exists(path()));
    store->setInteger("customTemp", 3400);
    store->synchronize();
    EXPECT_TRUE(std::filesystem::exists(path()));
}

TEST_F(QtSettingsStoreTest, EntriesOfOthersAreKept) {
    std::filesystem::create_directories(path().parent_path());
    std::ofstream(path()) << "[General]\nlater=1\ncustomTemp=1\n[Other]\nname=value\n";
    const auto store = open();
    store->setInteger("customTemp", 3400);
    store->synchronize();
    const auto read = reopened();
    EXPECT_EQ(read->integer("later"), 1);
    EXPECT_EQ(read->text("Other/name"), "value");
    EXPECT_EQ(read->integer("customTemp"), 3400);
}

TEST_F(QtSettingsStoreTest, AbsentKeysReadAsNothing) {
    const auto store = openedOn("");
    EXPECT_FALSE(store->contains("key"));
    EXPECT_EQ(store->text("key"), std::nullopt);
    EXPECT_EQ(store->integer("key"), 0);
    EXPECT_EQ(store->real("key"), 0.0);
    EXPECT_FALSE(store->boolean("key"));
    EXPECT_EQ(store->data("key"), std::nullopt);
}

struct Conversion {
    const char* written;
    std::int64_t integer;
    double real;
    bool boolean;

    friend std::ostream& operator<<(std::ostream& stream, const Conversion& each) { return stream << each.written; }
};

class QtSettingsStoreConversions : public QtSettingsStoreTest, public testing::WithParamInterface<Conversion> {};

TEST_P(QtSettingsStoreConversions, AreThoseOfTheStore) {
    const auto& expected = GetParam();
    const auto store = openedOn(std::string("[General]\nkey=") + expected.written + "\n");
    EXPECT_TRUE(store->contains("key"));
    EXPECT_EQ(store->integer("key"), expected.integer);
    EXPECT_EQ(store->real("key"), expected.real);
    EXPECT_EQ(store->boolean("key"), expected.boolean);
}

INSTANTIATE_TEST_SUITE_P(
    Written, QtSettingsStoreConversions,
    testing::Values(Conversion{"3400", 3400, 3400.0, true}, Conversion{"-7", -7, -7.0, true},
                    Conversion{"\" 3400 \"", 3400, 3400.0, true}, Conversion{"3.7", 3, 3.7, true},
                    Conversion{"-3.7", -3, -3.7, true}, Conversion{"1e3", 1000, 1000.0, true},
                    Conversion{"0", 0, 0.0, false}, Conversion{"0.0", 0, 0.0, false}, Conversion{"0.5", 0, 0.5, true},
                    Conversion{"9223372036854775807", std::numeric_limits<std::int64_t>::max(), 0x1p63, true},
                    Conversion{"-9223372036854775808", std::numeric_limits<std::int64_t>::min(), -0x1p63, true},
                    Conversion{"9223372036854775808", 0, 0x1p63, true}, Conversion{"1e300", 0, 1e300, true},
                    Conversion{"1e999", 0, 0.0, false}, Conversion{"inf", 0, 0.0, false},
                    Conversion{"nan", 0, 0.0, false}, Conversion{"true", 0, 0.0, true},
                    Conversion{"TRUE", 0, 0.0, true}, Conversion{"yes", 0, 0.0, true}, Conversion{"on", 0, 0.0, true},
                    Conversion{"false", 0, 0.0, false}, Conversion{"no", 0, 0.0, false},
                    Conversion{"warm", 0, 0.0, false}, Conversion{"12abc", 0, 0.0, false},
                    Conversion{"3,4", 0, 0.0, false}, Conversion{"", 0, 0.0, false}, Conversion{"0x10", 0, 0.0, false},
                    Conversion{"@ByteArray(12)", 12, 12.0, true}, Conversion{"@Invalid()", 0, 0.0, false},
                    Conversion{"@Variant(\\0\\0\\0\\xff)", 0, 0.0, false}, Conversion{"@Size(3 4)", 0, 0.0, false}));

TEST_F(QtSettingsStoreTest, TextIsOnlyWhatIsOneText) {
    EXPECT_EQ(openedOn("[General]\nkey=dusk\n")->text("key"), "dusk");
    EXPECT_EQ(openedOn("[General]\nkey=42\n")->text("key"), "42");
    EXPECT_EQ(openedOn("[General]\nkey=\"a, b\"\n")->text("key"), "a, b");
    EXPECT_EQ(openedOn("[General]\nkey=a, b\n")->text("key"), std::nullopt);
    EXPECT_EQ(openedOn("[General]\nkey=@ByteArray(dusk)\n")->text("key"), std::nullopt);
}

TEST_F(QtSettingsStoreTest, DataIsOnlyWhatIsMarkedAsBytes) {
    EXPECT_EQ(openedOn("[General]\nkey=@ByteArray(dusk)\n")->data("key"), "dusk");
    EXPECT_EQ(openedOn("[General]\nkey=dusk\n")->data("key"), std::nullopt);
    EXPECT_EQ(openedOn("[General]\nkey=\"{}\"\n")->data("key"), std::nullopt);
}

TEST_F(QtSettingsStoreTest, AFileThatIsCutOffIsReadAsFarAsItGoes) {
    const auto store = openedOn("[General]\nactivePresetID=dusk\ncustomTemp=3400\nfilterEna");
    EXPECT_EQ(store->text("activePresetID"), "dusk");
    EXPECT_EQ(store->integer("customTemp"), 3400);
    EXPECT_FALSE(store->contains("filterEnabled"));
}

TEST_F(QtSettingsStoreTest, BinaryNoiseIsNoSettings) {
    rc::check("noise takes no entry before it along", [&](const std::string& noise) {
        const auto store = openedOn("[General]\nbreakIntervalMinutes=45\n[Other]\n" + noise);
        RC_ASSERT(store->integer("breakIntervalMinutes") == 45);
        store->setInteger("customTemp", 2700);
        store->synchronize();
        RC_ASSERT(store->integer("customTemp") == 2700);
    });
}

TEST_F(QtSettingsStoreTest, ALockThatAKilledProcessLeftIsNotWaitedFor) {
    std::filesystem::create_directories(path().parent_path());
    const std::filesystem::path lock = path().string() + ".lock";
    std::ofstream(lock) << ""; // empty: killed before it wrote its number, so nobody can tell that it is dead
    const auto store = open();
    EXPECT_FALSE(std::filesystem::exists(lock));
    store->setInteger("customTemp", 3400);
    store->synchronize();
    EXPECT_NE(content().find("customTemp=3400"), std::string::npos);
}

TEST_F(QtSettingsStoreTest, AFolderInThePlaceOfTheFileReadsAsEmptyAndStays) {
    std::filesystem::create_directories(path());
    const auto store = open();
    EXPECT_FALSE(store->contains("customTemp"));
    store->setInteger("customTemp", 3400);
    store->synchronize();
    EXPECT_TRUE(std::filesystem::is_directory(path()));
    EXPECT_EQ(store->integer("customTemp"), 3400) << "kept in memory";
}

TEST_F(QtSettingsStoreTest, AFileInThePlaceOfTheFolderReadsAsEmptyAndStays) {
    std::ofstream(path().parent_path()) << "in the way";
    const auto store = open();
    store->setInteger("customTemp", 3400);
    store->synchronize();
    EXPECT_TRUE(std::filesystem::is_regular_file(path().parent_path()));
    EXPECT_EQ(store->integer("customTemp"), 3400);
}

TEST_F(QtSettingsStoreTest, TheUsersFileStandsWhereTheDesktopSays) {
    setenv("XDG_CONFIG_HOME", folder.path().c_str(), 1);
    EXPECT_EQ(QtSettingsStore::userFile().toStdString(), folder.path() / "nocta" / "nocta.conf");
    unsetenv("XDG_CONFIG_HOME");
    setenv("HOME", folder.path().c_str(), 1);
    EXPECT_EQ(QtSettingsStore::userFile().toStdString(), folder.path() / ".config" / "nocta" / "nocta.conf");
}

} // namespace
} // namespace nocta
