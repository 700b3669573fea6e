#include "App/AppDelegate.h"
#include "Core/AppState.h"
#include "Core/FilterEngine.h"
#include "Platform/Simulated/SimulatedPlatform.h"

#include <gtest/gtest.h>

namespace nocta {
namespace {

class Launch : public testing::Test {
  protected:
    Launch() { platform.install(); }

    SimulatedPlatform platform;
    AppDelegate delegate;
};

TEST_F(Launch, MakesTheProgramAnAccessoryAndPutsTheFilterOnTheScreenAtOnce) {
    platform.settings.setText("activePresetID", "dusk");
    platform.application.run(delegate);
    EXPECT_EQ(platform.application.policies(), std::vector{ActivationPolicy::accessory});
    ASSERT_EQ(platform.displays.loads().size(), 1U);
    EXPECT_FLOAT_EQ(platform.displays.loads().front().red.back(), 0.8F);
    EXPECT_EQ(platform.runLoop.timerCount(), 0U) << "a fade";
}

TEST_F(Launch, WithTheFilterOffLoadsNoTable) {
    platform.settings.setBoolean("filterEnabled", false);
    platform.application.run(delegate);
    platform.advance(Seconds(10));
    EXPECT_TRUE(platform.displays.loads().empty());
    EXPECT_EQ(platform.displays.restores(), 0);
}

TEST_F(Launch, WritesNoSetting) {
    platform.application.run(delegate);
    EXPECT_TRUE(platform.settings.writes().empty());
}

TEST_F(Launch, TerminationDuringAFadeStopsItAndRestoresOnce) {
    platform.application.run(delegate);
    FilterEngine::shared().apply(1900, 0.5, 3.0);
    platform.advance(Seconds(1));
    const auto frames = platform.displays.loads().size();
    platform.application.terminate(0);
    EXPECT_EQ(platform.displays.restores(), 1);
    platform.advance(Seconds(10));
    EXPECT_EQ(platform.displays.loads().size(), frames);
    platform.application.terminate(0);
    EXPECT_EQ(platform.displays.restores(), 1);
}

using LaunchDeathTest = Launch;

TEST_F(LaunchDeathTest, WithoutAnApplicationObjectIsFatal) {
    auto record = Platform::current();
    record.application = nullptr;
    Platform::install(record);
    EXPECT_DEATH(delegate.applicationDidFinishLaunching(),
                 "Unexpectedly found nil while implicitly unwrapping an Optional value");
}

} // namespace
} // namespace nocta
