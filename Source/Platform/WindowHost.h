#pragma once

#include "Platform/Time.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace nocta {

/// A rectangle in logical pixels, the origin at the top left of the desktop.
struct Rectangle {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    bool operator==(const Rectangle&) const = default;
};

/// One screen of the desktop.
struct Screen {
    std::string name; ///< the output's, unique at one moment
    Rectangle frame;

    bool operator==(const Screen&) const = default;
};

/// Each component in [0, 1], not premultiplied.
struct Color {
    double red = 0;
    double green = 0;
    double blue = 0;
    double alpha = 1;

    bool operator==(const Color&) const = default;
};

enum class FontWeight { thin, regular, semibold };

/// One line of text, or several where it does not fit, centred.
struct TextLabel {
    std::string text;
    double pointSize = 13; ///< logical pixels
    FontWeight weight = FontWeight::regular;
    bool monospacedDigits = false;
    Color textColor;

    bool operator==(const TextLabel&) const = default;
};

struct PushButton {
    std::string title;
    double pointSize = 13;
    Color contentTintColor;

    bool operator==(const PushButton&) const = default;
};

/// A bar, filled up to `value`; a value outside the range fills it as its nearer end does.
struct ProgressIndicator {
    double minValue = 0;
    double maxValue = 1;
    double value = 0;

    bool operator==(const ProgressIndicator&) const = default;
};

/// Everything that the break overlay shows, from top to bottom.
struct OverlayContent {
    TextLabel eye;
    TextLabel title;
    TextLabel subtitle;
    TextLabel countdown;
    ProgressIndicator progress;
    PushButton skip;

    bool operator==(const OverlayContent&) const = default;
};

enum class WindowLevel {
    shielding, ///< above every window, full-screen ones included, but below a screen locker
};

struct OverlayWindowStyle {
    Rectangle contentRect;
    WindowLevel level = WindowLevel::shielding;
    Color backgroundColor;
    bool isOpaque = true;
    double alphaValue = 1; ///< of the whole window
    bool canJoinAllSpaces = false;
    bool fullScreenAuxiliary = false;
    bool ignoresCycle = false; ///< not in task lists, not in the window switcher
    bool ignoresMouseEvents = false;

    bool operator==(const OverlayWindowStyle&) const = default;
};

enum class TimingFunction {
    standard, ///< slow at both ends
    easeOut,  ///< slow at the end
};

/// A borderless window over one screen. It follows its screen when that moves, changes its mode, or hands its role to
/// another one. Destroying it closes it.
class OverlayWindow {
  public:
    OverlayWindow() = default;
    OverlayWindow(const OverlayWindow&) = delete;
    OverlayWindow& operator=(const OverlayWindow&) = delete;
    virtual ~OverlayWindow() = default;

    /// What it shows from now on.
    virtual void setContent(const OverlayContent& content) = 0;
    /// Shows it above the windows of every program, whichever of them is active.
    virtual void orderFrontRegardless() = 0;
    /// Moves the whole window's alpha from where it is to `alpha` and then calls `completion`, which may be empty, from
    /// the run loop; the window may be closed or destroyed inside it. A later animation takes the place of a running
    /// one, whose completion is never called. On the way to an alpha of 0 the window takes no input. Without
    /// transparent windows on this desktop it is the content that fades.
    virtual void animateAlpha(double alpha, Seconds duration, TimingFunction timing,
                              std::function<void()> completion) = 0;
    /// Takes it off the screen for good; no completion is called after this.
    virtual void close() = 0;
};

/// The screens, and the windows that Core asks for. Main thread only.
class WindowHost {
  public:
    WindowHost() = default;
    WindowHost(const WindowHost&) = delete;
    WindowHost& operator=(const WindowHost&) = delete;
    virtual ~WindowHost() = default;

    /// The screen that the user calls the main one, where one is.
    [[nodiscard]] virtual std::optional<Screen> mainScreen() const = 0;
    /// Every screen, at least one: with all outputs off, the last one known.
    [[nodiscard]] virtual std::vector<Screen> screens() const = 0;
    /// A window that is not shown yet. `onSkip` is called from the run loop for every press of the skip button; the
    /// window may be closed or destroyed inside it.
    [[nodiscard]] virtual std::unique_ptr<OverlayWindow> makeOverlayWindow(const OverlayWindowStyle& style,
                                                                           std::function<void()> onSkip) = 0;
    /// Takes the keyboard to this program's front window, from whichever program has it.
    virtual void activateIgnoringOtherApps() = 0;
};

} // namespace nocta
