#pragma once

#include "Platform/X11/XConnection.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <utility>
#include <vector>

namespace nocta::test {

struct Point {
    int x = 0;
    int y = 0;

    bool operator==(const Point&) const = default;
};

/// What stands on a whole desktop, without gamma ramps.
class ScreenPicture {
  public:
    /// Of the X server that DISPLAY names, taken now.
    ScreenPicture();
    /// Of that X server, taken now.
    explicit ScreenPicture(const XConnection& server);
    /// Of the Wayland compositor that WAYLAND_DISPLAY names, taken now.
    [[nodiscard]] static ScreenPicture ofCompositor();
    /// Of a PPM file. Throws where it is none.
    [[nodiscard]] static ScreenPicture read(const std::filesystem::path& file);

    [[nodiscard]] int width() const { return columns; }
    [[nodiscard]] int height() const { return rows; }
    /// 0xRRGGBB.
    [[nodiscard]] std::uint32_t at(int x, int y) const {
        return pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(columns) + static_cast<std::size_t>(x)] &
               0xFFFFFFU;
    }
    /// How many pixels have exactly that colour.
    [[nodiscard]] std::size_t count(std::uint32_t color) const;
    /// The middle of the pixels of exactly that colour, where there are any.
    [[nodiscard]] std::optional<Point> middle(std::uint32_t color) const;
    /// Writes it as a PPM file, to be looked at.
    void write(const std::filesystem::path& file) const;

  private:
    ScreenPicture(int columns, int rows, std::vector<std::uint32_t> pixels)
        : columns(columns), rows(rows), pixels(std::move(pixels)) {}

    int columns = 0;
    int rows = 0;
    std::vector<std::uint32_t> pixels;
};

} // namespace nocta::test
