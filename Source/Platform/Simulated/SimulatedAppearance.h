#pragma once

#include "Platform/Appearance.h"

#include <map>
#include <utility>

namespace nocta {

/// A desktop whose preferences a test sets.
class SimulatedAppearance final : public Appearance {
  public:
    void setColorScheme(std::optional<ColorScheme> newScheme) {
        scheme = newScheme;
        tell();
    }
    void setReducesMotion(bool reduces) {
        still = reduces;
        tell();
    }

    [[nodiscard]] std::optional<ColorScheme> colorScheme() const override { return scheme; }
    [[nodiscard]] bool reducesMotion() const override { return still; }
    [[nodiscard]] std::unique_ptr<AppearanceObserver> observe(std::function<void()> handler) override {
        return std::make_unique<Observer>(*this, std::move(handler));
    }

  private:
    class Observer final : public AppearanceObserver {
      public:
        Observer(SimulatedAppearance& appearance, std::function<void()> handler) : appearance(appearance) {
            appearance.handlers.emplace(this, std::move(handler));
        }
        Observer(const Observer&) = delete;
        Observer& operator=(const Observer&) = delete;
        ~Observer() override { appearance.handlers.erase(this); }

      private:
        SimulatedAppearance& appearance;
    };

    void tell() const {
        for (const auto& [observer, handler] : std::map(handlers)) {
            handler();
        }
    }

    std::optional<ColorScheme> scheme;
    bool still = false;
    std::map<Observer*, std::function<void()>> handlers;
};

} // namespace nocta
