#include "OverlayDesktop.h"

#include <algorithm>
#include <csignal>

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QQuickItem>
#include <QQuickWindow>

namespace nocta::test {
namespace {

/// The middle of the skip button on the main screen.
constexpr QPoint skipButton(640, 553);

TEST_F(OverlayDesktop, CoversTheMainScreenAndNoOther) {
    presentAndWait();
    EXPECT_TRUE(runUntil([] { return pixel(0, 0) == background; }));
    for (const auto& corner : {secondArea.topLeft(), secondArea.topRight(), secondArea.bottomLeft(),
                               secondArea.bottomRight(), secondArea.center()}) {
        EXPECT_EQ(pixel(corner.x(), corner.y()), wallpaper) << corner.x() << ", " << corner.y();
    }
}

TEST_F(OverlayDesktop, TheMainScreenIsThePrimaryOutput) {
    run({"xrandr", "--output", "DUMMY1", "--primary"});
    ASSERT_TRUE(runUntil([this] { return host->mainScreen() && host->mainScreen()->name == "DUMMY1"; }));
    EXPECT_EQ(host->mainScreen()->frame, (Rectangle{.x = 1280, .y = 0, .width = 1280, .height = 800}));
    present();
    EXPECT_TRUE(runUntil([] { return covers(secondArea); }));
    EXPECT_EQ(pixel(0, 0), wallpaper);
}

TEST_F(OverlayDesktop, WithoutAPrimaryOutputTheFirstScreenIsCovered) {
    run({"xrandr", "--noprimary"});
    EXPECT_TRUE(runUntil([this] { return !host->mainScreen(); }));
    EXPECT_EQ(host->screens().front().name, "DUMMY0");
    EXPECT_EQ(host->screens().size(), 2U);
    presentAndWait();
    EXPECT_EQ(pixel(1280, 0), wallpaper);
}

TEST_F(OverlayDesktop, ClosingUncoversTheScreenAtOnce) {
    presentAndWait();
    window->close();
    EXPECT_TRUE(runUntil([] { return pixel(0, 0) == wallpaper; }));
    window->setContent(breakContent(3));
    window->orderFrontRegardless();
    host->activateIgnoringOtherApps();
    runFor(std::chrono::milliseconds(100));
    EXPECT_EQ(pixel(0, 0), wallpaper) << "closed for good";
}

TEST_F(OverlayDesktop, ClosingDuringAFadeCallsNoCompletion) {
    presentAndWait();
    isFadedIn = false;
    window->animateAlpha(1, Seconds(0.2), TimingFunction::easeOut, [this] { isFadedIn = true; });
    window->close();
    runFor(std::chrono::milliseconds(400));
    EXPECT_FALSE(isFadedIn);
    EXPECT_EQ(pixel(0, 0), wallpaper);
}

TEST_F(OverlayDesktop, ALaterFadeTakesThePlaceOfARunningOne) {
    present(Seconds(30));
    bool isFadedOut = false;
    window->animateAlpha(0, Seconds(0.05), TimingFunction::standard, [&] { isFadedOut = true; });
    EXPECT_TRUE(runUntil([&] { return isFadedOut; }));
    EXPECT_FALSE(isFadedIn);
}

TEST_F(OverlayDesktop, TheWindowMayEndInTheCompletionOfItsFade) {
    presentAndWait();
    window->animateAlpha(0, Seconds(0.05), TimingFunction::standard, [this] { window.reset(); });
    EXPECT_TRUE(runUntil([this] { return window == nullptr; }));
    EXPECT_TRUE(runUntil([] { return pixel(0, 0) == wallpaper; }));
}

TEST_F(OverlayDesktop, WithoutACompositorTheBackgroundIsThereAtOnceAndTheContentFadesIn) {
    present(Seconds(2)); // longer than a break's, for a machine that is busy
    ASSERT_TRUE(runUntil([] { return pixel(0, 0) == background && covers(mainArea); }));
    EXPECT_FALSE(isFadedIn);
    const auto brightness = [] {
        const auto title = screenshot(QRect(500, 290, 280, 40));
        int brightest = 0;
        for (int y = 0; y < title.height(); ++y) {
            for (int x = 0; x < title.width(); ++x) {
                brightest = std::max(brightest, qRed(title.pixel(x, y)));
            }
        }
        return brightest;
    };
    std::vector<int> seen;
    EXPECT_TRUE(runUntil([&] {
        seen.push_back(brightness());
        return isFadedIn;
    }));
    EXPECT_TRUE(runUntil([&] {
        seen.push_back(brightness());
        return seen.back() >= 254; // Qt does not draw anew for the last half percent
    })) << seen.back();
    EXPECT_TRUE(std::ranges::is_sorted(seen));
    EXPECT_GT(std::ranges::count_if(seen, [](int value) { return value > 40 && value < 200; }), 2);
}

// What stands above what.

class UnderAWindowManager : public OverlayDesktop, public testing::WithParamInterface<const char*> {
  protected:
    UnderAWindowManager() { startWindowManager(GetParam()); }

