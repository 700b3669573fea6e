#pragma once

#include "Platform/DesktopFiles/FrontApplication.h"
#include "Platform/RunLoop.h"
#include "Platform/Workspace.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

namespace nocta {

/// The application of the window that KWin calls the active one, in a Wayland session of KDE Plasma. KWin tells
/// programs of no windows but their own; so it is given a small script, which calls back over the session bus.
///
/// While nobody observes, there is no script in KWin and nothing wakes this. The script of a Nocta that was killed
/// takes itself out of the way, and the next Nocta's takes its place.
class KWinScriptWorkspace final : public Workspace {
  public:
    /// On the session bus that the environment names. `loop` outlives it.
    explicit KWinScriptWorkspace(
        RunLoop& loop, std::vector<std::filesystem::path> desktopFileFolders = DesktopFileIndex::userFolders());
    KWinScriptWorkspace(const KWinScriptWorkspace&) = delete;
    KWinScriptWorkspace& operator=(const KWinScriptWorkspace&) = delete;
    ~KWinScriptWorkspace() override;

    [[nodiscard]] bool isAvailable() const override { return available; }
    /// Does not wait for KWin: an application that comes to the front before KWin has taken the first one's script,
    /// some milliseconds later, counts as one that was there.
    [[nodiscard]] std::unique_ptr<WorkspaceObserver> addActivationObserver(ActivationHandler handler) override;
    [[nodiscard]] std::optional<RunningApplication> frontmostApplication() const override { return front.get(); }

  private:
    class Script;

    FrontApplication front;
    bool available;
    std::unique_ptr<Script> script; ///< while somebody observes
};

} // namespace nocta
