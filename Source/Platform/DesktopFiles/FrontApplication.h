#pragma once

#include "Platform/DesktopFiles/DesktopFileIndex.h"
#include "Platform/RunLoop.h"
#include "Platform/Workspace.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace nocta {

/// The names that a window bears; each may be empty.
struct WindowNames {
    std::string application; ///< that the program states: the name of its desktop file, more or less
    std::string instance;    ///< of its class
    std::string className;

    bool operator==(const WindowNames&) const = default;
};

/// The application in front and those who observe it, for a workspace that is told the names of windows. The
/// application is the one whose desktop file bears the stated name, or a name of the class, or says that its windows
/// are of that class; else the stated name, or that of the class, in lower case.
///
/// Desktop files are read a few at a time.
class FrontApplication {
  public:
    struct Handlers {
        std::function<void()> onFirstObserver; ///< from within `addObserver`
        std::function<void()> onLastObserver;  ///< has gone; from within its destruction
    };

    /// `loop` outlives it.
    FrontApplication(RunLoop& loop, std::vector<std::filesystem::path> desktopFileFolders, Handlers handlers);

    /// As `Workspace::addActivationObserver`. The observer does not outlive this.
    [[nodiscard]] std::unique_ptr<WorkspaceObserver> addObserver(Workspace::ActivationHandler handler);
    /// The window of those names has come to the front; where that is no news, it is known and not reported. While
    /// nobody observes, this does nothing.
    void cameToFront(WindowNames names, bool isNews);
    [[nodiscard]] const std::optional<RunningApplication>& get() const { return front; }

  private:
    /// Empty once the observation has ended.
    using Observation = Workspace::ActivationHandler;
    class Observer;

    struct Search {
        WindowNames names;
        bool isNews;
    };

    void end(const std::shared_ptr<Observation>& observation);
    /// Reads on until the desktop files are known, then names the application.
    void search();
    void finish();
    [[nodiscard]] RunningApplication named(const WindowNames& names) const;

    RunLoop& loop;
    DesktopFileIndex desktopFiles;
    Handlers handlers;
    std::vector<std::shared_ptr<Observation>> observations;
    std::optional<RunningApplication> front;
    std::optional<Search> current;
    std::optional<Search> following;
    std::unique_ptr<Timer> nextFiles;
};

} // namespace nocta
