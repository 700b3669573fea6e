#include "Core/Preset.h"

#include "Core/FatalError.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include <nlohmann/json.hpp>

namespace nocta {

namespace {

/// The filter's colour curve once more, for a preset's swatch; see Core/ColorTemperature.h for its source. It stays
/// apart from the engine's so that a card can never change what the displays get; a test holds the two equal.
std::tuple<double, double, double> kelvinToRGB(std::int64_t kelvin) {
    const double t = static_cast<double>(std::clamp<std::int64_t>(kelvin, 1000, 40000)) / 100.0;
    double red = 255.0;
    double green = 99.4708025861 * std::log(t) - 161.1195681661;
    double blue = 255.0;
    if (t > 66) {
        red = 329.698727446 * std::pow(t - 60, -0.1332047592);
        green = 288.1221695283 * std::pow(t - 60, -0.0755148492);
    }
    if (t <= 19) {
        blue = 0.0;
    } else if (t < 66) {
        blue = 138.5177312231 * std::log(t - 10) - 305.0447927307;
    }
    const auto factor = [](double value) { return std::clamp(value / 255, 0.0, 1.0); };
    return {factor(red), factor(green), factor(blue)};
}

/// The library converts numbers into each other and into booleans; a record's members keep their types.
template <class Value>
Value member(const nlohmann::json& json, const char* key, bool (nlohmann::json::*hasType)() const noexcept) {
    const nlohmann::json& value = json.at(key);
    if (!(value.*hasType)()) {
        throw nlohmann::json::type_error::create(302, std::string("wrong type of ") + key, &value);
    }
    return value.get<Value>();
}

std::int64_t integerMember(const nlohmann::json& json, const char* key) {
    const nlohmann::json& value = json.at(key);
    if (value.is_number_unsigned() && value.get<std::uint64_t>() > std::numeric_limits<std::int64_t>::max()) {
        throw nlohmann::json::out_of_range::create(406, std::string("number overflow in ") + key, &value);
    }
    return member<std::int64_t>(json, key, &nlohmann::json::is_number_integer);
}

} // namespace

const std::array<Preset, 6> Preset::builtIn{{
    {"natural", "Natural", "sun.max", 6500, 1.0, 1.0, true},
    {"focus", "Focus", "brain.head.profile", 5000, 0.9, 1.5, true},
    {"dusk", "Dusk", "sunset", 3400, 0.8, 2.0, true},
    {"evening", "Evening", "moon", 2700, 0.7, 2.0, true},
    {"sleep", "Sleep", "zzz", 1900, 0.5, 3.0, true},
    {"cinema", "Cinema", "film", 4000, 1.0, 1.5, true},
}};

const Preset& Preset::natural = Preset::builtIn.front();

std::tuple<double, double, double> Preset::rgb() const {
    return kelvinToRGB(colorTemp);
}

const Preset* builtInPreset(std::string_view id) {
    const auto* found = std::ranges::find(Preset::builtIn, id, &Preset::id);
    return found == Preset::builtIn.end() ? nullptr : found;
}

const Preset& nextPreset(std::span<const Preset> presets, std::string_view id) {
    if (presets.empty()) {
        fatalError("Division by zero in remainder operation");
    }
    const auto found = std::ranges::find(presets, id, &Preset::id);
    const auto current = found == presets.end() ? 0 : static_cast<std::size_t>(found - presets.begin());
    return presets[(current + 1) % presets.size()];
}

void to_json(nlohmann::json& json, const Preset& preset) {
    json = {{"id", preset.id},
            {"name", preset.name},
            {"icon", preset.icon},
            {"colorTemp", preset.colorTemp},
            {"brightness", preset.brightness},
            {"transitionSecs", preset.transitionSecs},
            {"isBuiltIn", preset.isBuiltIn}};
}

void from_json(const nlohmann::json& json, Preset& preset) {
    using Json = nlohmann::json;
    preset = Preset{
        .id = member<std::string>(json, "id", &Json::is_string),
        .name = member<std::string>(json, "name", &Json::is_string),
        .icon = member<std::string>(json, "icon", &Json::is_string),
        .colorTemp = integerMember(json, "colorTemp"),
        .brightness = member<double>(json, "brightness", &Json::is_number),
        .transitionSecs = member<double>(json, "transitionSecs", &Json::is_number),
        .isBuiltIn = member<bool>(json, "isBuiltIn", &Json::is_boolean),
    };
}

} // namespace nocta
