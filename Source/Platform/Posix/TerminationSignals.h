#pragma once

#include "Platform/RunLoop.h"

#include <functional>
#include <memory>

namespace nocta {

/// Turns SIGTERM, SIGINT and SIGHUP into a call from the run loop. At most one lives at a time.
class TerminationSignals {
  public:
    /// `loop` outlives this.
    TerminationSignals(RunLoop& loop, std::function<void()> onSignal);
    TerminationSignals(const TerminationSignals&) = delete;
    TerminationSignals& operator=(const TerminationSignals&) = delete;
    ~TerminationSignals();

  private:
    int descriptor = -1;
    std::unique_ptr<RunLoopSource> watch;
};

} // namespace nocta
