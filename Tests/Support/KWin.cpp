#include "Support/KWin.h"

#include "Support/Eventually.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <dbus/dbus.h>
#include <fcntl.h>
#include <unistd.h>

namespace nocta::test {

namespace {

std::filesystem::path makeFolder(const std::filesystem::path& path) {
    std::filesystem::create_directory(path);
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    return path;
}

/// The packaged program carries a capability, with which not every machine lets it start; a copy does not. It goes by
/// its name: under another one it does not find a part of itself.
void copyProgram(const std::filesystem::path& folder) {
    std::filesystem::copy_file("/usr/bin/kwin_wayland", folder / "kwin_wayland");
}

using Connection = std::unique_ptr<DBusConnection, void (*)(DBusConnection*)>;

/// A connection of its own for each question: nothing has to be served in between. Null where no bus answers.
Connection connectTo(const std::string& address) {
    Connection connection(dbus_connection_open_private(address.c_str(), nullptr), [](DBusConnection* open) {
        dbus_connection_close(open);
        dbus_connection_unref(open);
    });
    if (connection) {
        dbus_connection_set_exit_on_disconnect(connection.get(), 0);
        if (dbus_bus_register(connection.get(), nullptr) == 0) {
            connection.reset();
        }
    }
    return connection;
}

struct Unreference {
    void operator()(DBusMessage* message) const { dbus_message_unref(message); }
};
using Message = std::unique_ptr<DBusMessage, Unreference>;

/// Null where there is no answer, or one that tells an error.
Message ask(DBusConnection& connection, DBusMessage& question) {
    constexpr int patience = 5000; // milliseconds
    // Whoever asks until something holds leaves KWin the time for it: a picture is much work to it.
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    return Message(dbus_connection_send_with_reply_and_block(&connection, &question, patience, nullptr));
}

} // namespace

KWin::KWin(std::size_t outputs, Drawing drawing)
    : outputs(outputs), drawing(drawing), waylandSocket(makeFolder(folder.path() / "runtime") / "wayland-0") {
    makeFolder(folder.path() / "home");
    copyProgram(folder.path());
    start();
    setenv("WAYLAND_DISPLAY", waylandSocket.c_str(), 1);
    unsetenv("DISPLAY");
}

KWin::~KWin() {
    unsetenv("WAYLAND_DISPLAY");
    kill();
}

void KWin::kill() {
    process->signal(SIGKILL);
    process->waitForEnd();
}

void KWin::restart() {
    kill();
    start();
}

void KWin::start() {
    const auto home = folder.path() / "home";
    std::vector<std::string> arguments;
    if (geteuid() == 0) {
        // With it KWin would have the processor before all others, and some at a time have it for good.
        arguments = {"setpriv", "--bounding-set=-sys_nice"};
    }
    arguments.insert(arguments.end(), {folder.path() / "kwin_wayland", "--virtual", "--width", "1280", "--height",
                                       "800", "--output-count", std::to_string(outputs), "--no-lockscreen", "--socket",
                                       waylandSocket.filename()});
    process = std::make_unique<Process>(std::move(arguments),
                                        Process::Environment{{"HOME", home},
                                                             {"XDG_RUNTIME_DIR", waylandSocket.parent_path()},
                                                             {"XDG_CONFIG_HOME", ""},
                                                             {"XDG_CACHE_HOME", ""},
                                                             {"XDG_DATA_HOME", ""},
                                                             {"XDG_STATE_HOME", ""},
                                                             {"XDG_CURRENT_DESKTOP", "KDE"},
                                                             {"KWIN_COMPOSE", drawing == Drawing::simple ? "Q" : "O2"},
                                                             // For programs that no desktop has installed.
                                                             {"KWIN_WAYLAND_NO_PERMISSION_CHECKS", "1"},
                                                             {"KWIN_SCREENSHOT_NO_PERMISSION_CHECKS", "1"},
                                                             {"LIBGL_ALWAYS_SOFTWARE", "1"},
                                                             {"QT_QPA_PLATFORM", ""},
                                                             {"QT_PLUGIN_PATH", ""},
                                                             {"DISPLAY", ""},
                                                             {"WAYLAND_DISPLAY", ""}});
    // Of what it has on the bus it names this last, and answers for it in its own loop.
    const bool hasStarted = eventually([this] { return std::filesystem::exists(waylandSocket) && temperature(); },
                                       std::chrono::seconds(30));
    if (!hasStarted) {
        throw std::runtime_error("no kwin_wayland: " + process->errors());
    }
}

std::optional<std::uint32_t> KWin::temperature() const {
    const auto connection = connectTo(sessionBus.address());
    if (!connection) {
        return std::nullopt;
    }
    const Message question(
        dbus_message_new_method_call("org.kde.NightColor", "/ColorCorrect", "org.freedesktop.DBus.Properties", "Get"));
    const char* interface = "org.kde.kwin.ColorCorrect";
    const char* property = "currentTemperature";
    dbus_message_append_args(question.get(), DBUS_TYPE_STRING, &interface, DBUS_TYPE_STRING, &property,
                             DBUS_TYPE_INVALID);
    const Message answer = ask(*connection, *question);
    DBusMessageIter value;
    if (!answer || dbus_message_iter_init(answer.get(), &value) == 0) {
        return std::nullopt;
    }
    DBusMessageIter content;
    dbus_message_iter_recurse(&value, &content);
    std::uint32_t kelvin = 0;
    dbus_message_iter_get_basic(&content, &kelvin);
    return kelvin;
}

std::optional<KWin::Colour> KWin::colourAt(int x, int y) const {
    const auto connection = connectTo(sessionBus.address());
    std::array<int, 2> pipe{-1, -1};
    if (!connection || pipe2(pipe.data(), O_CLOEXEC) != 0) {
        return std::nullopt;
    }
    const Message question(dbus_message_new_method_call("org.kde.KWin", "/org/kde/KWin/ScreenShot2",
                                                        "org.kde.KWin.ScreenShot2", "CaptureArea"));
    const dbus_uint32_t size = 1;
    dbus_message_append_args(question.get(), DBUS_TYPE_INT32, &x, DBUS_TYPE_INT32, &y, DBUS_TYPE_UINT32, &size,
                             DBUS_TYPE_UINT32, &size, DBUS_TYPE_INVALID);
    DBusMessageIter end;
    DBusMessageIter options;
    dbus_message_iter_init_append(question.get(), &end);
    dbus_message_iter_open_container(&end, DBUS_TYPE_ARRAY, "{sv}", &options);
    dbus_message_iter_close_container(&end, &options);
    dbus_message_iter_append_basic(&end, DBUS_TYPE_UNIX_FD, &pipe[1]);
    const bool isTaken = ask(*connection, *question) != nullptr;
    close(pipe[1]);
    // A pixel of 32 bits, from blue to opacity.
    std::array<std::uint8_t, 4> pixel{};
    std::size_t have = 0;
    for (ssize_t count = 1; isTaken && have < pixel.size() && count > 0; have += static_cast<std::size_t>(count)) {
        count = std::max<ssize_t>(read(pipe[0], pixel.data() + have, pixel.size() - have), 0);
    }
    close(pipe[0]);
    return have == pixel.size() ? std::optional(Colour{pixel[2], pixel[1], pixel[0]}) : std::nullopt;
}

} // namespace nocta::test
