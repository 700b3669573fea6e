// The break's overlay on a Wayland desktop: the same windows as on X11, on the layers of a real compositor.

#include "BreakContent.h"
#include "Interface/BreakOverlay/QuickWindowHost.h"
#include "Platform/Qt/QtApplication.h"
#include "Platform/Qt/QtRunLoop.h"
#include "Platform/Wayland/LayerSurfaceHost.h"
#include "Support/Process.h"
#include "Support/TemporaryFolder.h"
#include "Support/WaylandPointer.h"
#include "Support/WlrCompositor.h"
#include "WaitingLoop.h"

#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <QImage>

#include <gtest/gtest.h>

namespace nocta::test {
namespace {

class LayerOverlay : public testing::TestWithParam<WlrCompositorKind> {
  protected:
    static constexpr QRgb wallpaper = 0xff3f3f3f;
    /// (0.05, 0.03, 0) of 255, rounded.
    static constexpr QRgb background = 0xff0d0800;
    static constexpr QRect mainArea{0, 0, 1280, 800};
    static constexpr QRect secondArea{1280, 0, 1280, 800};
    /// The middle of the skip button.
    static constexpr QPoint skipButton{640, 553};

    LayerOverlay() {
        application.emplace("wayland", arguments.data(), nullptr);
        surfaces.emplace();
        host.emplace(*surfaces, loop, [] {});
    }

    void SetUp() override {
        QImage picture(mainArea.size(), QImage::Format_RGB32);
        picture.fill(wallpaper);
        const auto file = folder.path() / "wallpaper.png";
        ASSERT_TRUE(picture.save(QString::fromStdString(file)));
        setter.emplace(std::vector<std::string>{"swaybg", "--mode", "fill", "--image", file});
        // A cursor is on the screen, too: away from where the tests look.
        pointer.move(900, 150, 2560, 800);
        ASSERT_TRUE(runUntil([this] { return isFree(mainArea) && isFree(secondArea); })) << setter->errors();
    }

    ~LayerOverlay() override {
        window.reset();
        host.reset();
        surfaces.reset();
        application.reset(); // before its compositor
    }

    void present(Seconds fade = Seconds(0.05)) {
        const auto screen = host->mainScreen().value_or(host->screens().front());
        window = host->makeOverlayWindow(breakStyle(screen.frame), [this] { ++skips; });
        window->setContent(breakContent(20));
        window->orderFrontRegardless();
        host->activateIgnoringOtherApps();
        isFadedIn = false;
        window->animateAlpha(1, fade, TimingFunction::easeOut, [this] { isFadedIn = true; });
    }

    void presentAndWait() {
        present();
        ASSERT_TRUE(runUntil([this] { return isFadedIn && covers(mainArea); }));
    }

    /// All outputs as the eye sees them without a filter.
    [[nodiscard]] QImage screenshot() const {
        const auto file = folder.path() / "screen.ppm";
        Process grim({"grim", "-t", "ppm", file});
        // The compositor waits for the windows it shows, and this is one of them.
        const bool hasEnded = runUntil([&] { return !grim.isRunning(); });
        return hasEnded ? QImage(QString::fromStdString(file)) : QImage();
    }

    [[nodiscard]] bool covers(const QRect& area) const {
        const auto screen = screenshot();
        if (!screen.rect().contains(area)) {
            return false;
        }
        const QRect inner = area.adjusted(1, 1, -1, -1);
        // Not where the pointer comes to rest.
        const QPoint left(inner.left(), inner.center().y());
        const auto points = {left, inner.topRight(), inner.bottomLeft(), inner.bottomRight()};
        return std::ranges::all_of(points, [&](const QPoint& point) { return isDark(screen.pixel(point)); });
    }

    [[nodiscard]] bool isFree(const QRect& area) const {
        const auto screen = screenshot();
        return screen.rect().contains(area) && screen.pixel(area.center()) == wallpaper &&
               screen.pixel(area.topLeft()) == wallpaper;
    }

    /// The background with at most a twentieth of something else in each channel.
    static bool isDark(QRgb color) {
        constexpr int twentieth = 13;
        return std::abs(qRed(color) - qRed(background)) <= twentieth &&
               std::abs(qGreen(color) - qGreen(background)) <= twentieth &&
               std::abs(qBlue(color) - qBlue(background)) <= twentieth;
    }

    static void typeAfterTab(const std::string& key) {
        Process typing({"wtype", "-s", "100", "-k", "Tab", "-s", "50", "-k", key, "-s", "100"});
        EXPECT_TRUE(runUntil([&] { return !typing.isRunning(); }));
    }

    void click(const QPoint& point) {
        pointer.move(static_cast<std::uint32_t>(point.x()), static_cast<std::uint32_t>(point.y()), 2560, 800);
        // A press follows where the program has seen the pointer come.
        runUntil([] { return false; }, std::chrono::milliseconds(50));
        pointer.click();
    }

