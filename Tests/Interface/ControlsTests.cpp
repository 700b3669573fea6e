#include "Interface/DrivenScene.h"

#include <memory>
#include <string>
#include <vector>

#include <QPointingDevice>
#include <QTest>
#include <QVariant>

namespace nocta {
namespace {

/// Reports what its controls say, and shows them what it is told, as the popover's views do.
constexpr const char* controls = R"(import QtQuick
import Nocta
Item {
    id: root
    property bool obeys: true
    property bool on: false
    property real number: 0.5
    property int choice: 1
    property int hour: 6
    property int minute: 30
    property var log: []
    property bool mirrored: false
    width: 340
    height: 400
    LayoutMirroring.enabled: mirrored
    LayoutMirroring.childrenInherit: true
    function note(what) { log = log.concat([String(what)]); return obeys; }
    Column {
        x: 16; y: 16; width: 308; spacing: 16
        Switch { width: parent.width; label: "Lamp"; checked: root.on; onToggled: on => { if (root.note(on)) root.on = on; } }
        Slider { width: parent.width; name: "Volume"; minimumValue: 0; maximumValue: 10; stepSize: 0.25; value: root.number
            onMoved: value => { if (root.note(value)) root.number = value; } }
        SegmentedControl { width: parent.width; name: "Size"; segments: ["S", "M", "L"]; currentIndex: root.choice
            onPicked: index => { if (root.note(index)) root.choice = index; } }
        TimeField { width: parent.width; label: "Sunrise"; hour: root.hour; minute: root.minute
            onEdited: (hour, minute) => { root.note(hour + ":" + minute); root.hour = hour; root.minute = minute; } }
        BorderedButton { text: "Preview"; onClicked: root.note("preview") }
        PlainButton { text: "Quit"; onClicked: root.note("quit") }
        ProgressBar { width: parent.width; name: "Progress"; value: 0.25 }
    }
}
)";

using Log = std::vector<std::string>;

class ControlsTest : public test::DrivenSceneTest {
  protected:
    ControlsTest() {
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        show(QByteArray(controls));
    }

    [[nodiscard]] Log log() const {
        Log result;
        for (const auto& entry : scene->root().property("log").toList()) {
            result.push_back(entry.toString().toStdString());
        }
        return result;
    }
    void set(const char* property, const QVariant& value) const { scene->root().setProperty(property, value); }

