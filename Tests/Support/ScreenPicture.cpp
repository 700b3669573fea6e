#include "Support/ScreenPicture.h"

#include "Support/Process.h"
#include "Support/TemporaryFolder.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include <dbus/dbus.h>
#include <fcntl.h>
#include <unistd.h>

namespace nocta::test {

namespace {

/// What an answer of KWin's says by that name; 0 where it does not.
std::uint32_t number(DBusMessage& answer, std::string_view name) {
    DBusMessageIter array;
    DBusMessageIter entry;
    if (dbus_message_iter_init(&answer, &array) == 0 || dbus_message_iter_get_arg_type(&array) != DBUS_TYPE_ARRAY) {
        return 0;
    }
    for (dbus_message_iter_recurse(&array, &entry); dbus_message_iter_get_arg_type(&entry) == DBUS_TYPE_DICT_ENTRY;
         dbus_message_iter_next(&entry)) {
        DBusMessageIter pair;
        DBusMessageIter value;
        const char* key = nullptr;
        dbus_message_iter_recurse(&entry, &pair);
        dbus_message_iter_get_basic(&pair, &key);
        dbus_message_iter_next(&pair);
        dbus_message_iter_recurse(&pair, &value);
        if (key == name && dbus_message_iter_get_arg_type(&value) == DBUS_TYPE_UINT32) {
            std::uint32_t result = 0;
            dbus_message_iter_get_basic(&value, &result);
            return result;
        }
    }
    return 0;
}

} // namespace

ScreenPicture::ScreenPicture() {
    const XConnection server;
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

ScreenPicture ScreenPicture::ofKWin() {
    const std::unique_ptr<DBusConnection, void (*)(DBusConnection*)> bus(
        dbus_bus_get_private(DBUS_BUS_SESSION, nullptr), [](DBusConnection* open) {
            dbus_connection_close(open);
            dbus_connection_unref(open);
        });
    std::array<int, 2> ends{-1, -1};
    if (!bus || pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("no bus");
    }
    dbus_connection_set_exit_on_disconnect(bus.get(), 0);
    using Message = std::unique_ptr<DBusMessage, void (*)(DBusMessage*)>;
    Message question(dbus_message_new_method_call("org.kde.KWin", "/org/kde/KWin/ScreenShot2",
                                                  "org.kde.KWin.ScreenShot2", "CaptureWorkspace"),
                     &dbus_message_unref);
    DBusMessageIter arguments;
    DBusMessageIter options;
    dbus_message_iter_init_append(question.get(), &arguments);
    dbus_message_iter_open_container(&arguments, DBUS_TYPE_ARRAY, "{sv}", &options);
    dbus_message_iter_close_container(&arguments, &options);
    dbus_message_iter_append_basic(&arguments, DBUS_TYPE_UNIX_FD, &ends[1]);
    constexpr int patience = 10000; // milliseconds
    const Message answer(dbus_connection_send_with_reply_and_block(bus.get(), question.get(), patience, nullptr),
                         [](DBusMessage* received) {
                             if (received != nullptr) {
                                 dbus_message_unref(received);
                             }
                         });
    // Both have the end that is written to.
    question.reset();
    close(ends[1]);
    // It writes what it has answered about.
    std::string bytes;
    std::array<char, 65536> part{};
    for (ssize_t count = 0; answer && (count = ::read(ends[0], part.data(), part.size())) > 0;) {
        bytes.append(part.data(), static_cast<std::size_t>(count));
    }
    close(ends[0]);
    const auto height = answer ? number(*answer, "height") : 0;
    const auto stride = answer ? number(*answer, "stride") : 0;
    const auto width = stride / sizeof(std::uint32_t);
    if (width == 0 || height == 0 || bytes.size() != std::size_t{stride} * height) {
        throw std::runtime_error("no picture of the screen");
    }
    std::vector<std::uint32_t> pixels(width * height);
    std::memcpy(pixels.data(), bytes.data(), bytes.size());
    return {static_cast<int>(width), static_cast<int>(height), std::move(pixels)};
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
