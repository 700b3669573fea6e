#pragma once

#include "Core/Utf8.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include <rapidcheck.h>

namespace nocta {

/// Any Unicode text, control characters, NUL and quotes included; surrogates are no characters.
inline rc::Gen<std::string> genText() {
    const auto codePoint =
        rc::gen::oneOf(rc::gen::inRange<std::uint32_t>(0, 0x80), rc::gen::inRange<std::uint32_t>(0x80, 0xD800),
                       rc::gen::inRange<std::uint32_t>(0xE000, 0x110000));
    return rc::gen::map(rc::gen::container<std::vector<std::uint32_t>>(codePoint),
                        [](const std::vector<std::uint32_t>& codePoints) {
                            std::string text;
                            for (const auto each : codePoints) {
                                text += utf8(each);
                            }
                            return text;
                        });
}

inline rc::Gen<std::map<std::string, std::string, std::less<>>> genProfiles() {
    return rc::gen::container<std::map<std::string, std::string, std::less<>>>(genText(), genText());
}

} // namespace nocta
