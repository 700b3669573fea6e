// Against a real KWin. The time in which Nocta waits is virtual where that matters; KWin's is not.

#include "Platform/KWin/NightColorDisplayService.h"
#include "Platform/KWin/NightLight.h"
#include "Platform/Qt/QtRunLoop.h"
#include "Platform/Simulated/SimulatedRunLoop.h"
#include "QtLoop.h"
#include "Support/KWin.h"
#include "Tint.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVirtualObject>

#include <gtest/gtest.h>

namespace nocta {
namespace {

using std::chrono::milliseconds;
using test::KWin;

constexpr std::chrono::seconds patience{30};

/// In place of the desktop's shell, counts the messages that KWin has it show when it is asked for a temperature.
class ShownMessages final : public QDBusVirtualObject {
  public:
    ShownMessages() {
        bus.registerVirtualObject(QStringLiteral("/org/kde/osdService"), this);
        bus.registerService(QStringLiteral("org.kde.plasmashell"));
    }

    [[nodiscard]] int count() const { return previews; }

    [[nodiscard]] QString introspect(const QString& /*path*/) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        // The icon; the one that tells of the end of KWin's own course is another.
        if (message.arguments().value(0).toString() == QStringLiteral("redshift-status-on")) {
            ++previews;
        }
        return connection.send(message.createReply());
    }

  private:
    QDBusConnection bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("shell"));
    int previews = 0;
};

/// In seconds: the previews of Plasma 6 end after fifteen, less a twentieth at most. Until then Nocta asks anew.
constexpr int shortestPreview = 14;
constexpr int shortestPauseOfRenewals = 12;

class NightLightTest : public testing::Test {
  protected:
    bool becomes(std::uint32_t kelvin, std::uint32_t tolerance = 0) {
        return loop.runUntil(
            [&] {
                const auto shown = kwin.temperature();
                return shown && *shown + tolerance >= kelvin && *shown <= kelvin + tolerance;
            },
            patience);
    }
    /// Below or above that.
    bool passes(std::uint32_t kelvin) {
        const bool isAbove = kwin.temperature().value_or(0) > kelvin;
        return loop.runUntil([&] { return (kwin.temperature().value_or(0) > kelvin) != isAbove; }, patience);
    }
    /// Whether what KWin previews stays until it is asked for something else, as in Plasma 5.
    static bool hasLastingPreviews() {
        return !QDBusConnection::sessionBus().interface()->isServiceRegistered(
            QStringLiteral("org.kde.KWin.NightLight"));
    }

    KWin kwin;
    test::QtLoop loop;
    QtRunLoop runLoop;
};

TEST_F(NightLightTest, ShowsATemperatureAndLetsGoOfIt) {
    NightLight nightLight(runLoop);
    ASSERT_TRUE(nightLight.hasAnswered());
    EXPECT_TRUE(nightLight.isSupported());
    nightLight.show(3400);
    EXPECT_TRUE(becomes(3400));
    nightLight.show(2000);
    EXPECT_TRUE(becomes(2000));
    nightLight.release();
    EXPECT_TRUE(becomes(6500));
    nightLight.release();
    nightLight.show(2000);
    EXPECT_TRUE(becomes(2000));
}

TEST_F(NightLightTest, ItsEndLetsGo) {
    {
        NightLight nightLight(runLoop);
        nightLight.show(3000);
        ASSERT_TRUE(becomes(3000));
    }
    EXPECT_TRUE(becomes(6500));
}

TEST_F(NightLightTest, AReleaseWinsOverWhatIsStillUnderWay) {
    NightLight nightLight(runLoop);
    nightLight.show(3000);
    ASSERT_TRUE(passes(6000));
    nightLight.show(2000);
    nightLight.release();
    EXPECT_TRUE(becomes(6500));
    loop.runFor(milliseconds(500));
    EXPECT_EQ(kwin.temperature(), 6500U);
}

TEST_F(NightLightTest, GivesBackTheLastStepToo) {
    NightLight nightLight(runLoop);
    // A single one that takes two seconds, of which KWin would not go back.
    nightLight.show(6440);
    ASSERT_TRUE(becomes(6450));
    nightLight.release();
    EXPECT_TRUE(becomes(6500));
    loop.runFor(std::chrono::seconds(3));
    EXPECT_EQ(kwin.temperature(), 6500U);
}

