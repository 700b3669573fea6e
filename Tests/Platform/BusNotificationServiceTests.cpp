#include "Platform/DBus/BusNotificationService.h"

#include "Platform/Qt/QtRunLoop.h"
#include "QtLoop.h"
#include "Support/NotificationDaemon.h"
#include "Support/SessionBus.h"
#include "Support/XServer.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace nocta {
namespace {

using test::NotificationDaemon;

class Notifications : public testing::Test {
  protected:
    /// Whether the daemon gets that many.
    bool becomes(const NotificationDaemon& daemon, std::size_t count) {
        return loop.runUntil([&] { return daemon.notifications().size() == count; });
    }

    void add(const std::string& title, const std::string& body) {
        service.add({.identifier = std::to_string(++count), .title = title, .body = body});
    }

    test::SessionBus bus;
    test::QtLoop loop;
    QtRunLoop runLoop;
    BusNotificationService service{runLoop};
    int count = 0;
};

class ShownNotifications : public Notifications {
  protected:
    test::XServer xServer;
};

TEST_F(ShownNotifications, HaveTheirTitleAndBodyAndTheProgramsNameIconAndDesktopEntry) {
    const NotificationDaemon daemon;
    add("Nocta", "Switched to Amber (3400K)");
    ASSERT_TRUE(becomes(daemon, 1));
    const auto shown = daemon.notifications().front();
    EXPECT_EQ(shown.application, "Nocta");
    EXPECT_EQ(shown.title, "Nocta");
    EXPECT_EQ(shown.body, "Switched to Amber (3400K)");
    EXPECT_EQ(shown.seen, "Switched to Amber (3400K)");
    EXPECT_EQ(shown.category, "ours");
    EXPECT_TRUE(shown.icon.ends_with("/org.nocta.Nocta.svg")) << shown.icon;
}

TEST_F(ShownNotifications, AreAllNewAndInOrder) {
    const NotificationDaemon daemon;
    for (int i = 0; i < 20; ++i) {
        add("Nocta", "Number " + std::to_string(i / 2)); // every one twice
    }
    ASSERT_TRUE(becomes(daemon, 20));
    std::set<int> ids;
    std::vector<std::string> bodies;
    for (const auto& shown : daemon.notifications()) {
        ids.insert(shown.id);
        bodies.push_back(shown.body);
    }
    EXPECT_EQ(ids.size(), 20U);
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(bodies[static_cast<std::size_t>(i)], "Number " + std::to_string(i / 2));
    }
}

constexpr const char* body = R"(<b>1 < 2</b> & "so" on)";
// What a person sees is the text itself. The daemon keeps it as markup.
constexpr const char* seenBody = "&lt;b&gt;1 &lt; 2&lt;/b&gt; &amp; &quot;so&quot; on";

TEST_F(ShownNotifications, AreShownToTheLetterWhereTheBodyIsMarkup) {
    const NotificationDaemon daemon(NotificationDaemon::Markup::full);
    add("<i>A & B</i>", body);
    ASSERT_TRUE(becomes(daemon, 1));
    EXPECT_EQ(daemon.notifications().front().title, "<i>A & B</i>");
    EXPECT_EQ(daemon.notifications().front().seen, seenBody);
}

TEST_F(ShownNotifications, AreShownToTheLetterWhereTheBodyIsText) {
    const NotificationDaemon daemon(NotificationDaemon::Markup::none);
    add("<i>A & B</i>", body);
    ASSERT_TRUE(becomes(daemon, 1));
    EXPECT_EQ(daemon.notifications().front().title, "<i>A & B</i>");
    EXPECT_EQ(daemon.notifications().front().body, body);
    EXPECT_EQ(daemon.notifications().front().seen, seenBody);
}

TEST_F(ShownNotifications, MayHoldAnyBytes) {
    const NotificationDaemon daemon;
    add("A\xff\xfe Z", std::string("a\0b\xc3 \xed\xa0\x80 z", 10));
    add("Nocta", "ä € 🌙");
    ASSERT_TRUE(becomes(daemon, 2));
    EXPECT_EQ(daemon.notifications().back().body, "ä € 🌙");
}

