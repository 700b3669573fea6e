#pragma once

#include "Platform/StatusItem.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace nocta {

/// A panel whose clicks a test makes.
class SimulatedStatusBar final : public StatusBar {
  public:
    /// What the last item made shows: every button it was given, in order.
    [[nodiscard]] const std::vector<StatusButton>& buttons() const { return recordedButtons; }
    /// Items that exist now.
    [[nodiscard]] int itemCount() const { return items; }
    /// Whether items have a button from now on.
    void setHasButton(bool newHasButton) { hasButton = newHasButton; }
    void setFrame(const std::optional<Rectangle>& newFrame) { frame = newFrame; }
    void setDrawnByHost(bool newIsDrawnByHost) { isDrawnByHost = newIsDrawnByHost; }

    /// Lets go of a mouse button over the item.
    void release(std::uint32_t event) {
        if ((mask & event) != 0 && action) {
            action();
        }
    }
    [[nodiscard]] const std::vector<MenuEntry>& menu() const { return entries; }
    /// A host comes or goes.
    void setHost(bool hasHost) {
        if (hostObserver) {
            hostObserver(hasHost);
        }
    }

    std::unique_ptr<StatusItem> makeStatusItem() override { return std::make_unique<Item>(*this); }

  private:
    class Item final : public StatusItem {
      public:
        explicit Item(SimulatedStatusBar& bar) : bar(bar) {
            ++bar.items;
            bar.recordedButtons.clear();
        }
        Item(const Item&) = delete;
        Item& operator=(const Item&) = delete;
        ~Item() override {
            --bar.items;
            bar.action = nullptr;
            bar.entries.clear();
            bar.hostObserver = nullptr;
        }

        [[nodiscard]] const StatusButton* button() const override { return bar.hasButton ? &current : nullptr; }
        void setButton(const StatusButton& button) override {
            current = button;
            bar.recordedButtons.push_back(button);
        }
        void setAction(std::uint32_t newMask, std::function<void()> newAction) override {
            bar.mask = newMask;
            bar.action = std::move(newAction);
        }
        void setMenu(std::vector<MenuEntry> newEntries) override { bar.entries = std::move(newEntries); }
        [[nodiscard]] std::optional<Rectangle> frame() const override { return bar.frame; }
        [[nodiscard]] bool isDrawnByHost() const override { return bar.isDrawnByHost; }
        void setHostObserver(std::function<void(bool)> observer) override { bar.hostObserver = std::move(observer); }

      private:
        SimulatedStatusBar& bar;
        StatusButton current;
    };

    std::vector<StatusButton> recordedButtons;
    int items = 0;
    bool hasButton = true;
    std::optional<Rectangle> frame;
    bool isDrawnByHost = true;
    std::uint32_t mask = 0;
    std::function<void()> action;
    std::vector<MenuEntry> entries;
    std::function<void(bool)> hostObserver;
};

} // namespace nocta
