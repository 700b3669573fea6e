#include "Platform/DBus/BusApplicationHost.h"

#include "QtLoop.h"
#include "Support/SessionBus.h"
#include "Support/TemporaryFolder.h"

#include <cstdlib>
#include <future>

#include <gtest/gtest.h>

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusVirtualObject>
#include <QThread>

namespace nocta {
namespace {

const QString name = QStringLiteral("org.nocta.Nocta");

QDBusMessage call(const QString& member, const QVariantList& arguments) {
    auto message = QDBusMessage::createMethodCall(name, QStringLiteral("/org/nocta/Nocta"),
                                                  QStringLiteral("org.freedesktop.Application"), member);
    message.setArguments(arguments);
    return message;
}

class BusApplicationHostTest : public testing::Test {
  protected:
    /// Asks as another program would, while the host's loop runs.
    QDBusMessage ask(const QDBusMessage& message) {
        const auto pending = other().asyncCall(message);
        EXPECT_TRUE(loop.runUntil([&] { return pending.isFinished(); }));
        return pending.reply();
    }

    static QDBusConnection other() {
        return QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("other"));
    }

    test::SessionBus bus;
    test::QtLoop loop;
};

TEST_F(BusApplicationHostTest, OwnsTheNameAndAnswersActivate) {
    BusApplicationHost host;
    int activations = 0;
    EXPECT_EQ(host.claim([&] { ++activations; }), ApplicationHost::Claim::primary);
    EXPECT_TRUE(other().interface()->isServiceRegistered(name));
    EXPECT_EQ(ask(call(QStringLiteral("Activate"), {QVariantMap()})).type(), QDBusMessage::ReplyMessage);
    EXPECT_EQ(activations, 1);
}

TEST_F(BusApplicationHostTest, OpensFilesByShowingItself) {
    BusApplicationHost host;
    int activations = 0;
    ASSERT_EQ(host.claim([&] { ++activations; }), ApplicationHost::Claim::primary);
    const QStringList files{QStringLiteral("file:///etc/passwd")};
    EXPECT_EQ(ask(call(QStringLiteral("Open"), {files, QVariantMap()})).type(), QDBusMessage::ReplyMessage);
    EXPECT_EQ(activations, 1);
}

TEST_F(BusApplicationHostTest, KnowsNoActions) {
    BusApplicationHost host;
    int activations = 0;
    ASSERT_EQ(host.claim([&] { ++activations; }), ApplicationHost::Claim::primary);
    const auto answer =
        ask(call(QStringLiteral("ActivateAction"), {QStringLiteral("dance"), QVariantList(), QVariantMap()}));
    EXPECT_EQ(answer.type(), QDBusMessage::ErrorMessage);
    EXPECT_EQ(answer.errorMessage(), QStringLiteral("There is no action \"dance\""));
    EXPECT_EQ(activations, 0);
}

TEST_F(BusApplicationHostTest, LeavesOtherInterfacesToWhoeverServesThemForAsLongAsThatLives) {
    class Other final : public QDBusVirtualObject {
      public:
        [[nodiscard]] QString introspect(const QString& /*path*/) const override {
            return QStringLiteral("<interface name=\"org.example.Other\"/>");
        }
        bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
            return message.interface() == QStringLiteral("org.example.Other") &&
                   connection.send(message.createReply(message.interface()));
        }
    };
    const auto path = QStringLiteral("/org/nocta/Nocta");
    const auto otherCall = [](const QString& at) {
        return QDBusMessage::createMethodCall(name, at, QStringLiteral("org.example.Other"), QStringLiteral("Do"));
    };
    BusApplicationHost host;
    ASSERT_EQ(host.claim([] {}), ApplicationHost::Claim::primary);
    EXPECT_TRUE(host.connection().isConnected());
    {
        Other served;
        host.serve(served);
        EXPECT_EQ(ask(otherCall(path)).arguments(), QVariantList{QStringLiteral("org.example.Other")});
        EXPECT_EQ(ask(otherCall(path + QStringLiteral("/below"))).type(), QDBusMessage::ErrorMessage);
        const auto description =
            ask(QDBusMessage::createMethodCall(name, path, QStringLiteral("org.freedesktop.DBus.Introspectable"),
                                               QStringLiteral("Introspect")))
                .arguments()
                .value(0)
                .toString();
        EXPECT_TRUE(description.contains(QStringLiteral("org.freedesktop.Application")));
        EXPECT_TRUE(description.contains(QStringLiteral("org.example.Other")));
    }
    EXPECT_EQ(ask(otherCall(path)).errorName(), QStringLiteral("org.freedesktop.DBus.Error.UnknownMethod"));
}

