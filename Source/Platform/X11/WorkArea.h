#pragma once

#include "Platform/PopoverSurface.h"
#include "Platform/X11/XConnection.h"

namespace nocta {

/// What the panels leave free of a screen of the desktop.
struct WorkArea {
    Rectangle area;
    /// Where the panel is that takes the most; the top where there is none.
    Side panelSide = Side::top;
};

/// Asks the server which windows reserve an edge of `monitor`, in device pixels of the whole desktop. The desktop's own
/// answer, _NET_WORKAREA, is one rectangle for all monitors together; _GTK_WORKAREAS_D0 and the like, which GNOME has,
/// count as well. Waits for the server.
[[nodiscard]] WorkArea workArea(const XConnection& server, const Rectangle& monitor);

} // namespace nocta
