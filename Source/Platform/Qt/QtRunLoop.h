#pragma once

#include "Platform/RunLoop.h"

namespace nocta {

/// The event loop of the thread's `QCoreApplication`, which must exist before the first call.
class QtRunLoop final : public RunLoop {
  public:
    std::unique_ptr<Timer> oneShot(Seconds delay, std::function<void()> callback) override;
    std::unique_ptr<Timer> repeating(Seconds interval, TimerPrecision precision,
                                     std::function<void()> callback) override;
    void async(std::function<void()> task) override;
    std::unique_ptr<RunLoopSource> watch(int descriptor, std::function<void()> callback) override;
};

} // namespace nocta
