#include "Platform/KWin/NightTint.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>

namespace nocta {

namespace {

struct Colour {
    double kelvin;
    double green;
    double blue;
};

/// What KWin 5.27 and 6.3 multiply green and blue by; they leave red as it is. KWin goes in straight lines through a
/// colour for every 100 K; those through these come within 17 K of it, and KWin goes in steps of 50 K.
constexpr std::array<Colour, 20> nightColours{
    {{1000, 0.1817, 0.0},    {1100, 0.2550, 0.0},    {1200, 0.3094, 0.0},    {1300, 0.3536, 0.0},
     {1400, 0.3909, 0.0},    {1500, 0.4232, 0.0},    {1700, 0.4768, 0.0},    {1900, 0.5194, 0.0},
     {2000, 0.5436, 0.0868}, {2100, 0.5662, 0.1407}, {2300, 0.6072, 0.2214}, {2500, 0.6437, 0.2882},
     {3000, 0.7198, 0.4286}, {3500, 0.7799, 0.5464}, {4000, 0.8285, 0.6482}, {4500, 0.8686, 0.7369},
     {5000, 0.9020, 0.8147}, {5500, 0.9385, 0.8813}, {6000, 0.9711, 0.9431}, {6500, 1.0, 1.0}}};

double limited(double level) {
    return level > 0.0 ? std::min(level, 1.0) : 0.0;
}

} // namespace

NightTint NightTint::nearest(const White& white) {
    const double red = limited(white.red);
    const double green = limited(white.green);
    const double blue = limited(white.blue);
    const double brightness = std::max({red, green, blue});
    if (brightness == 0.0) {
        return {.kelvin = neutral, .brightness = 0.0};
    }
    // Red counts for nothing: none of the colours has it at less than full intensity.
    double kelvin = neutral;
    double least = std::numeric_limits<double>::infinity();
    for (std::size_t i = 1; i < nightColours.size(); ++i) {
        const auto& from = nightColours[i - 1];
        const auto& to = nightColours[i];
        const double alongGreen = to.green - from.green;
        const double alongBlue = to.blue - from.blue;
        const double offGreen = green / brightness - from.green;
        const double offBlue = blue / brightness - from.blue;
        const double way = std::clamp((offGreen * alongGreen + offBlue * alongBlue) /
                                          (alongGreen * alongGreen + alongBlue * alongBlue),
                                      0.0, 1.0);
        const double distance = std::hypot(offGreen - way * alongGreen, offBlue - way * alongBlue);
        if (distance < least) {
            least = distance;
            kelvin = from.kelvin + way * (to.kelvin - from.kelvin);
        }
    }
    return {.kelvin = static_cast<std::uint32_t>(std::lround(kelvin)), .brightness = brightness};
}

} // namespace nocta
