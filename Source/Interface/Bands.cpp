#include "Interface/Bands.h"

#include <array>

namespace nocta {

namespace {

/// What holds from `lowest` up to the band before it.
template <class Value>
struct Band {
    std::int64_t lowest;
    Value value;
};

template <class Value, std::size_t size>
const Value& firstMatch(std::int64_t number, const std::array<Band<Value>, size>& bands, const Value& below) {
    for (const auto& band : bands) {
        if (number >= band.lowest) {
            return band.value;
        }
    }
    return below;
}

using enum SystemColor;

constexpr SystemColor lowest = red;
constexpr std::array<Band<SystemColor>, 3> warmBands{{{5500, blue}, {4000, yellow}, {2700, orange}}};
constexpr std::array<Band<SystemColor>, 2> tempBands{{{5500, blue}, {3500, orange}}};
constexpr std::array<Band<SystemColor>, 3> scoreBands{{{80, green}, {50, yellow}, {20, orange}}};

constexpr BandColor emberCard = Color{.red = 0.9, .green = 0.3, .blue = 0.1};
constexpr std::array<Band<BandColor>, 4> cardBands{{
    {6000, blue},
    {4500, Color{.red = 0.9, .green = 0.85, .blue = 0.6}},
    {3000, orange},
    {2200, Color{.red = 1.0, .green = 0.5, .blue = 0.2}},
}};

constexpr std::string_view worstScore = "Very high exposure. Take a break and enable filtering.";
constexpr std::array<Band<std::string_view>, 4> scoreTexts{{
    {90, "Excellent! Your eyes are well protected today."},
    {70, "Good. Filter is active and working."},
    {50, "Moderate exposure. Consider lowering color temp."},
    {30, "High exposure. Time to activate a warmer preset."},
}};

} // namespace

SystemColor warmColor(std::int64_t kelvin) {
    return firstMatch(kelvin, warmBands, lowest);
}

BandColor cardColor(std::int64_t kelvin) {
    return firstMatch(kelvin, cardBands, emberCard);
}

SystemColor tempColor(std::int64_t kelvin) {
    return firstMatch(kelvin, tempBands, lowest);
}

SystemColor scoreColor(std::int64_t score) {
    return firstMatch(score, scoreBands, lowest);
}

std::string_view scoreDescription(std::int64_t score) {
    return firstMatch(score, scoreTexts, worstScore);
}

} // namespace nocta
