#include "Interface/Popover/BreaksModel.h"

#include "Core/AppState.h"
#include "Core/BreakEngine.h"
#include "Core/CheckedArithmetic.h"
#include "Core/UserActions.h"
#include "Platform/Platform.h"

#include <algorithm>
#include <array>
#include <span>
#include <utility>

namespace nocta {

namespace {

constexpr Seconds countdownInterval{1.0};
constexpr std::int64_t previewDuration = 5; ///< seconds, whatever the breaks last

constexpr std::array<std::int64_t, 5> intervals{15, 20, 30, 45, 60}; ///< minutes
constexpr std::array<std::int64_t, 4> durations{15, 20, 30, 60};     ///< seconds

QList<QString> labels(std::span<const std::int64_t> values, const QString& unit) {
    QList<QString> result;
    for (const auto value : values) {
        result.push_back(QString::number(value) + unit);
    }
    return result;
}

int indexOf(std::span<const std::int64_t> values, std::int64_t value) {
    const auto found = std::ranges::find(values, value);
    return found == values.end() ? -1 : static_cast<int>(found - values.begin());
}

} // namespace

BreaksModel::BreaksModel() {
    auto& state = AppState::shared();
    forward(state.breaksEnabled, &BreaksModel::breaksEnabledChanged);
    forward(state.breakIntervalMinutes, &BreaksModel::intervalChanged);
    forward(state.breakIntervalMinutes, &BreaksModel::countdownChanged);
    forward(state.breakDurationSeconds, &BreaksModel::durationChanged);
    forward(state.breaksTaken, &BreaksModel::breaksTakenChanged);
    forward(state.breaksSkipped, &BreaksModel::breaksSkippedChanged);
}

bool BreaksModel::breaksEnabled() {
    return AppState::shared().breaksEnabled.get();
}

void BreaksModel::setBreaksEnabled(bool enabled) {
    userActions::setBreaksEnabled(enabled);
    updateCountdown();
}

QList<QString> BreaksModel::intervalLabels() {
    return labels(intervals, QStringLiteral(" min"));
}

int BreaksModel::intervalIndex() {
    return indexOf(intervals, AppState::shared().breakIntervalMinutes.get());
}

void BreaksModel::setIntervalIndex(int index) {
    userActions::setBreakIntervalMinutes(intervals.at(static_cast<std::size_t>(index)));
    updateCountdown();
}

QList<QString> BreaksModel::durationLabels() {
    return labels(durations, QStringLiteral(" s"));
}

int BreaksModel::durationIndex() {
    return indexOf(durations, AppState::shared().breakDurationSeconds.get());
}

void BreaksModel::setDurationIndex(int index) {
    userActions::setBreakDurationSeconds(durations.at(static_cast<std::size_t>(index)));
}

qreal BreaksModel::progress() const {
    return breakProgress(timeUntilBreak, AppState::shared().breakIntervalMinutes.get());
}

QString BreaksModel::breaksTaken() {
    return QString::number(AppState::shared().breaksTaken.get());
}

QString BreaksModel::breaksSkipped() {
    return QString::number(AppState::shared().breaksSkipped.get());
}

void BreaksModel::previewOverlay() {
    if (preview) {
        // First, so that the keyboard goes back to where the next one takes it from.
        preview->close();
    }
    preview = std::make_unique<BreakOverlayWindowController>(previewDuration);
    preview->present();
    previewEnd = std::make_unique<HandedOverTimer>(Seconds(static_cast<double>(previewDuration)), [this] {
        preview->close();
        preview.reset();
    });
}

QString BreaksModel::formatCountdown(Seconds time) {
    const auto seconds = checkedInteger(time.count());
    return QString::asprintf("%lld:%02lld", static_cast<long long>(seconds / 60), static_cast<long long>(seconds % 60));
}

double BreaksModel::breakProgress(Seconds timeUntilBreak, std::int64_t intervalMinutes) {
    const auto total = static_cast<double>(checkedMultiply<std::int64_t>(intervalMinutes, 60));
    // In this order an interval of nothing with nothing left is over.
    return std::max(0.0, std::min(1.0, 1.0 - timeUntilBreak.count() / total));
}

void BreaksModel::appear() {
    startCountdownUpdate();
}

void BreaksModel::disappear() {
    timer.reset();
}

void BreaksModel::startCountdownUpdate() {
    updateCountdown();
    // As precise as it can be: a tick that comes early or late shows a second twice, or not at all.
    timer =
        Platform::current().runLoop->repeating(countdownInterval, TimerPrecision::frame, [this] { updateCountdown(); });
}

void BreaksModel::updateCountdown() {
    const auto now = BreakEngine::shared().timeUntilBreak();
    if (std::exchange(timeUntilBreak, now) != now) {
        Q_EMIT countdownChanged();
    }
}

} // namespace nocta
