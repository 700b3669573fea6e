#include "Support/KWin.h"

#include "Platform/X11/XConnection.h"
#include "Support/Eventually.h"
#include "Support/XServer.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <dbus/dbus.h>
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
    // Whoever asks until something holds leaves KWin the time for it.
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    return Message(dbus_connection_send_with_reply_and_block(&connection, &question, patience, nullptr));
}

/// What a release of KWin calls its night light on the bus.
struct NightLight {
    const char* service;
    const char* path;
    const char* interface;
};
constexpr std::array<NightLight, 2> nightLights{
    {{.service = "org.kde.KWin.NightLight",
      .path = "/org/kde/KWin/NightLight",
      .interface = "org.kde.KWin.NightLight"},                                                               // Plasma 6
     {.service = "org.kde.NightColor", .path = "/ColorCorrect", .interface = "org.kde.kwin.ColorCorrect"}}}; // Plasma 5

} // namespace

/// An X server whose windows are KWin's outputs. KWin offers pictures of its own only where there is a graphics card.
struct KWin::Screens {
    /// In pixels.
    static constexpr int width = 1280;
    static constexpr int height = 800;
    /// The server has no room for more beside each other.
    static constexpr int columns = 3;

    explicit Screens(int count) : count(count) {
        const auto across = static_cast<std::uint16_t>(width * std::min(count, columns));
        const auto down = static_cast<std::uint16_t>(height * (1 + (count - 1) / columns));
        xcb_randr_set_screen_size(connection.get(), connection.root(), across, down, across / 4, down / 4);
        connection.synchronize();
    }

    /// Where a place of the desktop is on the server.
    [[nodiscard]] static Point place(const Point& desktop) {
        const int number = desktop.x / width;
        return {.x = number % columns * width + desktop.x % width, .y = number / columns * height + desktop.y};
    }

    /// Puts KWin's windows beside each other. Returns whether all of them are there.
    [[nodiscard]] bool arrange() const {
        const XReply<xcb_query_tree_reply_t> tree(
            xcb_query_tree_reply(connection.get(), xcb_query_tree(connection.get(), connection.root()), nullptr));
        if (!tree || static_cast<int>(tree->children_len) != count) {
            return false;
        }
        std::vector<xcb_window_t> windows(xcb_query_tree_children(tree.get()),
                                          xcb_query_tree_children(tree.get()) + tree->children_len);
        // The server knows them by numbers that rise.
        std::ranges::sort(windows);
        for (int i = 0; i < count; ++i) {
            const auto [x, y] = place({.x = width * i, .y = 0});
            const std::array<std::uint32_t, 2> values{static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y)};
            xcb_configure_window(connection.get(), windows[static_cast<std::size_t>(i)],
                                 XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y, values.data());
        }
        connection.synchronize();
        return true;
    }

    XServer server;
    XConnection connection;
    int count;
};

KWin::KWin(std::size_t outputs, Drawing drawing)
    : outputs(outputs),
      screens(drawing == Drawing::pictured ? std::make_unique<Screens>(static_cast<int>(outputs)) : nullptr),
      waylandSocket(makeFolder(folder.path() / "runtime") / "wayland-0") {
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
    arguments.emplace_back(folder.path() / "kwin_wayland");
    if (screens) {
        arguments.insert(arguments.end(), {"--x11-display", screens->server.display()});
    } else {
        arguments.emplace_back("--virtual");
    }
    arguments.insert(arguments.end(), {"--width", "1280", "--height", "800", "--output-count", std::to_string(outputs),
                                       "--no-lockscreen", "--socket", waylandSocket.filename()});
    process = std::make_unique<Process>(std::move(arguments),
                                        Process::Environment{{"HOME", home},
                                                             {"XDG_RUNTIME_DIR", waylandSocket.parent_path()},
                                                             {"XDG_CONFIG_HOME", ""},
                                                             {"XDG_CACHE_HOME", ""},
                                                             {"XDG_DATA_HOME", ""},
                                                             {"XDG_STATE_HOME", ""},
                                                             {"XDG_CURRENT_DESKTOP", "KDE"},
                                                             {"KWIN_COMPOSE", "Q"}, // at the least cost
                                                             // For programs that no desktop has installed.
                                                             {"KWIN_WAYLAND_NO_PERMISSION_CHECKS", "1"},
                                                             {"QT_QPA_PLATFORM", ""},
                                                             {"QT_PLUGIN_PATH", ""},
                                                             {"DISPLAY", ""},
                                                             {"WAYLAND_DISPLAY", ""}});
    // Of what it has on the bus it names this last, and answers for it in its own loop.
    const bool hasStarted = eventually(
        [this] { return std::filesystem::exists(waylandSocket) && temperature() && (!screens || screens->arrange()); },
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
    for (const auto& nightLight : nightLights) {
        if (dbus_bus_name_has_owner(connection.get(), nightLight.service, nullptr) == 0) {
            continue;
        }
        const Message question(dbus_message_new_method_call(nightLight.service, nightLight.path,
                                                            "org.freedesktop.DBus.Properties", "Get"));
        const char* property = "currentTemperature";
        dbus_message_append_args(question.get(), DBUS_TYPE_STRING, &nightLight.interface, DBUS_TYPE_STRING, &property,
                                 DBUS_TYPE_INVALID);
        const Message answer = ask(*connection, *question);
        DBusMessageIter value;
        if (!answer || dbus_message_iter_init(answer.get(), &value) == 0) {
            continue;
        }
        DBusMessageIter content;
        dbus_message_iter_recurse(&value, &content);
        std::uint32_t kelvin = 0;
        dbus_message_iter_get_basic(&content, &kelvin);
        return kelvin;
    }
    return std::nullopt;
}

void KWin::preview(std::uint32_t kelvin) const {
    const auto connection = connectTo(sessionBus.address());
    const bool isDone = connection && std::ranges::any_of(nightLights, [&](const NightLight& nightLight) {
                            const Message call(dbus_message_new_method_call(nightLight.service, nightLight.path,
                                                                            nightLight.interface, "preview"));
                            dbus_message_append_args(call.get(), DBUS_TYPE_UINT32, &kelvin, DBUS_TYPE_INVALID);
                            return ask(*connection, *call) != nullptr;
                        });
    if (!isDone) {
        throw std::runtime_error("KWin previews no temperature");
    }
}

std::optional<KWin::Colour> KWin::colourAt(int x, int y) const {
    const auto& connection = screens->connection;
    const auto place = Screens::place({.x = x, .y = y});
    const XReply<xcb_get_image_reply_t> image(xcb_get_image_reply(
        connection.get(),
        xcb_get_image(connection.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, connection.root(),
                      static_cast<std::int16_t>(place.x), static_cast<std::int16_t>(place.y), 1, 1, ~0U),
        nullptr));
    if (!image || xcb_get_image_data_length(image.get()) < 3) {
        return std::nullopt;
    }
    // From blue to red.
    const auto* const pixel = xcb_get_image_data(image.get());
    return Colour{pixel[2], pixel[1], pixel[0]};
}

ScreenPicture KWin::picture() const {
    return ScreenPicture(screens->connection);
}

} // namespace nocta::test
