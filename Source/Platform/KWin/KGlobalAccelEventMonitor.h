#pragma once

#include "Platform/EventMonitor.h"
#include "Platform/KeyMonitors.h"

#include <functional>
#include <memory>

namespace nocta {

/// Super+Shift+I in a Wayland session of KDE Plasma, whose shortcuts KGlobalAccel has, a part of KWin there. While
/// somebody monitors keys, Nocta has an action there with these keys, which the user finds in the system settings and
/// may give others; a press of those is reported as this one. No other key is seen. Unlike on X11, the program in front
/// does not get the key.
///
/// Keys that another action has stay its own. KGlobalAccel knows keys by what the layout prints on them: this is the I
/// of that. Where Nocta is killed, its keys do nothing until the next Nocta runs or the session ends.
///
/// Nobody is told of clicks.
class KGlobalAccelEventMonitor final : public EventMonitor {
  public:
    /// On the session bus that the environment names.
    KGlobalAccelEventMonitor();
    KGlobalAccelEventMonitor(const KGlobalAccelEventMonitor&) = delete;
    KGlobalAccelEventMonitor& operator=(const KGlobalAccelEventMonitor&) = delete;
    ~KGlobalAccelEventMonitor() override;

    [[nodiscard]] bool isAvailable() const override { return available; }
    /// Does not wait for KGlobalAccel: keys are seen some milliseconds later.
    [[nodiscard]] std::unique_ptr<EventMonitorToken>
    addGlobalKeyDownMonitor(std::function<void(const KeyEvent&)> handler) override;
    [[nodiscard]] std::unique_ptr<EventMonitorToken> addGlobalMouseDownMonitor(std::function<void()> handler) override;

  private:
    class Action;

    void begin();
    void end();
    void report() const;

    bool available;
    std::unique_ptr<Action> action; ///< while keys are monitored
    KeyMonitors monitors{[this] { begin(); }, [this] { end(); }};
};

} // namespace nocta
