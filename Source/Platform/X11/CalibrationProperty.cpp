#include "Platform/X11/CalibrationProperty.h"

#include "Platform/X11/ClientMark.h"

namespace nocta {

CalibrationProperty::CalibrationProperty(const XConnection& server)
    : server(server), atom(server.atom("_NOCTA_CALIBRATION")) {}

std::optional<CalibrationRecord> CalibrationProperty::read() const {
    const XReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(
        server.get(),
        xcb_get_property(server.get(), 0, server.root(), atom, atom, 0, CalibrationRecord::largestEncoding / 4),
        nullptr));
    if (!reply || reply->type != atom || reply->format != 8 || reply->bytes_after != 0) {
        return std::nullopt;
    }
    const auto* value = static_cast<const std::byte*>(xcb_get_property_value(reply.get()));
    return CalibrationRecord::decode({value, static_cast<std::size_t>(xcb_get_property_value_length(reply.get()))});
}

void CalibrationProperty::write(std::span<const std::byte> encodedRecord) const {
    // A request beyond the server's limit would end the connection.
    const std::size_t units = 6 + (encodedRecord.size() + 3) / 4;
    if (units <= xcb_get_maximum_request_length(server.get())) {
        xcb_change_property(server.get(), XCB_PROP_MODE_REPLACE, server.root(), atom, atom, 8,
                            static_cast<std::uint32_t>(encodedRecord.size()), encodedRecord.data());
    }
}

void CalibrationProperty::remove() const {
    xcb_delete_property(server.get(), server.root(), atom);
}

void putBack(const XConnection& server, const CalibrationRecord& record) {
    endMarkedClient(server, record.client, record.owner);
    // The server refuses a CRTC that is gone or has another size; such an error is of no interest.
    for (const auto& display : record.displays) {
        server.setCrtcGamma(display.crtc, display.values.data(), display.size());
    }
}

} // namespace nocta
