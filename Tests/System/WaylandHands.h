#pragma once

#include "Conversation.h"
#include "Support/Eventually.h"
#include "Support/Process.h"
#include "Support/ScreenPicture.h"

#include <chrono>
#include <optional>
#include <string>

namespace nocta::test {

/// What a person at a Wayland desktop of two screens of 1280x800 beside each other does to Nocta, with mouse and
/// keyboard alone, and what they see of it.
class WaylandHands : protected Conversation {
  public:
    WaylandHands(const WaylandHands&) = delete;
    WaylandHands& operator=(const WaylandHands&) = delete;

  protected:
    /// The popover's window on the first screen: the body of 340 x 560 is 8 from the right edge and, by gap and arrow,
    /// 1 + 9 from the upper one, 22 within the window.
    static constexpr Point popoverWindow{.x = 1280 - 8 - 340 - 22, .y = 1 + 9 - 22};
    /// Where it has nothing but its ground, which is light.
    static constexpr Point popoverGround{.x = 1280 - 8 - 170, .y = 10 + 440};
    static constexpr Point desktop{.x = 100, .y = 700};
    static constexpr Point secondDesktop{.x = 1280 + 100, .y = 700};

    WaylandHands() = default;
    ~WaylandHands() = default;

    /// A desktop's worth of programs takes its time where others are busy too.
    template <class Condition>
    [[nodiscard]] static bool eventually(Condition condition,
                                         std::chrono::milliseconds patience = std::chrono::seconds(30)) {
        return test::eventually(condition, patience);
    }

    virtual void click(const Point& point) = 0;
    virtual void pressEscape() = 0;
    [[nodiscard]] virtual ScreenPicture picture() const = 0;

    [[nodiscard]] bool appears(const std::string& name) const {
        return eventually([&] { return place(name).has_value(); });
    }
    [[nodiscard]] bool disappears(const std::string& name) const {
        return eventually([&] { return !place(name); });
    }

    /// By its colour, on the first or the second screen.
    [[nodiscard]] bool popoverIsOnScreen(int screen = 0) const {
        return (picture().at(popoverGround.x + 1280 * screen, popoverGround.y) & 255U) > 100;
    }
    /// Until it is on the screen, a click where it will be is one elsewhere.
    [[nodiscard]] bool popoverAppears(int screen = 0) const {
        return appears("Quit Nocta") && eventually([&] { return popoverIsOnScreen(screen); });
    }
    [[nodiscard]] bool popoverCloses() const { return disappears("Quit Nocta"); }

    /// Clicks there until something comes of it.
    template <class Condition>
    [[nodiscard]] bool clickUntil(const Point& point, Condition condition) {
        return eventually([&] {
            click(point);
            return eventually(condition, std::chrono::milliseconds(500));
        });
    }
    /// The same for what bears that name in the popover on the first screen.
    template <class Condition>
    [[nodiscard]] bool clickUntil(const std::string& name, Condition condition) {
        std::optional<Point> point;
        return eventually([&] { return (point = place(name)).has_value(); }) &&
               clickUntil(Point{.x = popoverWindow.x + point->x, .y = popoverWindow.y + point->y}, condition);
    }
    /// A click on the item, as a panel tells of it that knows places on the desktop.
    [[nodiscard]] bool activateItem(const Point& place) const {
        const std::string script = "name=$(gdbus call --session --dest org.freedesktop.DBus --object-path / --method "
                                   "org.freedesktop.DBus.ListNames | grep -o 'org.kde.StatusNotifierItem-" +
                                   std::to_string(nocta->id()) +
                                   "-[0-9]*') && gdbus call --session --dest $name --object-path /StatusNotifierItem "
                                   "--method org.kde.StatusNotifierItem.Activate " +
                                   std::to_string(place.x) + " " + std::to_string(place.y) + " >/dev/null";
        return eventually([&] { return Process({"sh", "-c", script}).waitForEnd() == Ending{.exitStatus = 0}; });
    }
    [[nodiscard]] bool escapeClosesThePopover() {
        return eventually([this] {
            pressEscape();
            return !place("Quit Nocta");
        });
    }
};

} // namespace nocta::test
