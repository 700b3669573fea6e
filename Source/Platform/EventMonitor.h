#pragma once

#include <cstdint>
#include <functional>
#include <memory>

namespace nocta {

/// The modifiers held during an event: an or of these.
namespace modifier {
inline constexpr std::uint32_t shift = 0x20000;
inline constexpr std::uint32_t control = 0x40000;
inline constexpr std::uint32_t option = 0x80000;   ///< Alt
inline constexpr std::uint32_t command = 0x100000; ///< Super
} // namespace modifier

/// Physical keys by their place on the keyboard, whatever the layout prints on them.
namespace keycode {
inline constexpr std::uint16_t i = 34;     ///< where the US layout has I
inline constexpr std::uint16_t none = 255; ///< any key that has no number here
} // namespace keycode

struct KeyEvent {
    std::uint32_t modifierFlags = 0;
    std::uint16_t keyCode = keycode::none;

    bool operator==(const KeyEvent&) const = default;
};

/// Ends a monitor when it is destroyed.
class EventMonitorToken {
  public:
    EventMonitorToken() = default;
    EventMonitorToken(const EventMonitorToken&) = delete;
    EventMonitorToken& operator=(const EventMonitorToken&) = delete;
    virtual ~EventMonitorToken() = default;
};

/// Sees what is typed and clicked in other programs, without taking it from them. Main thread only.
class EventMonitor {
  public:
    EventMonitor() = default;
    EventMonitor(const EventMonitor&) = delete;
    EventMonitor& operator=(const EventMonitor&) = delete;
    virtual ~EventMonitor() = default;

    /// Whether this session lets a program see events of others.
    [[nodiscard]] virtual bool isAvailable() const = 0;

    /// Calls `handler` from the run loop once for every key that goes down while another program has the keyboard; a
    /// key that repeats while it is held went down once. A back end need not report keys without a number here.
    [[nodiscard]] virtual std::unique_ptr<EventMonitorToken>
    addGlobalKeyDownMonitor(std::function<void(const KeyEvent&)> handler) = 0;

    /// Calls `handler` from the run loop once for every press of the left or right button outside Nocta's own windows.
    [[nodiscard]] virtual std::unique_ptr<EventMonitorToken>
    addGlobalMouseDownMonitor(std::function<void()> handler) = 0;
};

} // namespace nocta
