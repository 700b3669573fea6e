#include "Platform/X11/RandrDisplayService.h"

#include "Platform/X11/ClientMark.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace nocta {

RandrDisplayService::RandrDisplayService(RunLoop& loop, Options options)
    : loop(loop),
      guard(loop, std::move(options.guardProgram)),
      onServerLost(std::move(options.onServerLost)),
      available(server.hasRandr() && !server.isXwayland()),
      owner(CalibrationRecord::randomOwner()) {
    if (!available) {
        return;
    }
    property.emplace(server);
    clientMark = markClient(server, owner);
    removeLeftTint();
    xcb_randr_select_input(server.get(), server.root(),
                           XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE |
                               XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE);
    eventWatch = loop.watch(server.descriptor(), [this] { handleEvents(); });
    refresh();
    takeQueuedEvents();
}

std::size_t RandrDisplayService::activeDisplays(std::span<DisplayID> buffer) {
    std::size_t count = 0;
    for (const auto& crtc : crtcs) {
        if (crtc.isActive) {
            if (count < buffer.size()) {
                buffer[count] = crtc.id;
            }
            ++count;
        }
    }
    return count;
}

void RandrDisplayService::load(DisplayID display, std::span<const float> red, std::span<const float> green,
                               std::span<const float> blue) {
    const auto crtc = std::ranges::find(crtcs, display, &Crtc::id);
    if (crtc == crtcs.end() || !crtc->isActive || crtc->size == 0 || red.empty()) {
        return;
    }
    loadNewcomers(red, green, blue);
    if (!crtc->isTinted() && !crtc->isUnreadable) {
        keepCalibration();
    }
    // What could not be put back is not tinted.
    if (crtc->isTinted()) {
        fill(*crtc);
        server.setCrtcGamma(crtc->id, crtc->loaded.data(), crtc->size);
    }
}

void RandrDisplayService::loadNewcomers(std::span<const float> red, std::span<const float> green,
                                        std::span<const float> blue) {
    assign(tables, red, green, blue);
}

void RandrDisplayService::flush() {
    server.flush();
    takeQueuedEvents();
}

void RandrDisplayService::reload() {
    if (available) {
        refresh();
        takeQueuedEvents();
    }
}

void RandrDisplayService::restoreCalibration() {
    tables = {};
    if (std::ranges::none_of(crtcs, &Crtc::isTinted)) {
        return;
    }
    for (auto& crtc : crtcs) {
        if (crtc.isTinted()) {
            server.setCrtcGamma(crtc.id, crtc.calibration.data(), crtc.size);
            crtc.calibration.clear();
            crtc.loaded.clear();
        }
    }
    property->remove();
    server.synchronize();
    // Only now: until the server has carried it out, a death of this process is still the guard's business.
    guard.withdraw(CalibrationRecord{.owner = owner, .client = clientMark, .displays = {}}.encode());
    takeQueuedEvents();
}

std::vector<DisplayDescription> RandrDisplayService::describe() {
    std::vector<DisplayDescription> descriptions;
    for (const auto& crtc : crtcs) {
        if (crtc.isActive) {
            const bool isServed = crtc.size > 0 && !crtc.isUnreadable;
            descriptions.push_back({.id = crtc.id,
                                    .name = nameOf(crtc.id),
                                    .tableSize = crtc.size,
                                    .hasTemperature = isServed,
                                    .hasBrightness = isServed});
        }
    }
    takeQueuedEvents();
    return descriptions;
}

std::string RandrDisplayService::nameOf(xcb_randr_crtc_t crtc) const {
    const XReply<xcb_randr_get_crtc_info_reply_t> info(xcb_randr_get_crtc_info_reply(
        server.get(), xcb_randr_get_crtc_info(server.get(), crtc, XCB_CURRENT_TIME), nullptr));
    std::string name;
    if (!info) {
        return name;
    }
    for (const auto output : std::span(xcb_randr_get_crtc_info_outputs(info.get()), info->num_outputs)) {
        const XReply<xcb_randr_get_output_info_reply_t> connector(xcb_randr_get_output_info_reply(
            server.get(), xcb_randr_get_output_info(server.get(), output, XCB_CURRENT_TIME), nullptr));
        if (connector) {
            const std::span bytes(xcb_randr_get_output_info_name(connector.get()), connector->name_len);
            name.append(name.empty() ? "" : "+").append(bytes.begin(), bytes.end());
        }
    }
    return name;
}

void RandrDisplayService::removeLeftTint() {
    const ServerGrab grab(server);
    if (const auto left = property->read()) {
        putBack(server, *left);
        property->remove();
    }
}

