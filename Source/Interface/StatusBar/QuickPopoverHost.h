#pragma once

#include "Platform/Popover.h"
#include "Platform/PopoverSurface.h"
#include "Platform/RunLoop.h"

#include <functional>
#include <memory>

#include <QUrl>
#include <QVariantMap>

class QWindow;

namespace nocta {

/// What a popover shows: a QML item of 340 x 560, with a property `cornerRadius` (logical pixels) if it likes to know
/// of that.
struct PopoverScene {
    QUrl source;
    /// The item's properties. Asked for whenever an item is made; what they hold lasts from one to the next.
    std::function<QVariantMap()> properties;
    /// Told when the popover comes on the screen and when it leaves it.
    std::function<void(bool isShown)> shownChanged;
};

/// Popovers drawn by Qt Quick, without a graphics processor. The first scene is made a moment after the launch, which
/// ends with an opening; a while after a closing the scene is given up, and made again for the next opening.
class QuickPopoverHost final : public PopoverHost {
  public:
    using MakeSurface = std::function<std::unique_ptr<PopoverSurface>(QWindow&)>;

    /// From a popover's making to that of its scene, so that what the launch has to do first is done.
    static constexpr Seconds preparationDelay{0.05};
    /// How long a closed popover keeps its scene, so that whoever opens it again at once waits for nothing.
    static constexpr Seconds sceneLife{30};

    /// `makeSurface` makes a window a popover of this desktop, `makeScene` is called once for each popover, before it
    /// first opens; `sceneGone` after a scene was given up, when there is memory to be given back.
    QuickPopoverHost(RunLoop& loop, MakeSurface makeSurface, std::function<PopoverScene()> makeScene,
                     std::function<void()> sceneGone);

    [[nodiscard]] std::unique_ptr<Popover> makePopover(const PopoverStyle& style) override;

  private:
    class QuickPopover;

    RunLoop& loop;
    MakeSurface makeSurface;
    std::function<PopoverScene()> makeScene;
    std::function<void()> sceneGone;
};

} // namespace nocta