    /// A window on the main screen that covers its left top corner.
    static std::unique_ptr<ForeignWindow> openWindow(std::uint32_t color = 0xff0000) {
        auto opened = std::make_unique<ForeignWindow>(0, 0, 400, 300, color);
        EXPECT_TRUE(eventually([&] { return opened->isViewable(); }));
        return opened;
    }

    /// Whether the main screen is covered, also after a window manager has had the time for its say, or a moment
    /// later.
    static bool staysCovered() {
        const auto isCovered = [] { return covers(mainArea) && isDark(pixel(200, 200)); };
        if (!runUntil(isCovered)) {
            return false;
        }
        runFor(std::chrono::milliseconds(150));
        return runUntil(isCovered);
    }
};

TEST_P(UnderAWindowManager, StaysAboveAWindowThatOpens) {
    presentAndWait();
    const auto other = openWindow();
    EXPECT_TRUE(staysCovered());
}

TEST_P(UnderAWindowManager, StaysAboveAWindowThatIsRaised) {
    const auto other = openWindow();
    ASSERT_TRUE(runUntil([] { return pixel(200, 200) == 0xffff0000; }));
    presentAndWait();
    other->raise();
    EXPECT_TRUE(staysCovered());
    other->activate();
    EXPECT_TRUE(staysCovered());
}

TEST_P(UnderAWindowManager, StaysAboveAWindowThatGoesFullScreen) {
    const auto other = openWindow();
    presentAndWait();
    other->setFullScreen();
    EXPECT_TRUE(staysCovered());
}

TEST_P(UnderAWindowManager, AppearsAboveAFullScreenWindow) {
    const auto other = openWindow();
    other->setFullScreen();
    ASSERT_TRUE(runUntil([] { return pixel(1279, 799) == 0xffff0000; }));
    presentAndWait();
    EXPECT_TRUE(staysCovered());
}

TEST_P(UnderAWindowManager, IsOnEveryDesktop) {
    run({"xdotool", "set_num_desktops", "3"});
    const auto other = openWindow();
    presentAndWait();
    for (const auto* desktop : {"1", "2", "0"}) {
        run({"xdotool", "set_desktop", desktop});
        EXPECT_TRUE(staysCovered()) << desktop;
    }
}

TEST_P(UnderAWindowManager, StaysAboveAMenuThatNoWindowManagerManages) {
    presentAndWait();
    const ForeignWindow menu(100, 100, 200, 200, 0x00ff00, ForeignWindow::Kind::override);
    EXPECT_TRUE(staysCovered());
}

TEST_P(UnderAWindowManager, LeavesTheSecondScreenAlone) {
    presentAndWait();
    ForeignWindow other(1400, 100, 300, 300, 0x00ff00, ForeignWindow::Kind::override);
    EXPECT_TRUE(runUntil([] { return pixel(1500, 300) == 0xff00ff00; }));
    click(1500, 300);
    EXPECT_TRUE(runUntil([&] { return other.buttonPresses() == 1; }));
    EXPECT_TRUE(covers(mainArea));
}

TEST_P(UnderAWindowManager, CatchesClicks) {
    const auto other = openWindow();
    presentAndWait();
    click(200, 200);
    runFor(std::chrono::milliseconds(100));
    EXPECT_EQ(other->buttonPresses(), 0);
    EXPECT_TRUE(staysCovered());
    EXPECT_EQ(skips, 0);
}

// The keyboard.

TEST_P(UnderAWindowManager, TakesTheKeyboardAndGivesItBack) {
    const auto other = openWindow();
    other->activate();
    ASSERT_TRUE(runUntil([&] { return other->hasFocus(); }));
    presentAndWait();
    EXPECT_TRUE(runUntil([&] { return !other->hasFocus(); }));
    typeKey("x");
    runFor(std::chrono::milliseconds(100));
    EXPECT_EQ(other->keyPresses(), 0);
    window.reset();
    EXPECT_TRUE(runUntil([&] { return other->hasFocus(); })) << std::hex << other->focused();
    typeKey("x");
    EXPECT_TRUE(runUntil([&] { return other->keyPresses() == 1; }));
}

TEST_P(UnderAWindowManager, GivesTheKeyboardPastAnOverlayThatEndedBeforeIt) {
    const auto other = openWindow();
    other->activate();
    ASSERT_TRUE(runUntil([&] { return other->hasFocus(); }));
    presentAndWait();
    auto preview = std::move(window);
    ASSERT_TRUE(runUntil([&] { return !other->hasFocus(); }));
    presentAndWait();
    runFor(std::chrono::milliseconds(200)); // until the second one has it
    preview.reset();
    window.reset();
    EXPECT_TRUE(runUntil([&] { return other->hasFocus(); })) << std::hex << other->focused();
}

TEST_P(UnderAWindowManager, TakesTheKeyboardAgainFromWhoeverTakesIt) {
    const auto first = openWindow();
    first->activate();
    ASSERT_TRUE(runUntil([&] { return first->hasFocus(); }));
    presentAndWait();
    const auto thief = openWindow(0x0000ff);
    ASSERT_TRUE(staysCovered());
    for (int i = 0; i < 3; ++i) {
        thief->stealFocus();
        EXPECT_TRUE(runUntil([&] { return !thief->hasFocus(); }));
    }
    runFor(std::chrono::milliseconds(200)); // the window manager has its say too
    window.reset();
    EXPECT_TRUE(runUntil([&] { return first->hasFocus(); })) << "the one that had it before the break";
}

TEST_P(UnderAWindowManager, GivesTheKeyboardToAnotherWindowWhenTheFirstHasGone) {
    auto first = openWindow();
    first->activate();
    ASSERT_TRUE(runUntil([&] { return first->hasFocus(); }));
    presentAndWait();
    const auto second = openWindow(0x0000ff);
    ASSERT_TRUE(staysCovered());
    second->stealFocus();
    ASSERT_TRUE(runUntil([&] { return !second->hasFocus(); }));
    first.reset();
    runFor(std::chrono::milliseconds(100));
    window.reset();
    EXPECT_TRUE(runUntil([&] { return second->hasFocus(); }));
}

INSTANTIATE_TEST_SUITE_P(Each, UnderAWindowManager, testing::Values("openbox", "xfwm4"),
                         [](const auto& test) { return std::string(test.param); });

// The skip button.

TEST_F(OverlayDesktop, AClickOnTheButtonSkipsOnce) {
    presentAndWait();
    click(skipButton.x(), skipButton.y());
    EXPECT_TRUE(runUntil([this] { return skips == 1; }));
    runFor(std::chrono::milliseconds(100));
    EXPECT_EQ(skips, 1);
    click(skipButton.x(), skipButton.y());
    EXPECT_TRUE(runUntil([this] { return skips == 2; })) << "as long as nobody closes it";
}

TEST_F(OverlayDesktop, APressThatIsReleasedBesideTheButtonSkipsNothing) {
    presentAndWait();
    moveMouse(skipButton.x(), skipButton.y());
    run({"xdotool", "mousedown", "1"});
    moveMouse(skipButton.x() + 200, skipButton.y());
    run({"xdotool", "mouseup", "1"});
    runFor(std::chrono::milliseconds(100));
    EXPECT_EQ(skips, 0);
}

TEST_F(OverlayDesktop, TheWindowMayEndInTheSkip) {
    bool isSkipped = false;
    window = host->makeOverlayWindow({.contentRect = host->mainScreen()->frame, .backgroundColor = {}}, [&] {
        isSkipped = true;
        window.reset();
    });
    window->setContent(breakContent(20));
    window->orderFrontRegardless();
    ASSERT_TRUE(runUntil([] { return pixel(0, 0) == 0xff000000; }));
    click(skipButton.x(), skipButton.y());
    EXPECT_TRUE(runUntil([&] { return isSkipped; }));
    EXPECT_TRUE(runUntil([] { return pixel(0, 0) == wallpaper; }));
}

class SkipKeys : public OverlayDesktop, public testing::WithParamInterface<const char*> {
  protected:
    static void settle() { runFor(std::chrono::milliseconds(600)); }
};

TEST_P(SkipKeys, PressesTheButtonAfterTab) {
    presentAndWait();
    settle();
    typeKey("Tab");
    typeKey(GetParam());
    EXPECT_TRUE(runUntil([this] { return skips == 1; }));
    runFor(std::chrono::milliseconds(100));
    EXPECT_EQ(skips, 1);
}

TEST_P(SkipKeys, PressesNothingBeforeTab) {
    presentAndWait();
    settle();
    typeKey(GetParam());
    runFor(std::chrono::milliseconds(100));
    EXPECT_EQ(skips, 0) << "whoever goes on typing skips no break";
}

TEST_P(SkipKeys, PressesNothingInTheFirstHalfSecond) {
    const auto typesInTime = [this] {
        QElapsedTimer time;
        time.start();
        present();
        typeKey("Tab");
        typeKey(GetParam());
        runFor(std::chrono::milliseconds(50));
        return !time.hasExpired(450);
    };
    while (!typesInTime()) { // on a machine that is busy
        window.reset();
        skips = 0;
    }
    settle();
    typeKey(GetParam());
    runFor(std::chrono::milliseconds(100));
    EXPECT_EQ(skips, 0) << "the Tab was too early as well";
    typeKey("Tab");
    typeKey(GetParam());
    EXPECT_TRUE(runUntil([this] { return skips == 1; }));
}

TEST_P(SkipKeys, AKeyThatIsHeldSinceBeforePressesNothing) {
    run({"xdotool", "keydown", GetParam()});
    presentAndWait();
    settle();
    typeKey("Tab");
    runFor(std::chrono::milliseconds(700)); // until the server repeats the key
    run({"xdotool", "keyup", GetParam()});
    runFor(std::chrono::milliseconds(100));
    EXPECT_EQ(skips, 0);
    typeKey(GetParam());
    EXPECT_TRUE(runUntil([this] { return skips == 1; }));
}

TEST_P(SkipKeys, AKeyThatRepeatsPressesOnce) {
    presentAndWait();
    settle();
    typeKey("Tab");
    run({"xdotool", "keydown", GetParam()});
    runFor(std::chrono::milliseconds(1000));
    EXPECT_LE(skips, 1);
    run({"xdotool", "keyup", GetParam()});
    EXPECT_TRUE(runUntil([this] { return skips == 1; }));
    runFor(std::chrono::milliseconds(100));
    EXPECT_EQ(skips, 1);
}

INSTANTIATE_TEST_SUITE_P(Each, SkipKeys, testing::Values("space", "Return", "KP_Enter"),
                         [](const auto& test) { return std::string(test.param); });

TEST_F(OverlayDesktop, AClosingOverlayTakesNoInput) {
    ForeignWindow below(560, 500, 200, 100, 0xff0000);
    below.stealFocus();
    presentAndWait();
    runFor(std::chrono::milliseconds(600));
    typeKey("Tab");
    ASSERT_FALSE(below.hasFocus());
    window->animateAlpha(0, Seconds(30), TimingFunction::standard, {});
    EXPECT_TRUE(runUntil([&] { return below.hasFocus(); }));
    click(skipButton.x(), skipButton.y());
    typeKey("space");
    EXPECT_TRUE(runUntil([&] { return below.buttonPresses() == 1 && below.keyPresses() == 1; }));
    EXPECT_EQ(skips, 0);
    EXPECT_TRUE(covers(mainArea)) << "while it still fades";
}

// The content.

/// Every text that the overlay shows, from top to bottom.
QStringList shownTexts() {
    QStringList texts;
    for (auto* const top : QGuiApplication::topLevelWindows()) {
        const auto* const scene = qobject_cast<QQuickWindow*>(top);
        if (scene == nullptr) {
            continue;
        }
        for (const auto* item : scene->contentItem()->findChildren<QQuickItem*>()) {
            const auto text = item->property("text").toString();
            if (!text.isEmpty()) {
                texts.append(text);
            }
        }
    }
    return texts;
}

TEST_F(OverlayDesktop, ShowsTheSecondsAsTheyAre) {
    presentAndWait();
    EXPECT_TRUE(shownTexts().contains("20"));
    EXPECT_TRUE(shownTexts().contains("Rest your eyes"));
    EXPECT_TRUE(shownTexts().contains("Look at something 20 feet away and blink naturally."));
    EXPECT_TRUE(shownTexts().contains("Skip break"));
    const QRect figures(540, 400, 200, 80);
    QImage last;
    for (const int seconds : {19, 9, 1, 0}) {
        window->setContent(breakContent(seconds));
        EXPECT_TRUE(shownTexts().contains(QString::number(seconds)));
        EXPECT_TRUE(runUntil([&] { return screenshot(figures) != last; })) << seconds;
        runFor(std::chrono::milliseconds(50));
        last = screenshot(figures);
    }
}

TEST_F(OverlayDesktop, TheBarDrainsToTheLeft) {
    presentAndWait();
    constexpr int row = 507;
    const auto filled = [] {
        const auto bar = screenshot(QRect(500, row, 280, 1));
        int width = 0;
        while (width < bar.width() && qRed(bar.pixel(width, 0)) > 200) {
            ++width;
        }
        return width;
    };
    // The ends are round: half a bar's height is no full colour on either side.
    EXPECT_TRUE(runUntil([&] { return std::abs(filled() - 280) <= 3; }));
    window->setContent(breakContent(10));
    EXPECT_TRUE(runUntil([&] { return std::abs(filled() - 140) <= 3; }));
    window->setContent(breakContent(0));
    EXPECT_TRUE(runUntil([&] { return filled() == 0; }));
    window->setContent(breakContent(-5));
    window->setContent(breakContent(40));
    EXPECT_TRUE(runUntil([&] { return std::abs(filled() - 280) <= 3; })) << "a value beyond the range";
}

// Screens that change.

TEST_F(OverlayDesktop, FollowsTheMainScreenWhenAnotherBecomesIt) {
    presentAndWait();
    run({"xrandr", "--output", "DUMMY1", "--primary"});
    EXPECT_TRUE(runUntil([] { return covers(secondArea); }));
    EXPECT_TRUE(runUntil([] { return pixel(0, 0) == wallpaper; }));
}

TEST_F(OverlayDesktop, FollowsAChangeOfItsMode) {
    presentAndWait();
    run({"xrandr", "--output", "DUMMY0", "--mode", "1024x768"});
    EXPECT_TRUE(runUntil([] { return covers({0, 0, 1024, 768}); }));
    EXPECT_EQ(pixel(1281, 0), wallpaper);
    run({"xrandr", "--output", "DUMMY0", "--mode", "1280x800"});
    EXPECT_TRUE(runUntil([] { return covers(mainArea); }));
}

TEST_F(OverlayDesktop, FollowsToTheOtherScreenWhenItsOwnIsUnplugged) {
    presentAndWait();
    run({"xrandr", "--output", "DUMMY0", "--off"});
    EXPECT_TRUE(runUntil([this] { return host->screens().size() == 1 && covers(area("DUMMY1")); }));
    run({"xrandr", "--output", "DUMMY0", "--mode", "1280x800", "--pos", "0x0", "--primary", "--output", "DUMMY1",
         "--pos", "1280x0"});
    EXPECT_TRUE(runUntil([] { return covers(mainArea); }));
    EXPECT_TRUE(runUntil([] { return pixel(1400, 400) == wallpaper; }));
}

TEST_F(OverlayDesktop, WithEveryOutputOffThereIsStillAScreenAndAWindowHarmsNobody) {
    run({"xrandr", "--output", "DUMMY1", "--off"});
    const auto known = host->screens();
    EXPECT_EQ(known.size(), 1U);
    run({"xrandr", "--output", "DUMMY0", "--off"});
    EXPECT_TRUE(runUntil([this] { return !host->mainScreen(); }));
    EXPECT_EQ(host->screens(), known);
    present();
    EXPECT_TRUE(runUntil([this] { return isFadedIn; }));
    run({"xrandr", "--output", "DUMMY0", "--mode", "1280x800", "--pos", "0x0", "--primary"});
    EXPECT_TRUE(runUntil([] { return covers(mainArea); }));
}

TEST_F(OverlayDesktop, SurvivesItsOutputsGoingOffAndOn) {
    presentAndWait();
    run({"xrandr", "--output", "DUMMY1", "--off", "--output", "DUMMY0", "--off"});
    runFor(std::chrono::milliseconds(200));
    run({"xrandr", "--output", "DUMMY0", "--mode", "1280x800", "--pos", "0x0", "--primary"});
    EXPECT_TRUE(runUntil([] { return covers(mainArea); }));
}

// A screen locker.

class LockedDesktop : public UnderAWindowManager {
  protected:
    static constexpr QRgb lockColor = 0xff00aa00;