TEST_F(ShownNotifications, AreLostWithoutADaemonAndShownByOneThatStartsLater) {
    add("Nocta", "lost");
    loop.runFor(std::chrono::milliseconds(100));
    const NotificationDaemon daemon;
    add("Nocta", "shown");
    ASSERT_TRUE(becomes(daemon, 1));
    EXPECT_EQ(daemon.notifications().front().body, "shown");
}

TEST_F(ShownNotifications, SurviveADaemonThatDiesAndGoToTheNext) {
    std::optional<NotificationDaemon> daemon(std::in_place);
    add("Nocta", "first");
    ASSERT_TRUE(becomes(*daemon, 1));
    daemon->signal(SIGSTOP);
    add("Nocta", "lost with it");
    loop.runFor(std::chrono::milliseconds(50));
    daemon->kill();
    daemon.emplace();
    add("Nocta", "second");
    ASSERT_TRUE(becomes(*daemon, 1));
    EXPECT_EQ(daemon->notifications().front().body, "second");
}

/// Frames of a fade, and how long the loop was away between two of them.
class FrameWatch {
  public:
    explicit FrameWatch(RunLoop& runLoop)
        : timer(runLoop.repeating(Seconds(1.0 / 30), TimerPrecision::frame, [this] { draw(); })) {}

    int frames = 0;
    std::chrono::steady_clock::duration longest{0};

  private:
    void draw() {
        const auto now = std::chrono::steady_clock::now();
        longest = std::max(longest, now - last);
        last = now;
        ++frames;
    }

    std::chrono::steady_clock::time_point last = std::chrono::steady_clock::now();
    std::unique_ptr<Timer> timer;
};

TEST_F(ShownNotifications, DoNotWaitForADaemonThatHangs) {
    const NotificationDaemon daemon;
    daemon.signal(SIGSTOP);
    int added = 0;
    {
        FrameWatch watch(runLoop);
        ASSERT_TRUE(loop.runUntil([&] {
            if (added < watch.frames) {
                add("Nocta", "Number " + std::to_string(added++));
            }
            return watch.frames == 30;
        }));
        // A call that waits does so for 25 s. What one frame is, the figures say: a busy machine takes more than that.
        EXPECT_LT(watch.longest, std::chrono::seconds(15));
    }
    daemon.signal(SIGCONT);
    EXPECT_TRUE(becomes(daemon, static_cast<std::size_t>(added)));
}

TEST_F(ShownNotifications, ThatAreStillToBeAnsweredEndWithTheService) {
    const NotificationDaemon daemon;
    {
        BusNotificationService shortLived(runLoop);
        shortLived.add({.identifier = "1", .title = "Nocta", .body = "lost"});
    }
    add("Nocta", "shown");
    ASSERT_TRUE(becomes(daemon, 1));
    EXPECT_EQ(daemon.notifications().front().body, "shown");
}

TEST_F(Notifications, ArePermittedAtTheNextTurnOfTheLoop) {
    std::optional<bool> answer;
    service.requestAuthorization(notification::alert | notification::sound, [&](bool granted) { answer = granted; });
    EXPECT_FALSE(answer.has_value());
    ASSERT_TRUE(loop.runUntil([&] { return answer.has_value(); }));
    EXPECT_TRUE(*answer);
}

/// What is written and how long it takes, where nobody is there.
class LostNotifications : public Notifications {
  protected:
    LostNotifications() { testing::internal::CaptureStderr(); }
    ~LostNotifications() override {
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
        // A call that waits does so for 25 s.
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(15));
    }

    /// Adds a message and lets what it may cause happen.
    void lose() {
        add("Nocta", "lost");
        loop.runFor(std::chrono::milliseconds(50));
    }

    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
};

TEST_F(LostNotifications, AreSilentWithoutABus) {
    for (const char* address : {"", "unix:path=/nonexistent/bus", "nonsense"}) {
        setenv("DBUS_SESSION_BUS_ADDRESS", address, 1);
        lose();
    }
    unsetenv("DBUS_SESSION_BUS_ADDRESS");
    unsetenv("XDG_RUNTIME_DIR");
    lose();
}

TEST_F(LostNotifications, AreSilentWhenTheBusGoesAway) {
    lose(); // for want of a daemon
    bus.kill();
    lose();
    lose();
}

} // namespace
} // namespace nocta
