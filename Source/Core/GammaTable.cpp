#include "Core/GammaTable.h"

#include <cmath>

namespace nocta {

namespace {

/// The place for another transfer curve. A straight ramp keeps the displays' own response.
constexpr double gammaExponent = 1.0;

/// What the channels have in common, so that a frame costs multiplications only and no power function.
const std::array<double, GammaTable::size>& sharedCurve() {
    static const auto curve = [] {
        std::array<double, GammaTable::size> levels{};
        for (std::size_t i = 0; i < levels.size(); ++i) {
            // The level is rounded to single precision before it is widened: tables are compared bit for bit.
            const float level = static_cast<float>(i) / 255.0F;
            levels[i] = std::pow(static_cast<double>(level), gammaExponent);
        }
        return levels;
    }();
    return curve;
}

} // namespace

GammaTable GammaTable::build(double r, double g, double b, double brightness) {
    const auto& curve = sharedCurve();
    GammaTable table;
    for (std::size_t i = 0; i < size; ++i) {
        table.red[i] = static_cast<float>(curve[i] * r * brightness);
        table.green[i] = static_cast<float>(curve[i] * g * brightness);
        table.blue[i] = static_cast<float>(curve[i] * b * brightness);
    }
    return table;
}

} // namespace nocta
