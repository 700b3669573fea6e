#pragma once

#include "Platform/Appearance.h"

#include <memory>

namespace nocta {

/// The preferences that the desktop portal tells through `org.freedesktop.portal.Settings` on the session bus. Asked
/// once when it is made, and again whenever a portal appears; never waited for. Where there is no bus or no portal,
/// every answer stays absent, silently.
///
/// The colour scheme is the portal's own. Reduced motion is what any of these says: the portal's own setting, GNOME's
/// `enable-animations`, KDE's `AnimationDurationFactor`.
class PortalAppearance final : public Appearance {
  public:
    PortalAppearance();
    PortalAppearance(const PortalAppearance&) = delete;
    PortalAppearance& operator=(const PortalAppearance&) = delete;
    ~PortalAppearance() override;

    [[nodiscard]] std::optional<ColorScheme> colorScheme() const override;
    [[nodiscard]] bool reducesMotion() const override;
    [[nodiscard]] std::unique_ptr<AppearanceObserver> observe(std::function<void()> handler) override;

  private:
    class Settings;
    class Observer;

    std::unique_ptr<Settings> settings;
};

} // namespace nocta
