#include "Platform/DBus/LoginSystemEvents.h"

#include "Platform/CombinedSystemEvents.h"
#include "QtLoop.h"
#include "RecordedSystemEvents.h"
#include "Support/Eventually.h"
#include "Support/SystemBus.h"

#include <chrono>
#include <cstdlib>
#include <memory>
#include <optional>

#include <gtest/gtest.h>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QVariantMap>

namespace nocta {
namespace {

const QString login = QStringLiteral("org.freedesktop.login1");
const QString managerPath = QStringLiteral("/org/freedesktop/login1");
const QString sessionPath = QStringLiteral("/org/freedesktop/login1/session/c7");
const QString mockInterface = QStringLiteral("org.freedesktop.DBus.Mock");

/// A login1 that does what a test tells it, on a private system bus.
class LoginSystemEventsTest : public testing::Test {
  protected:
    LoginSystemEventsTest() {
        setenv("XDG_SESSION_ID", "c7", 1);
        startLogin();
        events.emplace();
    }

    void startLogin() {
        loginProcess = std::make_unique<test::Process>(
            std::vector<std::string>{"/usr/bin/python3", "-m", "dbusmock", "--template", "logind", "--system"});
        ASSERT_TRUE(
            test::eventually([this] { return bus.answers("org.freedesktop.login1"); }, std::chrono::seconds(60)))
            << loginProcess->errors();
        ask(managerPath, QStringLiteral("AddSession"),
            {QStringLiteral("c7"), QStringLiteral("seat0"), 1000U, QStringLiteral("user"), false});
    }

    static QDBusConnection other() {
        return QDBusConnection::connectToBus(QDBusConnection::SystemBus, QStringLiteral("other"));
    }

    static void ask(const QString& path, const QString& member, const QVariantList& arguments) {
        auto message = QDBusMessage::createMethodCall(login, path, mockInterface, member);
        message.setArguments(arguments);
        const auto answer = other().call(message);
        ASSERT_EQ(answer.type(), QDBusMessage::ReplyMessage) << answer.errorMessage().toStdString();
    }

    static void emitPrepareForSleep(bool isAboutToSleep) {
        ask(managerPath, QStringLiteral("EmitSignal"),
            {QStringLiteral("org.freedesktop.login1.Manager"), QStringLiteral("PrepareForSleep"), QStringLiteral("b"),
             QVariantList{isAboutToSleep}});
    }

    static void setSession(const QString& property, const QVariant& value) {
        ask(sessionPath, QStringLiteral("UpdateProperties"),
            {QStringLiteral("org.freedesktop.login1.Session"), QVariantMap{{property, value}}});
    }

    /// Repeats what makes login1 say it until it is heard: when the events are listened to, nobody tells.
    template <class Cause, class Condition>
    bool comesFrom(Cause cause, Condition condition) {
        for (int attempt = 0; attempt < 100; ++attempt) {
            cause();
            if (loop.runUntil(condition, std::chrono::milliseconds(100))) {
                return true;
            }
        }
        return false;
    }

    static void wake() { emitPrepareForSleep(false); }
    static void activate() { setSession(QStringLiteral("Active"), true); }

    /// Waits until both kinds of events are listened to, and until nothing of what that took is still to be heard: what
    /// login1 says is heard in its order.
    void awaitListening() {
        ASSERT_TRUE(comesFrom(&activate, [this] { return told.activations > 0; }));
        ASSERT_TRUE(comesFrom(&wake, [this] { return !told.wakes.empty(); }));
        told.activations = 0;
        activate();
        ASSERT_TRUE(loop.runUntil([this] { return told.activations > 0; }));
        told.activations = 0;
        told.wakes.clear();
    }

