#pragma once

#include "Platform/SystemEvents.h"

#include <vector>

namespace nocta::test {

/// What was told of the machine.
class RecordedSystemEvents final : public SystemEventsDelegate {
  public:
    void systemDidWake(Seconds asleep) override { wakes.push_back(asleep); }
    void clockDidChange() override { ++clockChanges; }
    void sessionDidBecomeActive() override { ++activations; }

    std::vector<Seconds> wakes;
    int clockChanges = 0;
    int activations = 0;
};

} // namespace nocta::test
