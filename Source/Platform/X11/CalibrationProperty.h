#pragma once

#include "Platform/Calibration/CalibrationRecord.h"
#include "Platform/X11/XConnection.h"

#include <optional>

namespace nocta {

/// The root window's property `_NOCTA_CALIBRATION`: there while a tint is on the screen, so that a Nocta that starts
/// after every process of the last one was killed still finds the displays' own ramps.
class CalibrationProperty {
  public:
    /// `server` outlives the property. Waits for the server once.
    explicit CalibrationProperty(const XConnection& server);

    /// Nothing where the property is absent or does not hold a record. Waits for the server.
    [[nodiscard]] std::optional<CalibrationRecord> read() const;
    /// Only queues the request. A record too large for the server is left out.
    void write(std::span<const std::byte> encodedRecord) const;
    /// Only queues the request.
    void remove() const;

  private:
    const XConnection& server;
    xcb_atom_t atom;
};

/// Puts the ramps of `record` back, each where a CRTC of that number and size still is. First ends what is left of
/// their owner in the server: a process that has died may still have sent a frame that the server has not come to. To
/// be called under a grab.
void putBack(const XConnection& server, const CalibrationRecord& record);

} // namespace nocta
