#pragma once

namespace nocta {

/// How the desktop presents the program.
enum class ActivationPolicy {
    regular,   ///< windows of its own in task bars and switchers; ends with its last window
    accessory, ///< an item in the panel only; lives until it is told to quit
};

/// Is told of the two ends of the program's life, each once, and of what the desktop asks of the program in between.
class ApplicationDelegate {
  public:
    ApplicationDelegate() = default;
    ApplicationDelegate(const ApplicationDelegate&) = delete;
    ApplicationDelegate& operator=(const ApplicationDelegate&) = delete;
    virtual ~ApplicationDelegate() = default;

    virtual void applicationDidFinishLaunching() = 0;
    virtual void applicationWillTerminate() = 0;

    /// The program was started once more, or its icon chosen, while it runs. Returns whether that was dealt with.
    virtual bool applicationShouldHandleReopen(bool /*hasVisibleWindows*/) { return false; }
};

/// The application object: its event loop, and the one way to end. Main thread only.
class Application {
  public:
    Application() = default;
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;
    virtual ~Application() = default;

    virtual void setActivationPolicy(ActivationPolicy policy) = 0;

    /// Runs the event loop until `terminate`. `delegate` outlives the call.
    virtual void run(ApplicationDelegate& delegate) = 0;

    /// Ends the program: the delegate is told, then `run` returns. Quit, signals and the end of the session all come
    /// here; a second call changes nothing.
    virtual void terminate() = 0;
};

} // namespace nocta
