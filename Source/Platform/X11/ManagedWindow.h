#pragma once

#include "Platform/X11/XConnection.h"

#include <span>
#include <string_view>

class QWindow;

namespace nocta {

/// A top-level window of ours where window managers must manage it: on Xwayland only a managed one can have the
/// keyboard while a window of Wayland's has it, since the compositor is the one to give it.

/// To be called before the window is created, and instead of any other flags. The window comes up without taking the
/// keyboard and without a word that it is there: `activate` is the way to the keyboard.
void prepareManaged(QWindow& window);
/// To be called while the window is created and not shown: above others, on every workspace, in no list of windows;
/// and whatever states, of the window managers' names for them, it is to have as well.
void setManagedStates(const XConnection& server, xcb_window_t window, std::span<const std::string_view> more = {});
/// Asks for the keyboard in the user's name. Waits for the server, not for the window manager.
void activate(const XConnection& server, xcb_window_t window);

} // namespace nocta
