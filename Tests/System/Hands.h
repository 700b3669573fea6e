#pragma once

#include "Conversation.h"
#include "Support/Eventually.h"
#include "Support/Process.h"
#include "Support/ScreenPicture.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace nocta::test {

/// The colours that the eye in the panel has, as on dark panels.
namespace eye {
inline constexpr std::uint32_t blue = 0x0A84FF;
inline constexpr std::uint32_t yellow = 0xFFD60A;
inline constexpr std::uint32_t orange = 0xFF9F0A;
inline constexpr std::uint32_t red = 0xFF453A;
} // namespace eye

/// What a person at a desktop does to Nocta, with mouse and keyboard alone, and what they see of it.
class Hands : protected Conversation {
  protected:
    Hands() = default;
    ~Hands() = default;

    /// The name of what has the keyboard.
    [[nodiscard]] std::string focus() const { return ask("focus"); }

    static void xdotool(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "xdotool");
        Process process(std::move(arguments));
        ASSERT_EQ(process.waitForEnd(), (Ending{.exitStatus = 0})) << process.errors();
    }
    static void moveTo(const Point& point) { xdotool({"mousemove", std::to_string(point.x), std::to_string(point.y)}); }
    static void click(const Point& point, int button = 1) {
        xdotool({"mousemove", std::to_string(point.x), std::to_string(point.y), "click", std::to_string(button)});
    }
    void click(const std::string& name) const {
        // It may have just appeared, and move when it is laid out.
        ASSERT_TRUE(eventually([&] {
            const auto point = place(name);
            if (point) {
                moveTo(*point);
            }
            return point && place(name) == point;
        })) << name;
        xdotool({"click", "1"});
    }
    /// Far from popover and panel.
    static void clickTheDesktop() { click(Point{.x = 100, .y = 700}); }
    static void press(const std::string& keys) { xdotool({"key", keys}); }

    /// The eye in the panel, in that colour.
    static std::optional<Point> itemOf(std::uint32_t color) {
        std::optional<Point> item;
        const bool isThere = eventually([&] { return (item = ScreenPicture().middle(color)).has_value(); },
                                        std::chrono::seconds(30)); // some panels start slowly
        return isThere ? item : std::nullopt;
    }

    [[nodiscard]] bool popoverIsShown() const { return place("Quit Nocta").has_value(); }
    [[nodiscard]] bool popoverOpens() const {
        return eventually([this] { return popoverIsShown(); });
    }
    [[nodiscard]] bool popoverCloses() const {
        return eventually([this] { return !popoverIsShown(); });
    }
};

} // namespace nocta::test
