#include "Platform/KWin/KGlobalAccelEventMonitor.h"

#include "Platform/Bus/SignalReceiver.h"
#include "QtLoop.h"
#include "Support/KWin.h"
#include "Support/KWinInput.h"
#include "Support/Process.h"

#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QList>
#include <QStringList>
#include <Qt>
#include <gtest/gtest.h>
#include <linux/input-event-codes.h>

namespace nocta {
namespace {

constexpr KeyEvent shortcut{.modifierFlags = modifier::command | modifier::shift, .keyCode = keycode::i};
constexpr int superShiftI = int{Qt::META} | int{Qt::SHIFT} | int{Qt::Key_I};
constexpr int superF9 = int{Qt::META} | int{Qt::Key_F9};

const QStringList ours{QStringLiteral("org.nocta.Nocta"), QStringLiteral("next-preset"), QStringLiteral("Nocta"),
                       QStringLiteral("Next preset")};
const QStringList others{QStringLiteral("other"), QStringLiteral("thing"), QStringLiteral("Other"),
                         QStringLiteral("Thing")};

class KGlobalAccelEventMonitorTest : public testing::Test {
  protected:
    KGlobalAccelEventMonitorTest() { monitor.emplace(); }

    static QVariant ask(const QString& member, const QVariantList& arguments) {
        auto message =
            QDBusMessage::createMethodCall(QStringLiteral("org.kde.kglobalaccel"), QStringLiteral("/kglobalaccel"),
                                           QStringLiteral("org.kde.KGlobalAccel"), member);
        message.setArguments(arguments);
        return QDBusConnection::sessionBus().call(message).arguments().value(0);
    }
    /// The first of the keys that the action has; 0 where it has none.
    static int keyOf(const QStringList& action) {
        return qdbus_cast<QList<int>>(ask(QStringLiteral("shortcut"), {action})).value(0);
    }
    /// As another program takes keys for an action of its own.
    static void registerOther(int key) {
        constexpr uint setPresent = 2;
        ask(QStringLiteral("doRegister"), {others});
        ask(QStringLiteral("setShortcut"), {others, QVariant::fromValue(QList<int>{key}), setPresent});
        ASSERT_EQ(keyOf(others), key);
    }
    /// As the system settings do for the user.
    static void choose(int key) {
        ask(QStringLiteral("setForeignShortcut"), {ours, QVariant::fromValue(QList<int>{key})});
    }

    /// And waits until KGlobalAccel has answered all that it was asked.
    void observe() {
        token = monitor->addGlobalKeyDownMonitor([this](const KeyEvent& event) { events.push_back(event); });
        settle();
    }
    /// What was said over the bus before has been taken, also the answers.
    void settle() {
        for (int i = 0; i < 3; ++i) {
            loop.runDue();
            ask(QStringLiteral("allMainComponents"), {});
        }
        loop.runDue();
    }
    /// Once this has been reported, what was pressed before has been.
    void pressTheOther() {
        const auto before = presses;
        input.type({KEY_LEFTMETA, KEY_F8});
        EXPECT_TRUE(loop.runUntil([&] { return presses > before; }));
        loop.runDue();
    }
    void registerTheOther() {
        registerOther(int{Qt::META} | int{Qt::Key_F8});
        auto bus = QDBusConnection::sessionBus();
        pressed.listen(bus, QStringLiteral("/component/other"), QStringLiteral("org.kde.kglobalaccel.Component"),
                       QStringLiteral("globalShortcutPressed"));
    }

    void pressShortcut() { input.type({KEY_LEFTMETA, KEY_LEFTSHIFT, KEY_I}); }
    [[nodiscard]] bool reports(std::size_t count) {
        return loop.runUntil([&] { return events.size() >= count; }) && events.size() == count;
    }

