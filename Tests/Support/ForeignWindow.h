#pragma once

#include "Platform/X11/XConnection.h"

#include <array>
#include <cstdint>
#include <string>

namespace nocta::test {

/// A window of another program, of one colour, with everything that a person may do to it.
class ForeignWindow {
  public:
    enum class Kind {
        managed,  ///< as programs open them
        override, ///< that window managers leave alone: menus, lockers
    };

    /// Shown at once; `color` is 0xRRGGBB.
    ForeignWindow(std::int16_t x, std::int16_t y, std::uint16_t width, std::uint16_t height, std::uint32_t color,
                  Kind kind = Kind::managed);

    /// To the top, as programs ask for it, and as pagers do.
    void raise() const;
    void activate() const;
    void setFullScreen() const;
    /// Takes the keyboard without asking anybody.
    void stealFocus() const;
    void unmap() const;

    [[nodiscard]] xcb_window_t id() const { return window; }
    [[nodiscard]] bool isViewable() const;
    [[nodiscard]] bool hasFocus() const { return focused() == window; }
    /// Who has the keyboard.
    [[nodiscard]] xcb_window_t focused() const;
    /// Presses of mouse buttons and of keys that it got so far.
    [[nodiscard]] int buttonPresses() { return count(XCB_BUTTON_PRESS); }
    [[nodiscard]] int keyPresses() { return count(XCB_KEY_PRESS); }

  private:
    int count(int type);
    void ask(const std::string& message, std::uint32_t first, std::uint32_t second) const;

    XConnection server;
    xcb_window_t window;
    std::array<int, 2> counts{};
};

} // namespace nocta::test
