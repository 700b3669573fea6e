#include "Interface/Controls/TimeFieldModel.h"

#include <utility>

#include <QTime>

namespace nocta {

namespace {

constexpr int hoursOfDay = 24;
constexpr int hoursOfHalf = 12;
constexpr int minutesOfHour = 60;

int wrapped(int value, int count) {
    return ((value % count) + count) % count;
}

} // namespace

TimeFieldModel::TimeFieldModel(const QLocale& locale, QObject* parent) : QObject(parent), locale(locale) {
    // Such as "HH:mm", "h:mm AP" or "AP h:mm"; letters of other kinds do not occur.
    const QString format = locale.timeFormat(QLocale::ShortFormat);
    const auto isHour = [](QChar c) { return c.toLower() == u'h'; };
    qsizetype first = 0;
    while (first < format.size() && !isHour(format[first])) {
        ++first;
    }
    qsizetype afterHour = first;
    while (afterHour < format.size() && isHour(format[afterHour])) {
        ++afterHour;
    }
    hourFormat = format.mid(first, afterHour - first);
    const auto minutes = format.indexOf(u'm', afterHour);
    between = minutes > afterHour ? format.mid(afterHour, minutes - afterHour) : QStringLiteral(":");
    between.remove(u'\'');
    const auto period = format.indexOf(u'a', 0, Qt::CaseInsensitive);
    twelveHours = period >= 0;
    periodFirst = twelveHours && period < first;
}

void TimeFieldModel::setHour(int hour) {
    if (std::exchange(shownHour, wrapped(hour, hoursOfDay)) != shownHour) {
        Q_EMIT timeChanged();
    }
}

void TimeFieldModel::setMinute(int minute) {
    if (std::exchange(shownMinute, wrapped(minute, minutesOfHour)) != shownMinute) {
        Q_EMIT timeChanged();
    }
}

QString TimeFieldModel::hourText() const {
    if (twelveHours) {
        const int hour = shownHour % hoursOfHalf;
        const QTime clock(hour == 0 ? hoursOfHalf : hour, 0);
        return locale.toString(clock, hourFormat.size() > 1 ? QStringLiteral("HH") : QStringLiteral("H"));
    }
    return shown(hourFormat);
}

QString TimeFieldModel::minuteText() const {
    return shown(QStringLiteral("mm"));
}

QString TimeFieldModel::periodText() const {
    return shownHour < hoursOfHalf ? locale.amText() : locale.pmText();
}

void TimeFieldModel::step(Part part, int steps) {
    finishTyping();
    switch (part) {
    case Hour:
        want(wrapped(shownHour + steps, hoursOfDay), shownMinute);
        break;
    case Minute:
        want(shownHour, wrapped(shownMinute + steps, minutesOfHour));
        break;
    case Period:
        want(wrapped(shownHour + steps * hoursOfHalf, hoursOfDay), shownMinute);
        break;
    }
}

bool TimeFieldModel::type(Part part, const QString& text) {
    if (text.isEmpty()) {
        return false;
    }
    if (part == Period) {
        const auto begins = [&](const QString& word) { return word.startsWith(text, Qt::CaseInsensitive); };
        const bool isMorning = begins(locale.amText());
        if (isMorning == begins(locale.pmText())) {
            return false; // neither, or not yet clear
        }
        want(shownHour % hoursOfHalf + (isMorning ? 0 : hoursOfHalf), shownMinute);
        return true;
    }
    const int digit = text.front().digitValue();
    if (digit < 0) {
        return false;
    }
    typeDigit(part, digit);
    return true;
}

void TimeFieldModel::typeDigit(Part part, int digit) {
    const bool isHour = part == Hour;
    const int highest = !isHour ? minutesOfHour - 1 : twelveHours ? hoursOfHalf : hoursOfDay - 1;
    const int lowest = isHour && twelveHours ? 1 : 0;
    int number = typed ? *typed * 10 + digit : digit;
    bool isSecond = std::exchange(typed, std::nullopt).has_value();
    if (number > highest) {
        number = digit;
        isSecond = false;
    }
    const bool isFull = isSecond || number * 10 > highest;
    if (!isFull) {
        typed = number;
    }
    if (number >= lowest) {
        if (!isHour) {
            want(shownHour, number);
        } else if (twelveHours) {
            const int half = shownHour / hoursOfHalf * hoursOfHalf;
            want(number % hoursOfHalf + half, shownMinute);
        } else {
            want(number, shownMinute);
        }
    }
    if (isFull) {
        Q_EMIT filled();
    }
}

void TimeFieldModel::want(int hour, int minute) {
    if (hour != shownHour || minute != shownMinute) {
        Q_EMIT edited(hour, minute);
    }
}

QString TimeFieldModel::shown(const QString& format) const {
    return locale.toString(QTime(shownHour, shownMinute), format);
}

} // namespace nocta
