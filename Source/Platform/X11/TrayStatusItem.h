#pragma once

#include "Platform/RunLoop.h"
#include "Platform/StatusItem.h"
#include "Platform/X11/XClient.h"

#include <cstdint>

namespace nocta {

/// An icon in the system tray of an X server: a window of ours that the tray takes into its own. Docks again with every
/// tray that appears. Trays know no labels and no menus: the title is drawn below the image, and both buttons arrive.
class TrayStatusItem final : public StatusItem {
  public:
    /// `loop` outlives the item. `paint` draws the picture. May wait for the server.
    TrayStatusItem(RunLoop& loop, SymbolPainter paint);
    TrayStatusItem(const TrayStatusItem&) = delete;
    TrayStatusItem& operator=(const TrayStatusItem&) = delete;
    ~TrayStatusItem() override = default;

    [[nodiscard]] const StatusButton* button() const override { return &shownButton; }
    void setButton(const StatusButton& button) override;
    void setAction(std::uint32_t mask, std::function<void()> action) override;
    void setMenu(std::vector<MenuEntry> /*entries*/) override {}
    [[nodiscard]] std::optional<Rectangle> frame() const override;
    [[nodiscard]] bool isDrawnByHost() const override { return false; }
    void setHostObserver(std::function<void(bool hasHost)> observer) override;

  private:
    struct Visual {
        xcb_visualid_t id = 0;
        std::uint8_t depth = 0;
    };

    void handle(const xcb_generic_event_t& event);
    /// Looks for a tray and asks it to take the window. Waits for the server.
    void dock();
    /// What the tray draws on; the screen's own where it names none.
    [[nodiscard]] Visual trayVisual() const;
    void makeWindow(const Visual& newVisual);
    void forgetWindow();
    void draw();
    void putPicture(std::vector<std::uint32_t> pixels);
    void setHosted(bool newIsHosted);
    void tellHost();

    RunLoop& loop;
    SymbolPainter paint;
    mutable XClient client; // also a question is sent and answered
    xcb_atom_t traySelection = XCB_ATOM_NONE;
    xcb_atom_t managerMessage = XCB_ATOM_NONE;
    xcb_window_t tray = XCB_WINDOW_NONE;
    xcb_window_t window = XCB_WINDOW_NONE;
    xcb_gcontext_t gc = 0;
    xcb_colormap_t colormap = XCB_NONE;
    Visual visual;
    std::uint16_t width = 0;
    std::uint16_t height = 0;
    std::optional<bool> isHosted;

    StatusButton shownButton;
    std::uint32_t mask = 0;
    std::function<void()> action;
    std::function<void(bool)> observer;
    std::unique_ptr<Timer> notice;
};

} // namespace nocta
