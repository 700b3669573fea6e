#pragma once

#include "Core/BreakOverlayWindowController.h"
#include "Core/HandedOverTimer.h"
#include "Interface/Popover/TabModel.h"
#include "Platform/RunLoop.h"
#include "Platform/Time.h"

#include <cstdint>
#include <memory>

#include <QList>
#include <QString>

namespace nocta {

/// What the tab "Breaks" binds to. Writing a property is what a person does with its control: it changes the setting
/// and, where that differs from before, drives the break engine.
class BreaksModel : public nocta::TabModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Belongs to the popover.")
    Q_PROPERTY(bool breaksEnabled READ breaksEnabled WRITE setBreaksEnabled NOTIFY breaksEnabledChanged FINAL)
    /// The intervals and lengths to choose from, and which one is set: -1 for one that is not among them.
    Q_PROPERTY(QList<QString> intervalLabels READ intervalLabels CONSTANT FINAL)
    Q_PROPERTY(int intervalIndex READ intervalIndex WRITE setIntervalIndex NOTIFY intervalChanged FINAL)
    Q_PROPERTY(QList<QString> durationLabels READ durationLabels CONSTANT FINAL)
    Q_PROPERTY(int durationIndex READ durationIndex WRITE setDurationIndex NOTIFY durationChanged FINAL)
    /// Of the work period: what is left of it, and the share that is over, in [0, 1].
    Q_PROPERTY(QString countdown READ countdown NOTIFY countdownChanged FINAL)
    Q_PROPERTY(qreal progress READ progress NOTIFY countdownChanged FINAL)
    Q_PROPERTY(QString breaksTaken READ breaksTaken NOTIFY breaksTakenChanged FINAL)
    Q_PROPERTY(QString breaksSkipped READ breaksSkipped NOTIFY breaksSkippedChanged FINAL)

  public:
    BreaksModel();

    [[nodiscard]] static bool breaksEnabled();
    void setBreaksEnabled(bool enabled);
    [[nodiscard]] static QList<QString> intervalLabels();
    [[nodiscard]] static int intervalIndex();
    /// What runs starts over with the new interval.
    void setIntervalIndex(int index);
    [[nodiscard]] static QList<QString> durationLabels();
    [[nodiscard]] static int durationIndex();
    /// Holds from the next break on.
    static void setDurationIndex(int index);

    [[nodiscard]] QString countdown() const { return formatCountdown(timeUntilBreak); }
    [[nodiscard]] qreal progress() const;
    [[nodiscard]] static QString breaksTaken();
    [[nodiscard]] static QString breaksSkipped();

    /// Shows the overlay of a break for five seconds. It counts as none, and its skip button does nothing. One that is
    /// on the screen already gives way to the new one.
    Q_INVOKABLE void previewOverlay();

    /// Minutes and seconds, to the whole second below: "19:59" for 1199.7. `fatalError` where the seconds are no finite
    /// number or beyond 64 bits.
    [[nodiscard]] static QString formatCountdown(Seconds time);
    /// The share of the interval that is over, in [0, 1]. `fatalError` where the interval exceeds 64 bits of seconds.
    [[nodiscard]] static double breakProgress(Seconds timeUntilBreak, std::int64_t intervalMinutes);

  Q_SIGNALS:
    void breaksEnabledChanged();
    void intervalChanged();
    void durationChanged();
    void countdownChanged();
    void breaksTakenChanged();
    void breaksSkippedChanged();

  protected:
    void appear() override;
    void disappear() override;

  private:
    void startCountdownUpdate();
    void updateCountdown();

    Seconds timeUntilBreak{0}; ///< as the engine last told
    std::unique_ptr<Timer> timer;
    std::unique_ptr<BreakOverlayWindowController> preview;
    std::unique_ptr<HandedOverTimer> previewEnd;
};

} // namespace nocta
