#pragma once

#include "Platform/SystemEvents.h"

#include <utility>
#include <vector>

namespace nocta {

/// What several tell of the machine, to one delegate. Each knows of other causes; of some, two do.
class CombinedSystemEvents final : public SystemEvents {
  public:
    /// The parts outlive this.
    explicit CombinedSystemEvents(std::vector<SystemEvents*> parts) : parts(std::move(parts)) {}

    void setDelegate(SystemEventsDelegate* delegate) override {
        for (auto* part : parts) {
            part->setDelegate(delegate);
        }
    }

  private:
    std::vector<SystemEvents*> parts;
};

} // namespace nocta
