#pragma once

#include "Platform/EventMonitor.h"
#include "Platform/KeyMonitors.h"
#include "Platform/RunLoop.h"
#include "Platform/Sway/SwaySocket.h"

#include <functional>
#include <memory>
#include <optional>

namespace nocta {

/// Super+Shift+I on sway, which shows no program the keys of others but binds keys to commands. While somebody monitors
/// keys, that key is bound to a command that does nothing, and sway reports it; no other key is. Unlike on X11, the
/// program in front does not get the key.
///
/// A binding that the user has for these keys wins: ours also holds in a locked session and where shortcuts are
/// inhibited, and of several bindings for a key sway takes the one that says less. Where Nocta is killed, ours stays,
/// and does nothing, until the next Nocta ends or sway reads its configuration again.
///
/// Nobody is told of clicks.
class SwayEventMonitor final : public EventMonitor {
  public:
    /// Of the sway that SWAYSOCK names. `loop` outlives it.
    explicit SwayEventMonitor(RunLoop& loop);

    [[nodiscard]] bool isAvailable() const override { return available; }
    /// Waits for sway: keys that are pressed after it returns are seen.
    [[nodiscard]] std::unique_ptr<EventMonitorToken>
    addGlobalKeyDownMonitor(std::function<void(const KeyEvent&)> handler) override;
    [[nodiscard]] std::unique_ptr<EventMonitorToken> addGlobalMouseDownMonitor(std::function<void()> handler) override;

  private:
    void begin();
    void end();
    void serve();
    void handle(const SwayMessage& message);

    RunLoop& loop;
    bool available;
    KeyMonitors monitors{[this] { begin(); }, [this] { end(); }};
    std::optional<SwaySocket> events; ///< while keys are monitored
    std::unique_ptr<RunLoopSource> watch;
};

} // namespace nocta
