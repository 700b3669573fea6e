#include "Platform/X11/XInputEventMonitor.h"

#include "CountingRunLoop.h"
#include "QtLoop.h"
#include "Support/DrivenInput.h"
#include "Support/DrivenWindows.h"
#include "Support/Eventually.h"
#include "Support/Process.h"
#include "Support/ServerTurns.h"
#include "Support/TemporaryFolder.h"
#include "Support/XServer.h"

#include <algorithm>
#include <csignal>
#include <fstream>
#include <iterator>
#include <numeric>

#include <gtest/gtest.h>

namespace nocta {
namespace {

namespace key = test::key;
using test::Process;

constexpr auto shortcut = modifier::command | modifier::shift;

/// A program that has the keyboard and writes down what it is told.
class Typewriter {
  public:
    explicit Typewriter(const test::DrivenWindows& windows)
        : xterm({"xterm", "-name", "typewriter", "-class", "Typewriter", "-geometry", "20x5+200+200", "-e", "sh", "-c",
                 "stty -icanon -echo min 1; exec cat > '" + file().string() + "'"}) {
        windows.focus(windows.await("Typewriter"));
        if (!test::eventually([this] { return std::filesystem::exists(file()); })) {
            throw std::runtime_error("nothing to type on");
        }
    }

    [[nodiscard]] std::string text() const {
        std::ifstream stream(file(), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

  private:
    [[nodiscard]] std::filesystem::path file() const { return folder.path() / "typed"; }

    test::TemporaryFolder folder;
    Process xterm;
};

class XInputEventMonitorTest : public testing::Test {
  protected:
    XInputEventMonitorTest() {
        input.setLayout({"us"});
        // Nothing of ours lies there.
        input.movePointer(600, 600);
    }

    void monitorKeys() {
        keyToken = monitor.addGlobalKeyDownMonitor([this](const KeyEvent& event) { keys.push_back(event); });
    }
    void monitorClicks() {
        mouseToken = monitor.addGlobalMouseDownMonitor([this] { ++clicks; });
    }

    /// Whether exactly these modifiers were held at the presses of I so far. Everything else that was typed before has
    /// been seen then, too: the last press here is this one.
    [[nodiscard]] bool seen(std::vector<std::uint32_t> flags) {
        constexpr auto last = modifier::control;
        input.type({key::control, key::i});
        flags.push_back(last);
        const bool came = loop.runUntil([&] { return !keys.empty() && keys.back().modifierFlags == last; });
        std::vector<std::uint32_t> actual;
        for (const auto& event : keys) {
            EXPECT_EQ(event.keyCode, keycode::i);
            actual.push_back(event.modifierFlags);
        }
        keys.clear();
        EXPECT_EQ(actual, flags);
        return came;
    }

    /// Lets the monitor hear of all that has happened, and ask and be answered what it wants to know.
    void settle() {
        constexpr int longestChain = 6; // of questions that answers lead to
        for (int turn = 0; turn < longestChain; ++turn) {
            loop.runDue();
            test::letServerServe(input.server());
        }
        loop.runDue();
    }

    [[nodiscard]] bool clicksAre(int count) {
        // One that surely counts comes last.
        input.movePointer(600, 600);
        input.click(1);
        const bool came = loop.runUntil([&] { return clicks > count; });
        EXPECT_EQ(clicks, count + 1);
        clicks = 0;
        return came;
    }

    test::XServer xServer;
    test::QtLoop loop;
    test::CountingRunLoop runLoop;
    test::DrivenInput input;
    test::DrivenWindows windows;
    XInputEventMonitor monitor{runLoop};
    std::vector<KeyEvent> keys;
    int clicks = 0;
    std::unique_ptr<EventMonitorToken> keyToken;
    std::unique_ptr<EventMonitorToken> mouseToken;
};

TEST_F(XInputEventMonitorTest, ReportsThePhysicalIKeyWithTheModifiersHeld) {
    ASSERT_TRUE(monitor.isAvailable());
    monitorKeys();
    input.type({key::i});
    input.type({key::super, key::shift, key::i});
    input.type({key::rightSuper, key::rightShift, key::i});
    input.type({key::super, key::i});
    input.type({key::shift, key::i});
    input.type({key::super, key::shift, key::alt, key::control, key::i});
    EXPECT_TRUE(seen(
        {0, shortcut, shortcut, modifier::command, modifier::shift, shortcut | modifier::option | modifier::control}));
}

TEST_F(XInputEventMonitorTest, OtherKeysAreNotReported) {
    monitorKeys();
    input.type({key::super, key::shift, key::a});
    input.type({key::enter});
    EXPECT_TRUE(seen({}));
}

TEST_F(XInputEventMonitorTest, TheModifiersAreThoseOfThePressHoweverLateItIsLookedAt) {
    monitorKeys();
    // All of it has happened before the monitor's loop runs; the keys are up again.
    input.type({key::super, key::shift, key::i});
    input.type({key::alt});
    EXPECT_TRUE(seen({shortcut}));
}

TEST_F(XInputEventMonitorTest, ModifiersHeldSinceBeforeTheMonitorCount) {
    input.press(key::super);
    input.press(key::shift);
    monitorKeys();
    input.type({key::i});
    input.release(key::shift);
    input.release(key::super);
    EXPECT_TRUE(seen({shortcut}));
}

TEST_F(XInputEventMonitorTest, LocksAreNoModifiers) {
    monitorKeys();
    for (const auto lock : {key::numLock, key::capsLock}) {
        input.type({lock});
        input.type({key::super, key::shift, key::i});
        EXPECT_TRUE(seen({shortcut}));
    }
    input.type({key::super, key::shift, key::control, key::i}); // with both
    EXPECT_TRUE(seen({shortcut | modifier::control}));
}

TEST_F(XInputEventMonitorTest, TheLayoutDoesNotMatter) {
    monitorKeys();
    const std::vector<std::vector<std::string>> layouts{
        {"de"}, {"ru"}, {"us", "-variant", "dvorak"}, {"us,ru"}, {"us", "-option", "altwin:swap_alt_win"}};
    for (const auto& layout : layouts) {
        input.setLayout(layout);
        const bool isSwapped = layout.back() == "altwin:swap_alt_win";
        const auto super = isSwapped ? key::alt : key::super;
        const auto alt = isSwapped ? key::super : key::alt;
        input.type({super, key::shift, key::i});
        input.type({alt, key::shift, key::i});
        EXPECT_TRUE(seen({shortcut, modifier::option | modifier::shift})) << layout.back();
    }
}

TEST_F(XInputEventMonitorTest, TheGroupOfALayoutDoesNotMatter) {
    input.setLayout({"us,ru"});
    monitorKeys();
    input.lockGroup(1);
    input.type({key::super, key::shift, key::i});
    EXPECT_TRUE(seen({shortcut}));
}

TEST_F(XInputEventMonitorTest, FindsSuperWhereverTheKeymapPutsIt) {
    monitorKeys();
    input.type({key::super, key::i});
    ASSERT_TRUE(seen({modifier::command}));
    constexpr std::size_t mod1 = 3;
    constexpr std::size_t mod4 = 6;
    input.swapModifiers(mod1, mod4);
    input.type({key::super, key::shift, key::i});
    input.type({key::alt, key::i});
    EXPECT_TRUE(seen({shortcut, modifier::option}));
}

TEST_F(XInputEventMonitorTest, TheKeyStillReachesTheProgramThatHasTheKeyboard) {
    const Typewriter typewriter(windows);
    monitorKeys();
    input.type({key::super, key::shift, key::i});
    EXPECT_TRUE(loop.runUntil([&] { return keys.size() == 1; }));
    EXPECT_TRUE(test::eventually([&] { return typewriter.text() == "I"; })) << typewriter.text();
    EXPECT_TRUE(seen({shortcut}));
}

TEST_F(XInputEventMonitorTest, SeesKeysWhileAnotherProgramGrabsTheKeyboard) {
    monitorKeys();
    ASSERT_TRUE(input.grabKeyboard());
    input.type({key::super, key::shift, key::i});
    EXPECT_TRUE(seen({shortcut}));
}

TEST_F(XInputEventMonitorTest, AKeyThatRepeatsWhileItIsHeldWentDownOnce) {
    const Typewriter typewriter(windows);
    monitorKeys();
    input.press(key::i);
    EXPECT_TRUE(loop.runUntil([&] { return typewriter.text().size() >= 5; }));
    input.release(key::i);
    EXPECT_TRUE(seen({0}));
}

TEST_F(XInputEventMonitorTest, PressesWithoutAReleaseAreRepetitions) {
    monitorKeys();
    for (int round = 0; round < 3; ++round) {
        input.press(key::i);
        ASSERT_TRUE(loop.runUntil([&] { return keys.size() == 1; }));
        input.press(key::i);
        input.press(key::i);
        input.release(key::i);
        EXPECT_TRUE(seen({0})) << "round " << round;
    }
}

TEST_F(XInputEventMonitorTest, KeysTypedIntoOwnWindowsAreNotSeen) {
    monitorKeys();
    // Another connection of this process, as its user interface has one.
    const auto window = windows.createPopup();
    windows.focus(window);
    input.type({key::super, key::shift, key::i});
    settle();
    windows.focus(XCB_INPUT_FOCUS_POINTER_ROOT);
    EXPECT_TRUE(seen({}));
    const Typewriter typewriter(windows);
    input.type({key::super, key::shift, key::i});
    EXPECT_TRUE(seen({shortcut}));
}

TEST_F(XInputEventMonitorTest, AKeyboardThatIsPluggedInLaterWorks) {
    monitorKeys();
    ASSERT_TRUE(seen({}));
    const auto keyboard = input.plugInSecondKeyboard();
    input.setLayout({"us", "-device", std::to_string(keyboard)});
    // What is held on the first is not held on the second.
    input.press(key::alt);
    for (const auto code : {key::super, key::shift, key::i}) {
        input.pressOn(keyboard, code, true);
    }
    EXPECT_TRUE(loop.runUntil([&] { return keys.size() == 1; }));
    input.release(key::alt);
    for (const auto code : {key::i, key::shift, key::super}) {
        input.pressOn(keyboard, code, false);
    }
    EXPECT_TRUE(seen({shortcut}));

    input.unplugSecondKeyboard();
    input.type({key::super, key::shift, key::i});
    EXPECT_TRUE(seen({shortcut}));
}

TEST_F(XInputEventMonitorTest, SeesClicksOfTheLeftAndTheRightButton) {
    monitorClicks();
    input.click(1);
    input.click(3);
    input.click(2);
    input.click(4); // the wheel
    input.click(8);
    EXPECT_TRUE(clicksAre(2));
}

TEST_F(XInputEventMonitorTest, ClicksIntoOwnWindowsAreNotSeen) {
    monitorClicks();
    const auto window = windows.createPopup();
    input.movePointer(50, 50);
    input.click(1);
    settle();
    EXPECT_TRUE(clicksAre(0));
    windows.destroy(window);
    input.movePointer(50, 50);
    input.click(1);
    EXPECT_TRUE(clicksAre(1));
}

TEST_F(XInputEventMonitorTest, OwnWindowsCountInsideAWindowManagersFrameAsWell) {
    const test::TemporaryFolder home;
    const Process manager({"openbox"}, {{"HOME", home.path()}});
    windows.awaitManager();
    const auto window = windows.createFramed();
    const XReply<xcb_translate_coordinates_reply_t> place(xcb_translate_coordinates_reply(
        windows.server().get(),
        xcb_translate_coordinates(windows.server().get(), window, windows.server().root(), 50, 50), nullptr));
    ASSERT_TRUE(place);
    monitorClicks();
    input.movePointer(place->dst_x, place->dst_y);
    input.click(1);
    settle();
    EXPECT_TRUE(clicksAre(0));
}

TEST_F(XInputEventMonitorTest, WhereNobodyMonitorsNothingWakesIt) {
    const auto isUndisturbed = [this](bool typesKeys, bool moves) {
        settle();
        const int before = runLoop.wakeUps();
        for (int i = 0; i < 20; ++i) {
            if (typesKeys) {
                input.type({key::super, key::shift, key::i});
            }
            if (moves) {
                input.click(1);
                input.movePointer(static_cast<std::int16_t>(100 + i), 700);
            }
        }
        settle();
        return runLoop.wakeUps() == before;
    };
    EXPECT_TRUE(isUndisturbed(true, true));
    monitorKeys();
    EXPECT_FALSE(isUndisturbed(true, false));
    EXPECT_TRUE(isUndisturbed(false, true));
    monitorClicks();
    EXPECT_FALSE(isUndisturbed(false, true));
    keyToken.reset();
    EXPECT_TRUE(isUndisturbed(true, false));
    mouseToken.reset();
    EXPECT_TRUE(isUndisturbed(true, true));
}

TEST_F(XInputEventMonitorTest, AMonitorMayEndInsideItsHandlerAndBeginAnew) {
    int calls = 0;
    std::unique_ptr<EventMonitorToken> once = monitor.addGlobalKeyDownMonitor([&](const KeyEvent&) {
        ++calls;
        once.reset();
    });
    monitorKeys();
    input.type({key::i});
    EXPECT_TRUE(seen({0}));
    EXPECT_EQ(calls, 1);
    keyToken.reset();
    monitorKeys();
    input.type({key::super, key::i});
    EXPECT_TRUE(seen({modifier::command}));
    EXPECT_EQ(calls, 1);
}

TEST_F(XInputEventMonitorTest, NeverWaitsForTheServerOnceItMonitors) {
    monitorKeys();
    monitorClicks();
    input.type({key::super, key::shift, key::i});
    input.click(1);
    // A monitor that asked a stopped server anything would never come back.
    kill(xServer.id(), SIGSTOP);
    loop.runFor(std::chrono::milliseconds(20));
    kill(xServer.id(), SIGCONT);
    EXPECT_TRUE(seen({shortcut}));
    EXPECT_TRUE(clicksAre(1));
}

TEST_F(XInputEventMonitorTest, WithoutItsServerItIsSilent) {
    monitorKeys();
    xServer.kill();
    loop.runFor(std::chrono::milliseconds(20));
    const int before = runLoop.wakeUps();
    monitorClicks();
    loop.runFor(std::chrono::milliseconds(20));
    EXPECT_LE(runLoop.wakeUps(), before + 2) << "it must not spin";
    keyToken.reset();
    mouseToken.reset();
    EXPECT_TRUE(keys.empty());
}

TEST(XInputEventMonitorWithoutServer, IsNotAvailableAndHarmless) {
    unsetenv("DISPLAY");
    test::QtLoop loop;
    QtRunLoop runLoop;
    XInputEventMonitor monitor(runLoop);
    EXPECT_FALSE(monitor.isAvailable());
    const auto keys = monitor.addGlobalKeyDownMonitor([](const KeyEvent&) { FAIL(); });
    const auto clicks = monitor.addGlobalMouseDownMonitor([] { FAIL(); });
    loop.runFor(std::chrono::milliseconds(5));
}

} // namespace
} // namespace nocta
