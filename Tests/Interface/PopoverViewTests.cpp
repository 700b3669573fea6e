#include "Interface/Popover/PopoverModel.h"

#include "Core/AppState.h"
#include "Core/FilterEngine.h"
#include "Interface/DrivenScene.h"
#include "Platform/Application.h"

#include <string>
#include <vector>

namespace nocta {
namespace {

class PopoverViewTest : public test::DrivenSceneTest {
  protected:
    PopoverViewTest() { world.appearance.setColorScheme(ColorScheme::light); }
    ~PopoverViewTest() override { scene.reset(); }

    static AppState& state() { return AppState::shared(); }
    [[nodiscard]] int saves() const { return world.settings.synchronizations(); }
    [[nodiscard]] std::size_t loads() const { return world.displays.loads().size(); }

    void open() {
        model.setShown(true);
        show(test::Scene::file(QStringLiteral("Popover/PopoverView.qml")),
             {{"model", QVariant::fromValue(&model)}, {"width", 340}, {"height", 560}});
    }

    /// As Tab does.
    void focus(const std::string& name) {
        find(name).item()->forceActiveFocus(Qt::TabFocusReason);
        ASSERT_TRUE(find(name).isFocused());
    }

    PopoverModel model;
};

TEST_F(PopoverViewTest, SaysWhatTheFilterDoes) {
    state().activePresetID = "dusk";
    open();
    EXPECT_TRUE(find("Filter").isChecked());
    EXPECT_TRUE(find("Dusk"));
    EXPECT_TRUE(find("3400K"));
    EXPECT_TRUE(find("Eye health score 100"));
    EXPECT_TRUE(find("Nocta 1.0"));
    state().exposureScore = 7;
    EXPECT_TRUE(find("Eye health score 7"));
    state().activePresetID = "custom";
    state().customTemp = 2345;
    EXPECT_TRUE(find("2345K"));
}

TEST_F(PopoverViewTest, TheSwitchTurnsTheFilterOffAndOn) {
    state().activePresetID = "dusk";
    open();
    const auto before = saves();
    click("Filter");
    ASSERT_TRUE(application.runUntil([&] { return !state().filterEnabled.get(); }));
    EXPECT_EQ(saves(), before + 1) << "one assignment for one click";
    EXPECT_TRUE(find("Filter Off"));
    EXPECT_TRUE(find("Click to enable"));
    EXPECT_FALSE(find("Filter").isChecked());
    const auto tint = find("Filter").item()->property("tint").value<QColor>();
    EXPECT_EQ(tint, QColor("#FF9500")) << "still of the effective temperature";
    focus("Filter");
    type(test::key::space);
    ASSERT_TRUE(application.runUntil([&] { return state().filterEnabled.get(); }));
    EXPECT_EQ(saves(), before + 2);
    EXPECT_TRUE(find("Dusk"));
}

TEST_F(PopoverViewTest, ATapOnACardPicksItsPreset) {
    open();
    const auto before = saves();
    click("Evening, 2700K");
    ASSERT_TRUE(application.runUntil([&] { return state().activePresetID.get() == "evening"; }));
    EXPECT_EQ(saves(), before + 1);
    EXPECT_TRUE(find("Evening, 2700K").isChecked());
    EXPECT_FALSE(find("Natural, 6500K").isChecked());
    world.advance(Seconds(3));
    EXPECT_EQ(loads(), 60U) << "the preset's own fade, two seconds of thirty frames";
}

TEST_F(PopoverViewTest, WithTheFilterOffATapOnACardChangesNothing) {
    state().activePresetID = "dusk";
    state().filterEnabled = false;
    world.advance(Seconds(3));
    open();
    EXPECT_FALSE(find("Dusk, 3400K").isChecked()) << "no card is highlighted";
    const auto savesBefore = saves();
    const auto loadsBefore = loads();
    click("Sleep, 1900K");
    settle();
    world.advance(Seconds(3));
    EXPECT_EQ(state().activePresetID.get(), "dusk");
    EXPECT_EQ(saves(), savesBefore);
    EXPECT_EQ(loads(), loadsBefore);
}

TEST_F(PopoverViewTest, OnASmallScreenItsViewsScrollAndTheBarStaysInReach) {
    model.setShown(true);
    show(test::Scene::file(QStringLiteral("Popover/PopoverView.qml")),
         {{"model", QVariant::fromValue(&model)}, {"width", 340}, {"height", 400}});
    EXPECT_LE(find("Quit Nocta").frame().bottom(), scene->shownIn().geometry().top() + 400);
    const auto bar = find("Tabs").frame().top();
    EXPECT_GT(find("Brightness").frame().top(), bar) << "not in sight";
    find("Brightness").item()->forceActiveFocus(Qt::TabFocusReason);
    EXPECT_TRUE(application.runUntil([&] { return find("Brightness").frame().bottom() <= bar; }));
}

TEST_F(PopoverViewTest, TheHighlightMovesToTheSelectedTabUnlessTheDesktopWantsStillness) {
    open();
    auto* const highlight = find("Tabs").item()->childItems().at(1); // the bar's ground is the first
    ASSERT_EQ(highlight->width(), 85);
    bool wasBetween = false;
    QObject::connect(highlight, &QQuickItem::xChanged, highlight,
                     [&] { wasBetween = wasBetween || (highlight->x() > 0 && highlight->x() < 255); });
    click("Stats");
    EXPECT_TRUE(application.runUntil([&] { return highlight->x() == 255; }));
    EXPECT_TRUE(wasBetween);
    wasBetween = false;
    world.appearance.setReducesMotion(true);
    click("Presets");
    EXPECT_TRUE(application.runUntil([&] { return highlight->x() == 0; }));
    EXPECT_FALSE(wasBetween);
}

TEST_F(PopoverViewTest, ADragOfTwoHundredStepsIsTwoHundredChangesOfTheScreen) {
    state().customTemp = 1900;
    open();
    FilterEngine::shared().applyImmediate(1900, 1);
    const auto savesBefore = saves();
    const auto loadsBefore = loads();
    const auto frame = find("Custom Temperature").frame();
    // The knob is 20 wide; where it is at its left end. 288 pixels for 4600 K: each is more of a change than the engine
    // takes for none, in the warm half.
    const QPoint knob(frame.left() + 10, frame.center().y());
    pointAt(knob);
    input.pressButton(leftButton);
    std::size_t steps = 0;
    const auto moveTo = [&](int distance) {
        pointAt(knob + QPoint(distance, 0));
        ++steps;
        ASSERT_TRUE(application.runUntil([&] { return loads() >= loadsBefore + steps; })) << steps;
    };
    for (int distance = 1; distance <= 100; ++distance) {
        ASSERT_NO_FATAL_FAILURE(moveTo(distance));
    }
    for (int distance = 99; distance >= 0; --distance) {
        ASSERT_NO_FATAL_FAILURE(moveTo(distance));
    }
    input.releaseButton(leftButton);
    settle();
    EXPECT_EQ(steps, 200U);
    EXPECT_EQ(loads(), loadsBefore + 200);
    EXPECT_EQ(saves(), savesBefore + 400) << "the temperature and the preset, each once a step";
    EXPECT_EQ(state().customTemp.get(), 1900);
    EXPECT_EQ(state().activePresetID.get(), "custom");
    EXPECT_EQ(world.runLoop.timerCount(), 0U) << "no fade";
}

TEST_F(PopoverViewTest, WithTheFilterOffTheTemperatureIsStillSetAndMadeTheActiveOne) {
    state().filterEnabled = false;
    world.advance(Seconds(3));
    open();
    const auto loadsBefore = loads();
    const auto frame = find("Custom Temperature").frame();
    pointAt(frame.center());
    input.click(leftButton);
    ASSERT_TRUE(application.runUntil([&] { return state().activePresetID.get() == "custom"; }));
    // A pixel is 16 K.
    EXPECT_NEAR(static_cast<double>(state().customTemp.get()), 4200, 17);
    EXPECT_EQ(loads(), loadsBefore);
    EXPECT_TRUE(find("Filter Off"));
}

TEST_F(PopoverViewTest, TheEndsOfTheSlidersAreExact) {
    open();
    const auto drag = [&](const std::string& name, const QPoint& to) {
        pointAt(name);
        input.pressButton(leftButton);
        pointAt(to);
        input.releaseButton(leftButton);
    };
    const auto temperature = find("Custom Temperature").frame();
    drag("Custom Temperature", temperature.topLeft() - QPoint(10, 0));
    EXPECT_TRUE(application.runUntil([&] { return state().customTemp.get() == 1900; }));
    drag("Custom Temperature", temperature.topRight() + QPoint(10, 0));
    EXPECT_TRUE(application.runUntil([&] { return state().customTemp.get() == 6500; }));
    const auto brightness = find("Brightness").frame();
    drag("Brightness", brightness.topLeft() - QPoint(10, 0));
    EXPECT_TRUE(application.runUntil([&] { return state().customBrightness.get() == 0.3; }));
    EXPECT_TRUE(find("30%"));
    drag("Brightness", brightness.topRight() + QPoint(10, 0));
    EXPECT_TRUE(application.runUntil([&] { return state().customBrightness.get() == 1.0; }));
    EXPECT_TRUE(find("100%"));
}

TEST_F(PopoverViewTest, KeysAndTheWheelMoveTheSliders) {
    open();
    focus("Custom Temperature");
    type(test::key::left);
    EXPECT_TRUE(application.runUntil([&] { return state().customTemp.get() == 6450; }));
    type(test::key::pageDown);
    EXPECT_TRUE(application.runUntil([&] { return state().customTemp.get() == 5950; }));
    type(test::key::home);
    EXPECT_TRUE(application.runUntil([&] { return state().customTemp.get() == 1900; }));
    pointAt("Custom Temperature");
    input.click(wheelUp);
    EXPECT_TRUE(application.runUntil([&] { return state().customTemp.get() == 1950; }));
    EXPECT_TRUE(find("1950K"));
    pointAt("Brightness");
    input.click(wheelDown);
    EXPECT_TRUE(application.runUntil([&] { return bool(find("99%")); }));
    EXPECT_EQ(state().activePresetID.get(), "custom");
}

TEST_F(PopoverViewTest, TheBrightnessLeavesThePresetAsItIs) {
    state().activePresetID = "dusk";
    open();
    focus("Brightness");
    const auto before = saves();
    type(test::key::left);
    ASSERT_TRUE(application.runUntil([&] { return state().customBrightness.get() < 1; }));
    EXPECT_EQ(saves(), before + 1);
    EXPECT_EQ(state().activePresetID.get(), "dusk");
    EXPECT_EQ(loads(), 1U);
}

TEST_F(PopoverViewTest, TheKeyboardReachesEverythingInReadingOrder) {
    state().activePresetID = "evening";
    open();
    const std::vector<std::string> order{"Filter",         "Natural, 6500K", "Focus, 5000K",  "Dusk, 3400K",
                                         "Evening, 2700K", "Sleep, 1900K",   "Cinema, 4000K", "Custom Temperature",
                                         "Brightness",     "Presets",        "Quit Nocta"};
    const auto savesBefore = saves();
    for (const auto& name : order) {
        type(test::key::tab);
        EXPECT_TRUE(application.runUntil([&] { return scene->focused().name() == name; }))
            << name << ", not " << scene->focused().name();
        EXPECT_TRUE(scene->focused().item()->property("visualFocus").toBool()) << name;
    }
    for (auto name = order.rbegin() + 1; name != order.rend(); ++name) {
        typeTogether(test::key::shift, test::key::tab);
        EXPECT_TRUE(application.runUntil([&] { return scene->focused().name() == *name; })) << *name;
    }
    EXPECT_EQ(saves(), savesBefore) << "a walk changes nothing";
}

TEST_F(PopoverViewTest, ATabIsSelectedByAClickAndOnlyItsViewIsThere) {
    open();
    click("Schedule");
    EXPECT_TRUE(application.runUntil([&] { return bool(find("Automatic Schedule")); }));
    EXPECT_EQ(model.selectedTab(), 1);
    EXPECT_FALSE(find("Custom Temperature"));
    click("Breaks");
    EXPECT_TRUE(application.runUntil([&] { return bool(find("20-20-20 Break Reminders")); }));
    EXPECT_FALSE(find("Automatic Schedule"));
    click("Stats");
    EXPECT_TRUE(application.runUntil([&] { return bool(find("Show score in menu bar")); }));
    EXPECT_TRUE(find("Stats").state().selected);
    EXPECT_FALSE(find("Breaks").state().selected);
    click("Presets");
    EXPECT_TRUE(application.runUntil([&] { return bool(find("Custom Temperature")); }));
}

TEST_F(PopoverViewTest, ArrowKeysSelectTheTabBesideTheSelectedOne) {
    open();
    const auto expectTab = [&](int index, const std::string& name) {
        EXPECT_TRUE(application.runUntil([&] { return model.selectedTab() == index; })) << name;
        EXPECT_EQ(scene->focused().name(), name);
    };
    focus("Schedule");
    model.setSelectedTab(1);
    type(test::key::right);
    expectTab(2, "Breaks");
    type(test::key::end);
    expectTab(3, "Stats");
    type(test::key::right);
    type(test::key::left);
    expectTab(2, "Breaks");
    type(test::key::home);
    expectTab(0, "Presets");
    typeTogether(test::key::shift, test::key::tab);
    EXPECT_TRUE(application.runUntil([&] { return scene->focused().name() == "Brightness"; }));
}

TEST_F(PopoverViewTest, TheTabThatWasSelectedIsThereInTheNextScene) {
    model.setSelectedTab(3);
    open();
    EXPECT_TRUE(find("Launch at login"));
    EXPECT_FALSE(find("Custom Temperature"));
}

TEST_F(PopoverViewTest, ArrowKeysWalkTheGridAndSpacePicks) {
    open();
    focus("Natural, 6500K");
    const auto expectFocus = [&](const std::string& name) {
        EXPECT_TRUE(application.runUntil([&] { return scene->focused().name() == name; })) << name;
    };
    type(test::key::right);
    expectFocus("Focus, 5000K");
    type(test::key::down);
    expectFocus("Sleep, 1900K");
    type(test::key::down);
    type(test::key::left);
    expectFocus("Evening, 2700K");
    type(test::key::up);
    expectFocus("Natural, 6500K");
    type(test::key::up);
    type(test::key::end);
    expectFocus("Cinema, 4000K");
    EXPECT_EQ(state().activePresetID.get(), "natural") << "a walk picks nothing";
    type(test::key::space);
    EXPECT_TRUE(application.runUntil([&] { return state().activePresetID.get() == "cinema"; }));
    type(test::key::home);
    type(test::key::enter);
    EXPECT_TRUE(application.runUntil([&] { return state().activePresetID.get() == "natural"; }));
}

TEST_F(PopoverViewTest, ScreenReadersCanPickAndSwitch) {
    open();
    EXPECT_EQ(find("Evening, 2700K").role(), QAccessible::RadioButton);
    EXPECT_EQ(find("Custom Temperature").role(), QAccessible::Slider);
    EXPECT_EQ(find("Custom Temperature").value(), 6500);
    find("Evening, 2700K").act(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(state().activePresetID.get(), "evening");
    find("Filter").act(QAccessibleActionInterface::toggleAction());
    EXPECT_FALSE(state().filterEnabled.get());
    find("Custom Temperature").act(QAccessibleActionInterface::decreaseAction());
    EXPECT_EQ(state().customTemp.get(), 6450);
}

TEST_F(PopoverViewTest, WhatIsReadFromRightToLeftIsMirrored) {
    QGuiApplication::setLayoutDirection(Qt::RightToLeft);
    open();
    EXPECT_GT(find("Filter").frame().left(), find("Eye health score 100").frame().left());
    EXPECT_GT(find("Natural, 6500K").frame().left(), find("Dusk, 3400K").frame().left());
    const auto frame = find("Custom Temperature").frame();
    pointAt(QPoint(frame.right() - 2, frame.center().y()));
    input.click(leftButton);
    EXPECT_TRUE(application.runUntil([&] { return state().customTemp.get() == 1900; }));
    focus("Natural, 6500K");
    type(test::key::left);
    EXPECT_TRUE(application.runUntil([&] { return scene->focused().name() == "Focus, 5000K"; }));
}

TEST_F(PopoverViewTest, ChangesFromElsewhereAreShownAndAssignNothing) {
    open();
    const auto before = saves();
    state().activePresetID = "sleep";
    state().customTemp = 2500;
    state().customBrightness = 0.4;
    settle();
    EXPECT_TRUE(find("Sleep, 1900K").isChecked());
    EXPECT_TRUE(find("2500K"));
    EXPECT_TRUE(find("40%"));
    EXPECT_EQ(find("Custom Temperature").value(), 2500);
    EXPECT_EQ(saves(), before + 3);
    EXPECT_EQ(loads(), 0U);
}

struct Delegate final : ApplicationDelegate {
    explicit Delegate(SimulatedPlatform& world) : world(world) {}
    void applicationDidFinishLaunching() override {}
    void applicationWillTerminate() override { restoresBefore.push_back(world.displays.restores()); }

    SimulatedPlatform& world;
    std::vector<int> restoresBefore;
};

TEST_F(PopoverViewTest, QuitGivesTheDisplaysBackAndEndsTheProgram) {
    Delegate delegate(world);
    world.application.run(delegate);
    open();
    click("Quit Nocta");
    EXPECT_TRUE(application.runUntil([&] { return delegate.restoresBefore == std::vector{1}; }));
}

} // namespace
} // namespace nocta
