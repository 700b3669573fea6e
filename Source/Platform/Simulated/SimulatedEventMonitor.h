#pragma once

#include "Platform/EventMonitor.h"
#include "Platform/Simulated/SimulatedHandlers.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <utility>

namespace nocta {

/// Other programs in which a test types and clicks.
class SimulatedEventMonitor final : public EventMonitor {
  public:
    void pressKey(const KeyEvent& event) { keyHandlers.call(event); }
    void pressMouse() { mouseHandlers.call(); }

    [[nodiscard]] std::size_t keyMonitors() const { return keyHandlers.count(); }
    [[nodiscard]] std::size_t mouseMonitors() const { return mouseHandlers.count(); }

    [[nodiscard]] bool isAvailable() const override { return true; }
    [[nodiscard]] std::unique_ptr<EventMonitorToken>
    addGlobalKeyDownMonitor(std::function<void(const KeyEvent&)> handler) override {
        return keyHandlers.add(std::move(handler));
    }
    [[nodiscard]] std::unique_ptr<EventMonitorToken> addGlobalMouseDownMonitor(std::function<void()> handler) override {
        return mouseHandlers.add(std::move(handler));
    }

  private:
    SimulatedHandlers<EventMonitorToken, const KeyEvent&> keyHandlers;
    SimulatedHandlers<EventMonitorToken> mouseHandlers;
};

} // namespace nocta
