#pragma once

#include "Platform/StatusItem.h"

#include <functional>
#include <memory>

namespace nocta {

/// A status item that is in one of two places: the preferred one as long as that has a host, else the other one, which
/// is made for that time only.
class SwitchingStatusItem final : public StatusItem {
  public:
    using MakeItem = std::function<std::unique_ptr<StatusItem>()>;

    SwitchingStatusItem(std::unique_ptr<StatusItem> preferred, MakeItem makeOther);

    [[nodiscard]] const StatusButton* button() const override { return preferred->button(); }
    void setButton(const StatusButton& button) override;
    void setAction(std::uint32_t mask, std::function<void()> action) override;
    void setMenu(std::vector<MenuEntry> entries) override;
    [[nodiscard]] std::optional<Rectangle> frame() const override;
    [[nodiscard]] bool isDrawnByHost() const override;
    void setHostObserver(std::function<void(bool hasHost)> observer) override;

  private:
    void preferredHostChanged(bool hasHost);
    void tell(bool hasHost);

    std::unique_ptr<StatusItem> preferred;
    MakeItem makeOther;
    std::unique_ptr<StatusItem> other;
    std::optional<bool> isHosted;
    std::uint32_t mask = 0;
    std::function<void()> action;
    std::vector<MenuEntry> menu;
    std::function<void(bool)> observer;
};

/// Where this session shows status items.
class SessionStatusBar final : public StatusBar {
  public:
    /// Without `makeOther` there is the preferred place only.
    explicit SessionStatusBar(SwitchingStatusItem::MakeItem makePreferred,
                              SwitchingStatusItem::MakeItem makeOther = nullptr)
        : makePreferred(std::move(makePreferred)), makeOther(std::move(makeOther)) {}

    [[nodiscard]] std::unique_ptr<StatusItem> makeStatusItem() override {
        if (!makeOther) {
            return makePreferred();
        }
        return std::make_unique<SwitchingStatusItem>(makePreferred(), makeOther);
    }

  private:
    SwitchingStatusItem::MakeItem makePreferred;
    SwitchingStatusItem::MakeItem makeOther;
};

} // namespace nocta
