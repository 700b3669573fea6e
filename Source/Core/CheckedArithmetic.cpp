#include "Core/CheckedArithmetic.h"

#include "Core/FatalError.h"

#include <cmath>
#include <string>

namespace nocta {

std::int64_t checkedInteger(double value) {
    // Both bounds are exact doubles; the largest double below 2^63 is 1024 less than it.
    constexpr double lowest = -0x1p63;
    constexpr double beyondHighest = 0x1p63;
    if (!std::isfinite(value)) {
        fatalError("Double value cannot be converted to Int because it is either infinite or NaN");
    }
    if (value < lowest) {
        fatalError("Double value cannot be converted to Int because the result would be less than Int.min");
    }
    if (value >= beyondHighest) {
        fatalError("Double value cannot be converted to Int because the result would be greater than Int.max");
    }
    return static_cast<std::int64_t>(value);
}

void detail::arithmeticOverflow(const char* operation) {
    fatalError(std::string("Arithmetic overflow in integer ") + operation);
}

} // namespace nocta
