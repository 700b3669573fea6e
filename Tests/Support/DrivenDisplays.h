#pragma once

#include "Platform/X11/CalibrationProperty.h"
#include "Platform/X11/XConnection.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace nocta::test {

/// All entries of a CRTC's ramps: red, then green, then blue.
using Ramps = std::vector<std::uint16_t>;

/// The displays of the X server that DISPLAY names, seen and changed by another client than Nocta: what a person does
/// at the cables, what a desktop's settings do, and what is on the screen.
class DrivenDisplays {
  public:
    DrivenDisplays();

    /// The active CRTCs, in the server's order.
    [[nodiscard]] std::vector<xcb_randr_crtc_t> active() const;
    [[nodiscard]] Ramps ramps(xcb_randr_crtc_t crtc) const;
    /// The ramps of every active CRTC.
    [[nodiscard]] std::map<xcb_randr_crtc_t, Ramps> allRamps() const;
    void setRamps(xcb_randr_crtc_t crtc, const Ramps& values) const;

    /// Gives `count` outputs (the first is always there) a mode and a CRTC each, and every CRTC, active or not, ramps
    /// of its own that no program would compute. Returns the active ones.
    std::vector<xcb_randr_crtc_t> plug(std::size_t count) const; // NOLINT(modernize-use-nodiscard): it acts
    /// Switches the output of that number (from 0) on, in the mode of that number, or off.
    void setMode(std::size_t output, std::optional<std::size_t> mode) const;

    /// The property that Nocta leaves for its successor.
    [[nodiscard]] std::optional<CalibrationRecord> property() const { return calibration.read(); }
    [[nodiscard]] bool hasProperty() const;
    void setProperty(const std::vector<std::byte>& bytes) const {
        calibration.write(bytes);
        connection.synchronize();
    }

    [[nodiscard]] const XConnection& server() const { return connection; }

  private:
    XConnection connection;
    CalibrationProperty calibration;
};

/// Ramps that only this seed gives: rising, with a kink, ending below full.
[[nodiscard]] Ramps peculiarRamps(std::size_t size, std::uint32_t seed);

} // namespace nocta::test
