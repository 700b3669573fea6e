#pragma once

#include "Platform/RunLoop.h"
#include "Platform/SuspendMeter.h"
#include "Platform/SystemEvents.h"

#include <memory>

namespace nocta {

/// What the kernel tells: that the wall clock was set and, since a resume sets it too, that the machine was suspended.
/// While nothing happens it costs no wake-up.
class KernelSystemEvents final : public SystemEvents {
  public:
    /// `loop` outlives this.
    explicit KernelSystemEvents(RunLoop& loop);
    KernelSystemEvents(const KernelSystemEvents&) = delete;
    KernelSystemEvents& operator=(const KernelSystemEvents&) = delete;
    ~KernelSystemEvents() override;

    void setDelegate(SystemEventsDelegate* newDelegate) override { delegate = newDelegate; }

  private:
    void arm() const;
    void timerDidCancel();

    SystemEventsDelegate* delegate = nullptr;
    SuspendMeter suspendMeter;
    int descriptor = -1;
    std::unique_ptr<RunLoopSource> watch;
};

} // namespace nocta
