#pragma once

#include <cstdint>

namespace nocta {

/// The eye health score, 0 to 100 points: more for a warmer screen, and up to 20 less for the share of breaks that were
/// skipped. `effectiveTemp` is in kelvin; while the filter is off it does not count. `fatalError` where the breaks
/// together exceed 64 bits.
[[nodiscard]] std::int64_t exposureScore(bool filterEnabled, std::int64_t effectiveTemp, std::int64_t breaksTaken,
                                         std::int64_t breaksSkipped);

} // namespace nocta
