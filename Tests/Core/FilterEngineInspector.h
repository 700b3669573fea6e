#pragma once

#include "Core/FilterEngine.h"

#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <ostream>
#include <stdexcept>

namespace nocta {

/// The four numbers that a write turns into tables.
struct Factors {
    double r = 1.0;
    double g = 1.0;
    double b = 1.0;
    double brightness = 1.0;

    bool operator==(const Factors&) const = default;

    [[nodiscard]] std::array<double, 4> values() const { return {r, g, b, brightness}; }

    friend std::ostream& operator<<(std::ostream& stream, const Factors& factors) {
        return stream << '(' << factors.r << ", " << factors.g << ", " << factors.b << ", " << factors.brightness
                      << ')';
    }
};

/// What an engine starts with.
inline constexpr Factors untouched{1.0, 1.0, 1.0, 1.0};

/// Sees what a filter engine keeps to itself.
class FilterEngineInspector {
  public:
    explicit FilterEngineInspector(const FilterEngine& engine) : engine(engine) {}

    /// An engine besides the shared one.
    static std::unique_ptr<FilterEngine> makeEngine() { return std::unique_ptr<FilterEngine>(new FilterEngine); }

    [[nodiscard]] bool isEnabled() const { return engine.isEnabled; }
    [[nodiscard]] bool hasTimer() const { return engine.animationTimer != nullptr; }
    [[nodiscard]] Factors current() const {
        return {engine.currentR, engine.currentG, engine.currentB, engine.currentBri};
    }

    /// The target being approached. Throws where only some of the four are set.
    [[nodiscard]] std::optional<Factors> pending() const {
        const auto isSet = engine.pendingTargetR.has_value();
        if (engine.pendingTargetG.has_value() != isSet || engine.pendingTargetB.has_value() != isSet ||
            engine.pendingTargetBri.has_value() != isSet) {
            throw std::logic_error("some pending targets are set and some are not");
        }
        if (!isSet) {
            return std::nullopt;
        }
        return Factors{*engine.pendingTargetR, *engine.pendingTargetG, *engine.pendingTargetB,
                       *engine.pendingTargetBri};
    }

  private:
    const FilterEngine& engine;
};

} // namespace nocta
