#pragma once

#include "Platform/SystemEvents.h"

namespace nocta {

/// A machine that sleeps and wakes when a test says so.
class SimulatedSystemEvents final : public SystemEvents {
  public:
    void wake(Seconds asleep) {
        if (delegate != nullptr) {
            delegate->systemDidWake(asleep);
        }
    }
    void setClock() {
        if (delegate != nullptr) {
            delegate->clockDidChange();
        }
    }
    void activateSession() {
        if (delegate != nullptr) {
            delegate->sessionDidBecomeActive();
        }
    }

    void setDelegate(SystemEventsDelegate* newDelegate) override { delegate = newDelegate; }

  private:
    SystemEventsDelegate* delegate = nullptr;
};

} // namespace nocta
