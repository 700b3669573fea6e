#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace nocta {

/// The platform's number of one display. Zero names no display.
using DisplayID = std::uint32_t;

/// A display as people know it, and what of a filter reaches it.
struct DisplayDescription {
    DisplayID id = 0;
    std::string name;          ///< of its connector ("DP-1")
    std::size_t tableSize = 0; ///< entries a channel, 0 where it has no gamma tables
    bool hasTemperature = false;
    bool hasBrightness = false;

    bool operator==(const DisplayDescription&) const = default;
};

/// Loads transfer tables into the displays and gives them back their own colour calibration.
///
/// Main thread only. Nothing here reports an error: a display that has gone, or that has no gamma table, is skipped,
/// and a service that has lost its server does nothing. While tables are loaded, the service loads them again by itself
/// into a display that appears or whose table a change of its mode has reset.
class DisplayService {
  public:
    DisplayService() = default;
    DisplayService(const DisplayService&) = delete;
    DisplayService& operator=(const DisplayService&) = delete;
    virtual ~DisplayService() = default;

    /// Whether this service can change the colour of this session's displays.
    [[nodiscard]] virtual bool isAvailable() const = 0;

    /// Writes the ids of the active displays, in the platform's order, into `buffer` as far as it reaches, and returns
    /// how many there are. An empty buffer only counts.
    virtual std::size_t activeDisplays(std::span<DisplayID> buffer) = 0;

    /// Hands `display` one table a channel, each of the same size (256 entries from the filter engine) from input black
    /// to input white. Outputs are fractions of full intensity; what lies outside [0, 1], or is no number, is clamped
    /// here and nowhere else. Called once a display and frame: it must not wait for the server.
    virtual void load(DisplayID display, std::span<const float> red, std::span<const float> green,
                      std::span<const float> blue) = 0;

    /// Says what displays that appear from now on are to show: without it, what was last loaded into any. For a frame
    /// that finds no display. The tables are as those of `load`.
    virtual void loadNewcomers(std::span<const float> /*red*/, std::span<const float> /*green*/,
                               std::span<const float> /*blue*/) {}

    /// Ends a frame: what was loaded since the last call is now sent, all of it in one go.
    virtual void flush() = 0;

    /// Loads every display once more with what it was last loaded with: to be called after what no display server
    /// reports and may have reset the tables (a resume, another session on the same screens). May wait for the server.
    /// Without loaded tables it does nothing.
    virtual void reload() = 0;

    /// Gives every display that was ever loaded exactly the tables it had before. On return they are in force.
    virtual void restoreCalibration() = 0;

    /// How this service reaches the displays, in one word that scripts can rely on.
    [[nodiscard]] virtual std::string_view mechanism() const { return "none"; }

    /// The active displays, in the platform's order. May wait for the server, and names none that does not answer.
    [[nodiscard]] virtual std::vector<DisplayDescription> describe() { return {}; }
};

} // namespace nocta
