#pragma once

#include "Core/GammaTable.h"
#include "Platform/DisplayService.h"
#include "Platform/RunLoop.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace nocta {

/// The one way to the screen: turns a colour temperature and a brightness into the tables of every active display, at
/// once or in an eased fade from what is on the screen. Main thread only; display errors are ignored.
class FilterEngine {
  public:
    /// Created on first use, never destroyed.
    static FilterEngine& shared();

    /// Switches the filter, with a fade of 1.5 s to the user's effective values or to neutral. Switching off does not
    /// give back the calibration.
    void setEnabled(bool enabled);

    /// For a program that starts with the filter off: from now on as after `setEnabled(false)`, but nothing of ours is
    /// on the screen yet, so nothing fades and no table is written.
    void beginDisabled() { isEnabled = false; }

    /// Fades from what is on the screen to `temp` kelvin and the factor `brightness` over `transitionSecs` seconds;
    /// zero or less changes at once. While the filter is off only the neutral request (6500 K, full brightness) passes.
    /// A request for what is on the screen, or is already being approached, changes nothing. `fatalError` for a
    /// duration that is no finite number or whose frames exceed 64 bits.
    void apply(std::int64_t temp, double brightness, double transitionSecs);

    /// As `apply`, without a fade.
    void applyImmediate(std::int64_t temp, double brightness);

    /// As `applyImmediate`, for a slider that moves.
    void applyInteractive(std::int64_t temp, double brightness);

    /// Ends a fade where it is and gives every display its own calibration back. `isEnabled` stays.
    void resetAllDisplays();

  private:
    friend class FilterEngineInspector;

    FilterEngine() = default;

    void applyRamp(double toR, double toG, double toB, double toBri, double duration);
    void animate(double fromR, double fromG, double fromB, double fromBri, double toR, double toG, double toB,
                 double toBri, double duration);
    static double easeInOut(double t);
    static bool valuesMatch(double aR, double aG, double aB, double aBri, double bR, double bG, double bB, double bBri);
    void clearPendingTarget();
    void writeGamma(double r, double g, double b, double brightness);
    [[nodiscard]] static std::vector<DisplayID> activeDisplays();

    std::unique_ptr<Timer> animationTimer;
    bool isEnabled = true;
    // The factors last written to the displays, or 1 each after a reset.
    double currentR = 1.0;
    double currentG = 1.0;
    double currentB = 1.0;
    double currentBri = 1.0;
    // The factors being approached: all four or none.
    std::optional<double> pendingTargetR;
    std::optional<double> pendingTargetG;
    std::optional<double> pendingTargetB;
    std::optional<double> pendingTargetBri;

    static constexpr double animationFPS = 30.0;
    static constexpr double valueEpsilon = 0.002;
};

} // namespace nocta
