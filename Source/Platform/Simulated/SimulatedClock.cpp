#include "Platform/Simulated/SimulatedClock.h"

#include <chrono>
#include <cmath>

namespace nocta {

namespace {

// std::chrono's calendar ends at year 32767.
constexpr Seconds reach = std::chrono::years(30000);

} // namespace

std::optional<DateComponents> SimulatedCalendar::components(Instant instant) const {
    if (!(std::chrono::abs(instant.time_since_epoch()) < reach)) {
        return std::nullopt;
    }
    const auto local = std::chrono::floor<std::chrono::seconds>(instant + offsetFromUTC(instant));
    const auto midnight = std::chrono::floor<std::chrono::days>(local);
    const std::chrono::year_month_day date(midnight);
    const std::chrono::hh_mm_ss time(local - midnight);
    return DateComponents{.year = static_cast<int>(date.year()),
                          .month = static_cast<unsigned>(date.month()),
                          .day = static_cast<unsigned>(date.day()),
                          .hour = time.hours().count(),
                          .minute = time.minutes().count(),
                          .second = time.seconds().count()};
}

std::optional<Instant> SimulatedCalendar::instant(const DateComponents& components) const {
    constexpr std::int64_t lastYear = 30000;
    if (isBroken || components.year > lastYear || components.year < -lastYear) {
        return std::nullopt;
    }
    // Months first, then everything below counts on from the first of that month.
    const auto firstOfYear = std::chrono::year(static_cast<int>(components.year)) / std::chrono::January / 1;
    const auto firstOfMonth = firstOfYear + std::chrono::months(components.month - 1);
    const Seconds sinceFirst = std::chrono::days(components.day - 1) + std::chrono::hours(components.hour) +
                               std::chrono::minutes(components.minute) + std::chrono::seconds(components.second);
    const Instant local = std::chrono::sys_days(firstOfMonth) + sinceFirst;
    Instant result = local - offset;
    for (const auto& change : changes) {
        if (result < change.at) {
            break;
        }
        // In the hour that is skipped, the new offset leads back before the change: the old one stands.
        if (local - change.offset >= change.at) {
            result = local - change.offset;
        }
    }
    return result;
}

std::optional<int> SimulatedCalendar::dayOfYear(Instant instant) const {
    const auto date = components(instant);
    if (!date) {
        return std::nullopt;
    }
    const auto year = std::chrono::year(static_cast<int>(date->year));
    const auto day = std::chrono::floor<std::chrono::days>(instant + offsetFromUTC(instant));
    return static_cast<int>((day - std::chrono::sys_days(year / std::chrono::January / 1)).count()) + 1;
}

Seconds SimulatedCalendar::offsetFromUTC(Instant instant) const {
    Seconds current = offset;
    for (const auto& change : changes) {
        if (instant < change.at) {
            break;
        }
        current = change.offset;
    }
    return current;
}

} // namespace nocta
