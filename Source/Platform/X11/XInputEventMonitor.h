#pragma once

#include "Platform/EventMonitor.h"
#include "Platform/RunLoop.h"
#include "Platform/X11/ClientProcesses.h"
#include "Platform/X11/ModifierMap.h"
#include "Platform/X11/XClient.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include <xcb/xinput.h>

namespace nocta {

/// Keys and buttons of every master device of an X server, also of one that appears later, as raw XInput events: they
/// are copies, nothing is taken from anyone, and they come also while another program holds a grab. Reports only keys
/// that have a number in `keycode`.
///
/// Selects what somebody monitors and nothing else. Of the keyboard that is the presses and the changes of modifiers,
/// in one stream, so that the modifiers are those of the moment of the press however late it is looked at. Releases are
/// selected only while a key with a number is down, to tell a repetition from a second press: the server's own
/// repetitions are no raw events, but what injects keys, a remote desktop say, may press again without a release.
class XInputEventMonitor final : public EventMonitor {
  public:
    /// Connects to the server that DISPLAY names. `loop` outlives it.
    explicit XInputEventMonitor(RunLoop& loop);

    [[nodiscard]] bool isAvailable() const override { return available; }
    /// Both wait for the server: what happens after they return is seen.
    [[nodiscard]] std::unique_ptr<EventMonitorToken>
    addGlobalKeyDownMonitor(std::function<void(const KeyEvent&)> handler) override;
    [[nodiscard]] std::unique_ptr<EventMonitorToken> addGlobalMouseDownMonitor(std::function<void()> handler) override;

  private:
    using Device = xcb_input_device_id_t;
    /// Their functions are empty once they have ended.
    using KeyMonitor = std::function<void(const KeyEvent&)>;
    using MouseMonitor = std::function<void()>;
    template <class Monitor>
    using Monitors = std::vector<std::shared_ptr<Monitor>>;
    template <class Monitor>
    class Token;

    [[nodiscard]] bool findExtensions();
    template <class Monitor>
    std::unique_ptr<EventMonitorToken> add(Monitors<Monitor>& monitors, Monitor handler);
    template <class Monitor, class... Arguments>
    static void call(const Monitors<Monitor>& monitors, const Arguments&... arguments);

    /// Selects what the monitors need that there are. Waits for the server when the first key monitor has come.
    void select();
    void watchKeyboards();
    /// Of a keyboard that appeared; does not wait.
    void watchLater(Device keyboard);
    void selectKeyboard(Device keyboard, bool isWanted);

    void handleEvent(const xcb_generic_event_t& event);
    void handleXkbEvent(const xcb_generic_event_t& event);
    void handleHierarchy(const xcb_input_hierarchy_event_t& event);
    void press(Device keyboard);
    void release(Device keyboard);
    void readModifierMap();
    /// Reports the press unless the keyboard types into one of this process's windows.
    /// Without `modifiers`, those that are known when the server has answered.
    void reportKey(Device keyboard, std::optional<std::uint32_t> modifiers);
    /// Reports the click unless one of this process's windows lies at the pointer.
    void reportClick(Device pointer);
    /// The same, where `window` lies at that place of the root window, or none does.
    void reportClickInto(xcb_window_t window, xcb_point_t place);

    XClient client;
    ClientProcesses processes;
    std::uint8_t inputOpcode = 0;
    std::uint8_t firstXkbEvent = 0;
    bool available;
    Monitors<KeyMonitor> keyMonitors;
    Monitors<MouseMonitor> mouseMonitors;
    /// Of every master keyboard while keys are monitored; absent until the server has told them.
    std::map<Device, std::optional<std::uint32_t>> modifiersOf;
    /// Keyboards on which the I key went down and is not known to be up; true once its release cannot be missed, from
    /// when on another press is a repetition.
    std::map<Device, bool> isHeldOn;
    bool isModifierMapRead = false;
    ModifierMap modifierMap;
};

} // namespace nocta
