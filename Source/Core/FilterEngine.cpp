#include "Core/FilterEngine.h"

#include "Core/AppState.h"
#include "Core/CheckedArithmetic.h"
#include "Core/ColorTemperature.h"
#include "Platform/Platform.h"

#include <algorithm>
#include <cmath>

namespace nocta {

namespace {

/// Seconds of the fade that the filter's switch causes.
constexpr double switchTransitionSecs = 1.5;

bool isNeutral(std::int64_t temp, double brightness) {
    return temp == neutralTemperature && brightness >= 1.0;
}

} // namespace

FilterEngine& FilterEngine::shared() {
    static FilterEngine& instance = *new FilterEngine;
    return instance;
}

void FilterEngine::setEnabled(bool enabled) {
    isEnabled = enabled;
    if (enabled) {
        const auto& state = AppState::shared();
        apply(state.effectiveTemp(), state.effectiveBrightness(), switchTransitionSecs);
    } else {
        apply(neutralTemperature, 1.0, switchTransitionSecs);
    }
}

void FilterEngine::apply(std::int64_t temp, double brightness, double transitionSecs) {
    if (!isEnabled && !isNeutral(temp, brightness)) {
        return;
    }
    const auto [r, g, b] = kelvinToRGB(temp);
    applyRamp(r, g, b, brightness, transitionSecs);
}

void FilterEngine::applyImmediate(std::int64_t temp, double brightness) {
    apply(temp, brightness, 0.0);
}

void FilterEngine::applyInteractive(std::int64_t temp, double brightness) {
    applyImmediate(temp, brightness);
}

void FilterEngine::resetAllDisplays() {
    animationTimer.reset();
    clearPendingTarget();
    Platform::current().displays->restoreCalibration();
    currentR = 1.0;
    currentG = 1.0;
    currentB = 1.0;
    currentBri = 1.0;
}

void FilterEngine::applyRamp(double toR, double toG, double toB, double toBri, double duration) {
    if (valuesMatch(currentR, currentG, currentB, currentBri, toR, toG, toB, toBri)) {
        return;
    }
    const bool isPending = pendingTargetR && pendingTargetG && pendingTargetB && pendingTargetBri;
    if (isPending && animationTimer &&
        valuesMatch(*pendingTargetR, *pendingTargetG, *pendingTargetB, *pendingTargetBri, toR, toG, toB, toBri)) {
        return;
    }
    pendingTargetR = toR;
    pendingTargetG = toG;
    pendingTargetB = toB;
    pendingTargetBri = toBri;
    if (duration <= 0) {
        animationTimer.reset();
        writeGamma(toR, toG, toB, toBri);
        clearPendingTarget();
    } else {
        animate(currentR, currentG, currentB, currentBri, toR, toG, toB, toBri, duration);
    }
}

void FilterEngine::animate(double fromR, double fromG, double fromB, double fromBri, double toR, double toG, double toB,
                           double toBri, double duration) {
    animationTimer.reset();
    const std::int64_t totalFrames = std::max<std::int64_t>(1, checkedInteger(duration * animationFPS));
    auto drawFrame = [=, this, frameCounter = std::int64_t{0}]() mutable {
        frameCounter = checkedAdd<std::int64_t>(frameCounter, 1);
        const double p = easeInOut(static_cast<double>(frameCounter) / static_cast<double>(totalFrames));
        const bool isLast = frameCounter >= totalFrames;
        // from + (to - from) * p, but never beyond the ends and exactly the target at p = 1 whatever the rounding.
        writeGamma(std::lerp(fromR, toR, p), std::lerp(fromG, toG, p), std::lerp(fromB, toB, p),
                   std::lerp(fromBri, toBri, p));
        if (isLast) {
            clearPendingTarget();
            animationTimer.reset(); // ends the life of this function object: nothing of it may be used after
        }
    };
    animationTimer = Platform::current().runLoop->repeating(Seconds(1.0 / animationFPS), TimerPrecision::frame,
                                                            std::move(drawFrame));
}

double FilterEngine::easeInOut(double t) {
    return t < 0.5 ? 2 * t * t : -1 + (4 - 2 * t) * t;
}

bool FilterEngine::valuesMatch(double aR, double aG, double aB, double aBri, double bR, double bG, double bB,
                               double bBri) {
    const auto match = [](double a, double b) { return std::abs(a - b) < valueEpsilon; };
    return match(aR, bR) && match(aG, bG) && match(aB, bB) && match(aBri, bBri);
}

void FilterEngine::clearPendingTarget() {
    pendingTargetR.reset();
    pendingTargetG.reset();
    pendingTargetB.reset();
    pendingTargetBri.reset();
}

void FilterEngine::writeGamma(double r, double g, double b, double brightness) {
    const GammaTable table = GammaTable::build(r, g, b, brightness);
    auto& displays = *Platform::current().displays;
    const auto active = activeDisplays();
    for (const DisplayID display : active) {
        displays.load(display, table.red, table.green, table.blue);
    }
    // A filter changed while the screen is away is the one it comes back with.
    if (active.empty()) {
        displays.loadNewcomers(table.red, table.green, table.blue);
    }
    displays.flush();
    currentR = r;
    currentG = g;
    currentB = b;
    currentBri = brightness;
}

std::vector<DisplayID> FilterEngine::activeDisplays() {
    auto& service = *Platform::current().displays;
    std::vector<DisplayID> displays(service.activeDisplays({}));
    service.activeDisplays(displays);
    return displays;
}

} // namespace nocta
