#pragma once

#include "Platform/EventMonitor.h"

#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace nocta {

/// Those who monitor keys, for an event monitor that asks its desktop for them as long as there are any. Outlives every
/// token that it has made.
class KeyMonitors {
  public:
    /// `begin` is called when the first one comes, `end` when the last one goes; not when this is destroyed.
    KeyMonitors(std::function<void()> begin, std::function<void()> end)
        : begin(std::move(begin)), end(std::move(end)) {}
    KeyMonitors(const KeyMonitors&) = delete;
    KeyMonitors& operator=(const KeyMonitors&) = delete;
    ~KeyMonitors() = default;

    [[nodiscard]] bool isEmpty() const { return monitors.empty(); }

    [[nodiscard]] std::unique_ptr<EventMonitorToken> add(std::function<void(const KeyEvent&)> handler) {
        auto monitor = std::make_shared<Monitor>(std::move(handler));
        monitors.push_back(monitor);
        if (monitors.size() == 1) {
            begin();
        }
        return std::make_unique<Token>(*this, std::move(monitor));
    }

    void report(const KeyEvent& event) const {
        const auto called = monitors;
        for (const auto& monitor : called) {
            // It may end its own monitor, and has ended when another one ended it.
            if (const auto handler = *monitor) {
                handler(event);
            }
        }
    }

  private:
    /// Empty once it has ended.
    using Monitor = std::function<void(const KeyEvent&)>;

    class Token final : public EventMonitorToken {
      public:
        Token(KeyMonitors& owner, std::shared_ptr<Monitor> monitor) : owner(owner), monitor(std::move(monitor)) {}
        Token(const Token&) = delete;
        Token& operator=(const Token&) = delete;
        ~Token() override {
            *monitor = nullptr;
            std::erase(owner.monitors, monitor);
            if (owner.monitors.empty()) {
                owner.end();
            }
        }

      private:
        KeyMonitors& owner;
        std::shared_ptr<Monitor> monitor;
    };

    std::function<void()> begin;
    std::function<void()> end;
    std::vector<std::shared_ptr<Monitor>> monitors;
};

} // namespace nocta
