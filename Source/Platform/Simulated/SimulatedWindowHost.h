#pragma once

#include "Platform/Simulated/SimulatedRunLoop.h"
#include "Platform/WindowHost.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace nocta {

/// What became of one overlay window. Outlives it.
class SimulatedWindow {
  public:
    using Nanoseconds = SimulatedRunLoop::Nanoseconds;

    struct Fade {
        Nanoseconds start{0}; ///< of virtual time, as every instant here
        double alpha = 0;
        Seconds duration{0};
        TimingFunction timing = TimingFunction::standard;

        bool operator==(const Fade&) const = default;
    };

    SimulatedWindow(SimulatedRunLoop& loop, const OverlayWindowStyle& style, std::function<void()> onSkip);

    [[nodiscard]] const OverlayWindowStyle& style() const { return madeStyle; }
    /// Everything it was given to show so far, in order.
    [[nodiscard]] const std::vector<OverlayContent>& contents() const { return recordedContents; }
    /// Every fade asked for so far, in order.
    [[nodiscard]] const std::vector<Fade>& fades() const { return recordedFades; }
    /// When it was ordered to the front, if it was.
    [[nodiscard]] std::optional<Nanoseconds> shown() const { return shownAt; }
    /// When it was closed or destroyed, if it was.
    [[nodiscard]] std::optional<Nanoseconds> closed() const { return closedAt; }
    /// Ordered to the front and not closed, whatever its alpha.
    [[nodiscard]] bool isOnScreen() const { return shownAt && !closedAt; }
    /// On the way to an alpha of 0, or there.
    [[nodiscard]] bool isFadingOut() const { return !recordedFades.empty() && recordedFades.back().alpha == 0; }
    /// The alpha of this moment.
    [[nodiscard]] double alpha() const;

    /// A user's press of the skip button, which reaches only a window that takes input. Returns whether it did.
    [[nodiscard]] bool pressSkip() const;
    /// A press that was already on its way when the window stopped to take input.
    void deliverLatePress() const;

  private:
    friend class SimulatedOverlayWindow;

    void animateAlpha(double alpha, Seconds duration, TimingFunction timing, std::function<void()> completion);
    void close();

    SimulatedRunLoop& loop;
    OverlayWindowStyle madeStyle;
    std::function<void()> onSkip;
    std::vector<OverlayContent> recordedContents;
    std::vector<Fade> recordedFades;
    std::optional<Nanoseconds> shownAt;
    std::optional<Nanoseconds> closedAt;
    double alphaBefore = 0; ///< where the last fade began
    std::function<void()> completion;
    std::unique_ptr<Timer> fadeTimer;
};

/// Screens that a test plugs in and out, and windows that only remember what they were told. Their fades run on virtual
/// time.
class SimulatedWindowHost final : public WindowHost {
  public:
    /// `loop` outlives the host and every window.
    explicit SimulatedWindowHost(SimulatedRunLoop& loop) : loop(loop) {}

    std::optional<Screen> main =
        Screen{.name = "Simulated-1", .frame = {.x = 0, .y = 0, .width = 1920, .height = 1080}};
    std::vector<Screen> connected{*main};

    /// Every window made so far, in order.
    [[nodiscard]] const std::vector<std::shared_ptr<SimulatedWindow>>& windows() const { return recordedWindows; }
    /// Those that are made and not closed.
    [[nodiscard]] std::size_t openWindows() const;
    [[nodiscard]] int activations() const { return recordedActivations; }
    /// Drops the records of closed windows.
    void forgetClosed();

    [[nodiscard]] std::optional<Screen> mainScreen() const override { return main; }
    [[nodiscard]] std::vector<Screen> screens() const override { return connected; }
    [[nodiscard]] std::unique_ptr<OverlayWindow> makeOverlayWindow(const OverlayWindowStyle& style,
                                                                   std::function<void()> onSkip) override;
    void activateIgnoringOtherApps() override { ++recordedActivations; }

  private:
    SimulatedRunLoop& loop;
    std::vector<std::shared_ptr<SimulatedWindow>> recordedWindows;
    int recordedActivations = 0;
};

} // namespace nocta
