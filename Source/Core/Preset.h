#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <tuple>

#include <nlohmann/json_fwd.hpp>

namespace nocta {

/// A named filter target and how fast the filter moves to it. A plain value.
struct Preset {
    std::string id;                ///< how settings, schedule and profiles name it; compared exactly
    std::string name;              ///< as shown on its card
    std::string icon;              ///< name of the symbol on its card
    std::int64_t colorTemp = 6500; ///< kelvin
    double brightness = 1.0;       ///< factor, 1.0 is full brightness
    double transitionSecs = 1.0;   ///< seconds the filter takes from what is on the screen to this
    bool isBuiltIn = false;

    bool operator==(const Preset&) const = default;

    /// Red, green and blue factor of `colorTemp`, each in [0, 1].
    [[nodiscard]] std::tuple<double, double, double> rgb() const;

    /// The shipped presets. Their order is that of the grid and of cycling, not of temperature.
    static const std::array<Preset, 6> builtIn;

    /// The first built-in preset, in force wherever an id names none.
    static const Preset& natural;
};

/// The built-in preset of that id; null for "custom" and every other id.
[[nodiscard]] const Preset* builtInPreset(std::string_view id);

/// The preset after the one of that id, the first after the last. An id that none has counts as the first's, so that
/// cycling on from custom values gives the second. `fatalError` for an empty list.
[[nodiscard]] const Preset& nextPreset(std::span<const Preset> presets, std::string_view id);

/// A JSON object whose members are the seven fields.
void to_json(nlohmann::json& json, const Preset& preset);

/// Throws `nlohmann::json::exception` unless all seven members are there with their types; `preset` is then unchanged.
void from_json(const nlohmann::json& json, Preset& preset);

} // namespace nocta
