#include "App/AppDelegate.h"
#include "Core/AppState.h"
#include "Platform/NotificationService.h"
#include "Platform/Simulated/SimulatedPlatform.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace nocta {
namespace {

/// What the program asks of the world, one line each, in order.
using Journal = std::vector<std::string>;

/// Writes down that something ends.
template <class Base>
class NotedEnd final : public Base {
  public:
    NotedEnd(std::unique_ptr<Base> noted, Journal& journal, std::string line)
        : noted(std::move(noted)), journal(journal), line(std::move(line)) {}
    NotedEnd(const NotedEnd&) = delete;
    NotedEnd& operator=(const NotedEnd&) = delete;
    ~NotedEnd() override { journal.push_back(line); }

  private:
    std::unique_ptr<Base> noted;
    Journal& journal;
    std::string line;
};

class NotedApplication final : public Application {
  public:
    NotedApplication(Application& noted, Journal& journal) : noted(noted), journal(journal) {}
    void setActivationPolicy(ActivationPolicy policy) override {
        journal.emplace_back(policy == ActivationPolicy::accessory ? "accessory" : "regular");
        noted.setActivationPolicy(policy);
    }
    int run(ApplicationDelegate& delegate) override { return noted.run(delegate); }
    void terminate(int status) override { noted.terminate(status); }

  private:
    Application& noted;
    Journal& journal;
};

class NotedRunLoop final : public RunLoop {
  public:
    NotedRunLoop(RunLoop& noted, Journal& journal) : noted(noted), journal(journal) {}
    std::unique_ptr<Timer> oneShot(Seconds delay, std::function<void()> callback) override {
        return note(noted.oneShot(delay, std::move(callback)), "once after", delay);
    }
    std::unique_ptr<Timer> repeating(Seconds interval, TimerPrecision precision,
                                     std::function<void()> callback) override {
        return note(noted.repeating(interval, precision, std::move(callback)), "every", interval);
    }
    void async(std::function<void()> task) override { noted.async(std::move(task)); }
    std::unique_ptr<RunLoopSource> watch(int descriptor, std::function<void()> callback) override {
        return noted.watch(descriptor, std::move(callback));
    }

  private:
    std::unique_ptr<Timer> note(std::unique_ptr<Timer> timer, const std::string& kind, Seconds interval) {
        const std::string line = kind + " " + std::to_string(static_cast<int>(interval.count())) + " s";
        journal.push_back(line);
        return std::make_unique<NotedEnd<Timer>>(std::move(timer), journal, "end of " + line);
    }

    RunLoop& noted;
    Journal& journal;
};

class NotedDisplays final : public DisplayService {
  public:
    NotedDisplays(DisplayService& noted, Journal& journal) : noted(noted), journal(journal) {}
    [[nodiscard]] bool isAvailable() const override { return noted.isAvailable(); }
    std::size_t activeDisplays(std::span<DisplayID> buffer) override { return noted.activeDisplays(buffer); }
    void load(DisplayID display, std::span<const float> red, std::span<const float> green,
              std::span<const float> blue) override {
        noted.load(display, red, green, blue);
    }
    void flush() override {
        journal.emplace_back("table");
        noted.flush();
    }
    void reload() override { noted.reload(); }
    void restoreCalibration() override {
        journal.emplace_back("calibration");
        noted.restoreCalibration();
    }

  private:
    DisplayService& noted;
    Journal& journal;
};

class NotedWorkspace final : public Workspace {
  public:
    NotedWorkspace(Workspace& noted, Journal& journal) : noted(noted), journal(journal) {}
    [[nodiscard]] bool isAvailable() const override { return noted.isAvailable(); }
    [[nodiscard]] std::unique_ptr<WorkspaceObserver> addActivationObserver(ActivationHandler handler) override {
        journal.emplace_back("watch applications");
        return std::make_unique<NotedEnd<WorkspaceObserver>>(noted.addActivationObserver(std::move(handler)), journal,
                                                             "watch no applications");
    }
    [[nodiscard]] std::optional<RunningApplication> frontmostApplication() const override {
        return noted.frontmostApplication();
    }

  private:
    Workspace& noted;
    Journal& journal;
};

class NotedEvents final : public EventMonitor {
  public:
    NotedEvents(EventMonitor& noted, Journal& journal) : noted(noted), journal(journal) {}
    [[nodiscard]] bool isAvailable() const override { return noted.isAvailable(); }
    [[nodiscard]] std::unique_ptr<EventMonitorToken>
    addGlobalKeyDownMonitor(std::function<void(const KeyEvent&)> handler) override {
        journal.emplace_back("watch keys");
        return std::make_unique<NotedEnd<EventMonitorToken>>(noted.addGlobalKeyDownMonitor(std::move(handler)), journal,
                                                             "watch no keys");
    }
    [[nodiscard]] std::unique_ptr<EventMonitorToken> addGlobalMouseDownMonitor(std::function<void()> handler) override {
        return noted.addGlobalMouseDownMonitor(std::move(handler));
    }

  private:
    EventMonitor& noted;
    Journal& journal;
};

class NotedNotifications final : public NotificationService {
  public:
    NotedNotifications(NotificationService& noted, Journal& journal) : noted(noted), journal(journal) {}
    void requestAuthorization(std::uint32_t options, std::function<void(bool granted)> completion) override {
        journal.push_back("ask for notifications " + std::to_string(options));
        noted.requestAuthorization(options, std::move(completion));
    }
    void add(const NotificationRequest& request) override { noted.add(request); }

  private:
    NotificationService& noted;
    Journal& journal;
};

class LaunchOrder : public testing::Test {
  protected:
    LaunchOrder() {
        platform.install();
        auto record = Platform::current();
        record.application = &application;
        record.runLoop = &runLoop;
        record.displays = &displays;
        record.workspace = &workspace;
        record.eventMonitor = &events;
        record.notifications = &notifications;
        Platform::install(record);
    }

    /// Launches the program and notes also when the score is computed.
    void launch() {
        score = AppState::shared().exposureScore.observe([this](std::int64_t) { journal.emplace_back("score"); });
        application.run(delegate);
    }

    SimulatedPlatform platform;
    Journal journal;
    NotedApplication application{platform.application, journal};
    NotedRunLoop runLoop{platform.runLoop, journal};
    NotedDisplays displays{platform.displays, journal};
    NotedWorkspace workspace{platform.workspace, journal};
    NotedEvents events{platform.eventMonitor, journal};
    NotedNotifications notifications{platform.notifications, journal};
    Subscription score;
    AppDelegate delegate;
};

TEST_F(LaunchOrder, OfTheLaunch) {
    platform.settings.setText("activePresetID", "dusk");
    launch();
    EXPECT_EQ(journal, (Journal{"accessory", "table", "every 60 s", "watch applications", "score", "every 300 s",
                                "watch keys", "ask for notifications 6"}));
}

TEST_F(LaunchOrder, OfTheTermination) {
    launch();
    journal.clear();
    application.terminate(0);
    EXPECT_EQ(journal, (Journal{"watch no applications", "end of every 60 s", "calibration", "watch no keys",
                                "end of every 300 s"}));
}

} // namespace
} // namespace nocta
