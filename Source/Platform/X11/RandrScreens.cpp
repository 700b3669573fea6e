#include "Platform/X11/RandrScreens.h"

#include <span>

namespace nocta {

std::vector<RandrScreen> randrScreens(const XConnection& server) {
    const auto primaryQuestion = xcb_randr_get_output_primary(server.get(), server.root());
    const XReply<xcb_randr_get_screen_resources_current_reply_t> resources(xcb_randr_get_screen_resources_current_reply(
        server.get(), xcb_randr_get_screen_resources_current(server.get(), server.root()), nullptr));
    const XReply<xcb_randr_get_output_primary_reply_t> primary(
        xcb_randr_get_output_primary_reply(server.get(), primaryQuestion, nullptr));
    if (!resources) {
        return {};
    }
    const std::span outputs(xcb_randr_get_screen_resources_current_outputs(resources.get()), resources->num_outputs);
    std::vector<xcb_randr_get_output_info_cookie_t> questions;
    questions.reserve(outputs.size());
    for (const auto output : outputs) {
        questions.push_back(xcb_randr_get_output_info(server.get(), output, resources->config_timestamp));
    }
    std::vector<RandrScreen> screens;
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        const XReply<xcb_randr_get_output_info_reply_t> output(
            xcb_randr_get_output_info_reply(server.get(), questions[i], nullptr));
        if (!output || output->crtc == XCB_NONE) {
            continue;
        }
        const XReply<xcb_randr_get_crtc_info_reply_t> crtc(xcb_randr_get_crtc_info_reply(
            server.get(), xcb_randr_get_crtc_info(server.get(), output->crtc, resources->config_timestamp), nullptr));
        if (!crtc || crtc->mode == XCB_NONE) {
            continue;
        }
        const auto* name = reinterpret_cast<const char*>(xcb_randr_get_output_info_name(output.get())); // NOLINT
        screens.push_back({.output = std::string(name, output->name_len),
                           .isPrimary = primary && primary->output == outputs[i],
                           .x = crtc->x,
                           .y = crtc->y,
                           .width = crtc->width,
                           .height = crtc->height});
    }
    return screens;
}

} // namespace nocta
