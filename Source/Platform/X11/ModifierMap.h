#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace nocta {

/// Which of X's modifier bits mean what on this keyboard: only Shift, Lock and Control have bits of their own, the
/// keymap decides about the others.
struct ModifierMap {
    std::uint32_t option = 1U << 3U;  ///< bits that a key with Alt on it sets; as nearly everywhere
    std::uint32_t command = 1U << 6U; ///< bits that a key with Super on it sets, or with Meta where none has Super

    bool operator==(const ModifierMap&) const = default;

    /// `modifierKeys`: the key codes that set each of the eight bits, equally many of each, 0 for none.
    /// `symbols`: the symbols of every key from `firstKey` on, `symbolsPerKey` of each.
    [[nodiscard]] static ModifierMap of(std::span<const std::uint8_t> modifierKeys,
                                        std::span<const std::uint32_t> symbols, std::uint8_t firstKey,
                                        std::size_t symbolsPerKey);

    /// X's modifier bits as the flags of `KeyEvent`.
    [[nodiscard]] std::uint32_t flags(std::uint32_t modifiers) const;
};

} // namespace nocta
