#include "Core/AppState.h"
#include "Core/BreakEngine.h"
#include "Core/BreakEngineInspector.h"
#include "Interface/DrivenScene.h"
#include "Interface/Popover/BreaksModel.h"
#include "Interface/Popover/ScheduleModel.h"
#include "Interface/Popover/StatsModel.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include <QLocale>

namespace nocta {
namespace {

using Names = std::vector<std::string>;

/// One tab as the popover shows it, in a place of the popover's size, and on the screen.
template <class Model>
class TabViewTest : public test::DrivenSceneTest {
  protected:
    TabViewTest() {
        // No motion: what is under the pointer stays there.
        world.appearance.setReducesMotion(true);
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    }
    ~TabViewTest() override { scene.reset(); }

    static AppState& state() { return AppState::shared(); }

    void showTab(const std::string& view, bool mirrored = false) {
        const std::string source = "import QtQuick\nimport Nocta\n"
                                   "Rectangle { id: root; required property " +
                                   view +
                                   "Model model; required property bool mirrored; width: 340; height: 410\n"
                                   "color: Theme.background\n"
                                   "LayoutMirroring.enabled: mirrored; LayoutMirroring.childrenInherit: true\n" +
                                   view + "View { anchors.fill: parent; model: root.model } }";
        model.setOnScreen(true);
        show(QByteArray::fromStdString(source),
             {{QStringLiteral("model"), QVariant::fromValue(&model)}, {QStringLiteral("mirrored"), mirrored}});
    }

    /// All that a screen reader reads, in its order.
    [[nodiscard]] Names names() const {
        Names result;
        for (const auto& item : scene->all()) {
            result.push_back(item.name());
        }
        return result;
    }
    [[nodiscard]] bool shows(const std::string& name) const { return static_cast<bool>(find(name)); }

    template <class Condition>
    bool becomes(Condition condition) {
        return application.runUntil(condition);
    }

    /// Tab goes through these, in this order, and then from the beginning.
    void expectTabOrder(const Names& order) {
        for (const auto& name : order) {
            type(test::key::tab);
            EXPECT_TRUE(becomes([&] { return shows(name) && find(name).isFocused(); })) << name;
        }
        type(test::key::tab);
        EXPECT_TRUE(becomes([&] { return find(order.front()).isFocused(); }));
    }

    /// What lies beyond the window, or partly on something else, of all that says who it is.
    [[nodiscard]] std::string misplaced() const {
        std::string result;
        const auto items = scene->all();
        for (std::size_t i = 0; i < items.size(); ++i) {
            const QRect frame = items[i].frame();
            if (!QRect(0, 0, 340, 410).contains(frame)) {
                result += items[i].name() + " is outside\n";
            }
            for (std::size_t j = i + 1; j < items.size(); ++j) {
                const QRect other = items[j].frame();
                if (frame.intersects(other) && !items[i].item()->isAncestorOf(items[j].item())) {
                    result += items[i].name() + " is on " + items[j].name() + "\n";
                }
            }
        }
        return result;
    }
    void expectEverythingInItsPlace() {
        EXPECT_TRUE(becomes([this] { return misplaced().empty(); })) << misplaced();
    }

    /// How often the window is drawn while `happening` takes place and for a while after.
    template <class Happening>
    int drawings(Happening happening) {
        // What was still to be drawn.
        application.runUntil([] { return false; }, std::chrono::milliseconds(200));
        int count = 0;
        const auto connection = QObject::connect(
            &scene->shownIn(), &QQuickWindow::afterRendering, &scene->shownIn(), [&count] { ++count; },
            Qt::DirectConnection);
        happening();
        application.runUntil([] { return false; }, std::chrono::milliseconds(200));
        QObject::disconnect(connection);
        return count;
    }

    Model model;
};

class ScheduleViewTest : public TabViewTest<ScheduleModel> {
  protected:
    ScheduleViewTest() {
        // Noon; the manual times are 06:30 and 20:00.
        state().scheduleEnabled = true;
    }

