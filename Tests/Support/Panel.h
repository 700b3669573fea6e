#pragma once

#include "Support/Process.h"
#include "Support/TemporaryFolder.h"

#include <memory>
#include <string>
#include <vector>

namespace nocta::test {

enum class PanelKind {
    xfce,        ///< xfce4-panel: at the top, light; a watcher of status notifier items
    lxqt,        ///< lxqt-panel: at the bottom, light; a watcher
    tint2,       ///< at the bottom, dark; a tray for windows, no watcher
    waybar,      ///< at the top, dark; a watcher, for Wayland compositors
    waybarBelow, ///< the same, at the bottom
};

/// A desktop's panel with room for status items and nothing else, on the display and the bus that the environment
/// names.
class Panel {
  public:
    explicit Panel(PanelKind kind);
    Panel(const Panel&) = delete;
    Panel& operator=(const Panel&) = delete;
    ~Panel();

    /// Whether it comes to show items. Some panels start slowly, and overlook an item that comes between their watcher
    /// and their host.
    [[nodiscard]] bool hasHost() const;
    /// Ends it as a crash does.
    void kill();
    void start();

  private:
    void writeConfiguration() const;

    PanelKind kind;
    TemporaryFolder folder;
    Process::Environment environment;
    /// What xfce4-panel's configuration is served by.
    std::unique_ptr<Process> settings;
    std::unique_ptr<Process> panel;
};

} // namespace nocta::test
