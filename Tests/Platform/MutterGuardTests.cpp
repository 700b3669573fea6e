#include "Platform/Calibration/CalibrationRecord.h"
#include "Platform/Mutter/CalibrationFile.h"
#include "Support/DrivenDisplays.h"
#include "Support/Eventually.h"
#include "Support/Mutter.h"
#include "Support/Process.h"
#include "Support/SessionBus.h"
#include "Support/XServer.h"

#include <csignal>
#include <fstream>

#include <QDBusConnection>
#include <gtest/gtest.h>

namespace nocta {
namespace {

using test::DrivenDisplays;
using test::eventually;
using test::peculiarRamps;
using test::Ramps;

/// The guard by itself, with the test in Nocta's place.
class MutterGuard : public testing::Test {
  protected:
    static CalibrationRecord record(std::uint64_t owner, const Ramps& values) {
        return {.owner = owner, .displays = {{.crtc = 0, .values = values}}, .session = "any", .clientName = ":1.999"};
    }

    void send(const std::vector<std::byte>& bytes) const {
        guard->write({reinterpret_cast<const char*>(bytes.data()), bytes.size()}); // NOLINT
    }

    /// What Nocta's end, however it comes, looks like from here.
    void endOfNocta() {
        guard->closeInput();
        EXPECT_EQ(guard->waitForEnd(), (test::Ending{.exitStatus = 0}));
    }

    [[nodiscard]] Ramps shown() const { return displays.ramps(displays.active().front()); }
    /// mutter answers before the X server has what it sends there.
    [[nodiscard]] bool becomes(const Ramps& ramps) const {
        return eventually([&] { return shown() == ramps; });
    }
    void show(const Ramps& ramps) const { displays.setRamps(displays.active().front(), ramps); }

    test::XServer xServer;
    test::SessionBus bus;
    DrivenDisplays displays;
    test::Mutter mutter;
    CalibrationFile file;
    std::unique_ptr<test::Process> guard =
        std::make_unique<test::Process>(std::vector<std::string>{test::programFolder() / "nocta-mutter-guard"});
    const Ramps calibration = peculiarRamps(256, 7);
    const Ramps tint = peculiarRamps(256, 300);
};

TEST_F(MutterGuard, PutsTheCalibrationBackWhenTheChannelEnds) {
    send(record(1, calibration).encode());
    file.write(record(1, calibration).encode());
    show(tint);
    endOfNocta();
    EXPECT_TRUE(becomes(calibration));
    EXPECT_EQ(file.read(), std::nullopt);
}

TEST_F(MutterGuard, LeavesTheFileToTheNextNoctaWhereMutterDoesNotAnswer) {
    send(record(1, calibration).encode());
    file.write(record(1, calibration).encode());
    show(tint);
    mutter.signal(SIGSTOP);
    guard->closeInput();
    EXPECT_EQ(guard->waitForEnd(std::chrono::seconds(60)), (test::Ending{.exitStatus = 0}));
    EXPECT_NE(file.read(), std::nullopt);
    mutter.signal(SIGCONT);
}

TEST_F(MutterGuard, LeavesTheScreenAloneWhileTheChannelIsOpen) {
    send(record(1, calibration).encode());
    show(tint);
    EXPECT_FALSE(eventually([&] { return shown() != tint; }, std::chrono::milliseconds(200)));
    EXPECT_TRUE(guard->isRunning());
}

TEST_F(MutterGuard, PutsBackTheNewestRecord) {
    send(record(1, peculiarRamps(256, 1)).encode());
    send(record(1, calibration).encode());
    show(tint);
    endOfNocta();
    EXPECT_TRUE(becomes(calibration));
}

TEST_F(MutterGuard, PutsNothingBackAfterARecordWithoutDisplays) {
    send(record(1, calibration).encode());
    send(CalibrationRecord{.owner = 1, .displays = {}}.encode());
    show(tint);
    endOfNocta();
    EXPECT_EQ(shown(), tint);
}

TEST_F(MutterGuard, PutsNothingBackWhenItWasNeverTold) {
    show(tint);
    endOfNocta();
    EXPECT_EQ(shown(), tint);
}

TEST_F(MutterGuard, IgnoresARecordThatWasCutOff) {
    send(record(1, calibration).encode());
    auto cut = record(1, peculiarRamps(256, 1)).encode();
    cut.resize(cut.size() / 2);
    send(cut);
    show(tint);
    endOfNocta();
    EXPECT_TRUE(becomes(calibration));
}

TEST_F(MutterGuard, ARecordOfAnUnknownCrtcOrAnotherSizeChangesNothing) {
    auto wrong = record(1, peculiarRamps(64, 1));
    wrong.displays.push_back({.crtc = 0xffff, .values = calibration});
    send(wrong.encode());
    show(tint);
    endOfNocta();
    EXPECT_EQ(shown(), tint);
}

TEST_F(MutterGuard, LeavesTheTintOfANoctaThatHasTakenOver) {
    send(record(1, calibration).encode());
    file.write(record(2, calibration).encode());
    show(tint);
    endOfNocta();
    EXPECT_EQ(shown(), tint);
    EXPECT_EQ(file.read(), record(2, calibration));
}

TEST_F(MutterGuard, TrustsItsOwnRecordOverADamagedFile) {
    send(record(1, calibration).encode());
    std::ofstream(mutter.calibrationFile()) << "Nothing of ours.";
    show(tint);
    endOfNocta();
    EXPECT_TRUE(becomes(calibration));
    EXPECT_FALSE(std::filesystem::exists(mutter.calibrationFile()));
}

TEST_F(MutterGuard, PutsItBackOnceMoreWhenTheBusHasForgottenNocta) {
    // Its channel ends before a core dump is written, and its connection after that: a frame may still be on its way.
    const QString name = QStringLiteral("dying");
    auto marked = record(1, calibration);
    marked.clientName = QDBusConnection::connectToBus(QDBusConnection::SessionBus, name).baseService().toStdString();
    ASSERT_NE(marked.clientName, "");
    send(marked.encode());
    file.write(marked.encode());
    show(tint);
    guard->closeInput();
    ASSERT_TRUE(eventually([&] { return shown() == calibration; }));
    show(tint);
    EXPECT_TRUE(file.read()) << "for a Nocta that starts";
    QDBusConnection::disconnectFromBus(name);
    EXPECT_TRUE(eventually([&] { return shown() == calibration; }));
    EXPECT_EQ(guard->waitForEnd(), (test::Ending{.exitStatus = 0}));
    EXPECT_EQ(file.read(), std::nullopt);
}

TEST_F(MutterGuard, WaitsForAMutterThatRestarts) {
    send(record(1, calibration).encode());
    show(tint);
    mutter.end();
    guard->closeInput();
    mutter.restart();
    EXPECT_EQ(guard->waitForEnd(), (test::Ending{.exitStatus = 0}));
    EXPECT_TRUE(becomes(calibration));
}

TEST_F(MutterGuard, OutlivesTheSignalsThatEndASession) {
    send(record(1, calibration).encode());
    show(tint);
    ASSERT_TRUE(
        eventually([&] { return guard->ignores(SIGTERM) && guard->ignores(SIGINT) && guard->ignores(SIGHUP); }));
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        guard->signal(signal);
    }
    endOfNocta();
    EXPECT_TRUE(becomes(calibration));
}

TEST_F(MutterGuard, EndsWithoutABus) {
    send(record(1, calibration).encode());
    bus.kill();
    endOfNocta();
}

} // namespace
} // namespace nocta
