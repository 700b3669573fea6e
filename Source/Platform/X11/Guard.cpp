// nocta-guard: gives the displays their own calibration back when Nocta has died.
//
// Standard input is a socket whose other end only Nocta holds. Records of what to put back arrive on it; its end means
// that Nocta is gone, in whatever way. A record without displays means that there is nothing (more) to put back.

#include "Platform/Calibration/CalibrationRecord.h"
#include "Platform/Calibration/RecordStream.h"
#include "Platform/X11/CalibrationProperty.h"
#include "Platform/X11/XConnection.h"

#include <array>
#include <csignal>

#include <poll.h>
#include <unistd.h>

namespace {

using nocta::CalibrationProperty;
using nocta::CalibrationRecord;
using nocta::RecordStream;
using nocta::XConnection;

void dropEvents(const XConnection& server) {
    while (nocta::XReply<xcb_generic_event_t>(xcb_poll_for_event(server.get()))) {
    }
}

/// Waits for Nocta's end. False when the X server ended first, with its ramps.
bool waitForEnd(const XConnection& server, RecordStream& stream) {
    for (;;) {
        // Every client is sent keyboard mapping changes, wanted or not; left unread they would pile up in the server.
        std::array<pollfd, 2> sources{pollfd{.fd = STDIN_FILENO, .events = POLLIN, .revents = 0},
                                      pollfd{.fd = server.descriptor(), .events = POLLIN, .revents = 0}};
        if (poll(sources.data(), sources.size(), -1) < 0) {
            continue;
        }
        if (sources[0].revents != 0 && !stream.receive(STDIN_FILENO)) {
            return true;
        }
        if (sources[1].revents != 0) {
            dropEvents(server);
        }
        if (server.isLost()) {
            return false;
        }
    }
}

/// Unless another Nocta has taken over meanwhile: what is on the screen then is that one's tint, and it knows the
/// calibration.
void restore(const XConnection& server, const CalibrationProperty& property, const CalibrationRecord& ours) {
    {
        const nocta::ServerGrab grab(server);
        const auto present = property.read();
        if (present && present->owner != ours.owner) {
            return;
        }
        nocta::putBack(server, ours);
        property.remove();
    }
    server.synchronize();
}

} // namespace

int main() {
    // The end of a session is told to every process, Nocta included: what matters here is when that one has ended.
    for (const int signal : {SIGHUP, SIGINT, SIGTERM, SIGPIPE}) {
        std::signal(signal, SIG_IGN);
    }
    const XConnection server;
    if (!server.hasRandr()) {
        return 1;
    }
    const CalibrationProperty property(server);
    RecordStream stream;
    if (waitForEnd(server, stream) && stream.latest() && !stream.latest()->displays.empty()) {
        restore(server, property, *stream.latest());
    }
    return 0;
}
