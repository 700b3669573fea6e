#pragma once

#include "Support/KWin.h"
#include "WaylandHome.h"

namespace nocta::test {

/// A person's session on KDE Plasma's compositor: KWin with two screens, its bus, a home.
class KWinDesktop : public WaylandHome {
  protected:
    explicit KWinDesktop(KWin::Drawing drawing = KWin::Drawing::simple) : kwin(2, drawing) {}

    KWin kwin;
};

} // namespace nocta::test