    std::unique_ptr<WlrCompositor> compositor = GetParam().make(1024);
    WaylandPointer pointer;
    std::optional<Process> setter;
    TemporaryFolder folder;
    std::string name = "nocta";
    std::array<char*, 2> arguments{name.data(), nullptr};
    std::optional<QtApplication> application;
    QtRunLoop loop;
    std::optional<LayerSurfaceHost> surfaces;
    std::optional<QuickWindowHost> host;
    std::unique_ptr<OverlayWindow> window;
    bool isFadedIn = false;
    int skips = 0;
};

INSTANTIATE_TEST_SUITE_P(Each, LayerOverlay, testing::ValuesIn(installedWlrCompositors()),
                         [](const auto& kind) { return kind.param.name; });

TEST_P(LayerOverlay, CoversTheFirstScreenAndNoOther) {
    presentAndWait();
    EXPECT_TRUE(isFree(secondArea));
}

TEST_P(LayerOverlay, ListsTheScreensOfTheCompositor) {
    const auto screens = host->screens();
    ASSERT_EQ(screens.size(), 2U);
    EXPECT_EQ(screens[0].name, "HEADLESS-1");
    EXPECT_EQ(screens[0].frame, (Rectangle{.x = 0, .y = 0, .width = 1280, .height = 800}));
    EXPECT_EQ(screens[1].frame, (Rectangle{.x = 1280, .y = 0, .width = 1280, .height = 800}));
    EXPECT_FALSE(host->mainScreen());
}

TEST_P(LayerOverlay, FadesAsAWhole) {
    // Of what is in the picture there, from `wallpaper` to `background`; nothing where no picture was taken.
    const auto shade = [this]() -> std::optional<int> {
        const auto picture = screenshot();
        return picture.isNull() ? std::nullopt : std::optional(qRed(picture.pixel(40, 700)));
    };
    // Longer than a test lasts: however slow the pictures are, they are of a fade.
    present(Seconds(60));
    std::optional<int> seen;
    ASSERT_TRUE(runUntil([&] { return (seen = shade()) && *seen < qRed(wallpaper) && *seen > 20; }))
        << "what is below shines through";
    EXPECT_TRUE(runUntil([&] {
        const auto later = shade();
        return later && *later < *seen;
    })) << "ever less";
    window->animateAlpha(1, Seconds(0.05), TimingFunction::standard, [] {});
    EXPECT_TRUE(runUntil([this] { return covers(mainArea); }));
    bool isFadedOut = false;
    window->animateAlpha(0, Seconds(0.05), TimingFunction::standard, [&] { isFadedOut = true; });
    EXPECT_TRUE(runUntil([&] { return isFadedOut && isFree(mainArea); }));
}

TEST_P(LayerOverlay, ClosingUncoversTheScreenForGood) {
    presentAndWait();
    window->close();
    EXPECT_TRUE(runUntil([this] { return isFree(mainArea); }));
    window->setContent(breakContent(3));
    window->orderFrontRegardless();
    host->activateIgnoringOtherApps();
    runUntil([] { return false; }, std::chrono::milliseconds(100));
    EXPECT_TRUE(isFree(mainArea));
}

TEST_P(LayerOverlay, CanBeShownAgainAndAgain) {
    for (int i = 0; i < 3; ++i) {
        presentAndWait();
        window.reset();
        EXPECT_TRUE(runUntil([this] { return isFree(mainArea); })) << i;
    }
}

TEST_P(LayerOverlay, AClickOnTheButtonSkips) {
    presentAndWait();
    click(QPoint(200, 200));
    click(skipButton);
    EXPECT_TRUE(runUntil([this] { return skips > 0; }));
    EXPECT_EQ(skips, 1);
}

TEST_P(LayerOverlay, AKeySkipsWithoutAClickBefore) {
    presentAndWait();
    runUntil([] { return false; }, std::chrono::milliseconds(600)); // keys do not count before
    typeAfterTab("space");
    EXPECT_TRUE(runUntil([this] { return skips == 1; }));
}

TEST_P(LayerOverlay, TakesNoInputOnTheWayOut) {
    presentAndWait();
    bool isFadedOut = false;
    window->animateAlpha(0, Seconds(1), TimingFunction::standard, [&] { isFadedOut = true; });
    click(skipButton);
    EXPECT_TRUE(runUntil([&] { return isFadedOut; }));
    EXPECT_EQ(skips, 0);
}

TEST_P(LayerOverlay, CoversAFullScreenWindow) {
    Process editor({"foot", "--fullscreen", "-o", "colors.background=ff0000", "sleep", "60"});
    ASSERT_TRUE(runUntil([this] { return screenshot().pixel(mainArea.center()) == 0xffff0000; })) << editor.errors();
    presentAndWait();
    window.reset();
    EXPECT_TRUE(runUntil([this] { return screenshot().pixel(mainArea.center()) == 0xffff0000; }));
}

TEST_P(LayerOverlay, FollowsItsScreenInAnotherMode) {
    presentAndWait();
    compositor->setMode("HEADLESS-1", 1024, 768);
    EXPECT_TRUE(runUntil([this] { return covers({0, 0, 1024, 768}); }));
}

TEST_P(LayerOverlay, MovesToAnotherScreenWhenItsOwnGoesAndWaitsForOneWhenAllDo) {
    presentAndWait();
    compositor->switchOutput("HEADLESS-1", false);
    EXPECT_TRUE(runUntil([this] { return covers({0, 0, 1280, 800}); })) << "the second one alone";
    compositor->switchOutput("HEADLESS-2", false);
    ASSERT_TRUE(runUntil([this] { return host->screens().size() == 1; }));
    runUntil([] { return false; }, std::chrono::milliseconds(100));
    EXPECT_EQ(host->screens().size(), 1U) << "the last one known";
    compositor->switchOutput("HEADLESS-1", true);
    EXPECT_TRUE(runUntil([this] { return covers(mainArea); }));
}

TEST_P(LayerOverlay, IsDrawnSharplyOnADenseScreen) {
    compositor->setScale("HEADLESS-1", 2);
    ASSERT_TRUE(runUntil([this] { return host->screens().front().frame.width == 640; }));
    present();
    // In device pixels: the screenshot is as dense as the densest output.
    EXPECT_TRUE(runUntil([this] { return isFadedIn && covers({0, 0, 1280, 800}); }));
}

} // namespace
} // namespace nocta::test
