#include "Platform/DBus/PortalAppearance.h"

#include "QtLoop.h"
#include "Support/DesktopPortal.h"
#include "Support/SessionBus.h"
#include "Support/XServer.h"

#include <chrono>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusVariant>
#include <QDBusVirtualObject>

namespace nocta {
namespace {

class PortalAppearanceTest : public testing::Test {
  protected:
    test::SessionBus bus;
    test::QtLoop loop;
};

class RealPortal : public PortalAppearanceTest {
  protected:
    test::XServer xServer;
    test::DesktopPortal portal;
};

TEST_F(RealPortal, WithoutAPreferenceThereIsNoAnswer) {
    portal.set("enable-animations", "false");
    const PortalAppearance appearance;
    // What is known shows that the answer has come.
    ASSERT_TRUE(loop.runUntil([&] { return appearance.reducesMotion(); }));
    EXPECT_EQ(appearance.colorScheme(), std::nullopt);
}

TEST_F(RealPortal, ThePreferenceIsThereSoonAfterItIsAskedFor) {
    portal.set("color-scheme", "prefer-dark");
    const PortalAppearance appearance;
    EXPECT_EQ(appearance.colorScheme(), std::nullopt) << "nothing waits";
    EXPECT_TRUE(loop.runUntil([&] { return appearance.colorScheme() == ColorScheme::dark; }));
    EXPECT_FALSE(appearance.reducesMotion());
}

TEST_F(RealPortal, EveryChangeIsToldWhenItIsMade) {
    PortalAppearance appearance;
    std::optional<ColorScheme> told;
    bool toldStill = false;
    const auto observer = appearance.observe([&] {
        told = appearance.colorScheme();
        toldStill = appearance.reducesMotion();
    });
    portal.set("color-scheme", "prefer-dark");
    EXPECT_TRUE(loop.runUntil([&] { return told == ColorScheme::dark; }));
    portal.set("color-scheme", "prefer-light");
    EXPECT_TRUE(loop.runUntil([&] { return told == ColorScheme::light; }));
    portal.set("color-scheme", "default");
    EXPECT_TRUE(loop.runUntil([&] { return told == std::nullopt; }));
    portal.set("enable-animations", "false");
    EXPECT_TRUE(loop.runUntil([&] { return toldStill; }));
    portal.set("enable-animations", "true");
    EXPECT_TRUE(loop.runUntil([&] { return !toldStill; }));
}

TEST_F(RealPortal, AnObserverThatIsGoneIsToldNothing) {
    PortalAppearance appearance;
    int calls = 0;
    auto observer = appearance.observe([&] { ++calls; });
    observer.reset();
    portal.set("color-scheme", "prefer-dark");
    ASSERT_TRUE(loop.runUntil([&] { return appearance.colorScheme() == ColorScheme::dark; }));
    EXPECT_EQ(calls, 0);
}

TEST_F(RealPortal, APortalThatStartsAgainIsAskedAgain) {
    portal.set("color-scheme", "prefer-dark");
    const PortalAppearance appearance;
    ASSERT_TRUE(loop.runUntil([&] { return appearance.colorScheme() == ColorScheme::dark; }));
    portal.kill();
    portal.set("color-scheme", "prefer-light"); // nobody tells
    EXPECT_EQ(appearance.colorScheme(), ColorScheme::dark) << "the last that was heard";
    portal.restart();
    EXPECT_TRUE(loop.runUntil([&] { return appearance.colorScheme() == ColorScheme::light; }));
}

TEST_F(PortalAppearanceTest, WithoutAPortalThereIsNoAnswer) {
    const PortalAppearance appearance;
    loop.runFor(std::chrono::milliseconds(200));
    EXPECT_EQ(appearance.colorScheme(), std::nullopt);
    EXPECT_FALSE(appearance.reducesMotion());
}

TEST_F(PortalAppearanceTest, WithoutABusThereIsNoAnswer) {
    setenv("DBUS_SESSION_BUS_ADDRESS", "", 1);
    const PortalAppearance appearance;
    loop.runFor(std::chrono::milliseconds(50));
    EXPECT_EQ(appearance.colorScheme(), std::nullopt);
    EXPECT_FALSE(appearance.reducesMotion());
}

using Values = QMap<QString, QVariantMap>;

/// A portal as other desktops have it, or one that says what it should not.
class OtherPortal : public PortalAppearanceTest {
  protected:
    class Object final : public QDBusVirtualObject {
      public:
        Values values;
        [[nodiscard]] QString introspect(const QString& /*path*/) const override { return {}; }
        bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
            connection.send(message.createReply(QVariant::fromValue(values)));
            return true;
        }
    };

