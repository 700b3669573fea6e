#pragma once

#include "Interface/Popover/TabModel.h"
#include "Platform/Time.h"

#include <cstdint>

#include <QColor>
#include <QList>
#include <QLocale>
#include <QString>
#include <QStringList>

namespace nocta {

/// What the tab "Schedule" binds to. Writing a property is what a person does with its control.
class ScheduleModel : public nocta::TabModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Belongs to the popover.")
    Q_PROPERTY(bool scheduleEnabled READ scheduleEnabled WRITE setScheduleEnabled NOTIFY scheduleEnabledChanged FINAL)
    Q_PROPERTY(bool scheduleUsesLocation READ scheduleUsesLocation WRITE setScheduleUsesLocation NOTIFY
                   scheduleUsesLocationChanged FINAL)
    /// The manual times, as a wall clock shows them here.
    Q_PROPERTY(int sunriseHour READ sunriseHour NOTIFY sunriseChanged FINAL)
    Q_PROPERTY(int sunriseMinute READ sunriseMinute NOTIFY sunriseChanged FINAL)
    Q_PROPERTY(int sunsetHour READ sunsetHour NOTIFY sunsetChanged FINAL)
    Q_PROPERTY(int sunsetMinute READ sunsetMinute NOTIFY sunsetChanged FINAL)
    /// The strip of the day, in order: an illustration, the same every day.
    Q_PROPERTY(QStringList segmentLabels READ segmentLabels CONSTANT FINAL)
    Q_PROPERTY(QList<QColor> segmentColors READ segmentColors CONSTANT FINAL)
    /// The time at which the tab was last drawn: when it came on the screen, or when a setting last changed on it.
    Q_PROPERTY(QString currentTimeLabel READ currentTimeLabel NOTIFY currentTimeLabelChanged FINAL)
    Q_PROPERTY(QString activePresetName READ activePresetName NOTIFY activePresetNameChanged FINAL)

  public:
    ScheduleModel();

    [[nodiscard]] static bool scheduleEnabled();
    static void setScheduleEnabled(bool enabled);
    [[nodiscard]] static bool scheduleUsesLocation();
    static void setScheduleUsesLocation(bool usesLocation);

    [[nodiscard]] static int sunriseHour();
    [[nodiscard]] static int sunriseMinute();
    [[nodiscard]] static int sunsetHour();
    [[nodiscard]] static int sunsetMinute();
    Q_INVOKABLE static void setSunrise(int hour, int minute);
    Q_INVOKABLE static void setSunset(int hour, int minute);

    [[nodiscard]] static QStringList segmentLabels();
    [[nodiscard]] static QList<QColor> segmentColors();
    [[nodiscard]] QString currentTimeLabel() const { return shownTime; }
    [[nodiscard]] static QString activePresetName();

    /// The local time of day of `instant` in the locale's short style; empty where the calendar has none.
    [[nodiscard]] static QString shortTime(Instant instant, const QLocale& locale);

  Q_SIGNALS:
    void scheduleEnabledChanged();
    void scheduleUsesLocationChanged();
    void sunriseChanged();
    void sunsetChanged();
    void currentTimeLabelChanged();
    void activePresetNameChanged();

  protected:
    void appear() override;
    void disappear() override {}

  private:
    void showCurrentTime();

    QString shownTime;
};

} // namespace nocta
