#pragma once

#include "Platform/DisplayService.h"

namespace nocta {

/// Serves a session that lets no program change its displays' colours: everything but the filter works there.
class NoDisplayService final : public DisplayService {
  public:
    [[nodiscard]] bool isAvailable() const override { return false; }
    std::size_t activeDisplays(std::span<DisplayID> /*buffer*/) override { return 0; }
    void load(DisplayID /*display*/, std::span<const float> /*red*/, std::span<const float> /*green*/,
              std::span<const float> /*blue*/) override {}
    void flush() override {}
    void reload() override {}
    void restoreCalibration() override {}
};

} // namespace nocta
