#include "Platform/Simulated/SimulatedWindowHost.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace nocta {

namespace {

double progressAt(double t, TimingFunction timing) {
    switch (timing) {
    case TimingFunction::standard:
        return t * t * (3 - 2 * t);
    case TimingFunction::easeOut:
        return t * (2 - t);
    }
    return t;
}

} // namespace

/// The window as its owner has it.
class SimulatedOverlayWindow final : public OverlayWindow {
  public:
    explicit SimulatedOverlayWindow(std::shared_ptr<SimulatedWindow> window) : window(std::move(window)) {}
    SimulatedOverlayWindow(const SimulatedOverlayWindow&) = delete;
    SimulatedOverlayWindow& operator=(const SimulatedOverlayWindow&) = delete;
    ~SimulatedOverlayWindow() override { window->close(); }

    void setContent(const OverlayContent& content) override { window->recordedContents.push_back(content); }
    void orderFrontRegardless() override { window->shownAt = window->loop.elapsed(); }
    void animateAlpha(double alpha, Seconds duration, TimingFunction timing,
                      std::function<void()> completion) override {
        window->animateAlpha(alpha, duration, timing, std::move(completion));
    }
    void close() override { window->close(); }

  private:
    std::shared_ptr<SimulatedWindow> window;
};

SimulatedWindow::SimulatedWindow(SimulatedRunLoop& loop, const OverlayWindowStyle& style, std::function<void()> onSkip)
    : loop(loop), madeStyle(style), onSkip(std::move(onSkip)) {}

double SimulatedWindow::alpha() const {
    if (recordedFades.empty()) {
        return madeStyle.alphaValue;
    }
    const Fade& fade = recordedFades.back();
    const Seconds elapsed = loop.elapsed() - fade.start;
    if (elapsed >= fade.duration) {
        return fade.alpha;
    }
    return std::lerp(alphaBefore, fade.alpha, progressAt(elapsed / fade.duration, fade.timing));
}

bool SimulatedWindow::pressSkip() const {
    if (!isOnScreen() || isFadingOut() || madeStyle.ignoresMouseEvents) {
        return false;
    }
    deliverLatePress();
    return true;
}

void SimulatedWindow::deliverLatePress() const {
    // A copy: the window may be destroyed inside it.
    if (const auto pressed = onSkip) {
        pressed();
    }
}

void SimulatedWindow::animateAlpha(double alpha, Seconds duration, TimingFunction timing,
                                   std::function<void()> newCompletion) {
    if (closedAt) {
        return;
    }
    alphaBefore = this->alpha();
    recordedFades.push_back({.start = loop.elapsed(), .alpha = alpha, .duration = duration, .timing = timing});
    completion = std::move(newCompletion);
    fadeTimer = loop.oneShot(duration, [this] {
        if (const auto ended = std::exchange(completion, {})) {
            ended();
        }
    });
}

void SimulatedWindow::close() {
    if (!closedAt) {
        closedAt = loop.elapsed();
    }
    fadeTimer.reset();
    completion = {};
    onSkip = {};
}

std::size_t SimulatedWindowHost::openWindows() const {
    return static_cast<std::size_t>(
        std::ranges::count_if(recordedWindows, [](const auto& window) { return !window->closed(); }));
}

void SimulatedWindowHost::forgetClosed() {
    std::erase_if(recordedWindows, [](const auto& window) { return window->closed().has_value(); });
}

std::unique_ptr<OverlayWindow> SimulatedWindowHost::makeOverlayWindow(const OverlayWindowStyle& style,
                                                                      std::function<void()> onSkip) {
    recordedWindows.push_back(std::make_shared<SimulatedWindow>(loop, style, std::move(onSkip)));
    return std::make_unique<SimulatedOverlayWindow>(recordedWindows.back());
}

} // namespace nocta
