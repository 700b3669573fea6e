#include "Support/ScreenPicture.h"

#include "Support/Process.h"
#include "Support/TemporaryFolder.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <utility>

namespace nocta::test {

ScreenPicture::ScreenPicture() : ScreenPicture(XConnection()) {}

ScreenPicture::ScreenPicture(const XConnection& server) {
    const XReply<xcb_get_geometry_reply_t> geometry(
        xcb_get_geometry_reply(server.get(), xcb_get_geometry(server.get(), server.root()), nullptr));
    if (!geometry) {
        throw std::runtime_error("no screen to take a picture of");
    }
    columns = geometry->width;
    rows = geometry->height;
    const XReply<xcb_get_image_reply_t> image(
        xcb_get_image_reply(server.get(),
                            xcb_get_image(server.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, server.root(), 0, 0, geometry->width,
                                          geometry->height, ~0U),
                            nullptr));
    pixels.resize(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows));
    const auto bytes = pixels.size() * sizeof(std::uint32_t);
    if (!image || static_cast<std::size_t>(xcb_get_image_data_length(image.get())) < bytes) {
        throw std::runtime_error("no picture of the screen");
    }
    std::memcpy(pixels.data(), xcb_get_image_data(image.get()), bytes);
}

ScreenPicture ScreenPicture::ofCompositor() {
    const TemporaryFolder folder;
    const auto file = folder.path() / "screen.ppm";
    Process grim({"grim", "-s", "1", "-t", "ppm", file});
    if (grim.waitForEnd() != Ending{.exitStatus = 0}) {
        throw std::runtime_error("no picture of the screen: " + grim.errors());
    }
    return read(file);
}

ScreenPicture ScreenPicture::read(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::string kind;
    int columns = 0;
    int rows = 0;
    int most = 0;
    in >> kind >> columns >> rows >> most;
    in.get();
    const auto size = static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows);
    const std::string bytes((std::istreambuf_iterator<char>(in)), {});
    if (kind != "P6" || most != 255 || size == 0 || bytes.size() != 3 * size) {
        throw std::runtime_error("no picture of the screen: " + kind);
    }
    std::vector<std::uint32_t> pixels(size);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        pixels[i / 3] = pixels[i / 3] << 8U | static_cast<std::uint8_t>(bytes[i]);
    }
    return {columns, rows, std::move(pixels)};
}

std::size_t ScreenPicture::count(std::uint32_t color) const {
    return static_cast<std::size_t>(
        std::ranges::count_if(pixels, [color](std::uint32_t pixel) { return (pixel & 0xFFFFFFU) == color; }));
}

std::optional<Point> ScreenPicture::middle(std::uint32_t color) const {
    std::int64_t x = 0;
    std::int64_t y = 0;
    std::int64_t found = 0;
    for (int row = 0; row < rows; ++row) {
        for (int column = 0; column < columns; ++column) {
            if (at(column, row) == color) {
                x += column;
                y += row;
                ++found;
            }
        }
    }
    if (found == 0) {
        return std::nullopt;
    }
    return Point{.x = static_cast<int>(x / found), .y = static_cast<int>(y / found)};
}

void ScreenPicture::write(const std::filesystem::path& file) const {
    std::ofstream out(file, std::ios::binary);
    out << "P6\n" << columns << ' ' << rows << "\n255\n";
    for (int y = 0; y < rows; ++y) {
        for (int x = 0; x < columns; ++x) {
            const auto pixel = at(x, y);
            for (const unsigned shift : {16U, 8U, 0U}) {
                out.put(static_cast<char>(pixel >> shift & 0xFFU));
            }
        }
    }
}

} // namespace nocta::test