TEST_F(BusApplicationHostTest, AnswersWrongCallsWithAnError) {
    BusApplicationHost host;
    int activations = 0;
    ASSERT_EQ(host.claim([&] { ++activations; }), ApplicationHost::Claim::primary);
    EXPECT_EQ(ask(call(QStringLiteral("Activate"), {})).type(), QDBusMessage::ErrorMessage);
    EXPECT_EQ(ask(call(QStringLiteral("Activate"), {QStringLiteral("text")})).type(), QDBusMessage::ErrorMessage);
    EXPECT_EQ(ask(call(QStringLiteral("Open"), {QVariantMap()})).type(), QDBusMessage::ErrorMessage);
    EXPECT_EQ(ask(call(QStringLiteral("ActivateAction"), {})).type(), QDBusMessage::ErrorMessage);
    EXPECT_EQ(ask(call(QStringLiteral("Deactivate"), {QVariantMap()})).type(), QDBusMessage::ErrorMessage);
    EXPECT_EQ(activations, 0);
}

TEST_F(BusApplicationHostTest, ActivatesTheOneThatRunsAndLeavesItTheName) {
    // Answers on a thread of its own: the claim waits for it.
    class Running final : public QDBusVirtualObject {
      public:
        [[nodiscard]] QString introspect(const QString& /*path*/) const override { return {}; }
        bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
            members << message.interface() + QLatin1Char('.') + message.member();
            return connection.send(message.createReply());
        }
        QStringList members;
    };
    QThread thread;
    Running running;
    running.moveToThread(&thread);
    thread.start();
    auto runningBus = other();
    ASSERT_TRUE(runningBus.registerVirtualObject(QStringLiteral("/org/nocta/Nocta"), &running));
    ASSERT_TRUE(runningBus.registerService(name));
    {
        BusApplicationHost host;
        EXPECT_EQ(host.claim([] { FAIL(); }), ApplicationHost::Claim::forwarded);
    }
    thread.quit();
    thread.wait();
    EXPECT_EQ(running.members, QStringList{QStringLiteral("org.freedesktop.Application.Activate")});
    EXPECT_TRUE(other().interface()->isServiceRegistered(name));
}

TEST_F(BusApplicationHostTest, GivesTheNameBack) {
    {
        BusApplicationHost host;
        ASSERT_EQ(host.claim([] {}), ApplicationHost::Claim::primary);
    }
    EXPECT_FALSE(other().interface()->isServiceRegistered(name));
}

TEST_F(BusApplicationHostTest, IsUnavailableWithoutABus) {
    for (const char* address : {"", "unix:path=/nonexistent/bus", "nonsense"}) {
        setenv("DBUS_SESSION_BUS_ADDRESS", address, 1);
        BusApplicationHost host;
        EXPECT_EQ(host.claim([] {}), ApplicationHost::Claim::unavailable) << address;
        EXPECT_FALSE(host.connection().isConnected());
    }
    unsetenv("DBUS_SESSION_BUS_ADDRESS");
    unsetenv("XDG_RUNTIME_DIR");
    BusApplicationHost host;
    EXPECT_EQ(host.claim([] {}), ApplicationHost::Claim::unavailable);
}

} // namespace
} // namespace nocta
