#include "App/AppDelegate.h"
#include "Core/AppState.h"
#include "Platform/NotificationService.h"
#include "Platform/Simulated/SimulatedPlatform.h"

#include <cmath>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
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
    void run(ApplicationDelegate& delegate) override { noted.run(delegate); }
    void terminate() override { noted.terminate(); }

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
        const std::string line = kind + " " + std::to_string(std::lround(interval.count() * 1000)) + " ms";
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
        journal.emplace_back("watch clicks");
        return std::make_unique<NotedEnd<EventMonitorToken>>(noted.addGlobalMouseDownMonitor(std::move(handler)),
                                                             journal, "watch no clicks");
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

class NotedStatusBar final : public StatusBar {
  public:
    NotedStatusBar(StatusBar& noted, Journal& journal) : noted(noted), journal(journal) {}
    [[nodiscard]] std::unique_ptr<StatusItem> makeStatusItem() override {
        journal.emplace_back("item");
        return noted.makeStatusItem();
    }

  private:
    StatusBar& noted;
    Journal& journal;
};

class NotedPopovers final : public PopoverHost {
  public:
    NotedPopovers(SimulatedPopoverHost& noted, Journal& journal) : noted(noted), journal(journal) {}
    [[nodiscard]] std::unique_ptr<Popover> makePopover(const PopoverStyle& style) override {
        journal.emplace_back("popover");
        return std::make_unique<NotedPopover>(noted.makePopover(style), journal);
    }

  private:
    class NotedPopover final : public Popover {
      public:
        NotedPopover(std::unique_ptr<Popover> noted, Journal& journal) : noted(std::move(noted)), journal(journal) {}
        [[nodiscard]] bool isShown() const override { return noted->isShown(); }
        void show(const std::optional<Rectangle>& anchor, Edge preferredEdge) override {
            journal.emplace_back("show popover");
            noted->show(anchor, preferredEdge);
        }
        void makeKey() override { noted->makeKey(); }
        void performClose() override { noted->performClose(); }

      private:
        std::unique_ptr<Popover> noted;
        Journal& journal;
    };

    SimulatedPopoverHost& noted;
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
        record.statusBar = &statusBar;
        record.popovers = &popovers;
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
    NotedStatusBar statusBar{platform.statusBar, journal};
    NotedPopovers popovers{platform.popovers, journal};
    Subscription score;
    AppDelegate delegate;
};

TEST_F(LaunchOrder, OfTheLaunch) {
    platform.settings.setText("activePresetID", "dusk");
    platform.settings.setBoolean("breaksEnabled", true);
    platform.settings.setInteger("breakIntervalMinutes", 45);
    launch();
    EXPECT_EQ(journal,
              (Journal{"accessory", "item", "popover", "every 60000 ms", "watch clicks", // the status bar
                       "table",                                                          // the filter
                       "every 60000 ms",                                                 // the schedule
                       "watch applications",                                             // profiles
                       "once after 2700000 ms",                                          // breaks
                       "score", "every 300000 ms", "watch keys", "ask for notifications 6", "once after 350 ms"}));
    journal.clear();
    platform.advance(Seconds(0.34));
    EXPECT_EQ(journal, Journal{});
    platform.advance(Seconds(0.01));
    EXPECT_EQ(journal, Journal{"show popover"});
}

TEST_F(LaunchOrder, OfTheTermination) {
    platform.settings.setBoolean("breaksEnabled", true);
    platform.settings.setInteger("breakIntervalMinutes", 45);
    launch();
    journal.clear();
    application.terminate();
    EXPECT_EQ(journal, (Journal{"watch no applications", "end of every 60000 ms", "end of once after 2700000 ms",
                                "calibration", "end of once after 350 ms", "watch no keys", "end of every 300000 ms",
                                "end of every 60000 ms", "watch no clicks"}));
}

} // namespace
} // namespace nocta
