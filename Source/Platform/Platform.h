#pragma once

namespace nocta {

class Appearance;
class Application;
class Calendar;
class Clock;
class DisplayService;
class EventMonitor;
class LocationService;
class NotificationService;
class PopoverHost;
class RunLoop;
class SettingsStore;
class StatusBar;
class SystemEvents;
class WindowHost;
class Workspace;

/// Who answers for the world in this process. `main`, or a test, installs one record before the first use of any shared
/// instance; it and what it points to outlive them all. Nothing else in the program is global.
struct Platform {
    Application* application = nullptr;
    RunLoop* runLoop = nullptr;
    Clock* clock = nullptr;
    Calendar* calendar = nullptr;
    SettingsStore* settings = nullptr;
    DisplayService* displays = nullptr;
    LocationService* location = nullptr;
    SystemEvents* systemEvents = nullptr;
    Workspace* workspace = nullptr;
    EventMonitor* eventMonitor = nullptr;
    NotificationService* notifications = nullptr;
    WindowHost* windows = nullptr;
    StatusBar* statusBar = nullptr;
    PopoverHost* popovers = nullptr;
    Appearance* appearance = nullptr;

    static void install(const Platform& platform) { installed = platform; }
    [[nodiscard]] static const Platform& current() { return installed; }

  private:
    static Platform installed;
};

inline Platform Platform::installed;

} // namespace nocta
