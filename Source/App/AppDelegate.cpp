#include "App/AppDelegate.h"

#include "Core/AppState.h"
#include "Core/AppWatcher.h"
#include "Core/BreakEngine.h"
#include "Core/CheckedArithmetic.h"
#include "Core/CircadianScheduler.h"
#include "Core/ExposureScore.h"
#include "Core/FatalError.h"
#include "Core/FilterEngine.h"
#include "Platform/DisplayService.h"
#include "Platform/NotificationService.h"
#include "Platform/Platform.h"

#include <cstdint>
#include <string>

#include <QUuid>

namespace nocta {

namespace {

/// The period of the score's timer, said twice: the tally counts what the timer measures.
constexpr Seconds scoreInterval{300.0};
constexpr std::int64_t scoreIntervalMinutes = 5;

/// From the launch to the popover: enough for a panel to have made room for the item.
constexpr Seconds firstOpeningDelay{0.35};

/// Super+Shift+I, whatever other modifiers are held.
bool isCyclingShortcut(const KeyEvent& event) {
    constexpr std::uint32_t needed = modifier::command | modifier::shift;
    return (event.modifierFlags & needed) == needed && event.keyCode == keycode::i;
}

} // namespace

AppDelegate::AppDelegate() : statusBar(std::make_shared<StatusBarController>()) {}

void AppDelegate::applicationDidFinishLaunching() {
    auto* application = Platform::current().application;
    if (application == nullptr) {
        fatalError("Unexpectedly found nil while implicitly unwrapping an Optional value");
    }
    application->setActivationPolicy(ActivationPolicy::accessory);
    statusBar->setup();

    const auto& state = AppState::shared();
    if (state.filterEnabled.get()) {
        FilterEngine::shared().applyImmediate(state.effectiveTemp(), state.effectiveBrightness());
    } else {
        FilterEngine::shared().beginDisabled();
    }
    CircadianScheduler::shared().start();
    AppWatcher::shared().start();
    if (state.breaksEnabled.get()) {
        BreakEngine::shared().start();
    }

    updateExposureScore();
    scoreTimer = Platform::current().runLoop->repeating(scoreInterval, TimerPrecision::coarse, [this] {
        updateExposureScore();
        statusBar->updateMenuBarIcon();
    });
    if (auto* eventMonitor = Platform::current().eventMonitor) {
        keyMonitor = eventMonitor->addGlobalKeyDownMonitor([this](const KeyEvent& event) {
            if (isCyclingShortcut(event)) {
                cyclePreset();
            }
        });
    }
    if (auto* notifications = Platform::current().notifications) {
        notifications->requestAuthorization(notification::alert | notification::sound, [](bool /*granted*/) {});
    }
    firstOpening = Platform::current().runLoop->oneShot(firstOpeningDelay, [this] { statusBar->openPopover(); });

    if (auto* systemEvents = Platform::current().systemEvents) {
        systemEvents->setDelegate(this);
    }
}

void AppDelegate::applicationWillTerminate() {
    if (auto* systemEvents = Platform::current().systemEvents) {
        systemEvents->setDelegate(nullptr);
    }
    AppWatcher::shared().stop();
    CircadianScheduler::shared().stop();
    BreakEngine::shared().stop();
    FilterEngine::shared().resetAllDisplays();
    firstOpening.reset();
    keyMonitor.reset();
    scoreTimer.reset();
    // Item and popover belong to a desktop that this delegate outlives.
    statusBar.reset();
}

bool AppDelegate::applicationShouldHandleReopen(bool /*hasVisibleWindows*/) {
    statusBar->openPopover();
    return true;
}

void AppDelegate::systemDidWake(Seconds asleep) {
    Platform::current().displays->reload();
    CircadianScheduler::shared().tick();
    // Eyes that had as long as a break lasts have rested.
    const Seconds breakDuration(static_cast<double>(AppState::shared().breakDurationSeconds.get()));
    if (auto& breaks = BreakEngine::shared(); asleep >= breakDuration && breaks.isCycleRunning()) {
        breaks.restartTimer();
    }
}

void AppDelegate::clockDidChange() {
    CircadianScheduler::shared().tick();
}

void AppDelegate::sessionDidBecomeActive() {
    Platform::current().displays->reload();
}

void AppDelegate::updateExposureScore() {
    auto& state = AppState::shared();
    const bool isFiltered = state.filterEnabled.get();
    state.exposureScore =
        exposureScore(isFiltered, state.effectiveTemp(), state.breaksTaken.get(), state.breaksSkipped.get());
    if (isFiltered) {
        state.totalFilteredMinutes = checkedAdd(state.totalFilteredMinutes.get(), scoreIntervalMinutes);
    }
}

void AppDelegate::cyclePreset() {
    auto& state = AppState::shared();
    const Preset& preset = nextPreset(Preset::builtIn, state.activePresetID.get());
    state.activePresetID = preset.id;
    FilterEngine::shared().apply(preset.colorTemp, preset.brightness, preset.transitionSecs);
    statusBar->updateMenuBarIcon();
    if (auto* notifications = Platform::current().notifications) {
        notifications->add({.identifier = QUuid::createUuid().toString(QUuid::WithoutBraces).toStdString(),
                            .title = "Nocta",
                            .body = "Switched to " + preset.name + " (" + std::to_string(preset.colorTemp) + "K)"});
    }
}

} // namespace nocta
