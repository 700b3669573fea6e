#include "Platform/DBus/PortalEventMonitor.h"

#include "QtLoop.h"
#include "Support/DesktopPortal.h"
#include "Support/Process.h"
#include "Support/SessionBus.h"
#include "Support/TemporaryFolder.h"
#include "Support/XServer.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVirtualObject>
#include <QStringList>
#include <QVariantMap>

namespace nocta {
namespace {

constexpr KeyEvent shortcut{.modifierFlags = modifier::command | modifier::shift, .keyCode = keycode::i};

/// What a desktop adds to the portal: who knows its keys.
class DesktopsKeys final : public QDBusVirtualObject {
  public:
    uint sessionResponse = 0; ///< 0 where the user agrees
    uint bindingResponse = 0;
    QStringList sessions;
    QStringList names; ///< of the shortcuts that were bound
    QVariantMap properties;
    QStringList closed;

    [[nodiscard]] QString introspect(const QString& /*path*/) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        const auto member = message.member();
        const auto arguments = message.arguments();
        if (member == QStringLiteral("GetAll")) {
            connection.send(message.createReply(QVariantMap{{QStringLiteral("version"), 1U}}));
        } else if (member == QStringLiteral("CreateSession")) {
            sessions << arguments.at(1).value<QDBusObjectPath>().path();
            connection.send(message.createReply({sessionResponse, QVariantMap()}));
        } else if (member == QStringLiteral("BindShortcuts")) {
            read(arguments.at(2).value<QDBusArgument>());
            connection.send(message.createReply({bindingResponse, QVariantMap()}));
        } else {
            if (member == QStringLiteral("Close")) {
                closed << message.path();
            }
            connection.send(message.createReply());
        }
        return true;
    }

  private:
    void read(const QDBusArgument& list) {
        list.beginArray();
        while (!list.atEnd()) {
            QString name;
            list.beginStructure();
            list >> name >> properties;
            list.endStructure();
            names << name;
        }
        list.endArray();
    }
};

/// The real portal, and behind it a desktop that says what this test wants.
class PortalEventMonitorTest : public testing::Test {
  protected:
    PortalEventMonitorTest() {
        connection.registerVirtualObject(QStringLiteral("/org/freedesktop/portal/desktop"), &keys,
                                         QDBusConnection::SubPath);
        connection.registerService(QStringLiteral("org.freedesktop.impl.portal.desktop.keys"));
        std::ofstream(folder.path() / "keys.portal")
            << "[portal]\nDBusName=org.freedesktop.impl.portal.desktop.keys\n"
               "Interfaces=org.freedesktop.impl.portal.GlobalShortcuts\nUseIn=keys\n";
        startPortal();
    }
    ~PortalEventMonitorTest() override { QDBusConnection::disconnectFromBus(QStringLiteral("keys")); }

    void startPortal() {
        portal = std::make_unique<test::Process>(std::vector<std::string>{"/usr/libexec/xdg-desktop-portal"},
                                                 test::Process::Environment{{"HOME", folder.path()},
                                                                            {"XDG_RUNTIME_DIR", folder.path()},
                                                                            {"XDG_DESKTOP_PORTAL_DIR", folder.path()},
                                                                            {"XDG_CURRENT_DESKTOP", "keys"}});
        // It asks the desktop while it starts.
        ASSERT_TRUE(loop.runUntil([this] {
            return connection.interface()
                ->isServiceRegistered(QStringLiteral("org.freedesktop.portal.Desktop"))
                .value();
        })) << portal->errors();
    }

    void observe() {
        token = monitor.addGlobalKeyDownMonitor([this](const KeyEvent& event) { events.push_back(event); });
    }
    bool isBound() {
        return loop.runUntil([this] { return !keys.names.isEmpty(); });
    }

    /// The user presses what they have bound to `name`.
    void press(const QString& session, const QString& name) {
        auto signal = QDBusMessage::createSignal(QStringLiteral("/org/freedesktop/portal/desktop"),
                                                 QStringLiteral("org.freedesktop.impl.portal.GlobalShortcuts"),
                                                 QStringLiteral("Activated"));
        signal << QVariant::fromValue(QDBusObjectPath(session)) << name << quint64(1) << QVariantMap();
        connection.send(signal);
    }
    /// Once a press of ours has been reported, those before it have been as well.
    bool pressOurs(std::size_t count) {
        press(keys.sessions.constLast(), keys.names.constLast());
        return loop.runUntil([&] { return events.size() == count; });
    }

    test::SessionBus bus;
    test::QtLoop loop;
    test::TemporaryFolder folder;
    QDBusConnection connection = QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("keys"));
    DesktopsKeys keys;
    std::unique_ptr<test::Process> portal;
    PortalEventMonitor monitor;
    std::vector<KeyEvent> events;
    std::unique_ptr<EventMonitorToken> token;
};

