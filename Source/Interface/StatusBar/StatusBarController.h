#pragma once

#include "Platform/EventMonitor.h"
#include "Platform/Popover.h"
#include "Platform/RunLoop.h"
#include "Platform/StatusItem.h"
#include "Platform/Time.h"

#include <cstdint>
#include <memory>

namespace nocta {

/// The program's one item in the panel, and the popover that hangs on it. Reads the shared state, never writes it. Main
/// thread only; owned by a shared pointer, so that what fires late finds out that it has gone.
class StatusBarController : public std::enable_shared_from_this<StatusBarController> {
  public:
    /// Makes the item, the popover and what keeps them right. To be called once, before anything else; using the
    /// controller without it is fatal.
    void setup();
    /// Draws the item from the shared state. Settings do not redraw it by themselves: it happens once a minute, and
    /// whenever somebody calls this.
    void updateMenuBarIcon();
    void togglePopover();
    /// Shows the popover beside the item and gives it the keyboard.
    void openPopover();
    void closePopover();

  private:
    /// The colour of the eye at that many kelvin.
    [[nodiscard]] static Color iconColor(std::int64_t temp);
    /// The eye in that colour; the temperature takes no part.
    [[nodiscard]] static SymbolImage iconImage(const Color& color, std::int64_t temp);

    [[nodiscard]] StatusItem& presentItem() const;
    [[nodiscard]] Popover& presentPopover() const;
    void itemClicked();
    void clickedElsewhere();

    std::unique_ptr<StatusItem> statusItem;
    std::unique_ptr<Popover> popover;
    std::unique_ptr<EventMonitorToken> eventMonitor;
    std::unique_ptr<Timer> updateTimer;

    // Where the panel draws the item, a click on it reaches us twice: as a click elsewhere and as the item's action,
    // mostly in this order, but a busy loop may turn it round. Each of these runs from the one until it can no longer
    // belong to the other.
    std::unique_ptr<Timer> closingClick;         ///< elsewhere, and it closed the popover
    std::unique_ptr<Timer> overtakingClick;      ///< the item's action, which came first
    Instant lastClickElsewhere = Instant::min(); ///< that found nothing to close
};

} // namespace nocta
