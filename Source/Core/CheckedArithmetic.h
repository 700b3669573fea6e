#pragma once

#include <concepts>
#include <cstdint>

namespace nocta {

/// Integer arithmetic that ends in `fatalError` rather than overflow.
template <std::signed_integral Integer>
[[nodiscard]] Integer checkedAdd(Integer left, Integer right);
template <std::signed_integral Integer>
[[nodiscard]] Integer checkedSubtract(Integer left, Integer right);
template <std::signed_integral Integer>
[[nodiscard]] Integer checkedMultiply(Integer left, Integer right);

/// `value` truncated toward zero; `fatalError` where it is not finite or beyond the range of 64 bits.
[[nodiscard]] std::int64_t checkedInteger(double value);

namespace detail {
[[noreturn]] void arithmeticOverflow(const char* operation);
} // namespace detail

template <std::signed_integral Integer>
Integer checkedAdd(Integer left, Integer right) {
    Integer sum = 0;
    if (__builtin_add_overflow(left, right, &sum)) {
        detail::arithmeticOverflow("addition");
    }
    return sum;
}

template <std::signed_integral Integer>
Integer checkedSubtract(Integer left, Integer right) {
    Integer difference = 0;
    if (__builtin_sub_overflow(left, right, &difference)) {
        detail::arithmeticOverflow("subtraction");
    }
    return difference;
}

template <std::signed_integral Integer>
Integer checkedMultiply(Integer left, Integer right) {
    Integer product = 0;
    if (__builtin_mul_overflow(left, right, &product)) {
        detail::arithmeticOverflow("multiplication");
    }
    return product;
}

} // namespace nocta
