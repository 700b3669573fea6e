#pragma once

#include "Support/Process.h"
#include "Support/ScreenPicture.h"
#include "Support/WaylandPointer.h"
#include "WaylandDesktop.h"
#include "WaylandHands.h"

#include <memory>
#include <string>

namespace nocta::test {

/// A person at a Wayland desktop, which they use with mouse and keyboard alone.
class WaylandPerson : public WaylandSession, protected WaylandHands {
  protected:
    /// The popover opens on the screen where the pointer is, or the keyboard.
    explicit WaylandPerson(const MakeCompositor& makeCompositor) : WaylandSession(makeCompositor) {
        pointer.move(640, 400, 2560, 800);
    }

    /// Starts Nocta and waits for the popover that greets them.
    void launch() {
        nocta = startDrivenNocta();
        ASSERT_TRUE(popoverAppears()) << nocta->errors();
    }

    [[nodiscard]] ScreenPicture picture() const override { return ScreenPicture::ofCompositor(); }
    void click(const Point& point) override {
        pointer.move(static_cast<std::uint32_t>(point.x), static_cast<std::uint32_t>(point.y), 2560, 800);
        pointer.click();
    }
    /// A keyboard is plugged in for it: who has the keyboard learns of that first.
    void press(const std::string& key) {
        Process typing({"wtype", "-s", "100", "-k", key, "-s", "50"}, environment());
        ASSERT_EQ(typing.waitForEnd(), Ending{.exitStatus = 0}) << typing.errors();
    }
    void pressEscape() override { press("Escape"); }

    /// A window of another program, on the screen that has the keyboard.
    [[nodiscard]] std::unique_ptr<Process> openWindow(const std::string& applicationId, const std::string& script) {
        const auto before = compositor->windowCount();
        auto window = std::make_unique<Process>(
            std::vector<std::string>{"foot", "--app-id=" + applicationId, "sh", "-c", script}, environment());
        EXPECT_TRUE(eventually([&] { return compositor->windowCount() > before; })) << window->errors();
        return window;
    }

    WaylandPointer pointer;
};

} // namespace nocta::test
