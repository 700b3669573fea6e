#pragma once

#include "Platform/X11/XConnection.h"

#include <cstdint>
#include <vector>

namespace nocta {

/// The place of one top-level window of ours, which no window manager manages, among the others of an X server: above
/// all of them, but below a screen locker.
///
/// A locker cannot be asked for. It is known by this: it covers the whole of our window, no window manager manages it,
/// and it has grabbed the keyboard, though some grab only after they are on the screen. So whoever of that kind comes
/// above us later is left there; one that was there before is a locker if the keyboard is grabbed.
class OverlayStacking {
  public:
    /// `server` outlives this. `window` is a child of the root window.
    OverlayStacking(const XConnection& server, xcb_window_t window);

    /// Puts the window where it belongs among all that are there.
    void arrange();
    /// Puts it above those that have come above it and do not belong there; whether there were any.
    bool restore();
    /// Whether a locker was above it at the last look.
    [[nodiscard]] bool isBelowLocker() const { return belowLocker; }

  private:
    struct Frame {
        int left = 0;
        int top = 0;
        int right = 0;
        int bottom = 0;
    };

    struct Sibling {
        xcb_window_t id = XCB_WINDOW_NONE;
        bool isOverrideRedirect = false;
        Frame frame;
    };

    /// The windows on the screen that overlap ours, bottom first: only those above it, or all.
    [[nodiscard]] std::vector<Sibling> overlapping(bool onlyAbove) const;
    [[nodiscard]] Frame ownFrame() const;
    [[nodiscard]] bool mayBeLocker(const Sibling& sibling) const;
    /// Whether a window manager has taken care of that window or of one in it.
    [[nodiscard]] bool isManaged(xcb_window_t candidate, int depth) const;
    [[nodiscard]] bool isKeyboardGrabbed() const;
    void place(std::uint32_t mode, xcb_window_t sibling) const;

    const XConnection& server;
    xcb_window_t window;
    xcb_atom_t managedState; ///< WM_STATE, which window managers put on what they manage
    bool belowLocker = false;
};

} // namespace nocta
