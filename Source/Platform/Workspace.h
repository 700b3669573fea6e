#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace nocta {

/// An application that came to the front.
struct RunningApplication {
    /// The id of its desktop file, without ".desktop" ("org.mozilla.firefox"); where it has none, the class of its
    /// window in lower case; absent where it names neither.
    std::optional<std::string> bundleIdentifier;

    bool operator==(const RunningApplication&) const = default;
};

/// Ends the observation when it is destroyed.
class WorkspaceObserver {
  public:
    WorkspaceObserver() = default;
    WorkspaceObserver(const WorkspaceObserver&) = delete;
    WorkspaceObserver& operator=(const WorkspaceObserver&) = delete;
    virtual ~WorkspaceObserver() = default;
};

/// Which application is in front. Main thread only. The desktop itself, panels and Nocta's own windows are no
/// application: nothing is reported when they come to the front.
class Workspace {
  public:
    using ActivationHandler = std::function<void(const RunningApplication&)>;

    Workspace() = default;
    Workspace(const Workspace&) = delete;
    Workspace& operator=(const Workspace&) = delete;
    virtual ~Workspace() = default;

    /// Whether this session tells which application is in front.
    [[nodiscard]] virtual bool isAvailable() const = 0;

    /// Calls `handler` from the run loop whenever an application comes to the front. The one that is there when the
    /// observation begins is not reported: the filter that a launch puts on the screen stays until the user turns to
    /// another application. The observer may be destroyed inside its own handler, and outlives no service.
    [[nodiscard]] virtual std::unique_ptr<WorkspaceObserver> addActivationObserver(ActivationHandler handler) = 0;

    /// The application in front; absent while none has been there.
    [[nodiscard]] virtual std::optional<RunningApplication> frontmostApplication() const = 0;
};

} // namespace nocta
