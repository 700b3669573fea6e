#pragma once

#include "Interface/Popover/TabModel.h"
#include "Platform/RunLoop.h"

#include <cstdint>
#include <memory>

#include <QColor>
#include <QString>

namespace nocta {

/// What the tab "Stats" binds to. While the tab is on the screen it keeps the score up to date by itself; the filtered
/// minutes are counted elsewhere. Needs the application object.
class StatsModel : public nocta::TabModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Belongs to the popover.")
    Q_PROPERTY(QString score READ score NOTIFY scoreChanged FINAL)
    /// Of the ring that is filled.
    Q_PROPERTY(qreal scoreFraction READ scoreFraction NOTIFY scoreChanged FINAL)
    Q_PROPERTY(QString scoreDescription READ scoreDescription NOTIFY scoreChanged FINAL)
    Q_PROPERTY(QColor scoreColor READ scoreColor NOTIFY scoreColorChanged FINAL)
    Q_PROPERTY(QString filteredToday READ filteredToday NOTIFY filteredTodayChanged FINAL)
    Q_PROPERTY(QString breaksTaken READ breaksTaken NOTIFY breaksTakenChanged FINAL)
    Q_PROPERTY(QString breaksSkipped READ breaksSkipped NOTIFY breaksSkippedChanged FINAL)
    Q_PROPERTY(QString currentTemp READ currentTemp NOTIFY currentTempChanged FINAL)
    Q_PROPERTY(QColor tempColor READ tempColor NOTIFY tempColorChanged FINAL)
    Q_PROPERTY(
        bool showMenuBarScore READ showMenuBarScore WRITE setShowMenuBarScore NOTIFY showMenuBarScoreChanged FINAL)
    Q_PROPERTY(bool launchAtLogin READ launchAtLogin WRITE setLaunchAtLogin NOTIFY launchAtLoginChanged FINAL)

  public:
    StatsModel();

    [[nodiscard]] static QString score();
    [[nodiscard]] static qreal scoreFraction();
    [[nodiscard]] static QString scoreDescription();
    [[nodiscard]] static QColor scoreColor();
    [[nodiscard]] static QString filteredToday();
    [[nodiscard]] static QString breaksTaken();
    [[nodiscard]] static QString breaksSkipped();
    [[nodiscard]] static QString currentTemp();
    [[nodiscard]] static QColor tempColor();
    [[nodiscard]] static bool showMenuBarScore();
    static void setShowMenuBarScore(bool shows);
    [[nodiscard]] static bool launchAtLogin();
    /// Keeps the wish, and nothing else: nobody registers a login item, on purpose.
    static void setLaunchAtLogin(bool launches);

    /// "2h 5m" for 125.
    [[nodiscard]] static QString hoursAndMinutes(std::int64_t minutes);

  Q_SIGNALS:
    void scoreChanged();
    void scoreColorChanged();
    void filteredTodayChanged();
    void breaksTakenChanged();
    void breaksSkippedChanged();
    void currentTempChanged();
    void tempColorChanged();
    void showMenuBarScoreChanged();
    void launchAtLoginChanged();

  protected:
    void appear() override;
    void disappear() override;

  private:
    static void updateExposureScore();

    std::unique_ptr<Timer> updateTimer;
};

} // namespace nocta