void RandrDisplayService::refresh() {
    const XReply<xcb_randr_get_screen_resources_current_reply_t> resources(xcb_randr_get_screen_resources_current_reply(
        server.get(), xcb_randr_get_screen_resources_current(server.get(), server.root()), nullptr));
    if (!resources) {
        return;
    }
    const std::span ids(xcb_randr_get_screen_resources_current_crtcs(resources.get()), resources->num_crtcs);

    struct Question {
        xcb_randr_get_crtc_info_cookie_t info;
        xcb_randr_get_crtc_gamma_size_cookie_t size;
    };
    std::vector<Question> questions;
    for (const auto id : ids) {
        questions.push_back({.info = xcb_randr_get_crtc_info(server.get(), id, resources->config_timestamp),
                             .size = xcb_randr_get_crtc_gamma_size(server.get(), id)});
    }
    std::vector<Crtc> present;
    for (std::size_t i = 0; i < questions.size(); ++i) {
        const XReply<xcb_randr_get_crtc_info_reply_t> info(
            xcb_randr_get_crtc_info_reply(server.get(), questions[i].info, nullptr));
        const XReply<xcb_randr_get_crtc_gamma_size_reply_t> size(
            xcb_randr_get_crtc_gamma_size_reply(server.get(), questions[i].size, nullptr));
        Crtc crtc;
        crtc.id = ids[i];
        const auto known = std::ranges::find(crtcs, ids[i], &Crtc::id);
        if (known != crtcs.end()) {
            crtc = std::move(*known);
        }
        // A question that failed tells nothing: above all not that a known display has lost its calibration.
        const bool wasActive = std::exchange(crtc.isActive, info && info->mode != XCB_NONE && info->num_outputs > 0);
        const std::size_t oldSize = std::exchange(crtc.size, size ? size->size : crtc.size);
        crtc.isUnreadable = false;
        if (crtc.size != oldSize) {
            crtc.calibration.clear();
        }
        if (!wasActive || crtc.size != oldSize) {
            crtc.loaded.clear();
        }
        present.push_back(std::move(crtc));
    }
    crtcs = std::move(present);
    reloadTables();
}

void RandrDisplayService::keepCalibration() {
    std::vector<std::pair<Crtc*, xcb_randr_get_crtc_gamma_cookie_t>> questions;
    for (auto& crtc : crtcs) {
        if (crtc.isActive && crtc.size > 0 && !crtc.isTinted()) {
            questions.emplace_back(&crtc, xcb_randr_get_crtc_gamma(server.get(), crtc.id));
        }
    }
    bool isNew = false;
    for (const auto& [crtc, question] : questions) {
        const XReply<xcb_randr_get_crtc_gamma_reply_t> ramps(
            xcb_randr_get_crtc_gamma_reply(server.get(), question, nullptr));
        if (ramps && ramps->size == crtc->size) {
            const auto* red = xcb_randr_get_crtc_gamma_red(ramps.get());
            crtc->calibration.assign(red, red + 3 * crtc->size); // green and blue follow in the reply
            isNew = true;
        } else {
            crtc->isUnreadable = true;
        }
    }
    if (isNew) {
        publishCalibration();
    }
}

void RandrDisplayService::publishCalibration() {
    CalibrationRecord record{.owner = owner, .client = clientMark, .displays = {}};
    for (const auto& crtc : crtcs) {
        if (crtc.isTinted()) {
            record.displays.push_back({.crtc = crtc.id, .values = crtc.calibration});
        }
    }
    auto encoded = record.encode();
    property->write(encoded);
    guard.publish(std::move(encoded));
}

void RandrDisplayService::reloadTables() {
    if (tables[0].empty()) {
        return;
    }
    keepCalibration();
    for (auto& crtc : crtcs) {
        if (crtc.isActive && crtc.isTinted()) {
            if (crtc.loaded.empty()) {
                fill(crtc);
            }
            server.setCrtcGamma(crtc.id, crtc.loaded.data(), crtc.size);
        }
    }
    server.flush();
}

void RandrDisplayService::fill(Crtc& crtc) const {
    crtc.loaded.resize(3 * crtc.size);
    fillRamps(tables, crtc.loaded);
}

void RandrDisplayService::handleEvents() {
    changeCheck.reset();
    takeEvents(&xcb_poll_for_event);
    // Asking the server brings in more events.
    while (std::exchange(hasChanged, false)) {
        refresh();
        takeEvents(&xcb_poll_for_event);
    }
    if (server.isLost() && eventWatch) {
        eventWatch.reset();
        onServerLost();
    }
}

void RandrDisplayService::takeEvents(xcb_generic_event_t* (*next)(xcb_connection_t*)) {
    while (const XReply<xcb_generic_event_t> event{next(server.get())}) {
        const int type = event->response_type & 0x7f;
        hasChanged |= type == server.firstRandrEvent() + XCB_RANDR_SCREEN_CHANGE_NOTIFY ||
                      type == server.firstRandrEvent() + XCB_RANDR_NOTIFY;
    }
}

void RandrDisplayService::takeQueuedEvents() {
    takeEvents(&xcb_poll_for_queued_event);
    if (hasChanged && !changeCheck) {
        changeCheck = loop.oneShot(Seconds(0), [this] { handleEvents(); });
    }
}

} // namespace nocta
