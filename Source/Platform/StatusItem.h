#pragma once

#include "Platform/WindowHost.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace nocta {

/// Mouse events, as bits of an event mask.
namespace mouseevent {
inline constexpr std::uint32_t leftUp = 4;
inline constexpr std::uint32_t rightUp = 16;
} // namespace mouseevent

enum class SymbolWeight { medium };

/// A symbol in one colour. Nothing but this colour decides how it is drawn.
struct SymbolImage {
    std::string symbolName;
    std::string accessibilityDescription;
    double pointSize = 14; ///< logical pixels; a host that knows no labels draws it as large as its icons
    SymbolWeight weight = SymbolWeight::medium;
    Color color;
    bool isTemplate = false; ///< whether the host may draw it in a colour of its own

    bool operator==(const SymbolImage&) const = default;
};

/// A square picture of `size` x `size` device pixels, row by row from the top left, each 0xAARRGGBB with the colour not
/// premultiplied.
struct Raster {
    std::int32_t size = 0;
    std::vector<std::uint32_t> pixels;

    bool operator==(const Raster&) const = default;
};

/// Draws an image into a square of `size` device pixels; where `caption` is not empty, it stands below the image inside
/// the square. Back ends that hand pictures to their host are given one.
using SymbolPainter = std::function<Raster(const SymbolImage& image, std::string_view caption, std::int32_t size)>;

enum class ImagePosition { imageOnly = 1, imageLeft = 2 };

/// What the item's button looks like. UTF-8.
struct StatusButton {
    SymbolImage image;
    /// Beside the image. Hosts that have no room for text get it, without blanks around it, as the image's caption.
    std::string title;
    ImagePosition imagePosition = ImagePosition::imageOnly;
    std::string toolTip;

    bool operator==(const StatusButton&) const = default;
};

/// An entry of the menu for hosts that insist on showing one.
struct MenuEntry {
    std::string title; ///< UTF-8
    std::function<void()> action;
};

/// One item in the desktop's panel. Destroying it takes it out of the panel. Main thread only; nothing waits for the
/// host. Without a host everything is kept, and shown when one appears.
class StatusItem {
  public:
    StatusItem() = default;
    StatusItem(const StatusItem&) = delete;
    StatusItem& operator=(const StatusItem&) = delete;
    virtual ~StatusItem() = default;

    /// What its button looks like; null where it has no button, and then ignores what is set here.
    [[nodiscard]] virtual const StatusButton* button() const = 0;
    virtual void setButton(const StatusButton& button) = 0;
    /// Calls `action` from the run loop for the events of `mask`, an or of `mouseevent`.
    virtual void setAction(std::uint32_t mask, std::function<void()> action) = 0;
    /// For hosts that show a menu in place of one of the events, or of all of them. Actions are called from the run
    /// loop.
    virtual void setMenu(std::vector<MenuEntry> entries) = 0;

    /// Where the button is, in pixels of the whole desktop, on X11 the device's, on Wayland logical ones; where only
    /// the place of its last click is known, that point without extent; nothing where neither is known.
    [[nodiscard]] virtual std::optional<Rectangle> frame() const = 0;

    /// Whether the host draws the button into a window of its own, so that the press of every click on it is also one
    /// outside Nocta's windows.
    [[nodiscard]] virtual bool isDrawnByHost() const = 0;

    /// Calls `observer` from the run loop whenever it becomes known that there is a host, or none; at first as soon as
    /// either is certain. An empty one ends that.
    virtual void setHostObserver(std::function<void(bool hasHost)> observer) = 0;
};

/// The desktop's place for status items. Main thread only.
class StatusBar {
  public:
    StatusBar() = default;
    StatusBar(const StatusBar&) = delete;
    StatusBar& operator=(const StatusBar&) = delete;
    virtual ~StatusBar() = default;

    /// A new item, as wide as what it shows. It outlives no status bar.
    [[nodiscard]] virtual std::unique_ptr<StatusItem> makeStatusItem() = 0;
};

} // namespace nocta
