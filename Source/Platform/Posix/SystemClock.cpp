#include "Platform/Posix/SystemClock.h"

#include <cmath>
#include <ctime>
#include <limits>

namespace nocta {

namespace {

/// Nothing where the value does not fit the C library's field.
std::optional<int> field(std::int64_t value) {
    if (value < std::numeric_limits<int>::min() || value > std::numeric_limits<int>::max()) {
        return std::nullopt;
    }
    return static_cast<int>(value);
}

/// Nothing where the C library has no such time.
std::optional<std::tm> localTime(Instant instant) {
    const double seconds = std::floor(instant.time_since_epoch().count());
    if (!(std::abs(seconds) < 0x1p62)) {
        return std::nullopt;
    }
    const auto time = static_cast<std::time_t>(seconds);
    tzset(); // localtime_r need not look whether the zone has changed
    std::tm local{};
    return localtime_r(&time, &local) != nullptr ? std::optional(local) : std::nullopt;
}

} // namespace

Instant SystemClock::now() const {
    return std::chrono::system_clock::now();
}

std::optional<DateComponents> SystemCalendar::components(Instant instant) const {
    const auto local = localTime(instant);
    if (!local) {
        return std::nullopt;
    }
    return DateComponents{.year = std::int64_t{local->tm_year} + 1900,
                          .month = local->tm_mon + 1,
                          .day = local->tm_mday,
                          .hour = local->tm_hour,
                          .minute = local->tm_min,
                          .second = local->tm_sec};
}

std::optional<Instant> SystemCalendar::instant(const DateComponents& components) const {
    const auto year = field(components.year - 1900);
    const auto month = field(components.month - 1);
    const auto day = field(components.day);
    const auto hour = field(components.hour);
    const auto minute = field(components.minute);
    const auto second = field(components.second);
    if (!year || !month || !day || !hour || !minute || !second) {
        return std::nullopt;
    }
    std::tm local{};
    local.tm_year = *year;
    local.tm_mon = *month;
    local.tm_mday = *day;
    local.tm_hour = *hour;
    local.tm_min = *minute;
    local.tm_sec = *second;
    local.tm_isdst = -1;
    local.tm_wday = -1; // -1 is also a second before 1970: only the weekday tells whether there is a result
    const std::time_t time = std::mktime(&local);
    if (local.tm_wday < 0) {
        return std::nullopt;
    }
    return Instant(Seconds(static_cast<double>(time)));
}

std::optional<int> SystemCalendar::dayOfYear(Instant instant) const {
    const auto local = localTime(instant);
    return local ? std::optional(local->tm_yday + 1) : std::nullopt;
}

Seconds SystemCalendar::offsetFromUTC(Instant instant) const {
    const auto local = localTime(instant);
    return Seconds(local ? static_cast<double>(local->tm_gmtoff) : 0.0);
}

} // namespace nocta
