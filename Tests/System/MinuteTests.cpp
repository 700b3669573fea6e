#include "FakedClock.h"

#include <chrono>
#include <csignal>

namespace nocta::test {
namespace {

TEST_F(DesktopWithAFakedClock, TheMinutesTimerBringsTheNextPhase) {
    const auto nocta = startAt("nocta", "16:29:30");
    ASSERT_TRUE(everyDisplayBecomes(natural)) << nocta->errors();
    EXPECT_FALSE(eventually([this] { return !everyDisplayShows(natural); }, std::chrono::seconds(29)))
        << "before 16:30, or the minute of the timer";
    EXPECT_TRUE(eventually([this] { return everyDisplayShows(focus); }, std::chrono::seconds(60))) << "16:30:30";
    EXPECT_TRUE(settingsSay("activePresetID=focus"));
    nocta->signal(SIGTERM); // killed, it would leave the faked clock's shared memory behind
    EXPECT_EQ(nocta->waitForEnd(), cleanExit);
}

} // namespace
} // namespace nocta::test