    void expectLog(const Log& expected) {
        EXPECT_TRUE(application.runUntil([&] { return log().size() >= expected.size(); }));
        settle();
        EXPECT_EQ(log(), expected);
        set("log", QVariantList());
    }
    /// Gives it the keyboard as Tab does.
    void focus(const std::string& name) {
        find(name).item()->forceActiveFocus(Qt::TabFocusReason);
        ASSERT_TRUE(find(name).isFocused());
    }
};

TEST_F(ControlsTest, ASwitchIsToggledByAClickAnywhereInItsRow) {
    const auto frame = find("Lamp").frame();
    pointAt(frame.topLeft() + QPoint(2, frame.height() / 2));
    input.click(leftButton);
    expectLog({"true"});
    EXPECT_TRUE(find("Lamp").isChecked());
    pointAt(frame.topRight() + QPoint(-6, frame.height() / 2));
    input.click(leftButton);
    expectLog({"false"});
    EXPECT_FALSE(find("Lamp").isChecked());
}

TEST_F(ControlsTest, TwoQuickClicksToggleTwice) {
    pointAt("Lamp");
    input.click(leftButton);
    input.click(leftButton);
    expectLog({"true", "false"});
}

TEST_F(ControlsTest, AClickThatIsTakenBackIsNone) {
    pointAt("Preview");
    input.pressButton(leftButton);
    settle();
    pointAt("Progress");
    settle();
    input.releaseButton(leftButton);
    settle();
    click("Quit");
    expectLog({"quit"});
}

TEST_F(ControlsTest, OnlyTheLeftButtonClicks) {
    pointAt("Lamp");
    input.click(2);
    input.click(3);
    click("Quit");
    expectLog({"quit"});
}

TEST_F(ControlsTest, AControlShowsWhatItIsToldAndNotWhatItsUserWants) {
    set("obeys", false);
    click("Lamp");
    click("L");
    expectLog({"true", "2"});
    EXPECT_FALSE(find("Lamp").isChecked());
    EXPECT_TRUE(find("M").isChecked());
}

TEST_F(ControlsTest, SpaceAndReturnClickOnceHoweverLongTheyAreHeld) {
    focus("Lamp");
    type(test::key::space);
    expectLog({"true"});
    type(test::key::enter);
    expectLog({"false"});
    focus("Preview");
    type(test::key::space);
    expectLog({"preview"});
}

TEST_F(ControlsTest, TabVisitsEveryControlOnceInReadingOrderAndBack) {
    const std::vector<std::string> order{"Lamp",    "Volume", "M", "Sunrise, hour, 06", "Sunrise, minute, 30",
                                         "Preview", "Quit"};
    for (const auto& name : order) {
        type(test::key::tab);
        EXPECT_TRUE(application.runUntil([&] { return find(name).isFocused(); })) << name;
        EXPECT_TRUE(find(name).item()->property("visualFocus").toBool()) << name;
    }
    type(test::key::tab);
    EXPECT_TRUE(application.runUntil([&] { return find(order.front()).isFocused(); }));
    typeTogether(test::key::shift, test::key::tab);
    EXPECT_TRUE(application.runUntil([&] { return find(order.back()).isFocused(); }));
    EXPECT_TRUE(log().empty());
}

TEST_F(ControlsTest, TheFocusRingIsForThoseWhoUseTheKeyboard) {
    click("Preview");
    expectLog({"preview"});
    const auto preview = find("Preview");
    EXPECT_TRUE(preview.isFocused());
    EXPECT_FALSE(preview.item()->property("visualFocus").toBool());
    type(test::key::space);
    expectLog({"preview"});
    EXPECT_TRUE(preview.item()->property("visualFocus").toBool());
}

TEST_F(ControlsTest, ASliderFollowsTheMouseFromWhereItTookHoldOfTheKnob) {
    const auto frame = find("Volume").frame();
    // The knob's middle goes from 10 pixels after the left end to 10 before the right one: 28.8 pixels a unit.
    const int y = frame.center().y();
    const double unit = (frame.width() - 20) / 10.0;
    const int knob = frame.left() + 10 + static_cast<int>(0.5 * unit);
    pointAt(QPoint(knob + 5, y));
    input.pressButton(leftButton);
    settle();
    EXPECT_TRUE(log().empty()) << "the knob is held, not moved";
    pointAt(QPoint(knob + 5 + 72, y));
    EXPECT_TRUE(application.runUntil([&] { return log().size() == 1; }));
    EXPECT_NEAR(find("Volume").value(), 0.5 + 72 / unit, 0.02);
    // Also far from it, and no further than its ends.
    pointAt(QPoint(frame.right() + 400, y + 300));
    EXPECT_TRUE(application.runUntil([&] { return log().size() == 2; }));
    EXPECT_EQ(find("Volume").value(), 10);
    pointAt(QPoint(0, y));
    EXPECT_TRUE(application.runUntil([&] { return log().size() == 3; }));
    EXPECT_EQ(find("Volume").value(), 0);
    input.releaseButton(leftButton);
    pointAt(QPoint(knob + 100, y));
    settle();
    EXPECT_EQ(log().size(), 3U);
}

TEST_F(ControlsTest, ASliderComesToAClickOnItsTrack) {
    const auto frame = find("Volume").frame();
    pointAt(QPoint(frame.left() + frame.width() / 2, frame.center().y()));
    input.click(leftButton);
    EXPECT_TRUE(application.runUntil([&] { return log().size() == 1; }));
    EXPECT_NEAR(find("Volume").value(), 5, 0.03);
}

TEST_F(ControlsTest, ASliderHasStepsForKeysAndTheWheel) {
    focus("Volume");
    type(test::key::right);
    type(test::key::up);
    type(test::key::left);
    type(test::key::down);
    type(test::key::pageUp);
    type(test::key::pageDown);
    type(test::key::end);
    type(test::key::right);
    type(test::key::home);
    type(test::key::left);
    expectLog({"0.75", "1", "0.75", "0.5", "3", "0.5", "10", "0"});
    pointAt("Volume");
    input.click(wheelUp);
    input.click(wheelUp);
    input.click(wheelDown);
    expectLog({"0.25", "0.5", "0.25"});
}

TEST_F(ControlsTest, ASliderStepsFromBetweenTwoStepsToTheNextOfThem) {
    set("number", 3.1);
    focus("Volume");
    type(test::key::right);
    expectLog({"3.25"});
    set("number", 3.1);
    type(test::key::left);
    expectLog({"3"});
}

TEST_F(ControlsTest, ASliderThatIsToldANumberBeyondItsRangeShowsTheEnd) {
    set("number", 12);
    EXPECT_EQ(find("Volume").item()->property("position").toDouble(), 1);
    set("number", -3);
    EXPECT_EQ(find("Volume").item()->property("position").toDouble(), 0);
    focus("Volume");
    type(test::key::home);
    expectLog({"0"});
}

TEST_F(ControlsTest, FromRightToLeftASliderAndSegmentsRunTheOtherWay) {
    set("mirrored", true);
    set("number", 0);
    const auto frame = find("Volume").frame();
    pointAt(QPoint(frame.left(), frame.center().y()));
    input.click(leftButton);
    expectLog({"10"});
    focus("Volume");
    type(test::key::right);
    expectLog({"9.75"});
    EXPECT_GT(find("S").frame().left(), find("L").frame().left());
    focus("M");
    type(test::key::left);
    expectLog({"2"});
}

TEST_F(ControlsTest, SegmentsArePickedByAClickAndByArrowKeys) {
    click("L");
    expectLog({"2"});
    EXPECT_TRUE(find("L").isChecked());
    EXPECT_FALSE(find("M").isChecked());
    click("L");
    type(test::key::right);
    type(test::key::left);
    type(test::key::left);
    type(test::key::left);
    type(test::key::end);
    type(test::key::home);
    expectLog({"1", "0", "2", "0"});
    EXPECT_TRUE(find("S").isFocused());
}

TEST_F(ControlsTest, SegmentsOfWhichNoneIsItAreReachedAtTheFirst) {
    set("choice", -1);
    focus("Volume");
    type(test::key::tab);
    EXPECT_TRUE(application.runUntil([&] { return find("S").isFocused(); }));
    type(test::key::right);
    expectLog({"0"});
}

TEST_F(ControlsTest, ATimeIsEditedByKeysInItsParts) {
    focus("Sunrise, hour, 06");
    type(test::key::up);
    expectLog({"7:30"});
    type(test::key::digit1);
    type(test::key::digit8);
    expectLog({"1:30", "18:30"});
    EXPECT_TRUE(find("Sunrise, minute, 30").isFocused()) << "the hour is full";
    type(test::key::down);
    expectLog({"18:29"});
    type(test::key::left);
    type(test::key::down);
    expectLog({"17:29"});
}

TEST_F(ControlsTest, ATimeIsEditedByTheWheelAndTheChevrons) {
    pointAt("Sunrise, minute, 30");
    input.click(wheelDown);
    expectLog({"6:29"});
    const auto minute = find("Sunrise, minute, 29").frame();
    const auto chevronX = find("Volume").frame().right() - 10;
    pointAt(QPoint(chevronX, minute.center().y() - 6));
    input.click(leftButton);
    expectLog({"7:29"});
    click("Sunrise, minute, 29");
    pointAt(QPoint(chevronX, minute.center().y() + 6));
    input.click(leftButton);
    expectLog({"7:28"});
    EXPECT_TRUE(find("Sunrise, minute, 28").isFocused());
}

TEST_F(ControlsTest, ScreenReadersSeeAndUseThem) {
    EXPECT_EQ(find("Lamp").role(), QAccessible::CheckBox);
    EXPECT_EQ(find("Volume").role(), QAccessible::Slider);
    EXPECT_EQ(find("Volume").value(), 0.5);
    EXPECT_EQ(find("M").role(), QAccessible::RadioButton);
    EXPECT_TRUE(find("M").isChecked());
    EXPECT_EQ(find("Preview").role(), QAccessible::Button);
    EXPECT_EQ(find("Progress").role(), QAccessible::ProgressBar);
    EXPECT_EQ(find("Progress").description(), "25%");
    EXPECT_EQ(find("Sunrise, hour, 06").role(), QAccessible::SpinBox);
    find("Lamp").act(QAccessibleActionInterface::pressAction());
    find("Volume").act(QAccessibleActionInterface::increaseAction());
    find("L").act(QAccessibleActionInterface::pressAction());
    find("Sunrise, hour, 06").act(QAccessibleActionInterface::decreaseAction());
    find("Preview").act(QAccessibleActionInterface::pressAction());
    expectLog({"true", "0.75", "2", "5:30", "preview"});
}

/// Ten buttons of 24 pixels, 6 apart, 10 from the edges: 314 high, in a place of 100.
constexpr const char* longColumn = R"(import QtQuick
import Nocta
Item {
    id: root
    property int rows: 10
    width: 200
    height: 100
    ScrollArea {
        anchors.fill: parent
        padding: 10
        spacing: 6
        Repeater {
            model: root.rows
            BorderedButton { required property int index; text: "Row " + index }
        }
    }
}
)";

