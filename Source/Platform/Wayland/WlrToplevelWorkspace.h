#pragma once

#include "Platform/DesktopFiles/FrontApplication.h"
#include "Platform/RunLoop.h"
#include "Platform/WaylandClient/WaylandClient.h"
#include "Platform/Workspace.h"

#include <cstdint>
#include <filesystem>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct zwlr_foreign_toplevel_handle_v1;
struct zwlr_foreign_toplevel_handle_v1_listener;
struct zwlr_foreign_toplevel_manager_v1;
struct zwlr_foreign_toplevel_manager_v1_listener;

namespace nocta {

/// The application of the window that a Wayland compositor calls the activated one (wlr-foreign-toplevel-management).
/// It is the one whose desktop file bears the window's application id, or names it as the class of its windows; else
/// that id in lower case.
///
/// While nobody observes, nothing wakes it.
class WlrToplevelWorkspace final : public Workspace {
  public:
    /// Connects to the compositor that WAYLAND_DISPLAY names. `loop` outlives it.
    explicit WlrToplevelWorkspace(
        RunLoop& loop, std::vector<std::filesystem::path> desktopFileFolders = DesktopFileIndex::userFolders());
    WlrToplevelWorkspace(const WlrToplevelWorkspace&) = delete;
    WlrToplevelWorkspace& operator=(const WlrToplevelWorkspace&) = delete;
    ~WlrToplevelWorkspace() override;

    [[nodiscard]] bool isAvailable() const override { return manager.has_value(); }
    /// Waits for the compositor when it is the first one: an application that comes to the front afterwards is
    /// reported.
    [[nodiscard]] std::unique_ptr<WorkspaceObserver> addActivationObserver(ActivationHandler handler) override;
    [[nodiscard]] std::optional<RunningApplication> frontmostApplication() const override { return front.get(); }

  private:
    /// What the compositor says of a window is in force with its next "done".
    struct Toplevel {
        struct State {
            std::string applicationId;
            bool isActivated = false;

            bool operator==(const State&) const = default;
        };

        WlrToplevelWorkspace* workspace = nullptr;
        zwlr_foreign_toplevel_handle_v1* handle = nullptr;
        State announced;
        State inForce;
    };
    struct Global {
        std::uint32_t name;
        std::uint32_t version;
    };

    static const zwlr_foreign_toplevel_manager_v1_listener managerListener;
    static const zwlr_foreign_toplevel_handle_v1_listener toplevelListener;

    void begin();
    void stop();
    void done(Toplevel& toplevel);
    void close(Toplevel& toplevel);

    FrontApplication front;
    WaylandClient client;
    std::optional<Global> manager;
    zwlr_foreign_toplevel_manager_v1* bound = nullptr; ///< while somebody observes
    std::list<Toplevel> toplevels;
    bool isBeginning = false; ///< what is in front now is no change
};

} // namespace nocta