TEST_F(NightLightTest, AFadeAsksKWinFourTimesASecondAndWhatStaysIsNotAskedForAgain) {
    ShownMessages messages;
    SimulatedRunLoop virtualLoop;
    NightLight nightLight(virtualLoop);
    // Four seconds of frames, from 6500 to 3500 K.
    constexpr std::uint32_t frames = 120;
    for (std::uint32_t frame = 1; frame <= frames; ++frame) {
        nightLight.show(6500 - 25 * frame);
        virtualLoop.advance(Seconds(1.0 / 30));
    }
    virtualLoop.advance(Seconds(1));
    EXPECT_TRUE(becomes(3500));
    loop.runFor(milliseconds(500));
    EXPECT_LE(messages.count(), 4 * 4 + 1);
    const int before = messages.count();
    EXPECT_GT(before, 0);
    // In seconds. The bus lets KWin have 128 messages at a time under way to one that does not answer yet.
    constexpr int duration = 1200;
    for (int second = 0; second < duration; ++second) {
        nightLight.show(3500);
        virtualLoop.advance(Seconds(1));
    }
    loop.runFor(milliseconds(500));
    if (hasLastingPreviews()) {
        EXPECT_EQ(messages.count(), before);
        EXPECT_EQ(virtualLoop.timerCount(), 0U);
    } else {
        EXPECT_TRUE(loop.runUntil([&] { return messages.count() >= before + duration / shortestPreview; }, patience));
        EXPECT_LE(messages.count(), before + duration / shortestPauseOfRenewals);
        EXPECT_EQ(virtualLoop.timerCount(), 1U);
    }
    nightLight.release();
    EXPECT_EQ(virtualLoop.timerCount(), 0U);
}

TEST_F(NightLightTest, KWinKeepsATemperatureBeyondTheFifteenSecondsOfItsPreviews) {
    ShownMessages messages;
    NightLight nightLight(runLoop);
    nightLight.show(3000);
    ASSERT_TRUE(becomes(3000));
    const int renewals = hasLastingPreviews() ? 0 : 2;
    // Beyond the end of the last preview that was asked for.
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(13 * renewals + 16);
    while (std::chrono::steady_clock::now() < end) {
        ASSERT_EQ(kwin.temperature(), 3000U);
        loop.runFor(milliseconds(100));
    }
    EXPECT_GE(messages.count(), 1 + renewals);
    EXPECT_LE(messages.count(), 1 + renewals + (renewals > 0 ? 1 : 0));
}

TEST_F(NightLightTest, GetsThereAlsoWhereKWinDoesNotListen) {
    SimulatedRunLoop virtualLoop;
    NightLight nightLight(virtualLoop);
    // Four steps, half a second each.
    nightLight.show(6300);
    ASSERT_TRUE(passes(6460));
    // KWin takes this for where it is, and goes on.
    nightLight.show(6440);
    virtualLoop.advance(Seconds(0.3));
    ASSERT_TRUE(passes(6360));
    loop.runFor(milliseconds(200));
    virtualLoop.advance(Seconds(0.1));
    EXPECT_TRUE(becomes(6440, 50));
}

TEST_F(NightLightTest, ReturnsWhenSomebodyElseMovesKWin) {
    NightLight nightLight(runLoop);
    nightLight.show(3000);
    ASSERT_TRUE(becomes(3000));
    kwin.preview(5000);
    loop.runFor(std::chrono::seconds(4));
    EXPECT_TRUE(becomes(3000, 50));
    nightLight.release();
    EXPECT_TRUE(becomes(6500));
}

TEST_F(NightLightTest, KWinsOwnCourseIsOnAgainAfterwards) {
    std::ofstream(kwin.configuration(), std::ios::app)
        << "\n[NightColor]\nActive=true\nMode=Constant\nNightTemperature=4500\n";
    kwin.restart();
    ASSERT_TRUE(becomes(4500));
    NightLight nightLight(runLoop);
    nightLight.show(2500);
    EXPECT_TRUE(becomes(2500));
    nightLight.release();
    EXPECT_TRUE(becomes(4500));
    // Where it is already, KWin does not listen; without its own course it leaves that.
    nightLight.show(4520);
    loop.runFor(std::chrono::seconds(4));
    EXPECT_TRUE(becomes(4520, 50));
}

TEST_F(NightLightTest, AnotherKWinIsAskedToo) {
    NightLight nightLight(runLoop);
    nightLight.show(3000);
    ASSERT_TRUE(becomes(3000));
    kwin.restart();
    EXPECT_TRUE(becomes(3000, 50));
    nightLight.release();
    EXPECT_TRUE(becomes(6500));
}

