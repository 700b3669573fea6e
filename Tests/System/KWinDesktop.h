#pragma once

#include "Home.h"
#include "Support/KWin.h"

namespace nocta::test {

/// A person's session on KDE Plasma's compositor: KWin with two screens, its bus, a home.
class KWinDesktop : public Home {
  protected:
    explicit KWinDesktop(KWin::Drawing drawing = KWin::Drawing::simple) : kwin(2, drawing) {}

    KWin kwin;
};

} // namespace nocta::test