    OtherPortal() {
        qDBusRegisterMetaType<Values>();
        connection.registerVirtualObject(QStringLiteral("/org/freedesktop/portal/desktop"), &object);
    }
    ~OtherPortal() override { QDBusConnection::disconnectFromBus(QStringLiteral("other")); }

    /// The portal appears and says this.
    void say(const Values& values) {
        object.values = values;
        connection.unregisterService(service);
        connection.registerService(service);
    }
    void change(const QString& space, const QString& key, const QVariant& value) {
        auto signal = QDBusMessage::createSignal(QStringLiteral("/org/freedesktop/portal/desktop"),
                                                 QStringLiteral("org.freedesktop.portal.Settings"),
                                                 QStringLiteral("SettingChanged"));
        signal << space << key << QVariant::fromValue(QDBusVariant(value));
        connection.send(signal);
    }

    QDBusConnection connection = QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("other"));
    Object object;
    const QString service = QStringLiteral("org.freedesktop.portal.Desktop");
    const QString ours = QStringLiteral("org.freedesktop.appearance");
    const QString kde = QStringLiteral("org.kde.kdeglobals.KDE");
    const QString factor = QStringLiteral("AnimationDurationFactor");
};

TEST_F(OtherPortal, ReducedMotionIsWhatThePortalItselfOrKdeSays) {
    const PortalAppearance appearance;
    say({{ours, {{QStringLiteral("reduced-motion"), 1U}}}});
    EXPECT_TRUE(loop.runUntil([&] { return appearance.reducesMotion(); }));
    say({{kde, {{factor, QStringLiteral("0.5")}}}});
    EXPECT_TRUE(loop.runUntil([&] { return !appearance.reducesMotion(); }));
    change(kde, factor, QStringLiteral("0"));
    EXPECT_TRUE(loop.runUntil([&] { return appearance.reducesMotion(); }));
    change(kde, factor, QStringLiteral("slow"));
    EXPECT_TRUE(loop.runUntil([&] { return !appearance.reducesMotion(); })) << "no number";
}

TEST_F(OtherPortal, AnswersOfTheWrongKindAreNone) {
    const PortalAppearance appearance;
    say({{ours, {{QStringLiteral("color-scheme"), 2U}}}});
    ASSERT_TRUE(loop.runUntil([&] { return appearance.colorScheme() == ColorScheme::light; }));
    change(ours, QStringLiteral("color-scheme"), 99U);
    EXPECT_TRUE(loop.runUntil([&] { return appearance.colorScheme() == std::nullopt; }));
    change(ours, QStringLiteral("color-scheme"), 1U);
    ASSERT_TRUE(loop.runUntil([&] { return appearance.colorScheme() == ColorScheme::dark; }));
    change(ours, QStringLiteral("color-scheme"), QStringLiteral("dark"));
    EXPECT_TRUE(loop.runUntil([&] { return appearance.colorScheme() == std::nullopt; }));
}

TEST_F(OtherPortal, AnObserverMayEndAnotherOneInItsCall) {
    PortalAppearance appearance;
    std::unique_ptr<AppearanceObserver> first;
    std::unique_ptr<AppearanceObserver> second;
    int calls = 0;
    first = appearance.observe([&] {
        ++calls;
        second.reset();
    });
    second = appearance.observe([&] {
        ++calls;
        first.reset();
    });
    say({{ours, {{QStringLiteral("color-scheme"), 1U}}}});
    ASSERT_TRUE(loop.runUntil([&] { return appearance.colorScheme() == ColorScheme::dark; }));
    EXPECT_EQ(calls, 1);
}

} // namespace
} // namespace nocta
