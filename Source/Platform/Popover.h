#pragma once

#include "Platform/WindowHost.h"

#include <memory>
#include <optional>

namespace nocta {

/// Logical pixels.
struct Size {
    double width = 0;
    double height = 0;

    bool operator==(const Size&) const = default;
};

enum class PopoverBehavior {
    applicationDefined, ///< never closes by itself: the program does it, and the user with the Escape key
};

/// The side of what a popover belongs to on which it appears, where there is room.
enum class Edge { below };

struct PopoverStyle {
    Size contentSize;
    PopoverBehavior behavior = PopoverBehavior::applicationDefined;
    bool animates = false; ///< may come and go in the way that the desktop moves such windows, if it has one

    bool operator==(const PopoverStyle&) const = default;
};

/// A small window that belongs to an item of the panel and shows the program's views. Their state lasts from one
/// opening to the next. Main thread only.
class Popover {
  public:
    Popover() = default;
    Popover(const Popover&) = delete;
    Popover& operator=(const Popover&) = delete;
    virtual ~Popover() = default;

    [[nodiscard]] virtual bool isShown() const = 0;
    /// Shows it beside `anchor` (as of `StatusItem::frame`), within the work area of the anchor's screen; without an
    /// anchor in the corner where this desktop has its panel items. One that is shown moves there.
    virtual void show(const std::optional<Rectangle>& anchor, Edge preferredEdge) = 0;
    /// Gives its window the keyboard, if it has one by now.
    virtual void makeKey() = 0;
    /// Closes it; the keyboard goes back to the window that had it, unless another one has taken it since.
    virtual void performClose() = 0;
};

/// Makes popovers. Main thread only.
class PopoverHost {
  public:
    PopoverHost() = default;
    PopoverHost(const PopoverHost&) = delete;
    PopoverHost& operator=(const PopoverHost&) = delete;
    virtual ~PopoverHost() = default;

    /// A popover that shows the program's views, and is not shown yet: cheap, what it needs is made at its first
    /// showing. It outlives no host.
    [[nodiscard]] virtual std::unique_ptr<Popover> makePopover(const PopoverStyle& style) = 0;
};

} // namespace nocta