    test::KWin kwin;
    test::QtLoop loop;
    test::KWinInput input;
    std::optional<KGlobalAccelEventMonitor> monitor;
    std::vector<KeyEvent> events;
    std::unique_ptr<EventMonitorToken> token;
    int presses = 0; ///< of the other action's keys
    SignalReceiver pressed{[this](const QDBusMessage&) { ++presses; }};
};

TEST_F(KGlobalAccelEventMonitorTest, ReportsTheShortcutWhateverModifiersAreHeldBesides) {
    ASSERT_TRUE(monitor->isAvailable());
    observe();
    pressShortcut();
    ASSERT_TRUE(reports(1));
    input.type({KEY_LEFTMETA, KEY_LEFTSHIFT, KEY_LEFTCTRL, KEY_I});
    ASSERT_TRUE(reports(2));
    input.type({KEY_LEFTMETA, KEY_RIGHTSHIFT, KEY_LEFTALT, KEY_I});
    ASSERT_TRUE(reports(3));
    input.type({KEY_LEFTMETA, KEY_LEFTSHIFT, KEY_LEFTCTRL, KEY_LEFTALT, KEY_I});
    ASSERT_TRUE(reports(4));
    input.type({KEY_CAPSLOCK});
    pressShortcut();
    ASSERT_TRUE(reports(5));
    EXPECT_EQ(events, std::vector<KeyEvent>(5, shortcut)) << "KGlobalAccel does not say which modifiers were held";
}

TEST_F(KGlobalAccelEventMonitorTest, LeavesTheKeyAloneWithFewerModifiers) {
    registerTheOther();
    observe();
    input.type({KEY_LEFTMETA, KEY_I});
    input.type({KEY_LEFTSHIFT, KEY_I});
    pressTheOther();
    EXPECT_TRUE(events.empty());
}

TEST_F(KGlobalAccelEventMonitorTest, AKeyThatRepeatsWhileItIsHeldIsReportedOnce) {
    int signals = 0;
    SignalReceiver raw([&](const QDBusMessage&) { ++signals; });
    auto bus = QDBusConnection::sessionBus();
    raw.listen(bus, QStringLiteral("/component/org_nocta_Nocta"), QStringLiteral("org.kde.kglobalaccel.Component"),
               QStringLiteral("globalShortcutPressed"));
    registerTheOther();
    observe();
    input.press(KEY_LEFTMETA);
    input.press(KEY_LEFTSHIFT);
    input.press(KEY_I);
    ASSERT_TRUE(loop.runUntil([&] { return signals >= 3; })) << "it repeats";
    input.release(KEY_I);
    input.type({KEY_I});
    input.release(KEY_LEFTSHIFT);
    input.release(KEY_LEFTMETA);
    pressTheOther();
    EXPECT_EQ(events.size(), 2U);
}

TEST_F(KGlobalAccelEventMonitorTest, OnceTheMonitorHasEndedTheKeysAreOtherProgramsAgain) {
    observe();
    pressShortcut();
    ASSERT_TRUE(reports(1));
    test::Process window({test::programFolder() / "wayland-window", "org.example.one"});
    const auto has = [&window](const std::string& line) { return window.errors().find(line) != std::string::npos; };
    ASSERT_TRUE(loop.runUntil([&] { return has("active"); }));
    pressShortcut();
    ASSERT_TRUE(reports(2));
    EXPECT_FALSE(has("key " + std::to_string(KEY_I)));
    token.reset();
    settle();
    pressShortcut();
    EXPECT_TRUE(loop.runUntil([&] { return has("key " + std::to_string(KEY_I)); }));
    EXPECT_EQ(events.size(), 2U);
    observe();
    pressShortcut();
    EXPECT_TRUE(reports(3));
}

TEST_F(KGlobalAccelEventMonitorTest, KeysThatAnotherActionHasStayItsOwnAndAreTakenOnceTheyAreFree) {
    registerTheOther();
    constexpr uint setPresentAnew = 2 | 4;
    ask(QStringLiteral("setShortcut"),
        {others, QVariant::fromValue(QList<int>{superShiftI, int{Qt::META} | int{Qt::Key_F8}}), setPresentAnew});
    observe();
    pressShortcut();
    EXPECT_TRUE(loop.runUntil([this] { return presses == 1; }));
    pressTheOther();
    EXPECT_TRUE(events.empty());
    token.reset();
    settle();
    ask(QStringLiteral("unregister"), {others.at(0), others.at(1)});
    observe();
    pressShortcut();
    EXPECT_TRUE(reports(1));
}

TEST_F(KGlobalAccelEventMonitorTest, KeysThatTheUserHasChosenInsteadAreKept) {
    registerTheOther();
    observe();
    ASSERT_EQ(keyOf(ours), superShiftI);
    choose(superF9);
    input.type({KEY_LEFTMETA, KEY_F9});
    ASSERT_TRUE(reports(1));
    token.reset();
    settle();
    observe();
    EXPECT_EQ(keyOf(ours), superF9);
    pressShortcut();
    pressTheOther();
    EXPECT_EQ(events.size(), 1U);
    input.type({KEY_LEFTMETA, KEY_F9});
    ASSERT_TRUE(reports(2));
    EXPECT_EQ(events.back(), shortcut) << "what it stands for";
}

TEST_F(KGlobalAccelEventMonitorTest, ListensToNobodyButKGlobalAccel) {
    observe();
    test::Process liar({"dbus-send", "--session", "--type=signal", "/component/org_nocta_Nocta",
                        "org.kde.kglobalaccel.Component.globalShortcutPressed", "string:org.nocta.Nocta",
                        "string:next-preset", "int64:0"});
    ASSERT_EQ(liar.waitForEnd(), test::Ending{.exitStatus = 0}) << liar.errors();
    settle();
    EXPECT_TRUE(events.empty());
    pressShortcut();
    EXPECT_TRUE(reports(1));
}

TEST_F(KGlobalAccelEventMonitorTest, IsThereAgainAfterKWinHasStartedAnew) {
    observe();
    kwin.restart();
    settle();
    test::KWinInput anew;
    EXPECT_TRUE(loop.runUntil([&] {
        anew.type({KEY_LEFTMETA, KEY_LEFTSHIFT, KEY_I});
        loop.runFor(std::chrono::milliseconds(50));
        return !events.empty();
    }));
}

TEST_F(KGlobalAccelEventMonitorTest, AMonitorMayEndItself) {
    registerTheOther();
    token = monitor->addGlobalKeyDownMonitor([this](const KeyEvent& event) {
        events.push_back(event);
        token.reset();
    });
    settle();
    pressShortcut();
    ASSERT_TRUE(reports(1));
    pressShortcut();
    pressTheOther();
    EXPECT_EQ(events.size(), 1U);
}

TEST_F(KGlobalAccelEventMonitorTest, EndsQuietlyWithKWin) {
    observe();
    kwin.kill();
    loop.runFor(std::chrono::milliseconds(50));
    token.reset();
    EXPECT_TRUE(events.empty());
    EXPECT_FALSE(KGlobalAccelEventMonitor().isAvailable());
}

TEST_F(KGlobalAccelEventMonitorTest, OnX11ItLeavesTheKeysToOthers) {
    const std::string display = std::getenv("WAYLAND_DISPLAY");
    unsetenv("WAYLAND_DISPLAY");
    EXPECT_FALSE(KGlobalAccelEventMonitor().isAvailable());
    setenv("WAYLAND_DISPLAY", display.c_str(), 1);
}

TEST(KGlobalAccelEventMonitorWithoutBus, IsNotAvailable) {
    unsetenv("DBUS_SESSION_BUS_ADDRESS");
    unsetenv("XDG_RUNTIME_DIR");
    setenv("WAYLAND_DISPLAY", "/nonexistent/wayland-0", 1);
    test::QtLoop loop;
    KGlobalAccelEventMonitor monitor;
    EXPECT_FALSE(monitor.isAvailable());
    EXPECT_NE(monitor.addGlobalKeyDownMonitor([](const KeyEvent&) {}), nullptr);
    EXPECT_NE(monitor.addGlobalMouseDownMonitor([] {}), nullptr);
    unsetenv("WAYLAND_DISPLAY");
}

} // namespace
} // namespace nocta
