#pragma once

#include "Platform/X11/XConnection.h"

#include <cstdint>
#include <optional>
#include <string>

namespace nocta::test {

/// The windows of the X server that DISPLAY names, as another client of this process sees and changes them: what a
/// window manager, a pager or the programs themselves do.
class DrivenWindows {
  public:
    /// The window whose class is this, once it is shown.
    [[nodiscard]] std::optional<xcb_window_t> find(const std::string& className) const;
    /// The same, when it may take a while. Throws where it does not come.
    [[nodiscard]] xcb_window_t await(const std::string& className) const;
    /// Waits until a window manager is there. Throws where none comes.
    void awaitManager() const;

    /// A window of this process, shown at the top left, which the window manager leaves alone.
    [[nodiscard]] xcb_window_t createPopup() const { return create(true); }
    /// A window of this process in the frame of the window manager. Throws where it gets none.
    [[nodiscard]] xcb_window_t createFramed() const;
    void destroy(xcb_window_t window) const;

    /// Asks the window manager to bring the window to the front, as a pager does.
    void activate(xcb_window_t window) const;
    /// Says which window is the active one, as a window manager does.
    void setActive(xcb_window_t window) const;
    [[nodiscard]] xcb_window_t active() const;
    void focus(xcb_window_t window) const;

    void setText(xcb_window_t window, const std::string& property, const std::string& text) const;
    void setAtom(xcb_window_t window, const std::string& property, const std::string& value) const;
    void remove(xcb_window_t window, const std::string& property) const;

    [[nodiscard]] const XConnection& server() const { return connection; }

  private:
    [[nodiscard]] bool isFramed(xcb_window_t window) const;
    [[nodiscard]] bool isShown(xcb_window_t window) const;
    [[nodiscard]] xcb_window_t create(bool overridesManager) const;
    [[nodiscard]] std::optional<xcb_window_t> find(xcb_window_t parent, const std::string& className) const;
    [[nodiscard]] xcb_window_t windowProperty(xcb_window_t window, const std::string& property) const;

    XConnection connection;
};

} // namespace nocta::test
