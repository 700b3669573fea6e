#pragma once

#include "Support/Eventually.h"
#include "Support/Process.h"
#include "Support/ScreenPicture.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
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
class Hands {
  protected:
    Hands() = default;
    ~Hands() = default;

    /// Its answer, a line, to a command that has one.
    [[nodiscard]] std::string ask(const std::string& question) const {
        const auto before = nocta->errors().size();
        nocta->write(question + "\n");
        std::string answer;
        if (!eventually([&] {
                answer = nocta->errors().substr(before);
                return answer.find('\n') != std::string::npos;
            })) {
            throw std::runtime_error("Nocta does not answer: " + question);
        }
        return answer.substr(0, answer.find('\n'));
    }

    /// Where what bears that name is on the screen; nothing while it is not.
    [[nodiscard]] std::optional<Point> place(const std::string& name) const {
        std::istringstream words(ask("where " + name));
        Point point;
        return words >> point.x >> point.y ? std::optional(point) : std::nullopt;
    }

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

    std::unique_ptr<Process> nocta; ///< driven-nocta
};

} // namespace nocta::test
