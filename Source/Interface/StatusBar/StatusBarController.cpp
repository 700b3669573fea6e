#include "Interface/StatusBar/StatusBarController.h"

#include "Core/AppState.h"
#include "Core/FatalError.h"
#include "Core/FilterEngine.h"
#include "Interface/Bands.h"
#include "Interface/SystemColors.h"
#include "Platform/Application.h"
#include "Platform/Clock.h"
#include "Platform/Platform.h"

#include <string>
#include <utility>

namespace nocta {

namespace {

constexpr Size popoverSize{.width = 340, .height = 560};
constexpr Seconds refreshInterval(60);
constexpr std::int64_t neutralTemp = 6500; // kelvin
/// Longer than a mouse button is held in a click and a busy panel takes to hand it on. A later click on the item has
/// one elsewhere of its own before it, which ends the waiting for the earlier one.
constexpr Seconds longestClick(2);

/// By how much the item's action may be ahead of the same click elsewhere: what a busy machine takes to serve us both.
constexpr Seconds longestOvertaking(0.5);

/// Panels are dark more often than not; on light ones the picture's outline helps.
constexpr ColorScheme panel = ColorScheme::dark;

} // namespace

void StatusBarController::setup() {
    const auto& platform = Platform::current();
    if (platform.statusBar == nullptr || platform.popovers == nullptr) {
        fatalError("Unexpectedly found nil while implicitly unwrapping an Optional value");
    }
    statusItem = platform.statusBar->makeStatusItem();
    popover = platform.popovers->makePopover(
        {.contentSize = popoverSize, .behavior = PopoverBehavior::applicationDefined, .animates = true});

    const auto weakly = [self = weak_from_this()](void (StatusBarController::*act)()) {
        return [self, act] {
            if (const auto controller = self.lock()) {
                (controller.get()->*act)();
            }
        };
    };
    if (statusItem->button() != nullptr) {
        statusItem->setAction(mouseevent::leftUp | mouseevent::rightUp, weakly(&StatusBarController::itemClicked));
        statusItem->setMenu({{.title = "Open Nocta", .action = weakly(&StatusBarController::openPopover)},
                             {.title = "Quit", .action = [] {
                                  FilterEngine::shared().resetAllDisplays();
                                  Platform::current().application->terminate();
                              }}});
    }
    updateMenuBarIcon();

    auto* runLoop = platform.runLoop;
    const auto inATask = [runLoop](std::function<void()> act) {
        return [runLoop, act = std::move(act)] { runLoop->async(act); };
    };
    updateTimer = runLoop->repeating(refreshInterval, TimerPrecision::coarse,
                                     inATask(weakly(&StatusBarController::updateMenuBarIcon)));
    if (platform.eventMonitor != nullptr) {
        eventMonitor =
            platform.eventMonitor->addGlobalMouseDownMonitor(inATask(weakly(&StatusBarController::clickedElsewhere)));
    }
}

void StatusBarController::updateMenuBarIcon() {
    auto& item = presentItem();
    if (item.button() == nullptr) {
        return;
    }
    auto button = *item.button();
    const auto& state = AppState::shared();
    if (state.filterEnabled.get()) {
        const auto temp = state.effectiveTemp();
        button.image = iconImage(iconColor(temp), temp);
        button.toolTip = std::to_string(temp) + "K";
        if (state.showMenuBarScore.get()) {
            const auto score = std::to_string(state.exposureScore.get());
            button.title = " " + score;
            button.imagePosition = ImagePosition::imageLeft;
            button.toolTip += ", score " + score;
        } else {
            button.title.clear();
        }
    } else {
        button.image = iconImage(labelColor(LabelLevel::tertiary, panel), neutralTemp);
        button.title.clear();
        button.toolTip = "Filter Off";
    }
    item.setButton(button);
}

void StatusBarController::togglePopover() {
    if (presentPopover().isShown()) {
        closePopover();
    } else {
        openPopover();
    }
}

void StatusBarController::openPopover() {
    const auto& item = presentItem();
    if (item.button() == nullptr) {
        return;
    }
    presentPopover().show(item.frame(), Edge::below);
    presentPopover().makeKey();
}

void StatusBarController::closePopover() {
    presentPopover().performClose();
}

Color StatusBarController::iconColor(std::int64_t temp) {
    return systemColor(warmColor(temp), panel);
}

SymbolImage StatusBarController::iconImage(const Color& color, std::int64_t /*temp*/) {
    return {.symbolName = "eye.fill",
            .accessibilityDescription = "Nocta",
            .pointSize = 14,
            .weight = SymbolWeight::medium,
            .color = color,
            .isTemplate = false};
}

StatusItem& StatusBarController::presentItem() const {
    if (!statusItem) {
        fatalError("Unexpectedly found nil while implicitly unwrapping an Optional value");
    }
    return *statusItem;
}

Popover& StatusBarController::presentPopover() const {
    if (!popover) {
        fatalError("Unexpectedly found nil while implicitly unwrapping an Optional value");
    }
    return *popover;
}

void StatusBarController::itemClicked() {
    if (!presentItem().isDrawnByHost()) {
        togglePopover();
        return;
    }
    if (std::exchange(closingClick, nullptr)) {
        return;
    }
    const auto sinceElsewhere = Platform::current().clock->now() - std::exchange(lastClickElsewhere, Instant::min());
    if (sinceElsewhere < Seconds(0) || sinceElsewhere > longestClick) {
        overtakingClick = Platform::current().runLoop->oneShot(longestOvertaking, [this] { overtakingClick.reset(); });
    }
    togglePopover();
}

void StatusBarController::clickedElsewhere() {
    if (std::exchange(overtakingClick, nullptr)) {
        return;
    }
    closingClick.reset();
    if (presentPopover().isShown()) {
        closePopover();
        closingClick = Platform::current().runLoop->oneShot(longestClick, [this] { closingClick.reset(); });
    } else {
        lastClickElsewhere = Platform::current().clock->now();
    }
}

} // namespace nocta
