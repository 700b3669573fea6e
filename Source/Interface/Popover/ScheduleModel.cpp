#include "Interface/Popover/ScheduleModel.h"

#include "Core/AppState.h"
#include "Core/UserActions.h"
#include "Platform/Clock.h"
#include "Platform/Platform.h"

#include <array>

#include <QTime>

namespace nocta {

namespace {

struct Segment {
    const char* label;
    float red;
    float green;
    float blue;
};

constexpr std::array<Segment, 7> timelineSegments{{
    {"Sleep", 0.2F, 0.1F, 0.4F},
    {"Dawn", 0.9F, 0.5F, 0.2F},
    {"Day", 0.3F, 0.6F, 1.0F},
    {"Focus", 0.2F, 0.5F, 0.8F},
    {"Dusk", 0.9F, 0.4F, 0.1F},
    {"Evening", 0.7F, 0.2F, 0.1F},
    {"Sleep", 0.2F, 0.1F, 0.4F},
}};

/// One beyond every calendar counts as midnight, here as in the schedule.
DateComponents shownComponents(Instant instant) {
    return Platform::current().calendar->components(instant).value_or(DateComponents{});
}

int hourOf(Instant instant) {
    return static_cast<int>(shownComponents(instant).hour);
}

int minuteOf(Instant instant) {
    return static_cast<int>(shownComponents(instant).minute);
}

} // namespace

ScheduleModel::ScheduleModel() {
    auto& state = AppState::shared();
    forward(state.scheduleEnabled, &ScheduleModel::scheduleEnabledChanged);
    forward(state.scheduleUsesLocation, &ScheduleModel::scheduleUsesLocationChanged);
    forward(state.manualSunrise, &ScheduleModel::sunriseChanged);
    forward(state.manualSunset, &ScheduleModel::sunsetChanged);
    forward(state.activePresetID, &ScheduleModel::activePresetNameChanged);
    keep(state.observeWillChange([this] {
        if (isOnScreen()) {
            showCurrentTime();
        }
    }));
}

void ScheduleModel::appear() {
    // The wall clock's zone may have changed since.
    Q_EMIT sunriseChanged();
    Q_EMIT sunsetChanged();
    showCurrentTime();
}

void ScheduleModel::showCurrentTime() {
    shownTime = shortTime(Platform::current().clock->now(), QLocale());
    Q_EMIT currentTimeLabelChanged();
}

bool ScheduleModel::scheduleEnabled() {
    return AppState::shared().scheduleEnabled.get();
}

void ScheduleModel::setScheduleEnabled(bool enabled) {
    userActions::setScheduleEnabled(enabled);
}

bool ScheduleModel::scheduleUsesLocation() {
    return AppState::shared().scheduleUsesLocation.get();
}

void ScheduleModel::setScheduleUsesLocation(bool usesLocation) {
    userActions::setScheduleUsesLocation(usesLocation);
}

int ScheduleModel::sunriseHour() {
    return hourOf(AppState::shared().manualSunrise.get());
}

int ScheduleModel::sunriseMinute() {
    return minuteOf(AppState::shared().manualSunrise.get());
}

int ScheduleModel::sunsetHour() {
    return hourOf(AppState::shared().manualSunset.get());
}

int ScheduleModel::sunsetMinute() {
    return minuteOf(AppState::shared().manualSunset.get());
}

void ScheduleModel::setSunrise(int hour, int minute) {
    userActions::setManualSunrise(hour, minute);
}

void ScheduleModel::setSunset(int hour, int minute) {
    userActions::setManualSunset(hour, minute);
}

QStringList ScheduleModel::segmentLabels() {
    QStringList labels;
    for (const auto& segment : timelineSegments) {
        labels.push_back(QString::fromLatin1(segment.label));
    }
    return labels;
}

QList<QColor> ScheduleModel::segmentColors() {
    QList<QColor> colors;
    for (const auto& segment : timelineSegments) {
        colors.push_back(QColor::fromRgbF(segment.red, segment.green, segment.blue));
    }
    return colors;
}

QString ScheduleModel::activePresetName() {
    return QString::fromStdString(AppState::shared().activePreset().name);
}

QString ScheduleModel::shortTime(Instant instant, const QLocale& locale) {
    const auto components = Platform::current().calendar->components(instant);
    if (!components) {
        return {};
    }
    const QTime time(static_cast<int>(components->hour), static_cast<int>(components->minute));
    // The one of the "C" locale has seconds.
    return locale.toString(time, locale.timeFormat(QLocale::ShortFormat).remove(QStringLiteral(":ss")));
}

} // namespace nocta
