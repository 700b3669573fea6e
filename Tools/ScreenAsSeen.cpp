// screen-as-seen [FILE.png]: what the gamma ramps of an X server make of its screen.
//
// An X server's screenshot lacks the gamma ramps, which act only on the way to the display. This program reads both at
// one moment, writes the picture that reaches the eye to FILE.png, and prints a line for each display:
//
//   DP-1 1920x1080+0+0 ramp 256, white 65535 46072 24161: 2700 K, brightness 1.000
//
// Without a file it prints the lines only. It changes nothing on the server.

#include "Light.h"
#include "Platform/X11/XConnection.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include <QImage>
#include <QRect>

namespace {

using nocta::XConnection;
using nocta::XReply;

constexpr std::size_t channelCount = 3; ///< red, green, blue

struct Display {
    std::string name;
    QRect area; ///< on the root window
    std::array<std::vector<std::uint16_t>, channelCount> ramps;

    [[nodiscard]] std::uint16_t white(std::size_t channel) const { return ramps[channel].back(); }
};

/// The pixels of the root window, in rows without padding.
struct Screenshot {
    QSize size;
    std::vector<std::uint32_t> pixels;
    std::array<std::uint32_t, channelCount> masks{};
};

template <class Reply>
XReply<Reply> received(Reply* reply) {
    if (reply == nullptr) {
        throw std::runtime_error("the X server does not answer a question about its screen");
    }
    return XReply<Reply>(reply);
}

std::string nameOf(const XConnection& server, xcb_randr_output_t output, xcb_timestamp_t configuration) {
    const auto info = received(xcb_randr_get_output_info_reply(
        server.get(), xcb_randr_get_output_info(server.get(), output, configuration), nullptr));
    const std::span name(xcb_randr_get_output_info_name(info.get()), info->name_len);
    return {name.begin(), name.end()};
}

std::vector<Display> readDisplays(const XConnection& server) {
    const auto resources = received(xcb_randr_get_screen_resources_current_reply(
        server.get(), xcb_randr_get_screen_resources_current(server.get(), server.root()), nullptr));
    std::vector<Display> displays;
    for (const auto crtc :
         std::span(xcb_randr_get_screen_resources_current_crtcs(resources.get()), resources->num_crtcs)) {
        const auto info = received(xcb_randr_get_crtc_info_reply(
            server.get(), xcb_randr_get_crtc_info(server.get(), crtc, resources->config_timestamp), nullptr));
        if (info->mode == XCB_NONE || info->num_outputs == 0) {
            continue;
        }
        const auto gamma = received(
            xcb_randr_get_crtc_gamma_reply(server.get(), xcb_randr_get_crtc_gamma(server.get(), crtc), nullptr));
        if (gamma->size == 0) {
            throw std::runtime_error("a display has no gamma ramp");
        }
        Display display{.name = {}, .area = {info->x, info->y, info->width, info->height}, .ramps = {}};
        for (const auto output : std::span(xcb_randr_get_crtc_info_outputs(info.get()), info->num_outputs)) {
            display.name.append(display.name.empty() ? "" : "+");
            display.name.append(nameOf(server, output, resources->config_timestamp));
        }
        const auto* entries = xcb_randr_get_crtc_gamma_red(gamma.get()); // green and blue follow in the reply
        for (auto& ramp : display.ramps) {
            ramp.assign(entries, entries + gamma->size);
            entries += gamma->size;
        }
        displays.push_back(std::move(display));
    }
    return displays;
}

/// Red, green and blue; zero where the visual is unknown.
std::array<std::uint32_t, channelCount> masksOf(const xcb_setup_t* setup, xcb_visualid_t visual) {
    for (auto screen = xcb_setup_roots_iterator(setup); screen.rem > 0; xcb_screen_next(&screen)) {
        for (auto depth = xcb_screen_allowed_depths_iterator(screen.data); depth.rem > 0; xcb_depth_next(&depth)) {
            for (const auto& type : std::span(xcb_depth_visuals(depth.data), depth.data->visuals_len)) {
                if (type.visual_id == visual) {
                    return {type.red_mask, type.green_mask, type.blue_mask};
                }
            }
        }
    }
    return {};
}

Screenshot takeScreenshot(const XConnection& server) {
    const auto geometry =
        received(xcb_get_geometry_reply(server.get(), xcb_get_geometry(server.get(), server.root()), nullptr));
    const auto image =
        received(xcb_get_image_reply(server.get(),
                                     xcb_get_image(server.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, server.root(), 0, 0,
                                                   geometry->width, geometry->height, ~0U),
                                     nullptr));
    const auto* setup = xcb_get_setup(server.get());
    const std::span<const std::uint8_t> bytes(xcb_get_image_data(image.get()),
                                              static_cast<std::size_t>(xcb_get_image_data_length(image.get())));
    Screenshot screenshot;
    screenshot.size = {geometry->width, geometry->height};
    screenshot.masks = masksOf(setup, image->visual);
    screenshot.pixels.resize(std::size_t{geometry->width} * geometry->height);
    if (std::ranges::find(screenshot.masks, 0U) != screenshot.masks.end() ||
        bytes.size() != screenshot.pixels.size() * sizeof(std::uint32_t)) {
        throw std::runtime_error("the screen's pixels are not 32 bits of red, green and blue");
    }
    const bool lowestFirst = setup->image_byte_order == XCB_IMAGE_ORDER_LSB_FIRST;
    for (std::size_t i = 0; i < screenshot.pixels.size(); ++i) {
        const auto byte = [&](std::size_t number) {
            return std::uint32_t{bytes[4 * i + (lowestFirst ? number : 3 - number)]};
        };
        screenshot.pixels[i] = byte(0) | byte(1) << 8 | byte(2) << 16 | byte(3) << 24;
    }
    return screenshot;
}

/// What each value of a channel in the screenshot becomes on the display, in 8 bits.
std::vector<std::uint8_t> outputsOf(std::span<const std::uint16_t> ramp, std::uint32_t largestValue) {
    std::vector<std::uint8_t> outputs(largestValue + 1);
    for (std::size_t value = 0; value < outputs.size(); ++value) {
        const std::size_t entry = (value * (ramp.size() - 1) + largestValue / 2) / largestValue;
        outputs[value] = static_cast<std::uint8_t>((ramp[entry] + 128U) / 257);
    }
    return outputs;
}

QImage asSeen(const Screenshot& screenshot, std::span<const Display> displays) {
    QImage picture(screenshot.size, QImage::Format_RGB32);
    picture.fill(Qt::black); // where no display looks
    for (const auto& display : displays) {
        std::array<std::vector<std::uint8_t>, channelCount> outputs;
        std::array<int, channelCount> shifts{};
        for (std::size_t i = 0; i < channelCount; ++i) {
            shifts[i] = std::countr_zero(screenshot.masks[i]);
            outputs[i] = outputsOf(display.ramps[i], screenshot.masks[i] >> shifts[i]);
        }
        const QRect area = display.area.intersected(picture.rect());
        for (int y = area.top(); y <= area.bottom(); ++y) {
            auto* row = reinterpret_cast<QRgb*>(picture.scanLine(y)); // NOLINT: what the format promises
            const auto* pixels = screenshot.pixels.data() + std::ptrdiff_t{y} * picture.width();
            for (int x = area.left(); x <= area.right(); ++x) {
                const auto output = [&](std::size_t i) {
                    return outputs[i][(pixels[x] & screenshot.masks[i]) >> shifts[i]];
                };
                row[x] = qRgb(output(0), output(1), output(2));
            }
        }
    }
    return picture;
}

void print(const Display& display) {
    const auto fraction = [&](std::size_t channel) { return display.white(channel) / 65535.0; };
    const Light light = lightOf(fraction(0), fraction(1), fraction(2));
    std::printf("%s %dx%d+%d+%d ramp %zu, white %d %d %d: %lld K, brightness %.3f\n", display.name.c_str(),
                display.area.width(), display.area.height(), display.area.x(), display.area.y(),
                display.ramps[0].size(), display.white(0), display.white(1), display.white(2),
                static_cast<long long>(light.kelvin), light.brightness);
}

void showScreen(const char* file) {
    const XConnection server;
    if (!server.hasRandr()) {
        throw std::runtime_error("no X server with RandR is reachable");
    }
    std::vector<Display> displays;
    std::optional<Screenshot> screenshot;
    {
        const nocta::ServerGrab grab(server);
        displays = readDisplays(server);
        if (file != nullptr) {
            screenshot = takeScreenshot(server);
        }
    }
    if (screenshot && !asSeen(*screenshot, displays).save(QString::fromLocal8Bit(file), "PNG")) {
        throw std::runtime_error(std::string("cannot write ") + file);
    }
    std::ranges::for_each(displays, print);
}

} // namespace

int main(int argc, char** argv) {
    if (argc > 2) {
        std::fputs("usage: screen-as-seen [FILE.png]\n", stderr);
        return 1;
    }
    try {
        showScreen(argc == 2 ? argv[1] : nullptr);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "screen-as-seen: %s\n", error.what());
        return 1;
    }
    return 0;
}
