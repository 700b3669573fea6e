#include "App/SessionStatusBar.h"

#include <utility>

namespace nocta {

SwitchingStatusItem::SwitchingStatusItem(std::unique_ptr<StatusItem> preferred, MakeItem makeOther)
    : preferred(std::move(preferred)), makeOther(std::move(makeOther)) {
    this->preferred->setHostObserver([this](bool hasHost) { preferredHostChanged(hasHost); });
}

void SwitchingStatusItem::setButton(const StatusButton& button) {
    preferred->setButton(button);
    if (other) {
        other->setButton(button);
    }
}

void SwitchingStatusItem::setAction(std::uint32_t newMask, std::function<void()> newAction) {
    mask = newMask;
    action = std::move(newAction);
    preferred->setAction(mask, action);
    if (other) {
        other->setAction(mask, action);
    }
}

void SwitchingStatusItem::setMenu(std::vector<MenuEntry> entries) {
    menu = std::move(entries);
    preferred->setMenu(menu);
    if (other) {
        other->setMenu(menu);
    }
}

std::optional<Rectangle> SwitchingStatusItem::frame() const {
    return other ? other->frame() : preferred->frame();
}

bool SwitchingStatusItem::isDrawnByHost() const {
    return other ? other->isDrawnByHost() : preferred->isDrawnByHost();
}

void SwitchingStatusItem::setHostObserver(std::function<void(bool hasHost)> newObserver) {
    observer = std::move(newObserver);
    if (isHosted && observer) {
        observer(*isHosted);
    }
}

void SwitchingStatusItem::preferredHostChanged(bool hasHost) {
    if (hasHost) {
        other.reset();
        tell(true);
        return;
    }
    if (!other) {
        other = makeOther();
        if (const auto* shown = preferred->button()) {
            other->setButton(*shown);
        }
        other->setAction(mask, action);
        other->setMenu(menu);
        other->setHostObserver([this](bool otherHasHost) { tell(otherHasHost); });
    }
}

void SwitchingStatusItem::tell(bool hasHost) {
    if (std::exchange(isHosted, hasHost) != hasHost && observer) {
        observer(hasHost);
    }
}

} // namespace nocta
