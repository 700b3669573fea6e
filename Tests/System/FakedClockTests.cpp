#include "FakedClock.h"

#include "Support/MachineClock.h"
#include "Support/SystemBus.h"

#include <csignal>

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

TEST_F(DesktopWithAFakedClock, AfterASuspendTheScheduleIsRightAtOnce) {
    const SystemBus systemBus;
    const auto nocta = startAt("nocta", "16:00:00", {{"DBUS_SYSTEM_BUS_ADDRESS", systemBus.address()}});
    ASSERT_TRUE(everyDisplayBecomes(natural)) << nocta->errors();
    setClock("16:30:00");
    // As login1 says it, again and again: nobody tells from when on it is listened to. The schedule's own next minute
    // is farther off than this waits.
    EXPECT_TRUE(eventually([&] {
        Process signal({"dbus-send", "--bus=" + systemBus.address(), "--type=signal", "/org/freedesktop/login1",
                        "org.freedesktop.login1.Manager.PrepareForSleep", "boolean:false"});
        signal.waitForEnd();
        return settingsSay("activePresetID=focus");
    }));
    EXPECT_TRUE(everyDisplayBecomes(focus));
    nocta->signal(SIGTERM);
    EXPECT_EQ(nocta->waitForEnd(), cleanExit);
}

TEST_F(DesktopWithAFakedClock, AfterTheClockWasSetTheScheduleIsRightAtOnce) {
    if (!setMachineClock()) {
        GTEST_SKIP() << "this user may not set the clock";
    }
    const auto nocta = startAt("nocta", "16:00:00");
    ASSERT_TRUE(everyDisplayBecomes(natural)) << nocta->errors();
    setClock("16:30:00");
    EXPECT_TRUE(eventually([&] { return setMachineClock() && settingsSay("activePresetID=focus"); }));
    EXPECT_TRUE(everyDisplayBecomes(focus));
    nocta->signal(SIGTERM);
    EXPECT_EQ(nocta->waitForEnd(), cleanExit);
}

} // namespace
} // namespace nocta::test