    test::SystemBus bus;
    test::QtLoop loop;
    std::unique_ptr<test::Process> loginProcess;
    test::RecordedSystemEvents told;
    std::optional<LoginSystemEvents> events;
};

TEST_F(LoginSystemEventsTest, TellsThatTheMachineRunsAgainAndNotThatItIsAboutToSleep) {
    events->setDelegate(&told);
    awaitListening();
    emitPrepareForSleep(true);
    wake();
    activate(); // the last to be heard
    ASSERT_TRUE(loop.runUntil([this] { return told.activations == 1; }));
    ASSERT_EQ(told.wakes.size(), 1U);
    // The machine has not really been asleep, and the length is that of the clocks.
    EXPECT_NEAR(told.wakes.front().count(), 0, 1);
    EXPECT_EQ(told.clockChanges, 0);
}

TEST_F(LoginSystemEventsTest, TellsThatTheSessionHasTheScreensAgain) {
    events->setDelegate(&told);
    awaitListening();
    setSession(QStringLiteral("Active"), false);
    setSession(QStringLiteral("LockedHint"), true);
    activate();
    wake(); // the last to be heard
    ASSERT_TRUE(loop.runUntil([this] { return told.wakes.size() == 1; }));
    EXPECT_EQ(told.activations, 1);
}

TEST_F(LoginSystemEventsTest, AskedForTheProcessesSessionWhereTheEnvironmentNamesNone) {
    unsetenv("XDG_SESSION_ID");
    ask(managerPath, QStringLiteral("AddMethod"),
        {QStringLiteral("org.freedesktop.login1.Manager"), QStringLiteral("GetSession"), QStringLiteral("s"),
         QStringLiteral("o"), QStringLiteral("assert args[0] == 'auto'; ret = '/org/freedesktop/login1/session/c7'")});
    events->setDelegate(&told);
    EXPECT_TRUE(comesFrom(&activate, [this] { return told.activations > 0; }));
}

TEST_F(LoginSystemEventsTest, HearsALoginServiceThatComesLater) {
    loginProcess.reset();
    ASSERT_TRUE(test::eventually([this] { return !bus.answers("org.freedesktop.login1"); }));
    events->setDelegate(&told);
    loop.runFor(std::chrono::milliseconds(50));
    startLogin();
    EXPECT_TRUE(comesFrom(&wake, [this] { return !told.wakes.empty(); }));
}

TEST_F(LoginSystemEventsTest, TellsNobodyWithoutADelegate) {
    events->setDelegate(&told);
    awaitListening();
    events->setDelegate(nullptr);
    wake();
    // The bus, and the library here, serve their connections in turns.
    for (int turn = 0; turn < 3; ++turn) {
        setSession(QStringLiteral("LockedHint"), true);
    }
    loop.runFor(std::chrono::milliseconds(20));
    events->setDelegate(&told);
    activate();
    ASSERT_TRUE(loop.runUntil([this] { return told.activations == 1; }));
    EXPECT_TRUE(told.wakes.empty());
}

TEST_F(LoginSystemEventsTest, ABusThatGoesAwayHarmsNothing) {
    events->setDelegate(&told);
    ASSERT_TRUE(comesFrom(&wake, [this] { return !told.wakes.empty(); }));
    bus.kill();
    loop.runFor(std::chrono::milliseconds(50));
    events.reset();
}

TEST_F(LoginSystemEventsTest, WithoutABusNothingIsTold) {
    bus.kill();
    events->setDelegate(&told);
    loop.runFor(std::chrono::milliseconds(50));
    EXPECT_TRUE(told.wakes.empty());
    EXPECT_EQ(told.activations, 0);
}

TEST_F(LoginSystemEventsTest, ABusThatHangsIsNotWaitedFor) {
    bus.freeze();
    const auto start = std::chrono::steady_clock::now();
    events->setDelegate(&told);
    loop.runFor(std::chrono::milliseconds(50));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(15));
    bus.thaw();
    EXPECT_TRUE(comesFrom(&wake, [this] { return !told.wakes.empty(); }));
}

TEST(CombinedSystemEvents, TellsWhatEveryPartTells) {
    class Part final : public SystemEvents {
      public:
        void setDelegate(SystemEventsDelegate* newDelegate) override { delegate = newDelegate; }
        SystemEventsDelegate* delegate = nullptr;
    };
    Part first;
    Part second;
    CombinedSystemEvents combined({&first, &second});
    test::RecordedSystemEvents told;
    combined.setDelegate(&told);
    EXPECT_EQ(first.delegate, &told);
    EXPECT_EQ(second.delegate, &told);
    combined.setDelegate(nullptr);
    EXPECT_EQ(first.delegate, nullptr);
    EXPECT_EQ(second.delegate, nullptr);
}

} // namespace
} // namespace nocta
