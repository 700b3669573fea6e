#include "Platform/KWin/NightColorDisplayService.h"

#include "Platform/KWin/NightLight.h"
#include "Platform/WaylandClient/WaylandClient.h"

#include <utility>

#include <QGuiApplication>
#include <QObject>
#include <QWindow>

namespace nocta {

namespace {

/// Another compositor may run within KWin's session, on its bus.
bool isOnKWin() {
    return WaylandClient::offers("org_kde_plasma_shell");
}

NightTint nearestTint(std::span<const float> red, std::span<const float> green, std::span<const float> blue) {
    return NightTint::nearest({.red = static_cast<double>(red.back()),
                               .green = static_cast<double>(green.back()),
                               .blue = static_cast<double>(blue.back())});
}

} // namespace

NightColorDisplayService::NightColorDisplayService(RunLoop& loop, std::function<void()> onServerLost) {
    if (!isOnKWin()) {
        return;
    }
    dimmer = std::make_unique<LayerDimmer>(loop, std::move(onServerLost));
    if (!dimmer->isAvailable()) {
        return;
    }
    auto asked = std::make_unique<NightLight>(loop);
    if (!asked->hasAnswered()) {
        return;
    }
    nightLight = std::move(asked);
    // The popover and a break are layer surfaces too, and are above the dimming until it is put above them.
    if (auto* const application = qobject_cast<QGuiApplication*>(QCoreApplication::instance())) {
        ownWindows = std::make_unique<QObject>();
        QObject::connect(application, &QGuiApplication::focusWindowChanged, ownWindows.get(),
                         [this](const QWindow* window) {
                             if (window != nullptr) {
                                 dimmer->raise();
                             }
                         });
    }
}

NightColorDisplayService::~NightColorDisplayService() = default;

std::size_t NightColorDisplayService::activeDisplays(std::span<DisplayID> buffer) {
    return isAvailable() ? dimmer->outputs(buffer) : 0;
}

void NightColorDisplayService::load(DisplayID display, std::span<const float> red, std::span<const float> green,
                                    std::span<const float> blue) {
    if (!isAvailable() || red.empty() || green.empty() || blue.empty()) {
        return;
    }
    const auto next = nearestTint(red, green, blue);
    if (dimmer->setBrightness(display, next.brightness)) {
        setColour(next);
    }
}

void NightColorDisplayService::loadNewcomers(std::span<const float> red, std::span<const float> green,
                                             std::span<const float> blue) {
    if (!isAvailable() || red.empty() || green.empty() || blue.empty()) {
        return;
    }
    const auto next = nearestTint(red, green, blue);
    dimmer->setBrightnessOfNewcomers(next.brightness);
    setColour(next);
}

void NightColorDisplayService::setColour(const NightTint& next) {
    isTinted = true;
    // Black has no colour to go to.
    if (next.brightness > 0) {
        kelvin = next.kelvin;
    }
}

void NightColorDisplayService::flush() {
    if (isTinted) {
        dimmer->flush();
        nightLight->show(kelvin);
    }
}

void NightColorDisplayService::reload() {
    // What KWin has of the surfaces lasts; what it shows of the temperature it knows.
    if (isTinted) {
        nightLight->verify();
    }
}

void NightColorDisplayService::restoreCalibration() {
    if (std::exchange(isTinted, false)) {
        kelvin = NightTint::neutral;
        dimmer->clear();
        nightLight->release();
    }
}

std::vector<DisplayDescription> NightColorDisplayService::describe() {
    std::vector<DisplayDescription> descriptions;
    std::vector<DisplayID> displays(activeDisplays({}));
    activeDisplays(displays);
    descriptions.reserve(displays.size());
    for (const auto display : displays) {
        descriptions.push_back({.id = display,
                                .name = dimmer->nameOf(display),
                                .tableSize = 0,
                                .hasTemperature = nightLight->isSupported(),
                                .hasBrightness = true});
    }
    return descriptions;
}

} // namespace nocta
