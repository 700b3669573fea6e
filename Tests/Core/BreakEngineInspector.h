#pragma once

#include "Core/BreakEngine.h"

#include <cstddef>
#include <memory>

namespace nocta {

/// Sees what a break engine keeps to itself.
class BreakEngineInspector {
  public:
    explicit BreakEngineInspector(BreakEngine& engine) : engine(engine) {}

    /// An engine besides the shared one.
    static std::unique_ptr<BreakEngine> makeEngine() { return std::unique_ptr<BreakEngine>(new BreakEngine); }

    [[nodiscard]] bool hasWorkTimer() const { return engine.workTimer != nullptr; }
    [[nodiscard]] bool hasBreakTimer() const { return engine.breakTimer != nullptr; }
    [[nodiscard]] bool hasOverlay() const { return engine.overlay != nullptr; }
    [[nodiscard]] std::size_t orphanedTimers() const { return engine.orphanedTimers.size(); }
    [[nodiscard]] Instant startTime() const { return engine.startTime; }
    void triggerBreak() { engine.triggerBreak(); }

  private:
    BreakEngine& engine;
};

} // namespace nocta
