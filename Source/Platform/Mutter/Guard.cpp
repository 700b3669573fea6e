// nocta-mutter-guard: gives the displays their own calibration back, through mutter, when Nocta has died.
//
// Standard input is a socket whose other end only Nocta holds. Records of what to put back arrive on it; its end means
// that Nocta is gone, in whatever way. A record without displays means that there is nothing (more) to put back. The
// bus is met only then.

#include "Platform/Calibration/CalibrationRecord.h"
#include "Platform/Calibration/RecordStream.h"
#include "Platform/Mutter/CalibrationFile.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <initializer_list>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include <dbus/dbus.h>
#include <poll.h>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;
using nocta::CalibrationFile;
using nocta::CalibrationRecord;
using nocta::CrtcRamps;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr const char* serviceName = "org.gnome.Mutter.DisplayConfig";
constexpr const char* objectPath = "/org/gnome/Mutter/DisplayConfig";

constexpr int answerTimeoutMilliseconds = 5000;
/// How long a mutter is waited for that restarts, or hangs, or whose displays go on changing.
constexpr milliseconds restorePatience = 15s;
/// How long it may refuse with the newest serial, as one that has just started does, until that is its last word.
constexpr milliseconds refusalPatience = 2s;
/// A process that writes a core dump keeps its connection until that is written.
constexpr milliseconds deathPatience = 60s;
/// For a Nocta that starts to let go of the file.
constexpr milliseconds lockPatience = 10s;

void pause(milliseconds duration) {
    poll(nullptr, 0, static_cast<int>(duration.count()));
}

struct Disconnect {
    void operator()(DBusConnection* connection) const {
        dbus_connection_close(connection);
        dbus_connection_unref(connection);
    }
};
struct Release {
    void operator()(DBusMessage* message) const { dbus_message_unref(message); }
};
using Message = std::unique_ptr<DBusMessage, Release>;

/// The session bus that the environment names, which Nocta was on, and mutter on it.
class SessionBus {
  public:
    SessionBus() : connection(connect()) {
        if (connection) {
            dbus_connection_set_exit_on_disconnect(connection.get(), 0);
        }
    }

    [[nodiscard]] bool isThere() const { return connection && dbus_connection_get_is_connected(connection.get()) != 0; }

    [[nodiscard]] bool hasClient(const std::string& name) const {
        return dbus_validate_bus_name(name.c_str(), nullptr) != 0 &&
               dbus_bus_name_has_owner(connection.get(), name.c_str(), nullptr) != 0;
    }

    [[nodiscard]] std::optional<std::uint32_t> serial() const {
        const auto answer = ask(makeCall("GetResources"));
        DBusMessageIter position;
        if (!answer || dbus_message_iter_init(answer.get(), &position) == 0 ||
            dbus_message_iter_get_arg_type(&position) != DBUS_TYPE_UINT32) {
            return std::nullopt;
        }
        std::uint32_t serial = 0;
        dbus_message_iter_get_basic(&position, &serial);
        return serial;
    }

    /// Entries a channel.
    [[nodiscard]] std::optional<std::size_t> rampSize(std::uint32_t serial, std::uint32_t crtc) const {
        const auto answer = ask(makeCall("GetCrtcGamma", {serial, crtc}));
        DBusMessageIter position;
        if (!answer || dbus_message_has_signature(answer.get(), "aqaqaq") == 0 ||
            dbus_message_iter_init(answer.get(), &position) == 0) {
            return std::nullopt;
        }
        DBusMessageIter channel;
        dbus_message_iter_recurse(&position, &channel);
        const std::uint16_t* values = nullptr;
        int count = 0;
        dbus_message_iter_get_fixed_array(&channel, static_cast<void*>(&values), &count);
        return static_cast<std::size_t>(count);
    }

    [[nodiscard]] bool setRamps(std::uint32_t serial, const CrtcRamps& display) const {
        const auto call = makeCall("SetCrtcGamma", {serial, display.crtc});
        DBusMessageIter arguments;
        if (call) {
            dbus_message_iter_init_append(call.get(), &arguments);
        }
        bool isWhole = call != nullptr;
        for (std::size_t channel = 0; isWhole && channel < 3; ++channel) {
            const auto values = std::span(display.values).subspan(channel * display.size(), display.size());
            const std::uint16_t* first = values.data();
            DBusMessageIter array;
            isWhole = dbus_message_iter_open_container(&arguments, DBUS_TYPE_ARRAY, DBUS_TYPE_UINT16_AS_STRING,
                                                       &array) != 0 &&
                      dbus_message_iter_append_fixed_array(&array, DBUS_TYPE_UINT16, static_cast<const void*>(&first),
                                                           static_cast<int>(values.size())) != 0 &&
                      dbus_message_iter_close_container(&arguments, &array) != 0;
        }
        return isWhole && ask(call) != nullptr;
    }

