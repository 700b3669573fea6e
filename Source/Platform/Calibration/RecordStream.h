#pragma once

#include "Platform/Calibration/CalibrationRecord.h"

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

namespace nocta {

/// Collects the bytes of a guard's channel into records and keeps the newest whole one.
class RecordStream {
  public:
    void append(std::span<const std::byte> bytes);

    /// Appends what `descriptor` has to read; waits where it has nothing. False at its end.
    bool receive(int descriptor);

    [[nodiscard]] const std::optional<CalibrationRecord>& latest() const { return newest; }

  private:
    std::vector<std::byte> pending;
    std::optional<CalibrationRecord> newest;
    bool isBroken = false;
};

} // namespace nocta
