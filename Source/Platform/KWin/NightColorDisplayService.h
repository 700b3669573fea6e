#pragma once

#include "Platform/DisplayService.h"
#include "Platform/KWin/LayerDimmer.h"
#include "Platform/KWin/NightTint.h"

#include <cstdint>
#include <functional>
#include <memory>

class QObject;

namespace nocta {

class NightLight;
class RunLoop;

/// The displays of KWin, which lets no program load gamma tables. What a table makes of full white is shown as far as
/// it can be: by the colour temperature of KWin's night light, one for all displays, that was loaded last; and by
/// dimming each display to its own brightness.
///
/// The brightness follows every frame, the temperature four frames a second, between which KWin moves by itself. Both
/// end with this program's connections, also when it dies; KWin then moves back to its own temperature within two
/// seconds.
class NightColorDisplayService final : public DisplayService {
  public:
    /// Connects to the compositor that WAYLAND_DISPLAY names and, if that is KWin, asks it on the session bus; waits
    /// for both. `onServerLost` is called once, from the run loop, when it has gone. `loop` outlives the service.
    NightColorDisplayService(RunLoop& loop, std::function<void()> onServerLost);
    NightColorDisplayService(const NightColorDisplayService&) = delete;
    NightColorDisplayService& operator=(const NightColorDisplayService&) = delete;
    ~NightColorDisplayService() override;

    [[nodiscard]] bool isAvailable() const override { return nightLight != nullptr; }
    std::size_t activeDisplays(std::span<DisplayID> buffer) override;
    void load(DisplayID display, std::span<const float> red, std::span<const float> green,
              std::span<const float> blue) override;
    void loadNewcomers(std::span<const float> red, std::span<const float> green, std::span<const float> blue) override;
    void flush() override;
    void reload() override;
    /// On return KWin takes its own course again, and has begun to move to its own temperature.
    void restoreCalibration() override;
    [[nodiscard]] std::string_view mechanism() const override { return "kwin-night-color"; }
    [[nodiscard]] std::vector<DisplayDescription> describe() override;

  private:
    std::unique_ptr<LayerDimmer> dimmer;    ///< null where the compositor is not KWin
    std::unique_ptr<NightLight> nightLight; ///< null where this service is not available
    /// The one of all displays.
    void setColour(const NightTint& next);

    std::uint32_t kelvin = NightTint::neutral; ///< last loaded
    bool isTinted = false;
    std::unique_ptr<QObject> ownWindows; ///< tells when one of them comes to the front
};

} // namespace nocta
