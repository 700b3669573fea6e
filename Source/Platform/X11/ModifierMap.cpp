#include "Platform/X11/ModifierMap.h"

#include "Platform/EventMonitor.h"

#include <algorithm>

namespace nocta {

namespace {

constexpr std::size_t modifierCount = 8;
constexpr std::size_t firstFreeModifier = 3;
constexpr std::uint32_t shiftBit = 1U << 0U;
constexpr std::uint32_t controlBit = 1U << 2U;

// keysymdef.h; each has a left and a right one.
constexpr std::uint32_t meta = 0xffe7;
constexpr std::uint32_t alt = 0xffe9;
constexpr std::uint32_t super = 0xffeb;

} // namespace

ModifierMap ModifierMap::of(std::span<const std::uint8_t> modifierKeys, std::span<const std::uint32_t> symbols,
                            std::uint8_t firstKey, std::size_t symbolsPerKey) {
    const auto keyBears = [&](std::uint8_t key, std::uint32_t symbol) {
        const std::size_t start = key < firstKey ? symbols.size() : (key - firstKey) * symbolsPerKey;
        if (start + symbolsPerKey > symbols.size()) {
            return false;
        }
        return std::ranges::any_of(symbols.subspan(start, symbolsPerKey),
                                   [symbol](auto borne) { return borne == symbol || borne == symbol + 1; });
    };
    const std::size_t keysPerModifier = modifierKeys.size() / modifierCount;
    const auto bitsOf = [&](std::uint32_t symbol) {
        std::uint32_t bits = 0;
        for (std::size_t modifier = firstFreeModifier; modifier < modifierCount; ++modifier) {
            const auto keys = modifierKeys.subspan(modifier * keysPerModifier, keysPerModifier);
            if (std::ranges::any_of(keys, [&](auto key) { return key != 0 && keyBears(key, symbol); })) {
                bits |= 1U << modifier;
            }
        }
        return bits;
    };
    const ModifierMap usual;
    ModifierMap map;
    const auto altBits = bitsOf(alt);
    map.command = bitsOf(super);
    if (map.command == 0) {
        // Many keymaps have Meta on the Alt key.
        map.command = bitsOf(meta) & ~altBits;
    }
    if (map.command == 0) {
        map.command = usual.command;
    }
    map.option = altBits & ~map.command;
    if (map.option == 0) {
        map.option = usual.option & ~map.command;
    }
    return map;
}

std::uint32_t ModifierMap::flags(std::uint32_t modifiers) const {
    std::uint32_t result = 0;
    const auto translate = [&](std::uint32_t bits, std::uint32_t flag) {
        if ((modifiers & bits) != 0) {
            result |= flag;
        }
    };
    translate(shiftBit, modifier::shift);
    translate(controlBit, modifier::control);
    translate(option, modifier::option);
    translate(command, modifier::command);
    return result;
}

} // namespace nocta
