#include "Interface/StatusBar/QuickPopoverHost.h"

#include "Interface/Quick.h"
#include "Interface/StatusBar/PopoverFrame.h"
#include "Interface/StatusBar/PopoverPlacement.h"
#include "Interface/Theme.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>

namespace nocta {

namespace {

/// Between the item and the arrow's tip, or the edge of a popover without arrow.
constexpr double gapToItem = 1;
/// To the edges of the work area.
constexpr double margin = 8;
/// With less, more would be lost by squeezing than by what a screen cuts off.
constexpr double leastHeight = 300;

} // namespace

class QuickPopoverHost::QuickPopover final : public Popover {
  public:
    QuickPopover(QuickPopoverHost& host, const PopoverStyle& style)
        : host(host), style(style), preparing(host.loop.oneShot(preparationDelay, [this] { prepare(); })) {}
    QuickPopover(const QuickPopover&) = delete;
    QuickPopover& operator=(const QuickPopover&) = delete;
    ~QuickPopover() override { performClose(); }

    [[nodiscard]] bool isShown() const override { return shown; }

    void show(const std::optional<Rectangle>& anchor, Edge /*preferredEdge*/) override {
        givingUp.reset();
        prepare();
        const bool wasShown = std::exchange(shown, true);
        if (!wasShown && scene->shownChanged) {
            scene->shownChanged(true);
        }
        stage->show(anchor);
    }

    void makeKey() override {
        if (shown) {
            stage->surface->takeKeyboard();
        }
    }

    void performClose() override {
        if (!std::exchange(shown, false)) {
            return;
        }
        stage->surface->hide();
        if (scene->shownChanged) {
            scene->shownChanged(false);
        }
        givingUp = host.loop.oneShot(sceneLife, [this] {
            stage.reset();
            host.sceneGone();
            givingUp.reset();
        });
    }

  private:
    /// Window and items, from before an opening until some time after the closing.
    class Stage {
      public:
        explicit Stage(QuickPopover& popover) : popover(popover) {
            prepareQuick();
            window.emplace();
            auto format = window->format();
            format.setAlphaBufferSize(8);
            window->setFormat(format);
            window->setColor(Qt::transparent);
            window->setTitle(QStringLiteral("Nocta"));
            surface = popover.host.makeSurface(*window);
            surface->setDismissHandler([&popover] { popover.performClose(); });

            // After its window. NOLINTNEXTLINE(cppcoreguidelines-prefer-member-initializer)
            frame = new PopoverFrame(window->contentItem());
            frame->setFlag(QQuickItem::ItemIsFocusScope);
            frame->setFocus(true);
            // Not from within the event, whose items a closing may give up.
            QObject::connect(
                frame, &PopoverFrame::escapePressed, frame, [&popover] { popover.performClose(); },
                Qt::QueuedConnection);
            QObject::connect(&Theme::shared(), &Theme::changed, frame, [this] { showColors(); });

            engine = std::make_unique<QQmlEngine>();
            QQmlComponent component(engine.get(), popover.scene->source);
            auto properties = popover.scene->properties ? popover.scene->properties() : QVariantMap();
            properties.insert(QStringLiteral("parent"), QVariant::fromValue(static_cast<QQuickItem*>(frame)));
            content = qobject_cast<QQuickItem*>(component.createWithInitialProperties(properties));
            if (content != nullptr) {
                content->setParent(frame);
                content->setFocus(true);
            }
        }
        Stage(const Stage&) = delete;
        Stage& operator=(const Stage&) = delete;
        ~Stage() {
            surface.reset();
            // The items before the engine that their bindings belong to.
            window.reset();
        }

        void show(const std::optional<Rectangle>& anchor) {
            const bool isTranslucent = surface->isTranslucent();
            const auto surroundings = surface->surroundings(anchor);
            const double gap = gapToItem + (isTranslucent ? PopoverFrame::arrowLength : 0);
            auto size = popover.style.contentSize;
            // On a small screen its views scroll, and what stands below them stays in reach.
            if (const double room = surroundings.workArea.height - gap - margin; room >= leastHeight) {
                size.height = std::min(size.height, std::floor(room));
            }
            const auto placement = placePopover(surroundings, size, gap, margin);
            frame->arrange(isTranslucent, QSizeF(size.width, size.height), placement.facing, placement.pointer);
            if (content != nullptr) {
                content->setPosition(frame->body().topLeft());
                content->setSize(frame->body().size());
                content->setProperty("cornerRadius", isTranslucent ? PopoverFrame::cornerRadius : 0.0);
            }
            showColors();
            const auto& body = placement.body;
            surface->show(surroundings,
                          {.x = body.x - frame->body().x(),
                           .y = body.y - frame->body().y(),
                           .width = frame->width(),
                           .height = frame->height()},
                          body);
        }

        std::unique_ptr<PopoverSurface> surface;

      private:
        void showColors() {
            const auto& theme = Theme::shared();
            frame->setColors(theme.background(), theme.divider());
        }

        QuickPopover& popover;
        std::unique_ptr<QQmlEngine> engine;
        std::optional<QQuickWindow> window;
        PopoverFrame* frame = nullptr; ///< the window's
        QQuickItem* content = nullptr; ///< the frame's
    };

    void prepare() {
        preparing.reset();
        if (!scene) {
            scene = host.makeScene();
        }
        if (!stage) {
            stage = std::make_unique<Stage>(*this);
        }
    }

    QuickPopoverHost& host;
    PopoverStyle style;
    std::optional<PopoverScene> scene;
    std::unique_ptr<Stage> stage;
    bool shown = false;
    std::unique_ptr<Timer> preparing; ///< until the first opening at the latest
    std::unique_ptr<Timer> givingUp;
};

QuickPopoverHost::QuickPopoverHost(RunLoop& loop, MakeSurface makeSurface, std::function<PopoverScene()> makeScene,
                                   std::function<void()> sceneGone)
    : loop(loop),
      makeSurface(std::move(makeSurface)),
      makeScene(std::move(makeScene)),
      sceneGone(std::move(sceneGone)) {}

std::unique_ptr<Popover> QuickPopoverHost::makePopover(const PopoverStyle& style) {
    return std::make_unique<QuickPopover>(*this, style);
}

} // namespace nocta