    static constexpr const char* note =
        "Nocta calculates precise sunrise and sunset for your exact location without storing it.";
};

const Names strip{"Sleep", "Dawn", "Day", "Focus", "Dusk", "Evening", "Sleep"};

Names operator+(Names names, const Names& others) {
    names.insert(names.end(), others.begin(), others.end());
    return names;
}

TEST_F(ScheduleViewTest, WithTheScheduleOffOnlyItsSwitchIsShownAndTheRestAppearsWithIt) {
    state().scheduleEnabled = false;
    showTab("Schedule");
    EXPECT_EQ(names(), Names{"Automatic Schedule"});
    EXPECT_FALSE(find("Automatic Schedule").isChecked());
    click("Automatic Schedule");
    EXPECT_TRUE(becomes([this] { return shows("Today's Schedule"); }));
    EXPECT_TRUE(find("Automatic Schedule").isChecked());
    expectEverythingInItsPlace();
    click("Automatic Schedule");
    EXPECT_TRUE(becomes([this] { return names() == Names{"Automatic Schedule"}; })) << testing::PrintToString(names());
}

TEST_F(ScheduleViewTest, WithLocationTheNoteIsShownAndTheTimesAreNot) {
    showTab("Schedule");
    EXPECT_EQ(names(), (Names{"Automatic Schedule", "Use location for sunrise/sunset", note, "Today's Schedule"} +
                        strip + Names{"Now: 12:00", "Active: Natural"}));
    expectEverythingInItsPlace();
}

TEST_F(ScheduleViewTest, WithoutLocationTheManualTimesAppear) {
    state().scheduleUsesLocation = false;
    showTab("Schedule");
    EXPECT_EQ(names(), (Names{"Automatic Schedule", "Use location for sunrise/sunset", note, "Manual Times", "Sunrise",
                              "Sunrise, hour, 06", "Sunrise, minute, 30", "Sunset", "Sunset, hour, 20",
                              "Sunset, minute, 00", "Today's Schedule"} +
                        strip + Names{"Now: 12:00", "Active: Natural"}));
    expectEverythingInItsPlace();
}

TEST_F(ScheduleViewTest, TheSwitchOfTheScheduleBringsItsPresetAtOnceAndFadesBackWhenItIsTurnedOff) {
    state().scheduleEnabled = false;
    world.clock.jump(Seconds(10 * 3600)); // 22:00
    showTab("Schedule");
    click("Automatic Schedule");
    EXPECT_TRUE(becomes([] { return state().activePresetID.get() == "evening"; }));
    EXPECT_TRUE(state().scheduleEnabled.get());
    EXPECT_TRUE(becomes([this] { return shows("Active: Evening"); }));
    expectEverythingInItsPlace();
    world.advance(Seconds(2));
    EXPECT_EQ(world.displays.loads().size(), 60U) << "the preset's own 2 s";

    state().activePresetID = "sleep";
    click("Automatic Schedule");
    EXPECT_TRUE(becomes([] { return !state().scheduleEnabled.get(); }));
    world.advance(Seconds(60));
    EXPECT_EQ(world.displays.loads().size(), 60U + 120U) << "4 s";
    EXPECT_EQ(state().activePresetID.get(), "sleep");
    EXPECT_EQ(world.location.starts(), 0);
}

TEST_F(ScheduleViewTest, TheSwitchOfTheLocationAsksForItWhenTurnedOnOnly) {
    showTab("Schedule");
    click("Use location for sunrise/sunset");
    EXPECT_TRUE(becomes([this] { return shows("Manual Times"); }));
    expectEverythingInItsPlace();
    EXPECT_EQ(world.location.starts(), 0);
    click("Use location for sunrise/sunset");
    EXPECT_TRUE(becomes([this] { return world.location.starts() == 1; }));
    EXPECT_TRUE(becomes([this] { return !shows("Manual Times"); }));
    EXPECT_TRUE(world.displays.loads().empty());
}

TEST_F(ScheduleViewTest, ATimeIsTypedOrTurnedByTheWheelAndOnlyWritesItsSetting) {
    state().scheduleUsesLocation = false;
    showTab("Schedule");
    const auto noon = SimulatedPlatform::defaultStart;
    find("Sunrise, hour, 06").item()->forceActiveFocus(Qt::TabFocusReason);
    type(test::key::digit8);
    EXPECT_TRUE(becomes([&] { return state().manualSunrise.get() == noon - Seconds(3.5 * 3600); }));
    EXPECT_TRUE(becomes([this] { return shows("Sunrise, hour, 08"); }));
    pointAt("Sunset, minute, 00");
    input.click(wheelUp);
    EXPECT_TRUE(becomes([&] { return state().manualSunset.get() == noon + Seconds(8 * 3600 + 60); }));
    EXPECT_TRUE(becomes([this] { return shows("Sunset, minute, 01"); }));
    settle();
    EXPECT_EQ(state().activePresetID.get(), "natural");
    EXPECT_TRUE(world.displays.loads().empty());
    EXPECT_EQ(world.location.starts(), 0);
    EXPECT_EQ(world.runLoop.timerCount(), 0U);
}

TEST_F(ScheduleViewTest, TheKeyboardReachesEverythingInReadingOrder) {
    state().scheduleUsesLocation = false;
    showTab("Schedule");
    expectTabOrder({"Automatic Schedule", "Use location for sunrise/sunset", "Sunrise, hour, 06", "Sunrise, minute, 30",
                    "Sunset, hour, 20", "Sunset, minute, 00"});
    type(test::key::space);
    EXPECT_TRUE(becomes([] { return !state().scheduleEnabled.get(); }));
}

TEST_F(ScheduleViewTest, NowIsTheTimeOfTheLastDrawingAndNoTimerRefreshesIt) {
    showTab("Schedule");
    world.advance(Seconds(1800));
    settle();
    EXPECT_TRUE(shows("Now: 12:00"));
    state().activePresetID = "dusk";
    EXPECT_TRUE(becomes([this] { return shows("Now: 12:30") && shows("Active: Dusk"); }));
    world.advance(Seconds(600));
    model.setOnScreen(false);
    model.setOnScreen(true);
    EXPECT_TRUE(becomes([this] { return shows("Now: 12:40"); }));
}

TEST_F(ScheduleViewTest, TheStripHasSevenEqualSegmentsOfItsHeight) {
    showTab("Schedule");
    const auto items = scene->all();
    const auto first = std::ranges::find_if(items, [](const auto& item) { return item.name() == strip.front(); });
    ASSERT_NE(first, items.end());
    int left = 16;
    for (std::size_t i = 0; i < strip.size(); ++i) {
        const auto& text = first[static_cast<std::ptrdiff_t>(i)];
        const auto* const segment = text.item()->parentItem();
        EXPECT_EQ(segment->mapToScene(QPointF()).x(), left) << i;
        EXPECT_EQ(segment->width(), 44) << "a seventh of 340 less 16 at each side";
        EXPECT_EQ(segment->height(), 28);
        left += 44;
    }
}

TEST_F(ScheduleViewTest, FromRightToLeftEverythingIsMirrored) {
    state().scheduleUsesLocation = false;
    showTab("Schedule", true);
    expectEverythingInItsPlace();
    EXPECT_LT(find("Active: Natural").frame().left(), find("Now: 12:00").frame().left());
    EXPECT_LT(find("Sunrise, minute, 30").frame().right(), 170);
    EXPECT_EQ(find("Manual Times").item()->property("effectiveHorizontalAlignment").toInt(), Qt::AlignRight);
    EXPECT_LT(find("Sunrise, hour, 06").frame().left(), find("Sunrise, minute, 30").frame().left())
        << "a time runs from left to right";
    EXPECT_LT(find("Evening").frame().left(), find("Dawn").frame().left());
}

TEST_F(ScheduleViewTest, NothingIsDrawnWhileNothingChanges) {
    state().scheduleUsesLocation = false;
    showTab("Schedule");
    EXPECT_EQ(drawings([this] { world.advance(Seconds(3600)); }), 0);
    EXPECT_EQ(world.runLoop.timerCount(), 0U);
}

class BreaksViewTest : public TabViewTest<BreaksModel> {
  protected:
    BreaksViewTest() {
        state().breaksEnabled = true;
        BreakEngine::shared().start();
    }