    Process& lock() {
        auto& locker = launch({"i3lock", "--nofork", "--color=00aa00", "--no-unlock-indicator"});
        EXPECT_TRUE(
            runUntil([] { return pixel(0, 0) == lockColor && pixel(2000, 400) == lockColor && isKeyboardGrabbed(); }));
        return locker;
    }

    /// Which it does after it is on the screen.
    static bool isKeyboardGrabbed() {
        const XConnection server;
        const XReply<xcb_grab_keyboard_reply_t> grab(
            xcb_grab_keyboard_reply(server.get(),
                                    xcb_grab_keyboard(server.get(), 1, server.root(), XCB_CURRENT_TIME,
                                                      XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC),
                                    nullptr));
        return grab && grab->status == XCB_GRAB_STATUS_ALREADY_GRABBED;
    }

    static bool staysLocked() {
        for (int i = 0; i < 20; ++i) {
            runFor(std::chrono::milliseconds(20));
            if (pixel(0, 0) != lockColor || pixel(640, 450) != lockColor) {
                return false;
            }
        }
        return true;
    }
};

TEST_P(LockedDesktop, ALockerThatStartsDuringABreakStaysAbove) {
    presentAndWait();
    auto& locker = lock();
    EXPECT_TRUE(staysLocked());
    const auto other = openWindow();
    EXPECT_TRUE(staysLocked());
    locker.signal(SIGTERM);
    locker.waitForEnd();
    EXPECT_TRUE(staysCovered());
}

TEST_P(LockedDesktop, ABreakThatStartsBehindALockerStaysBelow) {
    auto& locker = lock();
    present();
    EXPECT_TRUE(runUntil([this] { return isFadedIn; }));
    EXPECT_TRUE(staysLocked());
    locker.signal(SIGTERM);
    locker.waitForEnd();
    EXPECT_TRUE(staysCovered());
}

TEST_P(LockedDesktop, ABreakThatEndsBehindALockerLeavesItTheKeyboard) {
    presentAndWait();
    lock();
    window.reset();
    EXPECT_TRUE(staysLocked());
}

INSTANTIATE_TEST_SUITE_P(Each, LockedDesktop, testing::Values("openbox", "xfwm4"),
                         [](const auto& test) { return std::string(test.param); });

// With a compositor.

/// What 95 percent of the background leave of the wallpaper.
QRgb veiled(QRgb below) {
    const auto mix = [](int over, int under) { return static_cast<int>(std::lround(over * 0.95 + under * 0.05)); };
    return qRgb(mix(13, qRed(below)), mix(8, qGreen(below)), mix(0, qBlue(below)));
}

bool isNear(QRgb one, QRgb other) {
    return std::abs(qRed(one) - qRed(other)) <= 2 && std::abs(qGreen(one) - qGreen(other)) <= 2 &&
           std::abs(qBlue(one) - qBlue(other)) <= 2;
}

TEST_F(OverlayDesktop, WithACompositorTheWholeWindowFadesAndStaysTranslucent) {
    startCompositor();
    present(Seconds(2));
    std::vector<int> seen;
    EXPECT_TRUE(runUntil([&] {
        seen.push_back(qBlue(pixel(0, 0)));
        return isFadedIn;
    }));
    EXPECT_TRUE(runUntil([] { return isNear(pixel(0, 0), veiled(wallpaper)); })) << std::hex << pixel(0, 0);
    EXPECT_TRUE(std::ranges::is_sorted(seen, std::greater())) << testing::PrintToString(seen);
    EXPECT_GT(std::ranges::count_if(seen, [](int blue) { return blue > 30 && blue < 180; }), 2);
    EXPECT_EQ(pixel(1280, 0), wallpaper);
    EXPECT_EQ(pixel(1280, 400), wallpaper) << "no shadow falls on the other screen";
}

TEST_F(OverlayDesktop, WithACompositorTheWholeWindowFadesOut) {
    startCompositor();
    presentAndWait();
    window->animateAlpha(0, Seconds(2), TimingFunction::standard, [this] { window->close(); });
    std::vector<int> seen;
    EXPECT_TRUE(runUntil([&] {
        seen.push_back(qBlue(pixel(0, 0)));
        return pixel(0, 0) == wallpaper;
    }));
    EXPECT_TRUE(std::ranges::is_sorted(seen));
    EXPECT_GT(std::ranges::count_if(seen, [](int blue) { return blue > 30 && blue < 180; }), 1);
}

TEST_F(OverlayDesktop, ACompositorMayStartAndEndWhileItIsUp) {
    presentAndWait();
    auto& compositor = startCompositor();
    EXPECT_TRUE(runUntil([] { return isNear(pixel(0, 0), veiled(wallpaper)); })) << std::hex << pixel(0, 0);
    compositor.signal(SIGTERM);
    compositor.waitForEnd();
    EXPECT_TRUE(runUntil([] { return pixel(0, 0) == background; }));
    EXPECT_TRUE(covers(mainArea));
    click(skipButton.x(), skipButton.y());
    EXPECT_TRUE(runUntil([this] { return skips == 1; }));
}

TEST_F(OverlayDesktop, ACompositorMayEndDuringAFade) {
    auto& compositor = startCompositor();
    present(Seconds(1));
    runFor(std::chrono::milliseconds(300));
    compositor.signal(SIGTERM);
    compositor.waitForEnd();
    EXPECT_TRUE(runUntil([this] { return isFadedIn && pixel(0, 0) == background; }));
}

} // namespace
} // namespace nocta::test
