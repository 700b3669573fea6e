#include "Core/BreakOverlayWindowController.h"

#include "Core/CheckedArithmetic.h"
#include "Core/FatalError.h"
#include "Platform/Platform.h"

#include <utility>

namespace nocta {

namespace {

constexpr Color veryDarkBrown{.red = 0.05, .green = 0.03, .blue = 0.0, .alpha = 0.95};
constexpr Seconds fadeInDuration{0.6};
constexpr Seconds fadeOutDuration{0.5};
constexpr Seconds countdownInterval{1.0};

Screen screenToCover() {
    const auto& windows = *Platform::current().windows;
    if (auto main = windows.mainScreen()) {
        return *std::move(main);
    }
    const auto screens = windows.screens();
    if (screens.empty()) {
        fatalError("Index out of range");
    }
    return screens.front();
}

} // namespace

BreakOverlayWindowController::BreakOverlayWindowController(std::int64_t duration)
    : duration(duration), remaining(duration) {
    const OverlayWindowStyle style{.contentRect = screenToCover().frame,
                                   .level = WindowLevel::shielding,
                                   .backgroundColor = veryDarkBrown,
                                   .isOpaque = false,
                                   .alphaValue = 0,
                                   .canJoinAllSpaces = true,
                                   .fullScreenAuxiliary = true,
                                   .ignoresCycle = true,
                                   .ignoresMouseEvents = false};
    const auto viewController = std::make_shared<BreakOverlayVC>(duration);
    viewController->onSkip = [this, alive = std::weak_ptr(lifetime)] {
        if (alive.expired()) {
            return;
        }
        // A copy: the callee may destroy this controller.
        if (const auto skip = onSkip) {
            skip();
        }
    };
    viewController->loadView();
    contentVC = viewController;
    window = Platform::current().windows->makeOverlayWindow(style, [viewController] { viewController->skipTapped(); });
    window->setContent(viewController->content());
}

void BreakOverlayWindowController::present() {
    closeForGood(std::exchange(closingWindow(), nullptr));
    window->orderFrontRegardless();
    Platform::current().windows->activateIgnoringOtherApps();
    window->animateAlpha(1.0, fadeInDuration, TimingFunction::easeOut, {});
    countdownTimer =
        Platform::current().runLoop->repeating(countdownInterval, TimerPrecision::frame, [this] { countDown(); });
}

void BreakOverlayWindowController::close() {
    countdownTimer.reset();
    letGoOfSkipButton();
    if (!window) {
        return;
    }
    fadingWindow = window;
    closeForGood(std::exchange(closingWindow(), std::exchange(window, nullptr)));
    // Only the window that fades can complete: the others are closed for good.
    closingWindow()->animateAlpha(0.0, fadeOutDuration, TimingFunction::standard,
                                  [] { closeForGood(std::exchange(closingWindow(), nullptr)); });
}

void BreakOverlayWindowController::forceClose() {
    countdownTimer.reset();
    letGoOfSkipButton();
    closeForGood(std::exchange(window, nullptr));
    if (const auto fading = fadingWindow.lock()) {
        closingWindow().reset();
        closeForGood(fading);
    }
}

void BreakOverlayWindowController::countDown() {
    remaining = checkedSubtract<std::int64_t>(remaining, 1);
    Platform::current().runLoop->async([this, alive = std::weak_ptr(lifetime), shown = remaining] {
        if (alive.expired()) {
            return;
        }
        if (const auto viewController = contentVC.lock(); viewController && window) {
            viewController->update(shown);
            window->setContent(viewController->content());
        }
        if (remaining <= 0) {
            countdownTimer.reset();
        }
    });
}

void BreakOverlayWindowController::letGoOfSkipButton() {
    if (const auto viewController = contentVC.lock()) {
        viewController->onSkip = {};
    }
}

void BreakOverlayWindowController::closeForGood(const std::shared_ptr<OverlayWindow>& window) {
    if (window) {
        window->close();
    }
}

std::shared_ptr<OverlayWindow>& BreakOverlayWindowController::closingWindow() {
    // Never destroyed, as the engines: the platform may be gone before static objects are.
    static auto& closing = *new std::shared_ptr<OverlayWindow>;
    return closing;
}

} // namespace nocta
