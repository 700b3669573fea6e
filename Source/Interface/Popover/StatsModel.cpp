#include "Interface/Popover/StatsModel.h"

#include "Core/AppState.h"
#include "Core/ExposureScore.h"
#include "Interface/Bands.h"
#include "Interface/Theme.h"
#include "Platform/Platform.h"

namespace nocta {

namespace {

constexpr Seconds updateInterval{60.0};

QString decimal(std::int64_t number) {
    return QString::number(number);
}

} // namespace

StatsModel::StatsModel() {
    auto& state = AppState::shared();
    forward(state.exposureScore, &StatsModel::scoreChanged);
    forward(state.exposureScore, &StatsModel::scoreColorChanged);
    forward(state.totalFilteredMinutes, &StatsModel::filteredTodayChanged);
    forward(state.breaksTaken, &StatsModel::breaksTakenChanged);
    forward(state.breaksSkipped, &StatsModel::breaksSkippedChanged);
    const auto tempChanged = [this](const auto&) {
        Q_EMIT currentTempChanged();
        Q_EMIT tempColorChanged();
    };
    watch(state.activePresetID, tempChanged);
    watch(state.customTemp, tempChanged);
    forward(state.showMenuBarScore, &StatsModel::showMenuBarScoreChanged);
    forward(state.launchAtLogin, &StatsModel::launchAtLoginChanged);
    connect(&Theme::shared(), &Theme::changed, this, [this] {
        Q_EMIT scoreColorChanged();
        Q_EMIT tempColorChanged();
    });
}

void StatsModel::appear() {
    updateExposureScore();
    updateTimer = Platform::current().runLoop->repeating(updateInterval, TimerPrecision::coarse, &updateExposureScore);
}

void StatsModel::disappear() {
    updateTimer.reset();
}

void StatsModel::updateExposureScore() {
    auto& state = AppState::shared();
    state.exposureScore = exposureScore(state.filterEnabled.get(), state.effectiveTemp(), state.breaksTaken.get(),
                                        state.breaksSkipped.get());
}

QString StatsModel::score() {
    return decimal(AppState::shared().exposureScore.get());
}

qreal StatsModel::scoreFraction() {
    return static_cast<double>(AppState::shared().exposureScore.get()) / 100.0;
}

QString StatsModel::scoreDescription() {
    const auto text = nocta::scoreDescription(AppState::shared().exposureScore.get());
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QColor StatsModel::scoreColor() {
    return Theme::shared().color(nocta::scoreColor(AppState::shared().exposureScore.get()));
}

QString StatsModel::filteredToday() {
    return hoursAndMinutes(AppState::shared().totalFilteredMinutes.get());
}

QString StatsModel::breaksTaken() {
    return decimal(AppState::shared().breaksTaken.get());
}

QString StatsModel::breaksSkipped() {
    return decimal(AppState::shared().breaksSkipped.get());
}

QString StatsModel::currentTemp() {
    return decimal(AppState::shared().effectiveTemp()) + QLatin1Char('K');
}

QColor StatsModel::tempColor() {
    return Theme::shared().color(nocta::tempColor(AppState::shared().effectiveTemp()));
}

bool StatsModel::showMenuBarScore() {
    return AppState::shared().showMenuBarScore.get();
}

void StatsModel::setShowMenuBarScore(bool shows) {
    AppState::shared().showMenuBarScore = shows;
}

bool StatsModel::launchAtLogin() {
    return AppState::shared().launchAtLogin.get();
}

void StatsModel::setLaunchAtLogin(bool launches) {
    AppState::shared().launchAtLogin = launches;
}

QString StatsModel::hoursAndMinutes(std::int64_t minutes) {
    return decimal(minutes / 60) + QStringLiteral("h ") + decimal(minutes % 60) + QLatin1Char('m');
}

} // namespace nocta
