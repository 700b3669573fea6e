#pragma once

#include "Platform/DesktopFiles/DesktopFileIndex.h"
#include "Platform/RunLoop.h"
#include "Platform/Workspace.h"
#include "Platform/X11/ClientProcesses.h"
#include "Platform/X11/WindowIdentity.h"
#include "Platform/X11/XClient.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace nocta {

/// The application of the window that an X window manager calls the active one (`_NET_ACTIVE_WINDOW`). It is the one
/// that the window states (`_GTK_APPLICATION_ID`, `_KDE_NET_WM_DESKTOP_FILE`), else that of the sandbox that the window
/// comes from, else what the installed desktop files say of the window's class, else that class.
///
/// Only what changes the active window wakes it; while nobody observes, nothing does. Whatever it asks the server is
/// asked without waiting, and desktop files are read a few at a time.
class EwmhWorkspace final : public Workspace {
  public:
    /// Connects to the server that DISPLAY names. `loop` outlives it.
    explicit EwmhWorkspace(RunLoop& loop,
                           std::vector<std::filesystem::path> desktopFileFolders = DesktopFileIndex::userFolders());

    [[nodiscard]] bool isAvailable() const override { return available; }
    /// Waits for the server when it is the first one: an application that comes to the front afterwards is reported.
    [[nodiscard]] std::unique_ptr<WorkspaceObserver> addActivationObserver(ActivationHandler handler) override;
    [[nodiscard]] std::optional<RunningApplication> frontmostApplication() const override { return front; }

  private:
    /// Empty once the observation has ended.
    using Observation = ActivationHandler;
    class Observer;

    /// Finds out which application is in front.
    struct Search {
        bool isFirst = false;    ///< of an observation: what it finds is no change
        bool isOutdated = false; ///< something changed since it began
        xcb_window_t window = XCB_WINDOW_NONE;
        bool isApplication = true;
        bool isGone = false;
        std::optional<pid_t> process;
        WindowIdentity identity;
    };
    using SearchRef = std::shared_ptr<Search>;

    enum Atom : std::uint8_t {
        activeWindow,
        gtkApplicationId,
        kdeDesktopFile,
        windowType,
        typeDesktop,
        typeDock,
        typeNotification,
        atomCount,
    };

    [[nodiscard]] std::array<xcb_atom_t, atomCount> internedAtoms() const;
    void selectEvents(xcb_window_t window, bool isWanted);
    void handleEvent(const xcb_generic_event_t& event);
    void end(const std::shared_ptr<Observation>& observation);

    [[nodiscard]] xcb_get_property_cookie_t askActiveWindow() const;
    [[nodiscard]] static xcb_window_t activeWindowOf(const XReply<xcb_get_property_reply_t>& reply);

    /// Waits for the server.
    void searchFirst();
    /// Begins a search, or lets the one that is under way be followed by another one.
    void search();
    void askAbout(const SearchRef& search, xcb_window_t window);
    /// Calls `take` with the property's bytes, none where there is no such property; never once the search was given
    /// up.
    void askProperty(const SearchRef& search, xcb_atom_t property, std::function<void(std::string_view value)> take);
    void identify(const SearchRef& search);
    void identifyByClass();
    /// Reads on until they are known, then identifies by class.
    void readDesktopFiles();
    /// Ends the search. Without an application, the last one stays in front.
    void finish(const std::optional<RunningApplication>& application);
    void stopWaitingForName();

    RunLoop& loop;
    DesktopFileIndex desktopFiles;
    std::vector<std::shared_ptr<Observation>> observations;
    std::optional<RunningApplication> front;
    SearchRef current;                       ///< null while none is under way
    xcb_window_t nameless = XCB_WINDOW_NONE; ///< the active window while it has not said yet whose it is
    std::unique_ptr<Timer> nextFiles;
    XClient client;
    ClientProcesses processes;
    bool available;
    std::array<xcb_atom_t, atomCount> atoms;
};

} // namespace nocta
