#include "Support/DrivenDisplays.h"

#include <algorithm>
#include <array>
#include <span>
#include <stdexcept>
#include <string_view>

namespace nocta::test {

namespace {

using Resources = XReply<xcb_randr_get_screen_resources_current_reply_t>;

Resources resourcesOf(const XConnection& server) {
    Resources resources(xcb_randr_get_screen_resources_current_reply(
        server.get(), xcb_randr_get_screen_resources_current(server.get(), server.root()), nullptr));
    if (!resources) {
        throw std::runtime_error("no screen resources");
    }
    return resources;
}

std::span<xcb_randr_crtc_t> crtcsOf(const Resources& resources) {
    return {xcb_randr_get_screen_resources_current_crtcs(resources.get()), resources->num_crtcs};
}

constexpr std::int16_t columnWidth = 1280;

} // namespace

DrivenDisplays::DrivenDisplays() : calibration(connection) {
    if (!connection.hasRandr()) {
        throw std::runtime_error("no X server with RandR");
    }
    // Room for three columns; a server's first size is that of its first display.
    constexpr std::uint16_t width = 3 * columnWidth;
    constexpr std::uint16_t height = 2160;
    const XReply<xcb_get_geometry_reply_t> size(
        xcb_get_geometry_reply(connection.get(), xcb_get_geometry(connection.get(), connection.root()), nullptr));
    if (size && size->width != width) {
        xcb_randr_set_screen_size(connection.get(), connection.root(), width, height, 1000, 560);
        connection.synchronize();
    }
}

std::vector<xcb_randr_crtc_t> DrivenDisplays::active() const {
    std::vector<xcb_randr_crtc_t> found;
    const auto resources = resourcesOf(connection);
    for (const auto crtc : crtcsOf(resources)) {
        const XReply<xcb_randr_get_crtc_info_reply_t> info(xcb_randr_get_crtc_info_reply(
            connection.get(), xcb_randr_get_crtc_info(connection.get(), crtc, resources->config_timestamp), nullptr));
        if (info && info->mode != XCB_NONE) {
            found.push_back(crtc);
        }
    }
    return found;
}

Ramps DrivenDisplays::ramps(xcb_randr_crtc_t crtc) const {
    const XReply<xcb_randr_get_crtc_gamma_reply_t> reply(
        xcb_randr_get_crtc_gamma_reply(connection.get(), xcb_randr_get_crtc_gamma(connection.get(), crtc), nullptr));
    if (!reply) {
        return {};
    }
    const std::size_t size = reply->size;
    Ramps values;
    for (const auto* channel : {xcb_randr_get_crtc_gamma_red(reply.get()), xcb_randr_get_crtc_gamma_green(reply.get()),
                                xcb_randr_get_crtc_gamma_blue(reply.get())}) {
        values.insert(values.end(), channel, channel + size);
    }
    return values;
}

std::map<xcb_randr_crtc_t, Ramps> DrivenDisplays::allRamps() const {
    std::map<xcb_randr_crtc_t, Ramps> all;
    for (const auto crtc : active()) {
        all[crtc] = ramps(crtc);
    }
    return all;
}

void DrivenDisplays::setRamps(xcb_randr_crtc_t crtc, const Ramps& values) const {
    connection.setCrtcGamma(crtc, values.data(), values.size() / 3);
    connection.synchronize();
}

std::vector<xcb_randr_crtc_t> DrivenDisplays::plug(std::size_t count) const {
    for (std::size_t output = 1; output < count; ++output) {
        setMode(output, 0);
    }
    std::uint32_t seed = 0;
    const auto resources = resourcesOf(connection);
    for (const auto crtc : crtcsOf(resources)) {
        setRamps(crtc, peculiarRamps(256, ++seed));
    }
    return active();
}

void DrivenDisplays::setMode(std::size_t output, std::optional<std::size_t> mode) const {
    const auto resources = resourcesOf(connection);
    const std::span outputs(xcb_randr_get_screen_resources_current_outputs(resources.get()), resources->num_outputs);
    const std::span modes(xcb_randr_get_screen_resources_current_modes(resources.get()), resources->num_modes);
    const auto crtc = crtcsOf(resources)[output];
    const xcb_randr_mode_t modeId = mode ? modes[*mode].id : xcb_randr_mode_t{XCB_NONE};
    if (mode) {
        xcb_randr_add_output_mode(connection.get(), outputs[output], modeId);
    }
    const auto x = static_cast<std::int16_t>(columnWidth * static_cast<std::int16_t>(output % 3));
    const auto cookie =
        xcb_randr_set_crtc_config(connection.get(), crtc, XCB_CURRENT_TIME, resources->config_timestamp, x, 0, modeId,
                                  XCB_RANDR_ROTATION_ROTATE_0, mode ? 1 : 0, &outputs[output]);
    const XReply<xcb_randr_set_crtc_config_reply_t> reply(
        xcb_randr_set_crtc_config_reply(connection.get(), cookie, nullptr));
    if (!reply || reply->status != XCB_RANDR_SET_CONFIG_SUCCESS) {
        throw std::runtime_error("the mode was refused");
    }
}

bool DrivenDisplays::hasProperty() const {
    constexpr std::string_view name = "_NOCTA_CALIBRATION";
    const XReply<xcb_intern_atom_reply_t> atom(xcb_intern_atom_reply(
        connection.get(), xcb_intern_atom(connection.get(), 0, name.size(), name.data()), nullptr));
    const XReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        connection.get(), xcb_get_property(connection.get(), 0, connection.root(), atom->atom, XCB_ATOM_ANY, 0, 0),
        nullptr));
    return reply && reply->type != XCB_ATOM_NONE;
}

Ramps peculiarRamps(std::size_t size, std::uint32_t seed) {
    Ramps values;
    for (std::uint32_t channel = 0; channel < 3; ++channel) {
        const std::uint32_t top = 65535 - 97 * seed - 31 * channel;
        for (std::uint32_t i = 0; i < size; ++i) {
            const std::uint32_t straight = top * i / static_cast<std::uint32_t>(size - 1);
            values.push_back(static_cast<std::uint16_t>(i % 16 == 5 ? straight - straight / 50 : straight));
        }
    }
    return values;
}

} // namespace nocta::test
