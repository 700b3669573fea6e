#pragma once

#include "Platform/X11/XConnection.h"

#include <vector>

namespace nocta {

/// The keyboard's focus of an X server, taken to one window of ours and given back to the window that had it.
class KeyboardKeeper {
  public:
    /// Who lets a window have the keyboard.
    enum class Giver {
        server,
        windowManager, ///< of a managed window; it also finds another one for it afterwards
    };

    /// `server` outlives this.
    KeyboardKeeper(const XConnection& server, xcb_window_t window, Giver giver = Giver::server);
    KeyboardKeeper(const KeyboardKeeper&) = delete;
    KeyboardKeeper& operator=(const KeyboardKeeper&) = delete;
    ~KeyboardKeeper();

    /// Takes the focus, or asks for it, unless the window has it; whether it had to. The window must be viewable.
    bool take();
    /// Gives the focus, if the window still has it, to another window of ours that is on the screen and has asked for
    /// it; else to the window that had it first, or where that is not on the screen any more, to whichever has asked
    /// for it last. Where it was taken from another window of ours, which may end first, those that one would give it
    /// to count as well.
    void giveBack();

  private:
    void remember(xcb_window_t owner);
    [[nodiscard]] xcb_window_t focused() const;
    [[nodiscard]] bool isViewable(xcb_window_t other) const;

    const XConnection& server;
    xcb_window_t window;
    Giver giver;
    std::vector<xcb_window_t> owners; ///< from whom it was taken, in that order, each once
};

} // namespace nocta
