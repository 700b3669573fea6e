#include "Interface/BreakOverlay/QuickWindowHost.h"

#include "Interface/BreakOverlay/KeyGate.h"
#include "Interface/BreakOverlay/OverlayModel.h"
#include "Interface/Quick.h"

#include <algorithm>
#include <utility>

#include <QEasingCurve>
#include <QElapsedTimer>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QScreen>

namespace nocta {

namespace {

QEasingCurve curveOf(TimingFunction timing) {
    QEasingCurve curve(QEasingCurve::BezierSpline);
    switch (timing) {
    case TimingFunction::standard:
        curve.addCubicBezierSegment({0.42, 0}, {0.58, 1}, {1, 1});
        break;
    case TimingFunction::easeOut:
        curve.addCubicBezierSegment({0, 0}, {0.58, 1}, {1, 1});
        break;
    }
    return curve;
}

/// Time from one picture of the display to the next.
Seconds frameInterval(const QWindow& window) {
    constexpr double slowest = 24;
    constexpr double fastest = 240;
    const auto* const screen = window.screen();
    return Seconds(1 / std::clamp(screen != nullptr ? screen->refreshRate() : 60.0, slowest, fastest));
}

} // namespace

class QuickWindowHost::Window final : public OverlayWindow {
  public:
    Window(QuickWindowHost& host, const OverlayWindowStyle& style, std::function<void()> onSkip)
        : host(host), style(style), onSkip(std::move(onSkip)), alpha(style.alphaValue) {
        auto format = window.format();
        format.setAlphaBufferSize(8);
        window.setFormat(format);
        window.setGeometry(
            QRectF(style.contentRect.x, style.contentRect.y, style.contentRect.width, style.contentRect.height)
                .toRect());
        window.setTitle(QStringLiteral("Nocta"));
        surface = host.surfaces.makeOverlay(window, [this] { showAlpha(); });
        window.setFlag(Qt::WindowTransparentForInput, style.ignoresMouseEvents);
        window.installEventFilter(&gate);
        QObject::connect(&model, &OverlayModel::skipPressed, &model, [this] { skip(); });
        auto* const content = qobject_cast<QQuickItem*>(host.scene->createWithInitialProperties(
            {{QStringLiteral("parent"), QVariant::fromValue(window.contentItem())},
             {QStringLiteral("model"), QVariant::fromValue(&model)}}));
        if (content != nullptr) {
            content->setParent(window.contentItem());
        }
        showAlpha();
        ++host.windows;
    }
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;
    ~Window() override {
        close();
        host.windowGone();
    }

    void setContent(const OverlayContent& content) override { model.setContent(content); }

    void orderFrontRegardless() override {
        if (surface) {
            std::erase(host.shown, this);
            host.shown.push_back(this);
            gate.begin();
            surface->show();
        }
    }

    void animateAlpha(double target, Seconds duration, TimingFunction timing,
                      std::function<void()> completion) override {
        if (!surface) {
            return;
        }
        setTakesInput(target > 0);
        fade = host.loop.repeating(
            frameInterval(window), TimerPrecision::frame,
            [this, from = alpha, target, duration, curve = curveOf(timing), completion = std::move(completion),
             time = started()] {
                const double passed = static_cast<double>(time.nsecsElapsed()) / 1e9;
                if (passed < duration.count()) {
                    alpha = from + (target - from) * curve.valueForProgress(passed / duration.count());
                    showAlpha();
                    return;
                }
                alpha = target;
                showAlpha();
                const auto finish = completion; // outlives the fade, which it may end with the window
                fade.reset();
                if (finish) {
                    finish();
                }
            });
    }

    void close() override {
        fade.reset();
        surface.reset();
        std::erase(host.shown, this);
        window.destroy();
    }

    void activate() {
        if (takesInput && surface) {
            surface->takeKeyboard();
        }
    }

  private:
    static QElapsedTimer started() {
        QElapsedTimer timer;
        timer.start();
        return timer;
    }

    void setTakesInput(bool takes) {
        if (std::exchange(takesInput, takes) == takes) {
            return;
        }
        model.setTakesInput(takes);
        window.setFlag(Qt::WindowTransparentForInput, !takes || style.ignoresMouseEvents);
        if (takes) {
            gate.open();
        } else {
            gate.close();
            surface->releaseKeyboard();
        }
    }

    /// Puts the alpha on the whole window where the desktop blends it with what is below, else on the content over an
    /// opaque background.
    void showAlpha() {
        const bool blends = surface->isTranslucent();
        const bool fadesAsAWhole = blends && surface->hasOpacity();
        auto background = style.backgroundColor;
        if (!blends || style.isOpaque) {
            background.alpha = 1;
        }
        if (blends && !fadesAsAWhole) {
            background.alpha *= alpha;
        }
        window.setColor(QColor::fromRgbF(static_cast<float>(background.red), static_cast<float>(background.green),
                                         static_cast<float>(background.blue), static_cast<float>(background.alpha)));
        surface->setOpacity(fadesAsAWhole ? alpha : 1);
        model.setOpacity(fadesAsAWhole ? 1 : alpha);
    }

    /// From the scene's own event handler, in which the scene must not end.
    void skip() {
        if (takesInput) {
            host.loop.async([this, alive = std::weak_ptr(life)] {
                if (!alive.expired() && takesInput && surface && onSkip) {
                    const auto call = onSkip; // the window may end in it
                    call();
                }
            });
        }
    }

    QuickWindowHost& host;
    OverlayWindowStyle style;
    std::function<void()> onSkip;
    OverlayModel model;
    KeyGate gate{[this] { return surface ? surface->pressedKeys() : std::vector<std::uint32_t>(); }};
    QQuickWindow window;
    std::unique_ptr<OverlaySurface> surface;
    double alpha;
    bool takesInput = true;
    std::unique_ptr<Timer> fade;
    std::shared_ptr<bool> life = std::make_shared<bool>();
};

QuickWindowHost::QuickWindowHost(SurfaceHost& surfaces, RunLoop& loop, std::function<void()> sceneGone)
    : surfaces(surfaces), loop(loop), sceneGone(std::move(sceneGone)) {}

QuickWindowHost::~QuickWindowHost() = default;

std::unique_ptr<OverlayWindow> QuickWindowHost::makeOverlayWindow(const OverlayWindowStyle& style,
                                                                  std::function<void()> onSkip) {
    loadScene();
    return std::make_unique<Window>(*this, style, std::move(onSkip));
}

void QuickWindowHost::activateIgnoringOtherApps() {
    if (!shown.empty()) {
        shown.back()->activate();
    }
}

void QuickWindowHost::windowGone() {
    if (--windows > 0) {
        return;
    }
    givingUp = loop.oneShot(sceneLife, [this] {
        scene.reset();
        engine.reset();
        sceneGone();
        givingUp.reset();
    });
}

void QuickWindowHost::loadScene() {
    givingUp.reset();
    if (scene) {
        return;
    }
    prepareQuick();
    engine = std::make_unique<QQmlEngine>();
    scene = std::make_unique<QQmlComponent>(
        engine.get(), QUrl(QStringLiteral("qrc:/qt-project.org/imports/Nocta/BreakOverlay/BreakOverlay.qml")));
}

} // namespace nocta
