#include "Desktop.h"

#include <csignal>

namespace nocta::test {
namespace {

class CrashingDesktop : public Desktop {
  protected:
    CrashingDesktop() { writeSettings("[General]\nactivePresetID=dusk\n"); }

    [[nodiscard]] static pid_t guardOf(const Process& nocta) {
        const auto guards = nocta.children("nocta-guard");
        EXPECT_EQ(guards.size(), 1U);
        return guards.empty() ? -1 : guards.front();
    }
};

TEST_F(CrashingDesktop, SigkillGivesTheCalibrationBack) {
    const auto nocta = startNocta();
    ASSERT_TRUE(everyDisplayBecomes(dusk));
    const auto guard = guardOf(*nocta);
    nocta->signal(SIGKILL);
    EXPECT_TRUE(becomesCalibrated(promptly));
    EXPECT_TRUE(eventually([this] { return !displays.hasProperty(); }));
    EXPECT_TRUE(eventually([&] { return !isAlive(guard); }));
}

struct Crash {
    const char* name;
    const char* command;
    const char* message;

    friend std::ostream& operator<<(std::ostream& stream, const Crash& each) { return stream << each.name; }
};

class DesktopThatCrashes : public CrashingDesktop, public testing::WithParamInterface<Crash> {};

TEST_P(DesktopThatCrashes, GivesTheCalibrationBack) {
    const auto nocta = startDrivenNocta();
    ASSERT_TRUE(everyDisplayBecomes(dusk));
    nocta->write(std::string(GetParam().command) + "\n");
    EXPECT_TRUE(becomesCalibrated(promptly));
    const auto ending = nocta->waitForEnd();
    ASSERT_TRUE(ending);
    EXPECT_NE(*ending, cleanExit);
    EXPECT_NE(nocta->errors().find(GetParam().message), std::string::npos) << nocta->errors();
}

INSTANTIATE_TEST_SUITE_P(
    Each, DesktopThatCrashes,
    testing::Values(Crash{"Abort", "abort", ""}, Crash{"Segfault", "crash", ""},
                    Crash{"FatalError", "fatal", "Fatal error: asked for\n"},
                    Crash{
                        "EndlessFade", "overflow",
                        "Double value cannot be converted to Int because the result would be greater than Int.max\n"}),
    [](const auto& each) { return each.param.name; });

TEST_F(CrashingDesktop, AKilledGuardIsReplacedAndTheReplacementGuards) {
    const auto nocta = startNocta();
    ASSERT_TRUE(everyDisplayBecomes(dusk));
    const auto first = guardOf(*nocta);
    kill(first, SIGKILL);
    ASSERT_TRUE(eventually([&] {
        const auto guards = nocta->children("nocta-guard");
        return guards.size() == 1 && guards.front() != first;
    }));
    EXPECT_TRUE(nocta->isRunning());
    EXPECT_TRUE(everyDisplayShows(dusk)) << "the guard's death must not end the filter";
    nocta->signal(SIGKILL);
    EXPECT_TRUE(becomesCalibrated());
}

TEST_F(CrashingDesktop, WhenBothAreKilledTheNextStartStillKnowsTheCalibration) {
    const auto nocta = startNocta();
    ASSERT_TRUE(everyDisplayBecomes(dusk));
    killWithItsGuard(*nocta);
    ASSERT_TRUE(everyDisplayShows(dusk)) << "nobody was left to give the calibration back";
    const auto next = startNocta();
    ASSERT_TRUE(eventually([&] { return next->children("nocta-guard").size() == 1; }));
    EXPECT_TRUE(everyDisplayBecomes(dusk));
    next->signal(SIGTERM);
    EXPECT_EQ(next->waitForEnd(), cleanExit);
    EXPECT_TRUE(isCalibrated());
}

TEST_F(CrashingDesktop, WhenBothWereKilledAndTheFilterIsOffTheNextStartTakesTheTintAway) {
    const auto nocta = startNocta();
    ASSERT_TRUE(everyDisplayBecomes(dusk));
    killWithItsGuard(*nocta);
    writeSettings("[General]\nactivePresetID=dusk\nfilterEnabled=false\n");
    const auto next = startNocta();
    EXPECT_TRUE(becomesCalibrated());
    EXPECT_TRUE(next->isRunning());
}

TEST_F(CrashingDesktop, AStoppedGuardDoesNotKeepNoctaFromEnding) {
    const auto nocta = startNocta();
    ASSERT_TRUE(everyDisplayBecomes(dusk));
    const auto guard = guardOf(*nocta);
    kill(guard, SIGSTOP);
    nocta->signal(SIGTERM);
    EXPECT_EQ(nocta->waitForEnd(), cleanExit);
    EXPECT_TRUE(isCalibrated());
    kill(guard, SIGCONT);
    EXPECT_TRUE(eventually([&] { return !isAlive(guard); }));
    EXPECT_TRUE(isCalibrated());
}

TEST_F(CrashingDesktop, TwoEndsAtOnceDoNoHarm) {
    // The kill comes later and later into quitting, until quitting was faster, three times.
    int kills = 0;
    int cleanExits = 0;
    for (std::chrono::microseconds delay{0}; cleanExits < 3; delay += std::chrono::microseconds(100) + delay / 10) {
        const auto nocta = startNocta();
        ASSERT_TRUE(everyDisplayBecomes(dusk));
        nocta->signal(SIGTERM);
        std::this_thread::sleep_for(delay);
        nocta->signal(SIGKILL);
        (nocta->waitForEnd() == cleanExit ? cleanExits : kills) += 1;
        ASSERT_TRUE(becomesCalibrated()) << "killed " << delay.count() << " us into quitting";
        ASSERT_TRUE(eventually([this] { return !displays.hasProperty(); }));
    }
    EXPECT_GT(kills, 0);
}

} // namespace
} // namespace nocta::test
