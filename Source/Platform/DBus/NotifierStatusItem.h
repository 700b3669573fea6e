#pragma once

#include "Platform/StatusItem.h"

#include <memory>

namespace nocta {

class DBusMenu;

/// A StatusNotifierItem on the session bus, for panels that run or are served by a StatusNotifierWatcher. Registers
/// itself again with every watcher that appears. Without a session bus it never has a host, silently.
///
/// The title is the item's label where the panel shows labels, which cannot be asked: of those known to do it.
/// Elsewhere it is drawn into the picture. The menu is offered to panels that would show nothing, or a menu of their
/// own, for a click that they do not hand on.
///
/// Its frame is where the host says that the last click was: on Wayland some hosts mean a place inside their own
/// window.
class NotifierStatusItem final : public StatusItem {
  public:
    /// `paint` draws the pictures that are handed to the host.
    explicit NotifierStatusItem(SymbolPainter paint);
    NotifierStatusItem(const NotifierStatusItem&) = delete;
    NotifierStatusItem& operator=(const NotifierStatusItem&) = delete;
    ~NotifierStatusItem() override;

    [[nodiscard]] const StatusButton* button() const override;
    void setButton(const StatusButton& button) override;
    void setAction(std::uint32_t mask, std::function<void()> action) override;
    void setMenu(std::vector<MenuEntry> entries) override;
    [[nodiscard]] std::optional<Rectangle> frame() const override;
    [[nodiscard]] bool isDrawnByHost() const override { return true; }
    void setHostObserver(std::function<void(bool hasHost)> observer) override;

  private:
    class Registration;
    class Item;

    std::unique_ptr<Item> item;
    std::unique_ptr<DBusMenu> menu;
    std::unique_ptr<Registration> registration;
};

} // namespace nocta