class ScrollAreaTest : public test::DrivenSceneTest {
  protected:
    ScrollAreaTest() { show(QByteArray(longColumn)); }

    [[nodiscard]] int top(int row) const { return find("Row " + std::to_string(row)).frame().top(); }
    void expectTop(int row, int y) {
        EXPECT_TRUE(application.runUntil([&] { return top(row) == y; })) << top(row);
    }
};

TEST_F(ScrollAreaTest, TheWheelScrollsToTheEndsAndNotBeyond) {
    EXPECT_EQ(top(0), 10);
    pointAt(QPoint(50, 50));
    input.click(wheelUp);
    settle();
    EXPECT_EQ(top(0), 10);
    input.click(wheelDown);
    expectTop(0, 10 - 48);
    for (int i = 0; i < 10; ++i) {
        input.click(wheelDown);
    }
    expectTop(9, 100 - 10 - 24);
    input.click(wheelUp);
    expectTop(9, 100 - 10 - 24 + 48);
}

TEST_F(ScrollAreaTest, WhatTheKeyboardReachesComesIntoSight) {
    const auto isInSight = [&](int row) { return top(row) >= 0 && top(row) + 24 <= 100; };
    for (int row = 0; row < 10; ++row) {
        type(test::key::tab);
        EXPECT_TRUE(application.runUntil([&] {
            return find("Row " + std::to_string(row)).isFocused() && isInSight(row);
        })) << row;
    }
    type(test::key::tab);
    EXPECT_TRUE(application.runUntil([&] { return find("Row 0").isFocused() && isInSight(0); }));
}

TEST_F(ScrollAreaTest, AFingerDragsIt) {
    const std::unique_ptr<QPointingDevice> finger(QTest::createTouchDevice());
    const auto touch = [&] { return QTest::touchEvent(&scene->shownIn(), finger.get()); };
    touch().press(0, QPoint(150, 90));
    for (int y = 85; y >= 30; y -= 5) {
        touch().move(0, QPoint(150, y));
    }
    touch().release(0, QPoint(150, 30));
    EXPECT_TRUE(application.runUntil([&] { return top(0) < 10; }));
    EXPECT_GE(top(0), 10 - 60);
}

TEST_F(ScrollAreaTest, AColumnThatGetsShorterLeavesNoGap) {
    pointAt(QPoint(50, 50));
    for (int i = 0; i < 10; ++i) {
        input.click(wheelDown);
    }
    expectTop(9, 100 - 10 - 24);
    scene->root().setProperty("rows", 5);
    expectTop(4, 100 - 10 - 24);
    scene->root().setProperty("rows", 2);
    expectTop(0, 10);
}

} // namespace
} // namespace nocta
