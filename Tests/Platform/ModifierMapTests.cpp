#include "Platform/X11/ModifierMap.h"

#include "Platform/EventMonitor.h"

#include <array>
#include <vector>

#include <gtest/gtest.h>

namespace nocta {
namespace {

constexpr std::uint32_t metaLeft = 0xffe7;
constexpr std::uint32_t altLeft = 0xffe9;
constexpr std::uint32_t altRight = 0xffea;
constexpr std::uint32_t superLeft = 0xffeb;
constexpr std::uint32_t superRight = 0xffec;
constexpr std::uint32_t numLock = 0xff7f;

constexpr std::uint32_t mod1 = 1U << 3U;
constexpr std::uint32_t mod2 = 1U << 4U;
constexpr std::uint32_t mod3 = 1U << 5U;
constexpr std::uint32_t mod4 = 1U << 6U;

/// A keyboard whose first key has the code 8; every key bears two symbols.
class Keyboard {
  public:
    Keyboard& add(std::size_t modifier, std::uint32_t first, std::uint32_t second = 0) {
        const auto code = static_cast<std::uint8_t>(8 + symbols.size() / 2);
        symbols.push_back(first);
        symbols.push_back(second);
        auto& place = modifierKeys.at(2 * modifier);
        (place == 0 ? place : modifierKeys.at(2 * modifier + 1)) = code;
        return *this;
    }
    [[nodiscard]] ModifierMap map() const { return ModifierMap::of(modifierKeys, symbols, 8, 2); }

  private:
    std::array<std::uint8_t, 16> modifierKeys{};
    std::vector<std::uint32_t> symbols;
};

TEST(ModifierMapTest, FindsAltAndSuperWhereTheUsualKeymapHasThem) {
    const auto map = Keyboard().add(3, altLeft, metaLeft).add(4, numLock).add(6, superLeft).add(6, superRight).map();
    EXPECT_EQ(map, (ModifierMap{.option = mod1, .command = mod4}));
}

TEST(ModifierMapTest, FindsThemWhereverTheyAre) {
    EXPECT_EQ(Keyboard().add(4, altRight).add(5, superRight).map(), (ModifierMap{.option = mod2, .command = mod3}));
}

TEST(ModifierMapTest, MetaIsTheCommandKeyWhereThereIsNoSuper) {
    EXPECT_EQ(Keyboard().add(3, altLeft).add(5, metaLeft).map(), (ModifierMap{.option = mod1, .command = mod3}));
}

TEST(ModifierMapTest, MetaOnTheAltKeyIsAlt) {
    EXPECT_EQ(Keyboard().add(5, altLeft, metaLeft).map(), (ModifierMap{.option = mod3, .command = mod4}));
}

TEST(ModifierMapTest, SuperAndAltOnOneModifierAreTheCommandKey) {
    EXPECT_EQ(Keyboard().add(3, altLeft).add(3, superLeft).map(), (ModifierMap{.option = 0, .command = mod1}));
}

TEST(ModifierMapTest, ShiftLockAndControlStayThemselves) {
    EXPECT_EQ(Keyboard().add(0, superLeft).add(1, altLeft).add(2, superRight).map(), ModifierMap());
}

TEST(ModifierMapTest, WithoutAnAnswerTheUsualOnesAreTaken) {
    EXPECT_EQ(ModifierMap::of({}, {}, 8, 0), ModifierMap());
    const std::array<std::uint8_t, 8> outside{0, 0, 0, 5, 0, 0, 255, 0};
    const std::array<std::uint32_t, 4> symbols{altLeft, superLeft, altLeft, superLeft};
    EXPECT_EQ(ModifierMap::of(outside, symbols, 8, 2), ModifierMap());
}

TEST(ModifierMapTest, TranslatesEveryCombination) {
    const ModifierMap map{.option = mod1, .command = mod4 | mod3};
    for (std::uint32_t bits = 0; bits < 256; ++bits) {
        const std::uint32_t expected =
            ((bits & 1) != 0 ? modifier::shift : 0) | ((bits & 4) != 0 ? modifier::control : 0) |
            ((bits & mod1) != 0 ? modifier::option : 0) | ((bits & (mod3 | mod4)) != 0 ? modifier::command : 0);
        EXPECT_EQ(map.flags(bits), expected) << bits;
    }
}

} // namespace
} // namespace nocta
