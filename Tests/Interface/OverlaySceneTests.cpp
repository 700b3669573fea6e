// How long the overlay's scene is kept: on surfaces that do nothing, as time is all that counts here.

#include "BreakContent.h"
#include "Interface/BreakOverlay/QuickWindowHost.h"
#include "OffscreenApplication.h"
#include "Platform/Simulated/SimulatedRunLoop.h"

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include <gtest/gtest.h>

namespace nocta {
namespace {

class IdleSurface final : public OverlaySurface {
  public:
    void show() override {}
    void takeKeyboard() override {}
    void releaseKeyboard() override {}
    [[nodiscard]] std::vector<std::uint32_t> pressedKeys() const override { return {}; }
    [[nodiscard]] bool isTranslucent() const override { return false; }
    void setOpacity(double /*opacity*/) override {}
};

class IdleSurfaces final : public SurfaceHost {
  public:
    [[nodiscard]] std::optional<Screen> mainScreen() const override { return std::nullopt; }
    [[nodiscard]] std::vector<Screen> screens() const override { return {}; }
    [[nodiscard]] std::unique_ptr<OverlaySurface> makeOverlay(QWindow& /*window*/,
                                                              std::function<void()> /*onTranslucencyChange*/) override {
        return std::make_unique<IdleSurface>();
    }
};

class OverlayScene : public testing::Test {
  protected:
    std::unique_ptr<OverlayWindow> makeWindow() {
        return host.makeOverlayWindow(test::breakStyle({.x = 0, .y = 0, .width = 640, .height = 400}), [] {});
    }

    test::OffscreenApplication application;
    SimulatedRunLoop loop;
    IdleSurfaces surfaces;
    int givenUp = 0;
    QuickWindowHost host{surfaces, loop, [this] { ++givenUp; }};
};

TEST_F(OverlayScene, IsKeptFromOneWindowToTheNext) {
    auto window = makeWindow();
    window.reset();
    loop.advance(QuickWindowHost::sceneLife - Seconds(1));
    window = makeWindow();
    loop.advance(2 * QuickWindowHost::sceneLife);
    EXPECT_EQ(givenUp, 0) << "as long as there is one";
}

TEST_F(OverlayScene, IsGivenUpAWhileAfterTheLastWindowAndMadeAgain) {
    auto preview = makeWindow();
    auto window = makeWindow();
    preview.reset();
    loop.advance(2 * QuickWindowHost::sceneLife);
    EXPECT_EQ(givenUp, 0);
    window.reset();
    loop.advance(QuickWindowHost::sceneLife);
    EXPECT_EQ(givenUp, 1);
    EXPECT_EQ(loop.timerCount(), 0U);
    window = makeWindow();
    window->setContent(test::breakContent(20));
    window.reset();
    loop.advance(QuickWindowHost::sceneLife);
    EXPECT_EQ(givenUp, 2);
}

} // namespace
} // namespace nocta