  private:
    /// Without one named the library would start a bus.
    static DBusConnection* connect() {
        // NOLINTBEGIN(concurrency-mt-unsafe): one thread
        const char* address = std::getenv("DBUS_SESSION_BUS_ADDRESS");
        const char* folder = std::getenv("XDG_RUNTIME_DIR");
        // NOLINTEND(concurrency-mt-unsafe)
        const bool isNamed = address != nullptr
                                 ? *address != '\0'
                                 : folder != nullptr && access((std::string(folder) + "/bus").c_str(), F_OK) == 0;
        return isNamed ? dbus_bus_get_private(DBUS_BUS_SESSION, nullptr) : nullptr;
    }

    [[nodiscard]] static Message makeCall(const char* method, std::initializer_list<std::uint32_t> arguments = {}) {
        Message call(dbus_message_new_method_call(serviceName, objectPath, serviceName, method));
        if (!call) {
            return nullptr;
        }
        dbus_message_set_auto_start(call.get(), 0);
        DBusMessageIter position;
        dbus_message_iter_init_append(call.get(), &position);
        for (const std::uint32_t argument : arguments) {
            if (dbus_message_iter_append_basic(&position, DBUS_TYPE_UINT32, &argument) == 0) {
                return nullptr;
            }
        }
        return call;
    }

    /// Null where it is refused or not answered.
    [[nodiscard]] Message ask(const Message& call) const {
        return Message(call ? dbus_connection_send_with_reply_and_block(connection.get(), call.get(),
                                                                        answerTimeoutMilliseconds, nullptr)
                            : nullptr);
    }

    std::unique_ptr<DBusConnection, Disconnect> connection;
};

/// Each where a CRTC of that number still is, unless it has another size. False where some were not put back.
bool putBack(const SessionBus& bus, std::vector<CrtcRamps> displays) {
    constexpr milliseconds pauseBetween = 20ms;
    const auto end = steady_clock::now() + restorePatience;
    std::optional<std::uint32_t> refusedSerial;
    steady_clock::time_point refusedSince;
    for (;;) {
        if (const auto serial = bus.serial()) {
            std::erase_if(displays, [&](const CrtcRamps& display) {
                const auto size = bus.rampSize(*serial, display.crtc);
                return size && (*size != display.size() || bus.setRamps(*serial, display));
            });
            if (std::exchange(refusedSerial, serial) != serial) {
                refusedSince = steady_clock::now();
            }
            if (displays.empty() || steady_clock::now() - refusedSince > refusalPatience) {
                return displays.empty();
            }
        }
        if (!bus.isThere() || steady_clock::now() >= end) {
            return false;
        }
        pause(pauseBetween);
    }
}

/// Unless another Nocta has taken over meanwhile: what is on the screen then is that one's tint, and it knows the
/// calibration. False where Nocta may still have a frame on its way, and this must be done again.
bool restore(const SessionBus& bus, const CalibrationRecord& ours) {
    const CalibrationFile file;
    const auto lock = file.lock(lockPatience);
    const auto present = file.read();
    if (present && present->owner != ours.owner) {
        return true;
    }
    // What a client has sent is on its way before the bus forgets the client.
    const bool isGone = !bus.hasClient(ours.clientName);
    // What is not put back is for the next Nocta to put back.
    if (putBack(bus, ours.displays) && isGone) {
        file.remove();
    }
    return isGone;
}

} // namespace

int main() {
    // The end of a session is told to every process, Nocta included: what matters here is when that one has ended.
    for (const int signal : {SIGHUP, SIGINT, SIGTERM, SIGPIPE}) {
        std::signal(signal, SIG_IGN);
    }
    nocta::RecordStream stream;
    while (stream.receive(STDIN_FILENO)) {
    }
    const auto& record = stream.latest();
    if (!record || record->displays.empty()) {
        return 0;
    }
    const SessionBus bus;
    const auto end = steady_clock::now() + deathPatience;
    for (milliseconds wait = 1ms; bus.isThere() && !restore(bus, *record) && steady_clock::now() < end;) {
        while (bus.isThere() && bus.hasClient(record->clientName) && steady_clock::now() < end) {
            pause(wait);
            wait = std::min(2 * wait, 500ms);
        }
    }
    return 0;
}
