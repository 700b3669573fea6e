// The popover as the program opens it: the real views in the real window.

#include "Core/AppState.h"
#include "Core/FreshPlatform.h"
#include "Interface/Popover/PopoverModel.h"
#include "Interface/Scene.h"
#include "Interface/StatusBar/QuickPopoverHost.h"
#include "Interface/XcbApplication.h"
#include "Platform/X11/X11PopoverSurface.h"
#include "Support/DrivenInput.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>

#include <QGuiApplication>
#include <QQuickWindow>

#include <gtest/gtest.h>

namespace nocta {
namespace {

class OpenedPopoverTest : public testing::Test {
  protected:
    OpenedPopoverTest() {
        world.appearance.setReducesMotion(true);
        input.setLayout({"-layout", "us"});
    }

    void open() {
        popover->show(Rectangle{.x = 1200, .y = 4, .width = 22, .height = 22}, Edge::below);
        popover->makeKey();
        ASSERT_TRUE(application.runUntil([] {
            const auto windows = QGuiApplication::topLevelWindows();
            return std::ranges::any_of(windows, [](const QWindow* window) { return window->isExposed(); });
        }));
    }
    void close() const { popover->performClose(); }

    /// What the popover shows of that name, while there is one.
    static test::AccessibleItem find(const std::string& name) {
        for (auto* window : QGuiApplication::topLevelWindows()) {
            if (!window->isVisible()) {
                continue;
            }
            for (const auto& item : test::AccessibleItem(QAccessible::queryAccessibleInterface(window)).all()) {
                if (item.name() == name) {
                    return item;
                }
            }
        }
        return test::AccessibleItem();
    }
    bool appears(const std::string& name) {
        return application.runUntil([&] { return static_cast<bool>(find(name)); });
    }
    void click(const std::string& name) {
        ASSERT_TRUE(appears(name));
        const auto place = find(name).frame().center();
        input.movePointer(static_cast<std::int16_t>(place.x()), static_cast<std::int16_t>(place.y()));
        input.click(1);
    }

    test::XcbApplication application;
    SimulatedPlatform& world = freshPlatform();
    test::DrivenInput input;
    QuickPopoverHost host{world.runLoop, [](QWindow& window) { return std::make_unique<X11PopoverSurface>(window); },
                          &PopoverModel::makeScene, [] {}};
    std::unique_ptr<Popover> popover = host.makePopover({.contentSize = {.width = 340, .height = 560}});
};

TEST_F(OpenedPopoverTest, TheSelectedTabIsStillThereHoweverLongThePopoverWasClosed) {
    open();
    click("Stats");
    ASSERT_TRUE(appears("Launch at login"));
    close();
    world.advance(Seconds(1));
    open();
    EXPECT_TRUE(appears("Launch at login"));
    close();
    world.advance(QuickPopoverHost::sceneLife);
    EXPECT_FALSE(find("Launch at login")) << "the scene is given up";
    EXPECT_EQ(world.runLoop.timerCount(), 0U) << "and so is what ran for the tab";
    open();
    EXPECT_TRUE(appears("Launch at login"));
}

TEST_F(OpenedPopoverTest, TheKeyboardIsAtWorkAtOnceAndEscapeCloses) {
    open();
    ASSERT_TRUE(appears("Filter"));
    input.type({test::key::tab});
    ASSERT_TRUE(application.runUntil([&] { return find("Filter").isFocused(); }));
    input.type({test::key::space});
    ASSERT_TRUE(application.runUntil([&] { return !AppState::shared().filterEnabled.get(); }));
    // From within a control that knows keys of its own.
    find("Brightness").item()->forceActiveFocus(Qt::TabFocusReason);
    input.type({test::key::escape});
    EXPECT_TRUE(application.runUntil([&] { return !popover->isShown(); }));
}

} // namespace
} // namespace nocta
