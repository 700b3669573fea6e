#pragma once

#include "Platform/DisplayService.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string_view>
#include <vector>

namespace nocta {

/// Displays that only remember what they were given.
class SimulatedDisplayService final : public DisplayService {
  public:
    struct Load {
        DisplayID display = 0;
        std::vector<float> red;
        std::vector<float> green;
        std::vector<float> blue;
    };

    /// The active displays; a test plugs them in and out here.
    std::vector<DisplayID> displays{1};

    /// Everything loaded into a display so far, in order.
    [[nodiscard]] const std::vector<Load>& loads() const { return recordedLoads; }
    /// What an active display shows, null while that is its own calibration: as of the contract, one that appears has
    /// what was loaded last into any.
    [[nodiscard]] const Load* shown(DisplayID display) const;
    [[nodiscard]] int listCalls() const { return recordedListCalls; }
    [[nodiscard]] int flushes() const { return recordedFlushes; }
    [[nodiscard]] int reloads() const { return recordedReloads; }
    [[nodiscard]] int restores() const { return recordedRestores; }

    [[nodiscard]] bool isAvailable() const override { return true; }
    std::size_t activeDisplays(std::span<DisplayID> buffer) override;
    void load(DisplayID display, std::span<const float> red, std::span<const float> green,
              std::span<const float> blue) override;
    void loadNewcomers(std::span<const float> red, std::span<const float> green, std::span<const float> blue) override;
    void flush() override { ++recordedFlushes; }
    void reload() override { ++recordedReloads; }
    void restoreCalibration() override;
    [[nodiscard]] std::string_view mechanism() const override { return "simulated"; }
    [[nodiscard]] std::vector<DisplayDescription> describe() override;

  private:
    [[nodiscard]] bool isActive(DisplayID display) const;
    /// Those that have appeared keep what they show when newer ones are to show something else.
    void keepNewcomers();

    std::vector<Load> recordedLoads;
    // What is in force, null for a display's own calibration: of each that was active during a load, and of those that
    // appear.
    std::map<DisplayID, std::shared_ptr<const Load>> shownLoads;
    std::shared_ptr<const Load> ofNewcomers;
    int recordedListCalls = 0;
    int recordedFlushes = 0;
    int recordedReloads = 0;
    int recordedRestores = 0;
};

} // namespace nocta