TEST_F(PortalEventMonitorTest, BindsOneShortcutAndReportsItEachTimeItIsPressed) {
    EXPECT_TRUE(monitor.isAvailable());
    observe();
    ASSERT_TRUE(isBound());
    EXPECT_EQ(keys.sessions.size(), 1);
    EXPECT_EQ(keys.names, QStringList{QStringLiteral("cycle-preset")});
    EXPECT_EQ(keys.properties.value(QStringLiteral("preferred_trigger")).toString(), QStringLiteral("LOGO+SHIFT+i"));
    EXPECT_EQ(keys.properties.value(QStringLiteral("description")).toString(), QStringLiteral("Next preset"));
    EXPECT_TRUE(pressOurs(1));
    EXPECT_TRUE(pressOurs(2));
    EXPECT_EQ(events, (std::vector<KeyEvent>{shortcut, shortcut}));
}

TEST_F(PortalEventMonitorTest, OtherShortcutsAreNobodysBusiness) {
    observe();
    ASSERT_TRUE(isBound());
    press(keys.sessions.constLast(), QStringLiteral("something-else"));
    EXPECT_TRUE(pressOurs(1));
    loop.runFor(std::chrono::milliseconds(100));
    EXPECT_EQ(events.size(), 1U);
}

TEST_F(PortalEventMonitorTest, AUserWhoRefusesIsNotAskedAgain) {
    keys.sessionResponse = 1;
    observe();
    ASSERT_TRUE(loop.runUntil([this] { return keys.sessions.size() == 1; }));
    loop.runFor(std::chrono::milliseconds(200));
    EXPECT_TRUE(keys.names.isEmpty());
    EXPECT_EQ(keys.sessions.size(), 1);
}

TEST_F(PortalEventMonitorTest, ABindingThatIsRefusedStaysWithoutKeys) {
    keys.bindingResponse = 1;
    observe();
    ASSERT_TRUE(isBound());
    loop.runFor(std::chrono::milliseconds(200));
    EXPECT_EQ(keys.names.size(), 1);
    EXPECT_TRUE(events.empty());
}

TEST_F(PortalEventMonitorTest, TheEndOfTheMonitorGivesTheShortcutBack) {
    observe();
    ASSERT_TRUE(isBound());
    ASSERT_TRUE(pressOurs(1));
    token.reset();
    ASSERT_TRUE(loop.runUntil([this] { return keys.closed.contains(keys.sessions.constLast()); }));
    observe();
    ASSERT_TRUE(loop.runUntil([this] { return keys.names.size() == 2; })) << "and another one may follow";
    EXPECT_NE(keys.sessions.at(0), keys.sessions.at(1));
    EXPECT_TRUE(pressOurs(2));
}

TEST_F(PortalEventMonitorTest, APortalThatStartsAgainIsAskedAgain) {
    observe();
    ASSERT_TRUE(isBound());
    portal->signal(SIGKILL);
    portal->waitForEnd();
    startPortal();
    ASSERT_TRUE(loop.runUntil([this] { return keys.names.size() == 2; }));
    EXPECT_TRUE(pressOurs(1));
}

TEST_F(PortalEventMonitorTest, AMonitorMayEndItself) {
    token = monitor.addGlobalKeyDownMonitor([this](const KeyEvent& event) {
        events.push_back(event);
        token.reset();
    });
    ASSERT_TRUE(isBound());
    EXPECT_TRUE(pressOurs(1));
    EXPECT_TRUE(loop.runUntil([this] { return !keys.closed.isEmpty(); }));
}

class OtherSessions : public testing::Test {
  protected:
    test::SessionBus bus;
    test::QtLoop loop;
};

TEST_F(OtherSessions, APortalWithoutShortcutsReportsNothing) {
    const test::XServer xServer;
    const test::DesktopPortal portal;
    PortalEventMonitor monitor;
    EXPECT_TRUE(monitor.isAvailable()) << "nothing waits to find out";
    auto token = monitor.addGlobalKeyDownMonitor([](const KeyEvent& /*event*/) { FAIL(); });
    loop.runFor(std::chrono::milliseconds(200));
    token.reset();
}

TEST_F(OtherSessions, WithoutAPortalOrABusThereIsNone) {
    EXPECT_FALSE(PortalEventMonitor().isAvailable());
    setenv("DBUS_SESSION_BUS_ADDRESS", "", 1);
    PortalEventMonitor monitor;
    EXPECT_FALSE(monitor.isAvailable());
    const auto token = monitor.addGlobalKeyDownMonitor([](const KeyEvent& /*event*/) { FAIL(); });
    loop.runDue();
}

} // namespace
} // namespace nocta
