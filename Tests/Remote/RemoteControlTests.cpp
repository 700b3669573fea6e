#include "Remote/RemoteControl.h"

#include "Core/AppState.h"
#include "Core/BreakEngine.h"
#include "Core/FreshPlatform.h"
#include "Platform/Bus/SignalReceiver.h"
#include "Platform/DBus/BusApplicationHost.h"
#include "Platform/QtLoop.h"
#include "Remote/RemoteProperty.h"
#include "Support/SessionBus.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCall>
#include <QDBusVariant>
#include <QMap>
#include <QXmlStreamReader>

namespace nocta {

namespace {

using Profiles = QMap<QString, QString>;

const QString path = QStringLiteral("/org/nocta/Nocta");
const QString remote = QStringLiteral("org.nocta.Nocta1");
const QString propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");
const QString invalidArguments = QStringLiteral("org.freedesktop.DBus.Error.InvalidArgs");

QString qt(const char* text) {
    return QString::fromUtf8(text);
}

/// How a test writes a value of each type.
QVariant integer(qlonglong value) {
    return QVariant::fromValue(value);
}
QVariant string(const char* text) {
    return qt(text);
}

class Remote : public testing::Test {
  protected:
    Remote() {
        EXPECT_EQ(host.claim([this] { ++activations; }), ApplicationHost::Claim::primary);
        host.serve(control);
        qDBusRegisterMetaType<Profiles>();
        platform.advance(Seconds(0));
        changes.listen(other, path, propertiesInterface, qt("PropertiesChanged"));
    }

    static AppState& state() { return AppState::shared(); }

    /// Asks as another program does, and lets follow what follows at once.
    QDBusMessage ask(const QString& interface, const char* member, const QVariantList& arguments) {
        auto message = QDBusMessage::createMethodCall(qt("org.nocta.Nocta"), path, interface, qt(member));
        message.setArguments(arguments);
        const auto pending = other.asyncCall(message);
        EXPECT_TRUE(loop.runUntil([&] { return pending.isFinished(); })) << member;
        platform.advance(Seconds(0));
        return pending.reply();
    }
    QDBusMessage call(const char* member, const QVariantList& arguments = {}) { return ask(remote, member, arguments); }
    QDBusMessage set(const char* property, const QVariant& value) {
        return ask(propertiesInterface, "Set", {remote, qt(property), QVariant::fromValue(QDBusVariant(value))});
    }
    QVariant get(const char* property) {
        const auto answer = ask(propertiesInterface, "Get", {remote, qt(property)});
        EXPECT_EQ(answer.type(), QDBusMessage::ReplyMessage) << property;
        return answer.arguments().value(0).value<QDBusVariant>().variant();
    }
    QVariantMap getAll() {
        const auto answer = ask(propertiesInterface, "GetAll", {remote});
        return qdbus_cast<QVariantMap>(answer.arguments().value(0));
    }

    /// The call, or the assignment, works.
    static void expectDone(const QDBusMessage& answer) {
        EXPECT_EQ(answer.type(), QDBusMessage::ReplyMessage) << answer.errorMessage().toStdString();
        EXPECT_TRUE(answer.arguments().isEmpty());
    }
    static void expectError(const QDBusMessage& answer, const char* name, const char* text) {
        EXPECT_EQ(answer.type(), QDBusMessage::ErrorMessage);
        EXPECT_EQ(answer.errorName(), qt(name));
        EXPECT_EQ(answer.errorMessage(), qt(text));
    }

    /// The value is refused, for what is said, and nothing at all is saved.
    void expectRefused(const char* property, const QVariant& value, const char* text) {
        SCOPED_TRACE(property);
        const auto before = platform.settings.writes().size();
        expectError(set(property, value), invalidArguments.toLatin1(), text);
        EXPECT_EQ(platform.settings.writes().size(), before);
    }

