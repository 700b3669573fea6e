#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace nocta {

/// The bytes of one code point.
inline std::string utf8(std::uint32_t codePoint) {
    const auto continuation = [codePoint](unsigned shift) {
        return static_cast<char>(0x80U | ((codePoint >> shift) & 0x3FU));
    };
    if (codePoint < 0x80) {
        return {static_cast<char>(codePoint)};
    }
    if (codePoint < 0x800) {
        return {static_cast<char>(0xC0U | (codePoint >> 6U)), continuation(0)};
    }
    if (codePoint < 0x10000) {
        return {static_cast<char>(0xE0U | (codePoint >> 12U)), continuation(6), continuation(0)};
    }
    return {static_cast<char>(0xF0U | (codePoint >> 18U)), continuation(12), continuation(6), continuation(0)};
}

} // namespace nocta
