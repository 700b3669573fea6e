#include "Platform/Calibration/CalibrationRecord.h"
#include "Platform/X11/ClientMark.h"
#include "Support/DrivenDisplays.h"
#include "Support/Eventually.h"
#include "Support/Process.h"
#include "Support/XServer.h"

#include <csignal>

#include <gtest/gtest.h>

namespace nocta {
namespace {

using test::DrivenDisplays;
using test::eventually;
using test::peculiarRamps;
using test::Ramps;

/// The guard by itself, with the test in Nocta's place.
class Guard : public testing::Test {
  protected:
    [[nodiscard]] CalibrationRecord record(std::uint64_t owner, const Ramps& values) const {
        return {.owner = owner, .displays = {{.crtc = crtc, .values = values}}};
    }

    void send(const std::vector<std::byte>& bytes) const {
        guard->write({reinterpret_cast<const char*>(bytes.data()), bytes.size()}); // NOLINT
    }

    /// What Nocta's end, however it comes, looks like from here.
    void endOfNocta() {
        guard->closeInput();
        EXPECT_EQ(guard->waitForEnd(), (test::Ending{.exitStatus = 0}));
    }

    test::XServer xServer;
    DrivenDisplays displays;
    std::unique_ptr<test::Process> guard =
        std::make_unique<test::Process>(std::vector<std::string>{test::programFolder() / "nocta-guard"});
    xcb_randr_crtc_t crtc = displays.active().front();
    const Ramps calibration = peculiarRamps(256, 7);
    const Ramps tint = peculiarRamps(256, 300);
};

TEST_F(Guard, PutsTheCalibrationBackWhenTheChannelEnds) {
    send(record(1, calibration).encode());
    displays.setProperty(record(1, calibration).encode());
    displays.setRamps(crtc, tint);
    endOfNocta();
    EXPECT_EQ(displays.ramps(crtc), calibration);
    EXPECT_FALSE(displays.hasProperty());
}

TEST_F(Guard, LeavesTheScreenAloneWhileTheChannelIsOpen) {
    send(record(1, calibration).encode());
    displays.setRamps(crtc, tint);
    EXPECT_FALSE(eventually([&] { return displays.ramps(crtc) != tint; }, std::chrono::milliseconds(200)));
    EXPECT_TRUE(guard->isRunning());
}

TEST_F(Guard, PutsBackTheNewestRecord) {
    send(record(1, peculiarRamps(256, 1)).encode());
    send(record(1, calibration).encode());
    displays.setRamps(crtc, tint);
    endOfNocta();
    EXPECT_EQ(displays.ramps(crtc), calibration);
}

TEST_F(Guard, PutsNothingBackAfterARecordWithoutDisplays) {
    send(record(1, calibration).encode());
    send(CalibrationRecord{.owner = 1, .displays = {}}.encode());
    displays.setRamps(crtc, tint);
    endOfNocta();
    EXPECT_EQ(displays.ramps(crtc), tint);
}

TEST_F(Guard, PutsNothingBackWhenItWasNeverTold) {
    displays.setRamps(crtc, tint);
    endOfNocta();
    EXPECT_EQ(displays.ramps(crtc), tint);
}

TEST_F(Guard, IgnoresARecordThatWasCutOff) {
    send(record(1, calibration).encode());
    auto cut = record(1, peculiarRamps(256, 1)).encode();
    cut.resize(cut.size() / 2);
    send(cut);
    displays.setRamps(crtc, tint);
    endOfNocta();
    EXPECT_EQ(displays.ramps(crtc), calibration);
}

TEST_F(Guard, IgnoresADamagedRecordAndReadsTheNextOne) {
    auto damaged = record(1, peculiarRamps(256, 1)).encode();
    damaged[100] ^= std::byte{1};
    send(damaged);
    send(record(1, calibration).encode());
    displays.setRamps(crtc, tint);
    endOfNocta();
    EXPECT_EQ(displays.ramps(crtc), calibration);
}

TEST_F(Guard, IgnoresEverythingBehindWhatIsNoRecord) {
    send(record(1, calibration).encode());
    send(std::vector<std::byte>(1000, std::byte{0x55}));
    send(record(1, peculiarRamps(256, 1)).encode());
    displays.setRamps(crtc, tint);
    endOfNocta();
    EXPECT_EQ(displays.ramps(crtc), calibration);
}

TEST_F(Guard, ARecordOfAnUnknownCrtcOrAnotherSizeChangesNothing) {
    auto wrong = record(1, peculiarRamps(64, 1));
    wrong.displays.push_back({.crtc = 0xffff, .values = calibration});
    send(wrong.encode());
    displays.setRamps(crtc, tint);
    endOfNocta();
    EXPECT_EQ(displays.ramps(crtc), tint);
}

TEST_F(Guard, LeavesTheTintOfANoctaThatHasTakenOver) {
    send(record(1, calibration).encode());
    displays.setProperty(record(2, calibration).encode());
    displays.setRamps(crtc, tint);
    endOfNocta();
    EXPECT_EQ(displays.ramps(crtc), tint);
    EXPECT_EQ(displays.property(), record(2, calibration));
}

TEST_F(Guard, TrustsItsOwnRecordOverAMalformedProperty) {
    send(record(1, calibration).encode());
    displays.setProperty(std::vector<std::byte>(5000, std::byte{0x55}));
    displays.setRamps(crtc, tint);
    endOfNocta();
    EXPECT_EQ(displays.ramps(crtc), calibration);
}

TEST_F(Guard, EndsWhatTheServerStillHasOfNocta) {
    // A process has died, and the server has not noticed: what it sent last may still be before it.
    constexpr std::uint64_t owner = 0x0123456789abcdef;
    const XConnection nocta;
    auto marked = record(owner, calibration);
    marked.client = markClient(nocta, owner);
    nocta.synchronize();
    send(marked.encode());
    displays.setRamps(crtc, tint);
    endOfNocta();
    nocta.setCrtcGamma(crtc, tint.data(), 256);
    nocta.synchronize();
    EXPECT_TRUE(nocta.isLost());
    EXPECT_EQ(displays.ramps(crtc), calibration);
}

TEST_F(Guard, SparesAClientThatGotTheNumberOfNoctasMark) {
    const XConnection stranger;
    auto marked = record(1, calibration);
    marked.client = markClient(stranger, 2);
    stranger.synchronize();
    send(marked.encode());
    displays.setRamps(crtc, tint);
    endOfNocta();
    stranger.synchronize();
    EXPECT_FALSE(stranger.isLost());
    EXPECT_EQ(displays.ramps(crtc), calibration);
}

TEST_F(Guard, OutlivesTheSignalsThatEndASession) {
    send(record(1, calibration).encode());
    displays.setRamps(crtc, tint);
    ASSERT_TRUE(
        eventually([&] { return guard->ignores(SIGTERM) && guard->ignores(SIGINT) && guard->ignores(SIGHUP); }));
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        guard->signal(signal);
    }
    endOfNocta();
    EXPECT_EQ(displays.ramps(crtc), calibration);
}

TEST_F(Guard, EndsWithTheServer) {
    xServer.kill();
    const auto ending = guard->waitForEnd();
    ASSERT_TRUE(ending);
    EXPECT_TRUE(ending->exitStatus.has_value()) << "ended by signal " << ending->signal;
}

} // namespace
} // namespace nocta
