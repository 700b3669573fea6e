#pragma once

#include "Platform/Workspace.h"

#include <memory>
#include <string>
#include <vector>

namespace nocta {

/// Switches the filter to an application's preset while that application is in front, and back when another one comes.
/// Only the filter: no setting changes. Main thread only.
class AppWatcher {
  public:
    /// Created on first use, never destroyed.
    static AppWatcher& shared();

    /// Reacts from now on to applications that come to the front; to none where nobody tells which one is there.
    void start();
    /// Ends the reactions. The last application counts as handled also after another `start`.
    void stop();

  private:
    friend class AppWatcherInspector;

    AppWatcher() = default;

    /// Applies the preset of that application's profile; without one, the active preset. Not the effective values:
    /// while custom ones are in force this is Natural.
    void applicationActivated(const std::string& bundleID);

    std::unique_ptr<WorkspaceObserver> observer;
    /// Observers of a `start` that another `start` followed: they stay, also after `stop`.
    std::vector<std::unique_ptr<WorkspaceObserver>> orphanedObservers;
    /// The application handled last, also where the filter was off.
    std::string lastBundleID;
};

} // namespace nocta
