#pragma once

#include "Platform/EventMonitor.h"

#include <functional>
#include <memory>

namespace nocta {

/// Super+Shift+I through the desktop portal's `org.freedesktop.portal.GlobalShortcuts`, on desktops whose portal has
/// it. While somebody monitors keys, Nocta has one shortcut there, for which it prefers these keys; the desktop may ask
/// the user first, and they may choose others: whichever they press, these are reported. No other key is, and nobody is
/// told of clicks.
///
/// Nothing is waited for: where the portal lacks the interface or the user refuses, no key is ever reported. A portal
/// that starts again is asked again.
class PortalEventMonitor final : public EventMonitor {
  public:
    PortalEventMonitor();
    PortalEventMonitor(const PortalEventMonitor&) = delete;
    PortalEventMonitor& operator=(const PortalEventMonitor&) = delete;
    ~PortalEventMonitor() override;

    /// Whether the session bus has a portal, or starts one for who asks. Waits for the bus.
    [[nodiscard]] bool isAvailable() const override;
    [[nodiscard]] std::unique_ptr<EventMonitorToken>
    addGlobalKeyDownMonitor(std::function<void(const KeyEvent&)> handler) override;
    [[nodiscard]] std::unique_ptr<EventMonitorToken> addGlobalMouseDownMonitor(std::function<void()> handler) override;

  private:
    class Shortcut;

    std::unique_ptr<Shortcut> shortcut;
};

} // namespace nocta
