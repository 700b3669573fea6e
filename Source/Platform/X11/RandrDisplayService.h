#pragma once

#include "Platform/Calibration/GuardProcess.h"
#include "Platform/DisplayService.h"
#include "Platform/Gamma/GammaRamp.h"
#include "Platform/RunLoop.h"
#include "Platform/X11/CalibrationProperty.h"
#include "Platform/X11/XConnection.h"

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace nocta {

/// Gamma ramps of an X server's CRTCs, one CRTC a display.
///
/// Before a display is first tinted, its ramps are kept: by this object, by the guard process and in a property of the
/// root window. So they can be put back exactly, whichever of these is the last to live.
class RandrDisplayService final : public DisplayService {
  public:
    struct Options {
        std::string guardProgram;           ///< path of nocta-guard
        std::function<void()> onServerLost; ///< called once, from the run loop, when the X server has gone
    };

    /// Connects to the server that DISPLAY names. When an earlier Nocta died with its guard, what it left on the screen
    /// is taken off here: no other Nocta may run on that server. `loop` outlives the service.
    RandrDisplayService(RunLoop& loop, Options options);

    [[nodiscard]] bool isAvailable() const override { return available; }
    std::size_t activeDisplays(std::span<DisplayID> buffer) override;
    void load(DisplayID display, std::span<const float> red, std::span<const float> green,
              std::span<const float> blue) override;
    void loadNewcomers(std::span<const float> red, std::span<const float> green, std::span<const float> blue) override;
    void flush() override;
    void reload() override;
    void restoreCalibration() override;
    [[nodiscard]] std::string_view mechanism() const override { return "randr"; }
    [[nodiscard]] std::vector<DisplayDescription> describe() override;

  private:
    struct Crtc {
        xcb_randr_crtc_t id = XCB_NONE;
        std::size_t size = 0; ///< entries a channel, 0 where it has no gamma ramp
        bool isActive = false;
        bool isUnreadable = false;              ///< its ramps could not be kept: left alone until displays change
        std::vector<std::uint16_t> calibration; ///< as before the first tint; empty while untouched
        std::vector<std::uint16_t> loaded;      ///< last sent; empty where it must be filled anew

        [[nodiscard]] bool isTinted() const { return !calibration.empty(); }
    };

    /// The connectors that show that CRTC, clones with a plus between them. Waits for the server.
    [[nodiscard]] std::string nameOf(xcb_randr_crtc_t crtc) const;
    void removeLeftTint();
    /// Asks the server which CRTCs there are and serves those that changed. Waits for the server.
    void refresh();
    /// Keeps the ramps of all active displays that are still untouched. Waits for the server if there are any.
    void keepCalibration();
    void publishCalibration();
    void reloadTables();
    void fill(Crtc& crtc) const;
    void handleEvents();
    /// Takes the events that `next` gives; notes whether one of them tells of a change of displays.
    void takeEvents(xcb_generic_event_t* (*next)(xcb_connection_t*));
    /// To be called after waiting for the server or writing to it: events that came in meanwhile wait in the library,
    /// where the descriptor does not show them.
    void takeQueuedEvents();

    XConnection server;
    RunLoop& loop;
    GuardProcess guard;
    std::function<void()> onServerLost;
    bool available;
    std::uint64_t owner;
    xcb_window_t clientMark = XCB_WINDOW_NONE;
    std::optional<CalibrationProperty> property;
    std::vector<Crtc> crtcs;
    /// Red, green and blue as last handed over for any display, for one that appears; empty when nothing is to be
    /// loaded.
    GammaTables tables;
    std::unique_ptr<RunLoopSource> eventWatch;
    bool hasChanged = false;
    std::unique_ptr<Timer> changeCheck;
};

} // namespace nocta
