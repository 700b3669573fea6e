#pragma once

#include "Core/ExpectedFade.h"
#include "Core/FilterEngine.h"
#include "Core/FilterEngineInspector.h"
#include "Core/FreshPlatform.h"
#include "Platform/DisplayService.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <ostream>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace nocta {

/// What reached the displays, and when.
struct ScreenEvent {
    enum class Kind { write, restore };

    Kind kind = Kind::write;
    std::chrono::nanoseconds time{0}; ///< since the start of the timeline
    Factors factors;                  ///< all 1 for a restore
    std::vector<DisplayID> displays;  ///< those loaded, in order

    friend std::ostream& operator<<(std::ostream& stream, const ScreenEvent& event);
};

/// Runs a filter engine through a script on virtual time and compares everything that reached the displays with what
/// should have.
class FilterTimeline {
  public:
    FilterTimeline();

    /// Calls the engine, now.
    void call(const std::function<void(FilterEngine&)>& request);
    void advance(Seconds duration);
    /// From the next write on.
    void plug(std::vector<DisplayID> displays) { screen.connected = std::move(displays); }

    void expectWrite(Seconds time, const Factors& factors, std::vector<DisplayID> displays = {1});
    void expectRestore(Seconds time);
    /// The frames from `first` to `last` of a fade of `frames` frames that starts at `start`.
    void expectFrames(Seconds start, const Factors& from, const Factors& to, std::int64_t frames, std::int64_t first,
                      std::int64_t last, const std::vector<DisplayID>& displays = {1});
    /// All frames of a fade.
    void expectFade(Seconds start, const Factors& from, const Factors& to, std::int64_t frames) {
        expectFrames(start, from, to, frames, 1, frames);
    }

    /// One line for every event that is missing, one too many, or not as expected.
    [[nodiscard]] std::vector<std::string> differences() const;

  private:
    /// Displays that note when they were told what.
    class Screen final : public DisplayService {
      public:
        explicit Screen(const SimulatedRunLoop& loop) : loop(loop) {}

        std::vector<DisplayID> connected{1};
        std::vector<ScreenEvent> events;
        /// The last entry of each channel of the frame that is being loaded.
        std::vector<std::array<float, 3>> whites;

        [[nodiscard]] bool isAvailable() const override { return true; }
        std::size_t activeDisplays(std::span<DisplayID> buffer) override;
        void load(DisplayID display, std::span<const float> red, std::span<const float> green,
                  std::span<const float> blue) override;
        void flush() override;
        void reload() override {}
        void restoreCalibration() override;

      private:
        const SimulatedRunLoop& loop;
        std::vector<DisplayID> loaded;
    };

    /// The engine knows the factors of its last write only after it.
    void completeLastEvent();

    SimulatedPlatform& platform = freshPlatform();
    Screen screen{platform.runLoop};
    std::unique_ptr<FilterEngine> engine = FilterEngineInspector::makeEngine();
    std::size_t completed = 0;
    std::vector<ScreenEvent> expected;
    std::vector<std::string> faults;
};

} // namespace nocta