TEST_F(NightLightTest, WithoutABusNothingHappens) {
    NightLight nightLight(runLoop);
    nightLight.show(3000);
    ASSERT_TRUE(becomes(3000));
    kwin.bus().kill();
    nightLight.show(2000);
    loop.runFor(milliseconds(500));
    nightLight.verify();
    nightLight.release();
    nightLight.show(2000);
    loop.runFor(milliseconds(500));
}

TEST_F(NightLightTest, AStoppedKWinIsNotWaitedForWithoutEnd) {
    NightLight nightLight(runLoop);
    kwin.signal(SIGSTOP);
    nightLight.show(3000);
    loop.runFor(milliseconds(500));
    nightLight.release();
    kwin.signal(SIGCONT);
    // It carries out all of it, and may have begun to go there.
    loop.runFor(milliseconds(500));
    EXPECT_TRUE(becomes(6500, 50));
    nightLight.show(3000);
    EXPECT_TRUE(becomes(3000));
}

TEST_F(NightLightTest, WithoutKWinOnTheBusThereIsNone) {
    kwin.kill();
    const NightLight nightLight(runLoop);
    EXPECT_FALSE(nightLight.hasAnswered());
}

/// The displays of one KWin.
class NightColorDisplayServiceTest : public NightLightTest {
  protected:
    static void load(DisplayService& service, DisplayID display, const test::Tint& tint) {
        service.load(display, test::straightTable(tint.red), test::straightTable(tint.green),
                     test::straightTable(tint.blue));
    }
};

TEST_F(NightColorDisplayServiceTest, NamesItsDisplays) {
    NightColorDisplayService service(runLoop, [] {});
    ASSERT_TRUE(service.isAvailable());
    EXPECT_EQ(service.mechanism(), "kwin-night-color");
    const auto displays = service.describe();
    ASSERT_EQ(displays.size(), 2U);
    EXPECT_EQ(displays[0].name, "Virtual-0");
    EXPECT_EQ(displays[1].name, "Virtual-1");
}

TEST_F(NightColorDisplayServiceTest, AllDisplaysHaveTheTemperatureThatWasLoadedLast) {
    NightColorDisplayService service(runLoop, [] {});
    std::vector<DisplayID> displays(service.activeDisplays({}));
    service.activeDisplays(displays);
    // KWin's own colours at 2000 and at 3000 K.
    load(service, displays[0], {1, 0.5436, 0.0868});
    load(service, displays[1], {0.7198, 0.7198 * 0.7198, 0.7198 * 0.4286});
    service.flush();
    EXPECT_TRUE(becomes(3000, 17));
    load(service, displays[0], {1, 0.5436, 0.0868});
    service.flush();
    EXPECT_TRUE(becomes(2000, 17));
    // Black asks for no colour.
    load(service, displays[1], {0, 0, 0});
    service.flush();
    loop.runFor(milliseconds(500));
    EXPECT_TRUE(becomes(2000, 17));
}

TEST_F(NightColorDisplayServiceTest, TellsWhenKWinHasGone) {
    int lost = 0;
    NightColorDisplayService service(runLoop, [&] { ++lost; });
    load(service, service.describe().front().id, test::heldTint);
    service.flush();
    kwin.kill();
    EXPECT_TRUE(loop.runUntil([&] { return lost > 0; }, patience));
    EXPECT_EQ(lost, 1);
    load(service, 1, test::heldTint);
    service.flush();
    service.reload();
    service.restoreCalibration();
    EXPECT_TRUE(service.describe().empty());
}

TEST_F(NightColorDisplayServiceTest, IsNotAvailableWithoutACompositor) {
    setenv("WAYLAND_DISPLAY", "/nonexistent/wayland-1", 1);
    NightColorDisplayService service(runLoop, [] {});
    EXPECT_FALSE(service.isAvailable());
    EXPECT_EQ(service.activeDisplays({}), 0U);
    EXPECT_TRUE(service.describe().empty());
    service.flush();
    service.reload();
    service.restoreCalibration();
}

TEST_F(NightColorDisplayServiceTest, IsNotAvailableWithoutABus) {
    kwin.bus().kill();
    NightColorDisplayService service(runLoop, [] {});
    EXPECT_FALSE(service.isAvailable());
}

} // namespace
} // namespace nocta
