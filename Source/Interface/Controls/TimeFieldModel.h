#pragma once

#include <optional>

#include <QLocale>
#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace nocta {

/// A time of day that is edited in parts, as the user's locale writes it. Keeps no time of its own: it shows what it is
/// told and reports what its user wants.
class TimeFieldModel : public QObject {
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(int hour READ hour WRITE setHour NOTIFY timeChanged FINAL)       ///< 0 to 23
    Q_PROPERTY(int minute READ minute WRITE setMinute NOTIFY timeChanged FINAL) ///< 0 to 59
    Q_PROPERTY(QString hourText READ hourText NOTIFY timeChanged FINAL)
    Q_PROPERTY(QString minuteText READ minuteText NOTIFY timeChanged FINAL)
    /// AM or PM in the locale's words.
    Q_PROPERTY(QString periodText READ periodText NOTIFY timeChanged FINAL)
    Q_PROPERTY(QString amText READ amText CONSTANT FINAL)
    Q_PROPERTY(QString pmText READ pmText CONSTANT FINAL)
    /// Between hour and minute.
    Q_PROPERTY(QString separator READ separator CONSTANT FINAL)
    Q_PROPERTY(bool hasPeriod READ hasPeriod CONSTANT FINAL)
    Q_PROPERTY(bool periodIsFirst READ isPeriodFirst CONSTANT FINAL)

  public:
    enum Part { Hour, Minute, Period };
    Q_ENUM(Part)

    explicit TimeFieldModel(QObject* parent = nullptr) : TimeFieldModel(QLocale(), parent) {}
    explicit TimeFieldModel(const QLocale& locale, QObject* parent = nullptr);

    [[nodiscard]] int hour() const { return shownHour; }
    [[nodiscard]] int minute() const { return shownMinute; }
    void setHour(int hour);
    void setMinute(int minute);

    [[nodiscard]] QString hourText() const;
    [[nodiscard]] QString minuteText() const;
    [[nodiscard]] QString periodText() const;
    [[nodiscard]] QString amText() const { return locale.amText(); }
    [[nodiscard]] QString pmText() const { return locale.pmText(); }
    [[nodiscard]] QString separator() const { return between; }
    [[nodiscard]] bool hasPeriod() const { return twelveHours; }
    [[nodiscard]] bool isPeriodFirst() const { return periodFirst; }

    /// Turns that part on or back; it begins again after its end and takes no other part along, but for the hours,
    /// which go through the whole day.
    Q_INVOKABLE void step(Part part, int steps);
    /// A key was typed into that part. False where it means nothing there.
    bool type(Part part, const QString& text);
    /// What is typed from now on has nothing to do with what was typed before.
    void finishTyping() { typed.reset(); }

  Q_SIGNALS:
    void timeChanged();
    /// The user wants this time, another one than is shown.
    void edited(int hour, int minute);
    /// So much is typed into the part that the next key belongs to the one after it.
    void filled();

  private:
    void typeDigit(Part part, int digit);
    void want(int hour, int minute);
    [[nodiscard]] QString shown(const QString& format) const;

    QLocale locale;
    QString hourFormat;
    QString between;
    bool twelveHours = false;
    bool periodFirst = false;
    int shownHour = 0;
    int shownMinute = 0;
    std::optional<int> typed; ///< the first digit of two
};

} // namespace nocta
