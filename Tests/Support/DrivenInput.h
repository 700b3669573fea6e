#pragma once

#include "Platform/X11/XConnection.h"

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

namespace nocta::test {

/// X key codes: places on the keyboard, whatever the layout prints on them.
namespace key {
inline constexpr std::uint8_t i = 31;
inline constexpr std::uint8_t a = 38;
inline constexpr std::uint8_t p = 33;
inline constexpr std::uint8_t digit1 = 10;
inline constexpr std::uint8_t digit8 = 17;
inline constexpr std::uint8_t escape = 9;
inline constexpr std::uint8_t tab = 23;
inline constexpr std::uint8_t space = 65;
inline constexpr std::uint8_t enter = 36;
inline constexpr std::uint8_t home = 110;
inline constexpr std::uint8_t up = 111;
inline constexpr std::uint8_t pageUp = 112;
inline constexpr std::uint8_t left = 113;
inline constexpr std::uint8_t right = 114;
inline constexpr std::uint8_t end = 115;
inline constexpr std::uint8_t down = 116;
inline constexpr std::uint8_t pageDown = 117;
inline constexpr std::uint8_t control = 37;
inline constexpr std::uint8_t shift = 50;
inline constexpr std::uint8_t rightShift = 62;
inline constexpr std::uint8_t alt = 64;
inline constexpr std::uint8_t capsLock = 66;
inline constexpr std::uint8_t numLock = 77;
inline constexpr std::uint8_t super = 133;
inline constexpr std::uint8_t rightSuper = 134;
} // namespace key

/// The hands at the keyboard and mouse of the X server that DISPLAY names.
class DrivenInput {
  public:
    void press(std::uint8_t key) const { send(XCB_KEY_PRESS, key); }
    void release(std::uint8_t key) const { send(XCB_KEY_RELEASE, key); }
    /// Presses the keys in this order and releases them in the reverse one, all in one go.
    void type(std::initializer_list<std::uint8_t> keys) const;
    /// Presses and releases a mouse button.
    void click(std::uint8_t button) const;
    void pressButton(std::uint8_t button) const { send(XCB_BUTTON_PRESS, button); }
    void releaseButton(std::uint8_t button) const { send(XCB_BUTTON_RELEASE, button); }
    void movePointer(std::int16_t x, std::int16_t y) const;

    /// Plugs in a second keyboard and mouse, with a focus and a pointer of their own. Returns the keyboard, to be
    /// pressed on.
    [[nodiscard]] std::uint8_t plugInSecondKeyboard() const;
    void unplugSecondKeyboard() const;
    void pressOn(std::uint8_t keyboard, std::uint8_t key, bool isDown) const;

    /// Takes all keys for itself, as a menu or a screen locker does.
    [[nodiscard]] bool grabKeyboard() const;
    /// Gives the keyboard this layout (arguments of setxkbmap) and the key codes that every desktop on Linux has: a
    /// server without a keyboard begins with others.
    void setLayout(const std::vector<std::string>& layout) const;
    /// Locks a group of the keyboard's layouts, from 0.
    void lockGroup(std::uint8_t group) const;
    /// Exchanges the keys of two of the modifiers Mod1 to Mod5 (3 to 7).
    void swapModifiers(std::size_t first, std::size_t second) const;

    [[nodiscard]] const XConnection& server() const { return connection; }

  private:
    void send(std::uint8_t type, std::uint8_t detail) const;

    XConnection connection;
};

} // namespace nocta::test
