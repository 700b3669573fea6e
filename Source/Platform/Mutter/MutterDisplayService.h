#pragma once

#include "Platform/Calibration/CalibrationRecord.h"
#include "Platform/Calibration/GuardProcess.h"
#include "Platform/DisplayService.h"
#include "Platform/Gamma/GammaRamp.h"
#include "Platform/Mutter/CalibrationFile.h"
#include "Platform/Mutter/DisplayConfig.h"
#include "Platform/RunLoop.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace nocta {

/// Gamma ramps of mutter's CRTCs, one CRTC a display, through its interface on the session bus.
///
/// mutter leaves a ramp as it is when its writer dies. So before a display is first tinted, its ramps are kept: by this
/// object, by the guard process and in a file (`CalibrationFile`). In a frame nothing waits: a display whose last ramp
/// mutter has not taken yet gets its newest one after that, and those between are left out.
class MutterDisplayService final : public DisplayService {
  public:
    /// Waits for mutter where there is one, some seconds at most. When an earlier Nocta of this session died with its
    /// guard, what it left on the screen is taken off here: no other Nocta may run in it. `guardProgram` is the path of
    /// nocta-mutter-guard; `loop` outlives the service.
    MutterDisplayService(RunLoop& loop, std::string guardProgram);

    /// Whether mutter answers and has a CRTC with a gamma ramp: its virtual monitors have none.
    [[nodiscard]] bool isAvailable() const override { return available; }
    std::size_t activeDisplays(std::span<DisplayID> buffer) override;
    void load(DisplayID display, std::span<const float> red, std::span<const float> green,
              std::span<const float> blue) override;
    void loadNewcomers(std::span<const float> red, std::span<const float> green, std::span<const float> blue) override;
    void flush() override;
    void reload() override;
    /// Waits for mutter some seconds at most. What it has not taken by then, guard and file go on to keep.
    void restoreCalibration() override;
    [[nodiscard]] std::string_view mechanism() const override { return "mutter"; }
    [[nodiscard]] std::vector<DisplayDescription> describe() override;

  private:
    using Ramps = DisplayConfig::Ramps;

    struct Crtc {
        std::uint32_t id = 0;
        std::string name;
        bool isActive = false;
        bool isKnown = false;    ///< whether mutter has told its ramps since it came, or since the last restore
        Ramps calibration;       ///< as before the first tint; empty while unknown, and where it has no gamma ramp
        bool isSafe = false;     ///< whether guard and file have the calibration
        GammaTables wanted;      ///< last loaded; empty where nothing was
        bool isDirty = false;    ///< whether `wanted` has not been sent yet
        bool isUnderWay = false; ///< whether mutter has not answered the last one sent
        std::optional<std::uint32_t> refusedSerial; ///< with which it refused: left alone until there is another
    };

    [[nodiscard]] static DisplayID displayOf(const Crtc& crtc) { return crtc.id + 1; }
    [[nodiscard]] Crtc* find(std::uint32_t id);

    /// Nothing where mutter refuses to tell, because the displays have changed again. Waits.
    [[nodiscard]] std::optional<bool> hasGammaRamp(const DisplayConfig::Resources& resources,
                                                   std::chrono::milliseconds patience) const;
    void removeLeftTint();
    /// Waits; returns those that are not in force.
    [[nodiscard]] std::vector<CrtcRamps> putBack(std::vector<CrtcRamps> displays);

    void displaysChanged();
    /// Asks mutter which CRTCs there are and serves those that changed.
    void refresh();
    void take(const DisplayConfig::Resources& resources);
    void refreshLater();
    void becomeSession(const std::string& name);

    /// Goes on with what is dirty, as far as it can at the moment.
    void send();
    void askForCalibration();
    void takeCalibration(std::uint32_t id, std::uint32_t askedSerial, DisplayConfig::Outcome outcome, Ramps ramps);
    void makeSafe();
    void send(Crtc& crtc);
    void sent(std::uint32_t id, std::uint32_t usedSerial, DisplayConfig::Outcome outcome);

    RunLoop& loop;
    GuardProcess guard;
    CalibrationFile file;
    DisplayConfig config;
    std::uint64_t owner;
    std::string session;
    std::uint32_t serial = 0;
    std::vector<Crtc> crtcs;
    /// As last handed over for any display, for one that appears; empty when nothing is to be loaded.
    GammaTables tables;
    std::size_t questions = 0;       ///< for ramps, that mutter has not answered
    std::uint64_t questionRound = 0; ///< answers to those of an earlier one count no more
    bool isRefreshing = false;
    bool mustRefreshAgain = false;
    Seconds refreshDelay{0};
    std::unique_ptr<Timer> refreshTimer;
    std::unique_ptr<Timer> settlingTimer;
    bool available = false;
};

} // namespace nocta
