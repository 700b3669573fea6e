#pragma once

#include "Platform/RunLoop.h"
#include "Platform/Time.h"

#include <functional>
#include <memory>

namespace nocta {

/// A one-shot timer that hands its firing over to the next turn of the run loop. Destroying it takes back also a firing
/// that was handed over and has not run; it may be destroyed inside its own callback. Main thread only.
class HandedOverTimer {
  public:
    /// Seconds from now, as `RunLoop::oneShot` takes them.
    HandedOverTimer(Seconds delay, std::function<void()> callback);

    /// Whether the callback has been called, or is just running.
    [[nodiscard]] bool hasFired() const { return firing->hasRun; }

  private:
    struct Firing {
        std::function<void()> callback;
        bool hasRun = false;
    };

    std::shared_ptr<Firing> firing;
    std::unique_ptr<Timer> timer;
};

} // namespace nocta