    /// The changes that were announced since the last call, one map a signal.
    std::vector<QVariantMap> announcements() {
        platform.advance(Seconds(0.001));
        // What was sent before this answer is in the queue of events when it is there.
        get("version");
        QCoreApplication::processEvents();
        return std::exchange(announced, {});
    }

    test::SessionBus bus;
    test::QtLoop loop;
    SimulatedPlatform& platform = freshPlatform();
    BusApplicationHost host;
    int activations = 0;
    int cycles = 0;
    int openings = 0;
    RemoteControl control{QDBusConnection::sessionBus(),
                          {.cyclePreset = [this] { ++cycles; }, .openPopover = [this] { ++openings; }}};
    QDBusConnection other = QDBusConnection::connectToBus(QDBusConnection::SessionBus, qt("other"));
    std::vector<QVariantMap> announced;
    SignalReceiver changes{[this](const QDBusMessage& signal) {
        EXPECT_EQ(signal.signature(), qt("sa{sv}as"));
        EXPECT_EQ(signal.arguments().value(0).toString(), remote);
        announced.push_back(qdbus_cast<QVariantMap>(signal.arguments().value(1)));
    }};
};

TEST_F(Remote, EverySettingAndTallyIsAPropertyWithItsTypeAndItsDefault) {
    const QVariantMap expected{{qt("activePresetID"), qt("natural")},
                               {qt("customTemp"), integer(6500)},
                               {qt("customBrightness"), 1.0},
                               {qt("filterEnabled"), true},
                               {qt("scheduleEnabled"), false},
                               {qt("scheduleUsesLocation"), true},
                               {qt("manualSunrise"), qt("06:30")},
                               {qt("manualSunset"), qt("20:00")},
                               {qt("breaksEnabled"), false},
                               {qt("breakIntervalMinutes"), integer(20)},
                               {qt("breakDurationSeconds"), integer(20)},
                               {qt("exposureScore"), integer(100)},
                               {qt("totalFilteredMinutes"), integer(0)},
                               {qt("breaksTaken"), integer(0)},
                               {qt("breaksSkipped"), integer(0)},
                               {qt("launchAtLogin"), false},
                               {qt("showMenuBarScore"), true}};
    const auto all = getAll();
    for (auto property = expected.begin(); property != expected.end(); ++property) {
        EXPECT_EQ(all.value(property.key()), property.value()) << property.key().toStdString();
        EXPECT_EQ(all.value(property.key()).metaType(), property->metaType()) << property.key().toStdString();
        EXPECT_EQ(get(property.key().toLatin1()), property.value()) << property.key().toStdString();
    }
    EXPECT_EQ(qdbus_cast<Profiles>(all.value(qt("appProfiles"))), Profiles());
}

TEST_F(Remote, EveryKeyOfTheSettingsFileIsAWritableProperty) {
    state().customTemp = 5000; // saves all
    for (const auto& [key, value] : platform.settings.values) {
        const auto* property = RemoteProperty::find(QString::fromStdString(key));
        ASSERT_NE(property, nullptr) << key;
        EXPECT_TRUE(property->write) << key;
    }
    EXPECT_EQ(platform.settings.values.size(), 14U);
}

TEST_F(Remote, DerivedValuesSayWhatIsInForce) {
    state().activePresetID = "dusk";
    EXPECT_EQ(get("activePresetName"), qt("Dusk"));
    EXPECT_EQ(get("effectiveTemp"), integer(3400));
    EXPECT_EQ(get("effectiveBrightness"), QVariant(0.8));
    state().customTemp = 2500;
    state().customBrightness = 0.6;
    state().activePresetID = "custom";
    EXPECT_EQ(get("effectiveTemp"), integer(2500));
    EXPECT_EQ(get("effectiveBrightness"), QVariant(0.6));
}

TEST_F(Remote, ThePresetsAreListed) {
    const auto presets = qdbus_cast<QList<QVariantMap>>(get("presets"));
    ASSERT_EQ(presets.size(), 6);
    EXPECT_EQ(presets[2], (QVariantMap{{qt("id"), qt("dusk")},
                                       {qt("name"), qt("Dusk")},
                                       {qt("temperature"), integer(3400)},
                                       {qt("brightness"), 0.8}}));
}

TEST_F(Remote, DisplaysAreListedWithWhatTheyCanDo) {
    platform.displays.displays = {7, 9};
    EXPECT_EQ(get("displayService"), qt("simulated"));
    const auto displays = qdbus_cast<QList<QVariantMap>>(get("displays"));
    ASSERT_EQ(displays.size(), 2);
    EXPECT_EQ(displays[1], (QVariantMap{{qt("id"), 9U},
                                        {qt("name"), qt("SIMULATED-9")},
                                        {qt("gammaSize"), 256U},
                                        {qt("temperature"), true},
                                        {qt("brightness"), true}}));
}

TEST_F(Remote, TheApplicationInFrontIsToldAndItsChangeAnnounced) {
    EXPECT_EQ(get("frontApplication"), qt(""));
    announcements();
    platform.workspace.activate("org.gimp.GIMP");
    platform.advance(Seconds(0));
    EXPECT_EQ(announcements(), std::vector<QVariantMap>{(QVariantMap{{qt("frontApplication"), qt("org.gimp.GIMP")}})});
    EXPECT_EQ(get("frontApplication"), qt("org.gimp.GIMP"));
}

TEST_F(Remote, TheTimeUntilTheNextBreakIsToldInWholeSeconds) {
    EXPECT_EQ(get("timeUntilBreak"), integer(-1)) << "no break will come";
    expectDone(set("breaksEnabled", true));
    platform.advance(Seconds(100.5));
    EXPECT_EQ(get("timeUntilBreak"), integer(1099));
}

TEST_F(Remote, AClockThatWasSetBackByAgesLeavesALongTime) {
    expectDone(set("breaksEnabled", true));
    platform.jump(Seconds(-1e300));
    EXPECT_EQ(get("timeUntilBreak"), integer(9000000000000000));
}

// --- A person's hand ---

TEST_F(Remote, ChoosingAPresetAppliesIt) {
    for (const bool byMethod : {true, false}) {
        expectDone(byMethod ? call("ChoosePreset", {qt("sleep")}) : set("activePresetID", qt("cinema")));
        const auto before = platform.displays.loads().size();
        platform.advance(Seconds(10));
        EXPECT_EQ(platform.displays.loads().size() - before, byMethod ? 90U : 45U) << "its own transition";
        EXPECT_EQ(state().activePresetID.get(), byMethod ? "sleep" : "cinema");
    }
}

TEST_F(Remote, APresetCannotBeChosenWhileTheFilterIsOff) {
    expectDone(set("filterEnabled", false));
    const auto before = platform.settings.writes().size();
    for (const auto& answer : {call("ChoosePreset", {qt("sleep")}), set("activePresetID", qt("sleep"))}) {
        expectError(answer, "org.nocta.Nocta1.Error.FilterOff",
                    "The filter is off: presets can be chosen while it is on.");
    }
    EXPECT_EQ(platform.settings.writes().size(), before);
}

TEST_F(Remote, OnlyPresetsThatExistCanBeChosen) {
    const char* const text = "There is no preset \"custom\": there are natural, focus, dusk, evening, sleep, cinema.";
    expectRefused("activePresetID", string("custom"), text);
    expectError(call("ChoosePreset", {qt("custom")}), "org.freedesktop.DBus.Error.InvalidArgs", text);
    expectError(call("ChoosePreset", {qt("Sleep")}), "org.freedesktop.DBus.Error.InvalidArgs",
                "There is no preset \"Sleep\": there are natural, focus, dusk, evening, sleep, cinema.");
}

TEST_F(Remote, ATemperatureSelectsCustomAndIsOnTheScreenAtOnce) {
    const auto before = platform.displays.loads().size();
    expectDone(set("customTemp", integer(3000)));
    EXPECT_EQ(platform.displays.loads().size() - before, 1U);
    EXPECT_EQ(state().customTemp.get(), 3000);
    EXPECT_EQ(state().activePresetID.get(), "custom");
}

TEST_F(Remote, ABrightnessIsOnTheScreenAtOnceAndKeepsThePreset) {
    const auto before = platform.displays.loads().size();
    expectDone(set("customBrightness", 0.5));
    EXPECT_EQ(platform.displays.loads().size() - before, 1U);
    EXPECT_EQ(platform.displays.loads().back().red.back(), 0.5F);
    EXPECT_EQ(state().activePresetID.get(), "natural");
}

TEST_F(Remote, ValuesReachFromEndToEndOfTheSlidersAndNoFurther) {
    for (const std::int64_t kelvin : {1900, 6500}) {
        expectDone(set("customTemp", integer(kelvin)));
        EXPECT_EQ(state().customTemp.get(), kelvin);
    }
    for (const std::int64_t kelvin :
         {std::int64_t{1899}, std::int64_t{6501}, std::int64_t{0}, std::int64_t{-3000},
          std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max()}) {
        expectRefused("customTemp", integer(kelvin), "A temperature is 1900 to 6500 kelvin.");
    }
    for (const double factor : {0.3, 1.0}) {
        expectDone(set("customBrightness", factor));
        EXPECT_EQ(state().customBrightness.get(), factor);
    }
    for (const double factor :
         {std::nextafter(0.3, 0.0), std::nextafter(1.0, 2.0), 0.0, -1.0, std::numeric_limits<double>::infinity(),
          -std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()}) {
        expectRefused("customBrightness", factor, "A brightness is 0.3 to 1.0.");
    }
}

TEST_F(Remote, TheFilterFadesOutAndIn) {
    expectDone(call("ChoosePreset", {qt("dusk")}));
    platform.advance(Seconds(10));
    for (const bool isOn : {false, true}) {
        const auto before = platform.displays.loads().size();
        expectDone(set("filterEnabled", isOn));
        platform.advance(Seconds(10));
        EXPECT_EQ(state().filterEnabled.get(), isOn);
        EXPECT_EQ(platform.displays.loads().size() - before, 45U) << "1.5 s";
    }
}

TEST_F(Remote, TheScheduleTakesItsStepAtOnceAndGivesThePresetBackSlowly) {
    platform.jump(Seconds(7 * 3600)); // 19:00; the default sunset is at 20:00
    expectDone(set("scheduleEnabled", true));
    EXPECT_EQ(state().activePresetID.get(), "focus");
    platform.advance(Seconds(10));
    state().activePresetID = "sleep";
    const auto before = platform.displays.loads().size();
    expectDone(set("scheduleEnabled", false));
    platform.advance(Seconds(10));
    EXPECT_EQ(platform.displays.loads().size() - before, 120U) << "4 s";
}

TEST_F(Remote, TheLocationIsAskedFor) {
    expectDone(set("scheduleUsesLocation", false));
    EXPECT_EQ(platform.location.starts(), 0);
    expectDone(set("scheduleUsesLocation", true));
    EXPECT_EQ(platform.location.starts(), 1);
}

TEST_F(Remote, TimesOfDayAreHoursAndMinutes) {
    expectDone(set("manualSunrise", qt("05:07")));
    expectDone(set("manualSunset", qt("23:59")));
    EXPECT_EQ(get("manualSunrise"), qt("05:07"));
    EXPECT_EQ(get("manualSunset"), qt("23:59"));
    EXPECT_EQ(state().manualSunrise.get(), SimulatedPlatform::defaultStart - Seconds(7 * 3600.0 - 7 * 60));
    for (const char* text : {"", "24:00", "12:60", "5:07", "05:07:00", "-1:00", "5", "noon", "12.30"}) {
        expectRefused("manualSunrise", string(text),
                      "A time of day is written as hours and minutes, from 00:00 to 23:59.");
    }
    state().manualSunset = Instant(Seconds(1e300));
    EXPECT_EQ(get("manualSunset"), qt("00:00")) << "what the schedule takes it for";
}

TEST_F(Remote, BreaksStartStopAndStartOver) {
    auto& breaks = BreakEngine::shared();
    expectDone(set("breaksEnabled", true));
    EXPECT_TRUE(breaks.isCycleRunning());
    platform.advance(Seconds(600));
    expectDone(set("breakDurationSeconds", integer(60)));
    EXPECT_EQ(breaks.timeUntilBreak(), Seconds(600)) << "runs on";
    expectDone(set("breakIntervalMinutes", integer(45)));
    EXPECT_EQ(breaks.timeUntilBreak(), Seconds(2700));
    expectDone(set("breaksEnabled", false));
    EXPECT_FALSE(breaks.isCycleRunning());
}

TEST_F(Remote, OnlyTheIntervalsAndDurationsOfThePickersCanBeSet) {
    for (const qlonglong minutes : {15, 20, 30, 45, 60}) {
        expectDone(set("breakIntervalMinutes", integer(minutes)));
        EXPECT_EQ(state().breakIntervalMinutes.get(), minutes);
    }
    for (const qlonglong seconds : {15, 20, 30, 60}) {
        expectDone(set("breakDurationSeconds", integer(seconds)));
        EXPECT_EQ(state().breakDurationSeconds.get(), seconds);
    }
    for (const qlonglong value : {std::numeric_limits<qlonglong>::max(), -20LL, 0LL, 1LL, 16LL, 61LL}) {
        expectRefused("breakIntervalMinutes", integer(value),
                      "The minutes between breaks are one of 15, 20, 30, 45, 60.");
        expectRefused("breakDurationSeconds", integer(value), "The seconds of a break are one of 15, 20, 30, 60.");
    }
    expectRefused("breakDurationSeconds", integer(45), "The seconds of a break are one of 15, 20, 30, 60.");
}

TEST_F(Remote, SwitchesThatAreOnlyRememberedAreSaved) {
    expectDone(set("launchAtLogin", true));
    expectDone(set("showMenuBarScore", false));
    EXPECT_TRUE(state().launchAtLogin.get());
    EXPECT_FALSE(state().showMenuBarScore.get());
    EXPECT_EQ(platform.settings.writes().size(), 28U);
}

// --- Profiles ---

TEST_F(Remote, ProfilesAreSetReplacedAndRemoved) {
    expectDone(call("SetProfile", {qt("org.gimp.GIMP"), qt("natural")}));
    expectDone(call("SetProfile", {qt("org.kde.okular"), qt("dusk")}));
    expectDone(call("SetProfile", {qt("org.gimp.GIMP"), qt("cinema")}));
    EXPECT_EQ(qdbus_cast<Profiles>(get("appProfiles")),
              (Profiles{{qt("org.gimp.GIMP"), qt("cinema")}, {qt("org.kde.okular"), qt("dusk")}}));
    expectDone(call("RemoveProfile", {qt("org.gimp.GIMP")}));
    EXPECT_EQ(state().appProfiles.get(), (ProfileMap{{"org.kde.okular", "dusk"}}));
}

TEST_F(Remote, ProfilesThatMakeNoSenseChangeNothing) {
    expectDone(call("SetProfile", {qt("org.kde.okular"), qt("dusk")}));
    const auto before = platform.settings.writes().size();
    expectError(call("SetProfile", {qt(""), qt("dusk")}), "org.freedesktop.DBus.Error.InvalidArgs",
                "An application's id is not empty: it is the name of its desktop file without \".desktop\".");
    expectError(call("SetProfile", {qt("org.kde.okular"), qt("night")}), "org.freedesktop.DBus.Error.InvalidArgs",
                "There is no preset \"night\": there are natural, focus, dusk, evening, sleep, cinema.");
    expectError(call("RemoveProfile", {qt("org.gimp.GIMP")}), "org.nocta.Nocta1.Error.NoProfile",
                "There is no profile of \"org.gimp.GIMP\".");
    EXPECT_EQ(platform.settings.writes().size(), before);
    EXPECT_EQ(state().appProfiles.get(), (ProfileMap{{"org.kde.okular", "dusk"}}));
}

TEST_F(Remote, AllProfilesCanBeSetTogetherOrNone) {
    expectDone(set("appProfiles", QVariant::fromValue(Profiles{{qt("a"), qt("dusk")}, {qt("ü"), qt("sleep")}})));
    EXPECT_EQ(state().appProfiles.get(), (ProfileMap{{"a", "dusk"}, {"ü", "sleep"}}));
    expectRefused("appProfiles", QVariant::fromValue(Profiles{{qt("b"), qt("focus")}, {qt("c"), qt("?")}}),
                  "There is no preset \"?\": there are natural, focus, dusk, evening, sleep, cinema.");
    EXPECT_EQ(state().appProfiles.get(), (ProfileMap{{"a", "dusk"}, {"ü", "sleep"}}));
    expectDone(set("appProfiles", QVariant::fromValue(Profiles())));
    EXPECT_EQ(state().appProfiles.get(), ProfileMap());
}

// --- What the program does ---

TEST_F(Remote, ABreakIsSkippedIfThereIsOne) {
    expectError(call("SkipBreak"), "org.nocta.Nocta1.Error.NoBreak", "There is no break on the screen.");
    EXPECT_EQ(state().breaksSkipped.get(), 0);
    expectDone(set("breaksEnabled", true));
    expectError(call("SkipBreak"), "org.nocta.Nocta1.Error.NoBreak", "There is no break on the screen.");
    platform.advance(Seconds(1200));
    EXPECT_EQ(get("breakShown"), QVariant(true));
    expectDone(call("SkipBreak"));
    EXPECT_EQ(get("breakShown"), QVariant(false));
    EXPECT_EQ(get("breaksSkipped"), integer(1));
}

TEST_F(Remote, CyclingAndThePopoverAreTheProgramsBusiness) {
    expectDone(call("CyclePreset"));
    EXPECT_EQ(cycles, 1);
    expectDone(call("OpenPopover"));
    EXPECT_EQ(openings, 1);
    EXPECT_EQ(activations, 0);
}

TEST_F(Remote, QuittingIsAnsweredAndEndsTheApplication) {
    struct Delegate final : ApplicationDelegate {
        int ends = 0;
        void applicationDidFinishLaunching() override {}
        void applicationWillTerminate() override { ++ends; }
    } delegate;
    platform.application.run(delegate);
    expectDone(call("Quit"));
    EXPECT_EQ(delegate.ends, 1);
    EXPECT_EQ(platform.displays.restores(), 1);
}

// --- Changes ---

TEST_F(Remote, EveryChangeIsAnnouncedOnceWithAllThatChanged) {
    announcements();
    expectDone(set("customTemp", integer(3000)));
    EXPECT_EQ(announcements(), std::vector<QVariantMap>{(QVariantMap{{qt("customTemp"), integer(3000)},
                                                                     {qt("activePresetID"), qt("custom")},
                                                                     {qt("effectiveTemp"), integer(3000)}})});
    expectDone(set("customTemp", integer(3000)));
    EXPECT_EQ(announcements(), std::vector<QVariantMap>()) << "nothing is new";
}

TEST_F(Remote, WhatChangesByItselfIsAnnouncedToo) {
    announcements();
    state().exposureScore = 87;
    state().totalFilteredMinutes = 5;
    platform.advance(Seconds(0));
    EXPECT_EQ(announcements(), std::vector<QVariantMap>{(QVariantMap{{qt("exposureScore"), integer(87)},
                                                                     {qt("totalFilteredMinutes"), integer(5)}})});
    expectDone(set("breaksEnabled", true));
    EXPECT_EQ(announcements(), std::vector<QVariantMap>{(QVariantMap{{qt("breaksEnabled"), true}})});
    platform.advance(Seconds(1200));
    EXPECT_EQ(announcements(), std::vector<QVariantMap>{(QVariantMap{{qt("breakShown"), true}})});
    platform.advance(Seconds(20));
    EXPECT_EQ(announcements(),
              std::vector<QVariantMap>{(QVariantMap{{qt("breakShown"), false}, {qt("breaksTaken"), integer(1)}})});
}

TEST_F(Remote, ProfilesAreAnnouncedAsAWhole) {
    announcements();
    expectDone(call("SetProfile", {qt("a"), qt("dusk")}));
    const auto told = announcements();
    ASSERT_EQ(told.size(), 1U);
    EXPECT_EQ(qdbus_cast<Profiles>(told.front().value(qt("appProfiles"))), (Profiles{{qt("a"), qt("dusk")}}));
}

// --- Wrong calls ---

TEST_F(Remote, EveryPropertyRefusesEveryOtherTypeAndKeepsItsValue) {
    const std::vector<QVariant> values{QVariant::fromValue<uchar>(1),
                                       true,
                                       QVariant::fromValue<short>(20),
                                       QVariant::fromValue<ushort>(20),
                                       20,
                                       20U,
                                       integer(20),
                                       QVariant::fromValue<qulonglong>(20),
                                       0.5,
                                       qt("dusk"),
                                       QVariant::fromValue(QDBusObjectPath(path)),
                                       QVariant::fromValue(QDBusSignature(qt("s"))),
                                       QStringList{qt("dusk")},
                                       QByteArray("dusk"),
                                       QVariantList{20, true},
                                       QVariantMap{{qt("a"), qt("dusk")}},
                                       QVariant::fromValue(Profiles{{qt("a"), qt("dusk")}}),
                                       QVariant::fromValue(QDBusVariant(20))};
    for (const auto& property : RemoteProperty::all()) {
        for (const auto& value : values) {
            const auto signature = QString::fromLatin1(QDBusMetaType::typeToSignature(value.metaType()));
            if (property.write && signature == property.signature) {
                continue;
            }
            const auto answer = set(property.name.toLatin1(), value);
            if (property.write) {
                expectError(
                    answer, "org.freedesktop.DBus.Error.InvalidArgs",
                    qt(R"(%1 is of type "%2", not "%3".)").arg(property.name, property.signature, signature).toUtf8());
            } else {
                expectError(answer, "org.freedesktop.DBus.Error.PropertyReadOnly",
                            (property.name + qt(" can be read only.")).toUtf8());
            }
        }
    }
    EXPECT_EQ(platform.settings.writes().size(), 0U);
    EXPECT_EQ(platform.displays.loads().size(), 0U);
}

TEST_F(Remote, EveryMethodRefusesEveryOtherSignature) {
    const std::vector<QVariantList> arguments{
        {}, {1}, {true}, {qt("a"), qt("b"), qt("c")}, {qt("a"), 1}, {QStringList{qt("a")}}, {QVariantMap()}};
    const std::vector<std::pair<const char*, QString>> methods{
        {"CyclePreset", qt("")}, {"ChoosePreset", qt("s")}, {"SetProfile", qt("ss")}, {"RemoveProfile", qt("s")},
        {"SkipBreak", qt("")},   {"OpenPopover", qt("")},   {"Quit", qt("")}};
    for (const auto& [method, signature] : methods) {
        for (const auto& list : arguments) {
            if (signature.isEmpty() && list.isEmpty()) {
                continue;
            }
            const auto answer = call(method, list);
            EXPECT_EQ(answer.errorName(), invalidArguments) << method;
            EXPECT_TRUE(answer.errorMessage().startsWith(qt("%1 takes \"%2\"").arg(qt(method), signature))) << method;
        }
    }
    EXPECT_EQ(cycles, 0);
    EXPECT_EQ(openings, 0);
    EXPECT_EQ(platform.settings.writes().size(), 0U);
}

TEST_F(Remote, WhatThereIsNotIsAnError) {
    EXPECT_EQ(call("Explode").errorName(), qt("org.freedesktop.DBus.Error.UnknownMethod"));
    EXPECT_EQ(ask(qt("org.example.Other"), "CyclePreset", {}).errorName(),
              qt("org.freedesktop.DBus.Error.UnknownMethod"));
    expectError(set("colour", 1), "org.freedesktop.DBus.Error.UnknownProperty", "There is no property \"colour\".");
    expectError(ask(propertiesInterface, "Get", {remote, qt("colour")}), "org.freedesktop.DBus.Error.UnknownProperty",
                "There is no property \"colour\".");
    for (const char* interface : {"", "org.nocta.Nocta2"}) {
        EXPECT_EQ(ask(propertiesInterface, "GetAll", {qt(interface)}).errorName(),
                  qt("org.freedesktop.DBus.Error.UnknownInterface"));
        EXPECT_EQ(ask(propertiesInterface, "Get", {qt(interface), qt("customTemp")}).errorName(),
                  qt("org.freedesktop.DBus.Error.UnknownInterface"));
    }
    EXPECT_EQ(ask(propertiesInterface, "Get", {1, 2}).errorName(), invalidArguments);
    EXPECT_EQ(ask(propertiesInterface, "Set", {remote, qt("customTemp"), integer(3000)}).errorName(), invalidArguments)
        << "no variant";
}

TEST_F(Remote, TheInterfaceDescribesItself) {
    const auto answer = ask(qt("org.freedesktop.DBus.Introspectable"), "Introspect", {});
    QXmlStreamReader xml(answer.arguments().value(0).toString());
    std::set<std::string> methods;
    std::set<std::string> properties;
    QString interface;
    while (!xml.atEnd()) {
        xml.readNext();
        const auto name = xml.attributes().value(qt("name")).toString();
        if (!xml.isStartElement()) {
            continue;
        }
        if (xml.name() == qt("interface")) {
            interface = name;
        } else if (interface == remote && xml.name() == qt("method")) {
            methods.insert(name.toStdString());
        } else if (interface == remote && xml.name() == qt("property")) {
            properties.insert(name.toStdString());
            const auto signature = xml.attributes().value(qt("type")).toLatin1();
            const auto value = get(name.toLatin1());
            const auto actual = value.metaType() == QMetaType::fromType<QDBusArgument>()
                                    ? value.value<QDBusArgument>().currentSignature().toLatin1()
                                    : QByteArray(QDBusMetaType::typeToSignature(value.metaType()));
            EXPECT_EQ(actual, signature) << name.toStdString();
        }
    }
    EXPECT_FALSE(xml.hasError()) << xml.errorString().toStdString();
    EXPECT_EQ(methods, (std::set<std::string>{"ChoosePreset", "CyclePreset", "OpenPopover", "Quit", "RemoveProfile",
                                              "SetProfile", "SkipBreak"}));
    EXPECT_EQ(properties.size(), static_cast<std::size_t>(getAll().size()));
}

TEST_F(Remote, CallsThatWantNoAnswerAreCarriedOut) {
    auto message = QDBusMessage::createMethodCall(qt("org.nocta.Nocta"), path, remote, qt("CyclePreset"));
    other.send(message);
    EXPECT_TRUE(loop.runUntil([this] { return cycles == 1; }));
}

TEST(RemoteWithoutABus, ChangesAreAnnouncedToNobody) {
    test::QtLoop loop;
    SimulatedPlatform& platform = freshPlatform();
    const RemoteControl control(QDBusConnection(QString()), {});
    platform.advance(Seconds(0));
    AppState::shared().customTemp = 3000;
    platform.advance(Seconds(0));
    EXPECT_EQ(AppState::shared().customTemp.get(), 3000);
}

} // namespace
} // namespace nocta
