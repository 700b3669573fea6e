#pragma once

#include "Platform/Popover.h"

#include <memory>
#include <optional>
#include <vector>

namespace nocta {

/// Popovers that nobody sees.
class SimulatedPopoverHost final : public PopoverHost {
  public:
    struct Showing {
        std::optional<Rectangle> anchor;
        Edge preferredEdge = Edge::below;

        bool operator==(const Showing&) const = default;
    };

    /// The styles of the popovers made, in order.
    [[nodiscard]] const std::vector<PopoverStyle>& styles() const { return recordedStyles; }
    [[nodiscard]] const std::vector<Showing>& showings() const { return recordedShowings; }
    [[nodiscard]] int closings() const { return recordedClosings; }
    [[nodiscard]] bool isShown() const { return shown; }
    [[nodiscard]] bool isKey() const { return key; }

    std::unique_ptr<Popover> makePopover(const PopoverStyle& style) override {
        recordedStyles.push_back(style);
        return std::make_unique<SimulatedPopover>(*this);
    }

  private:
    class SimulatedPopover final : public Popover {
      public:
        explicit SimulatedPopover(SimulatedPopoverHost& host) : host(host) {}

        [[nodiscard]] bool isShown() const override { return host.shown; }
        void show(const std::optional<Rectangle>& anchor, Edge preferredEdge) override {
            host.recordedShowings.push_back({anchor, preferredEdge});
            host.shown = true;
        }
        void makeKey() override { host.key = host.shown; }
        void performClose() override {
            ++host.recordedClosings;
            host.shown = false;
            host.key = false;
        }

      private:
        SimulatedPopoverHost& host;
    };

    std::vector<PopoverStyle> recordedStyles;
    std::vector<Showing> recordedShowings;
    int recordedClosings = 0;
    bool shown = false;
    bool key = false;
};

} // namespace nocta
