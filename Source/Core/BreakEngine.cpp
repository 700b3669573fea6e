#include "Core/BreakEngine.h"

#include "Core/AppState.h"
#include "Core/CheckedArithmetic.h"
#include "Platform/Clock.h"
#include "Platform/Platform.h"

#include <algorithm>
#include <utility>

namespace nocta {

namespace {

Seconds workPeriod() {
    const auto seconds = checkedMultiply<std::int64_t>(AppState::shared().breakIntervalMinutes.get(), 60);
    return Seconds(static_cast<double>(seconds));
}

void count(Property<std::int64_t>& tally) {
    tally = checkedAdd<std::int64_t>(tally.get(), 1);
}

} // namespace

BreakEngine& BreakEngine::shared() {
    static BreakEngine& instance = *new BreakEngine;
    return instance;
}

BreakEngine::BreakEngine() : startTime(Platform::current().clock->now()) {}

void BreakEngine::start() {
    stop();
    if (AppState::shared().breaksEnabled.get()) {
        scheduleNextBreak();
    }
}

void BreakEngine::stop() {
    workTimer.reset();
    breakTimer.reset();
    if (overlay) {
        overlay->forceClose();
        overlay.reset();
        breaks.emit();
    }
}

void BreakEngine::restartTimer() {
    stop();
    start();
}

void BreakEngine::skipBreak() {
    auto& state = AppState::shared();
    count(state.breaksSkipped);
    dismissOverlay();
    if (state.breaksEnabled.get()) {
        scheduleNextBreak();
    }
}

Seconds BreakEngine::timeUntilBreak() const {
    return std::max(Seconds::zero(), workPeriod() - (Platform::current().clock->now() - startTime));
}

bool BreakEngine::isCycleRunning() const {
    return workTimer != nullptr || breakTimer != nullptr;
}

void BreakEngine::scheduleNextBreak() {
    const Seconds period = workPeriod();
    startTime = Platform::current().clock->now();
    if (workTimer) {
        orphanedTimers.push_back(std::move(workTimer));
    }
    workTimer = std::make_unique<HandedOverTimer>(period, [this] { triggerBreak(); });
}

void BreakEngine::triggerBreak() {
    const auto hasFired = [](const auto& timer) { return timer && timer->hasFired(); };
    if (hasFired(workTimer)) {
        workTimer.reset();
    }
    std::erase_if(orphanedTimers, hasFired);

    const auto& state = AppState::shared();
    if (!state.breaksEnabled.get()) {
        return;
    }
    const std::int64_t d = state.breakDurationSeconds.get();
    showBreakOverlay(d);
    breakTimer = std::make_unique<HandedOverTimer>(Seconds(static_cast<double>(d)), [this] { endBreak(); });
}

void BreakEngine::showBreakOverlay(std::int64_t duration) {
    overlay = std::make_unique<BreakOverlayWindowController>(duration);
    overlay->onSkip = [this] { skipBreak(); };
    overlay->present();
    breaks.emit();
}

void BreakEngine::endBreak() {
    dismissOverlay();
    auto& state = AppState::shared();
    count(state.breaksTaken);
    if (state.breaksEnabled.get()) {
        scheduleNextBreak();
    }
}

void BreakEngine::dismissOverlay() {
    breakTimer.reset();
    if (overlay) {
        overlay->close();
        overlay.reset();
        breaks.emit();
    }
}

} // namespace nocta
