#include "Core/ExposureScore.h"

#include "Core/CheckedArithmetic.h"

#include <algorithm>

namespace nocta {

namespace {

/// Points lost where every break was skipped.
constexpr double skipPenalty = 20.0;

std::int64_t baseScore(bool filterEnabled, std::int64_t effectiveTemp) {
    if (!filterEnabled) {
        return 60;
    }
    if (effectiveTemp >= 5001) {
        return 80;
    }
    if (effectiveTemp >= 4001) {
        return 90;
    }
    if (effectiveTemp >= 3001) {
        return 95;
    }
    return 100;
}

} // namespace

std::int64_t exposureScore(bool filterEnabled, std::int64_t effectiveTemp, std::int64_t breaksTaken,
                           std::int64_t breaksSkipped) {
    std::int64_t score = baseScore(filterEnabled, effectiveTemp);
    const std::int64_t total = checkedAdd(breaksTaken, breaksSkipped);
    if (total > 0) {
        const double skipRate = static_cast<double>(breaksSkipped) / static_cast<double>(total);
        score = checkedSubtract(score, checkedInteger(skipRate * skipPenalty));
    }
    return std::clamp<std::int64_t>(score, 0, 100);
}

} // namespace nocta