    BreakEngineInspector engine{BreakEngine::shared()};
};

const Names breaksOn{"20-20-20 Break Reminders",
                     "Next break in",
                     "20:00",
                     "Next break in",
                     "Break every",
                     "Break every",
                     "15 min",
                     "20 min",
                     "30 min",
                     "45 min",
                     "60 min",
                     "Break duration",
                     "Break duration",
                     "15 s",
                     "20 s",
                     "30 s",
                     "60 s",
                     "Taken: 0",
                     "Skipped: 0",
                     "Preview break overlay"};

TEST_F(BreaksViewTest, WithBreaksOffOnlyTheSwitchIsShownAndTheRestAppearsWithIt) {
    state().breaksEnabled = false;
    BreakEngine::shared().stop();
    showTab("Breaks");
    EXPECT_EQ(names(), Names{"20-20-20 Break Reminders"});
    click("20-20-20 Break Reminders");
    EXPECT_TRUE(becomes([this] { return names() == breaksOn; }));
    EXPECT_TRUE(engine.hasWorkTimer());
    expectEverythingInItsPlace();
    click("20-20-20 Break Reminders");
    EXPECT_TRUE(becomes([this] { return names() == Names{"20-20-20 Break Reminders"}; }));
    EXPECT_FALSE(engine.hasWorkTimer());
}

TEST_F(BreaksViewTest, TheCountdownFallsEverySecondAndItsEndStaysInItsPlace) {
    showTab("Breaks");
    expectEverythingInItsPlace();
    const auto longer = find("20:00").frame();
    world.advance(Seconds(1));
    ASSERT_TRUE(becomes([this] { return shows("19:59"); }));
    EXPECT_EQ(find("19:59").frame(), longer);
    world.advance(Seconds(600));
    ASSERT_TRUE(becomes([&] { return shows("9:59") && find("9:59").frame().width() < longer.width(); }));
    EXPECT_TRUE(becomes([&] { return find("9:59").frame().right() == longer.right(); }));
    EXPECT_EQ(find("9:59").frame().top(), longer.top());
    const auto bar = scene->all()[3];
    ASSERT_EQ(bar.role(), QAccessible::ProgressBar);
    EXPECT_NEAR(bar.item()->property("value").toDouble(), 601.0 / 1200, 1e-9);
}

TEST_F(BreaksViewTest, ANewIntervalStartsTheEngineOverAndTheSameOneDoesNot) {
    showTab("Breaks");
    world.advance(Seconds(300));
    click("45 min");
    EXPECT_TRUE(becomes([] { return state().breakIntervalMinutes.get() == 45; }));
    EXPECT_EQ(engine.startTime(), SimulatedPlatform::defaultStart + Seconds(300));
    EXPECT_TRUE(becomes([this] { return shows("45:00"); }));
    EXPECT_TRUE(find("45 min").isChecked());
    EXPECT_FALSE(find("20 min").isChecked());
    world.advance(Seconds(60));
    click("45 min");
    settle();
    EXPECT_EQ(engine.startTime(), SimulatedPlatform::defaultStart + Seconds(300));
}

TEST_F(BreaksViewTest, ANewLengthOnlyChangesItsSetting) {
    showTab("Breaks");
    world.advance(Seconds(300));
    click("60 s");
    EXPECT_TRUE(becomes([] { return state().breakDurationSeconds.get() == 60; }));
    EXPECT_TRUE(find("60 s").isChecked());
    EXPECT_EQ(engine.startTime(), SimulatedPlatform::defaultStart);
    EXPECT_TRUE(engine.hasWorkTimer());
}

TEST_F(BreaksViewTest, ThePreviewIsShownForFiveSecondsAndCountsForNothing) {
    state().breakDurationSeconds = 60;
    showTab("Breaks");
    click("Preview break overlay");
    EXPECT_TRUE(becomes([this] { return world.windows.openWindows() == 1; }));
    EXPECT_EQ(world.windows.windows().back()->contents().front().countdown.text, "5");
    world.advance(Seconds(5.5));
    EXPECT_EQ(world.windows.openWindows(), 0U);
    EXPECT_EQ(names().at(17), "Taken: 0");
    EXPECT_EQ(names().at(18), "Skipped: 0");
    EXPECT_EQ(engine.startTime(), SimulatedPlatform::defaultStart) << "the work period goes on";
}

TEST_F(BreaksViewTest, TheTalliesFollowTheBreaks) {
    showTab("Breaks");
    world.advance(Seconds(1220));
    EXPECT_TRUE(becomes([this] { return shows("Taken: 1"); }));
    world.advance(Seconds(1200));
    ASSERT_TRUE(world.windows.windows().back()->pressSkip());
    EXPECT_TRUE(becomes([this] { return shows("Skipped: 1") && shows("Taken: 1"); }));
}

TEST_F(BreaksViewTest, TheKeyboardReachesEverythingInReadingOrder) {
    showTab("Breaks");
    expectTabOrder({"20-20-20 Break Reminders", "20 min", "20 s", "Preview break overlay"});
    type(test::key::tab);
    type(test::key::right);
    EXPECT_TRUE(becomes([this] { return find("30 min").isFocused(); }));
    EXPECT_EQ(state().breakIntervalMinutes.get(), 30);
    type(test::key::tab);
    type(test::key::home);
    EXPECT_TRUE(becomes([] { return state().breakDurationSeconds.get() == 15; }));
    type(test::key::tab);
    type(test::key::enter);
    EXPECT_TRUE(becomes([this] { return world.windows.openWindows() == 1; }));
}

TEST_F(BreaksViewTest, AValueThatIsNoChoiceSelectsNoneAndTheKeyboardStillComesThrough) {
    state().breakIntervalMinutes = 25;
    showTab("Breaks");
    for (const auto& item : scene->all()) {
        EXPECT_FALSE(item.name().ends_with(" min") && item.isChecked()) << item.name();
    }
    expectTabOrder({"20-20-20 Break Reminders", "15 min", "20 s", "Preview break overlay"});
}

TEST_F(BreaksViewTest, FromRightToLeftEverythingIsMirrored) {
    showTab("Breaks", true);
    expectEverythingInItsPlace();
    EXPECT_LT(find("20:00").frame().right(), find("Next break in").frame().left());
    EXPECT_LT(find("60 min").frame().left(), find("15 min").frame().left());
    EXPECT_LT(find("Skipped: 0").frame().left(), find("Taken: 0").frame().left());
}

TEST_F(BreaksViewTest, TheLargestNumbersStayInTheirPlaces) {
    state().breaksTaken = std::numeric_limits<std::int64_t>::max();
    showTab("Breaks");
    expectEverythingInItsPlace();
    EXPECT_EQ(find("Taken: 9223372036854775807").frame().size(), find("Skipped: 0").frame().size());
}

TEST_F(BreaksViewTest, ItIsDrawnOnceASecondAtMost) {
    showTab("Breaks");
    const int count = drawings([this] {
        for (int i = 0; i < 5; ++i) {
            world.advance(Seconds(1));
            application.runUntil([] { return false; }, std::chrono::milliseconds(100));
        }
    });
    EXPECT_GE(count, 1);
    EXPECT_LE(count, 5);
}

TEST_F(BreaksViewTest, NothingIsDrawnOnceTheCountdownHasEnded) {
    state().breaksEnabled = false;
    BreakEngine::shared().stop();
    world.advance(Seconds(3600));
    showTab("Breaks");
    EXPECT_EQ(drawings([this] { world.advance(Seconds(60)); }), 0);
}

class StatsViewTest : public TabViewTest<StatsModel> {};

TEST_F(StatsViewTest, ShowsTheScoreItsVerdictTheTalliesAndTheSwitchesInThisOrder) {
    state().totalFilteredMinutes = 125;
    state().breaksTaken = 3;
    state().breaksSkipped = 1;
    state().activePresetID = "dusk";
    showTab("Stats");
    // 95 points at 3400 K, less a quarter of 20.
    EXPECT_EQ(names(), (Names{"90", "/ 100", "Eye Health Score", "Excellent! Your eyes are well protected today.",
                              "Filtered today: 2h 5m", "Breaks taken: 3", "Breaks skipped: 1", "Current temp: 3400K",
                              "Show score in menu bar", "Launch at login"}));
    expectEverythingInItsPlace();
}

TEST_F(StatsViewTest, TheScoreIsRefreshedEveryMinuteWhileItIsOnTheScreen) {
    showTab("Stats");
    EXPECT_TRUE(shows("80"));
    state().activePresetID = "sleep";
    EXPECT_TRUE(becomes([this] { return shows("Current temp: 1900K"); }));
    EXPECT_TRUE(shows("80"));
    world.advance(Seconds(60));
    EXPECT_TRUE(becomes([this] { return shows("100"); }));
    EXPECT_EQ(world.runLoop.timerCount(), 1U);
    model.setOnScreen(false);
    EXPECT_EQ(world.runLoop.timerCount(), 0U);
}

TEST_F(StatsViewTest, TheSwitchesChangeOnlyTheirSettings) {
    showTab("Stats");
    EXPECT_TRUE(find("Show score in menu bar").isChecked());
    EXPECT_FALSE(find("Launch at login").isChecked());
    click("Launch at login");
    EXPECT_TRUE(becomes([] { return state().launchAtLogin.get(); }));
    EXPECT_TRUE(becomes([this] { return find("Launch at login").isChecked(); }));
    click("Show score in menu bar");
    EXPECT_TRUE(becomes([] { return !state().showMenuBarScore.get(); }));
    EXPECT_FALSE(find("Show score in menu bar").isChecked());
    settle();
    EXPECT_TRUE(state().launchAtLogin.get());
    EXPECT_TRUE(world.displays.loads().empty());
    EXPECT_TRUE(world.statusBar.buttons().empty());
    EXPECT_EQ(world.runLoop.timerCount(), 1U) << "the tab's own";
}

TEST_F(StatsViewTest, TheKeyboardReachesEverythingInReadingOrder) {
    showTab("Stats");
    expectTabOrder({"Show score in menu bar", "Launch at login"});
    type(test::key::tab);
    type(test::key::space);
    EXPECT_TRUE(becomes([] { return state().launchAtLogin.get(); }));
    EXPECT_TRUE(state().showMenuBarScore.get());
}

TEST_F(StatsViewTest, NothingMovesWhenTheScoreHasAnotherWidth) {
    showTab("Stats");
    const auto frameOf = [this](const char* name) { return find(name).frame(); };
    const auto total = frameOf("/ 100");
    const auto title = frameOf("Eye Health Score");
    const auto card = frameOf("Filtered today: 0h 0m");
    for (const int score : {0, 7, 89, 100}) {
        state().exposureScore = score;
        const auto name = std::to_string(score);
        ASSERT_TRUE(becomes([&] { return shows(name); }));
        EXPECT_EQ(frameOf("/ 100"), total);
        EXPECT_EQ(title.left(), frameOf("Eye Health Score").left());
        EXPECT_EQ(frameOf("Filtered today: 0h 0m"), card);
        EXPECT_LE(std::abs(2 * frameOf(name.c_str()).center().x() - 2 * total.center().x()), 2) << "in the middle";
    }
}

TEST_F(StatsViewTest, LongTalliesStayInTheirCards) {
    state().totalFilteredMinutes = std::numeric_limits<std::int64_t>::max();
    state().breaksTaken = std::numeric_limits<std::int64_t>::max();
    showTab("Stats");
    expectEverythingInItsPlace();
    EXPECT_EQ(find("Breaks taken: 9223372036854775807").frame().size(), find("Breaks skipped: 0").frame().size());
}

TEST_F(StatsViewTest, FromRightToLeftEverythingIsMirrored) {
    showTab("Stats", true);
    expectEverythingInItsPlace();
    EXPECT_LT(find("Eye Health Score").frame().left(), find("80").frame().left());
    EXPECT_LT(find("Breaks taken: 0").frame().left(), find("Filtered today: 0h 0m").frame().left());
}

TEST_F(StatsViewTest, NothingIsDrawnWhileNothingChanges) {
    showTab("Stats");
    EXPECT_EQ(drawings([this] { world.advance(Seconds(600)); }), 0);
}

} // namespace
} // namespace nocta
