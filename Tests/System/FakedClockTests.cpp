#include "FakedClock.h"

namespace nocta::test {
namespace {

TEST_F(DesktopWithAFakedClock, AMinuteBeforeTheLateAfternoonTheScheduleLeavesNaturalOnTheScreen) {
    const auto nocta = startAt("driven-nocta", "16:29:00");
    ASSERT_TRUE(everyDisplayBecomes(natural)) << nocta->errors();
    // What it saves shows that it has launched, and with which preset.
    nocta->write("interval 30\n");
    ASSERT_TRUE(eventually([this] { return settingsSay("breakIntervalMinutes=30"); }));
    EXPECT_TRUE(settingsSay("activePresetID=natural"));
    EXPECT_TRUE(everyDisplayShows(natural));
    nocta->write("quit\n");
    EXPECT_EQ(nocta->waitForEnd(), cleanExit);
}

TEST_F(DesktopWithAFakedClock, InItsFirstMinuteTheScheduleFadesToFocusAndSavesIt) {
    const auto nocta = startAt("nocta", "16:30:00");
    EXPECT_TRUE(everyDisplayBecomes(focus)) << nocta->errors();
    EXPECT_TRUE(settingsSay("activePresetID=focus"));
    nocta->signal(SIGTERM);
    EXPECT_EQ(nocta->waitForEnd(), cleanExit);
    EXPECT_TRUE(isCalibrated());
}

} // namespace
} // namespace nocta::test
