#pragma once

#include "Core/AppWatcher.h"

#include <memory>

namespace nocta {

/// Makes watchers besides the shared one.
class AppWatcherInspector {
  public:
    static std::unique_ptr<AppWatcher> makeWatcher() { return std::unique_ptr<AppWatcher>(new AppWatcher); }
};

} // namespace nocta
