#include "Support/GnomeShell.h"

#include "Support/Eventually.h"

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace nocta::test {

namespace {

constexpr const char* settings = R"([org/gnome/shell]
enabled-extensions=['ubuntu-appindicators@ubuntu.com']
disable-user-extensions=false
welcome-dialog-last-shown-version='999'

[org/gnome/desktop/interface]
enable-animations=false

[org/gnome/desktop/notifications]
show-banners=false

[org/gnome/desktop/session]
idle-delay=uint32 0
)";

/// Devices of the shell's own seat, made once.
constexpr const char* devices = R"(
const {Clutter, GLib} = imports.gi;
const seat = Clutter.get_default_backend().get_default_seat();
global.noctaPointer ??= seat.create_virtual_device(Clutter.InputDeviceType.POINTER_DEVICE);
global.noctaKeyboard ??= seat.create_virtual_device(Clutter.InputDeviceType.KEYBOARD_DEVICE);
const now = GLib.get_monotonic_time();
)";

/// Without the quotation marks of a JSON text.
std::string unquoted(const std::string& json) {
    return json.size() >= 2 && json.front() == '"' ? json.substr(1, json.size() - 2) : json;
}

} // namespace

GnomeShell::GnomeShell() {
    const auto configuration = folder.path() / "home/.config/glib-2.0/settings";
    std::filesystem::create_directories(configuration);
    std::ofstream(configuration / "keyfile") << settings;
    std::filesystem::create_directory(runtimeFolder());
    std::filesystem::permissions(runtimeFolder(), std::filesystem::perms::owner_all);
    login = std::make_unique<Process>(
        std::vector<std::string>{"/usr/bin/python3", "-m", "dbusmock", "--template", "logind", "--system"});
    if (!eventually([this] { return systemBus.answers("org.freedesktop.login1"); }, std::chrono::seconds(60))) {
        throw std::runtime_error("no login service: " + login->errors());
    }
    process = std::make_unique<Process>(
        std::vector<std::string>{"gnome-shell", "--headless", "--wayland", "--unsafe-mode", "--virtual-monitor",
                                 "1280x800", "--virtual-monitor", "1024x768", "--wayland-display", "wayland-nocta"},
        environment());
    constexpr auto patience = std::chrono::seconds(60);
    if (!eventually([this] { return evaluate("Main.layoutManager._startingUp") == "false"; }, patience)) {
        throw std::runtime_error("no GNOME Shell: " + process->errors());
    }
    // Plugged in before there is a program that would have to learn of it.
    carryOut(std::string(devices) + "true");
    carryOut("Main.overview.hide(); true");
    if (!eventually([this] { return evaluate("Main.overview.visible") == "false"; }, patience)) {
        throw std::runtime_error("GNOME Shell stays in its overview");
    }
    setenv("XDG_RUNTIME_DIR", runtimeFolder().c_str(), 1);
    setenv("WAYLAND_DISPLAY", (runtimeFolder() / "wayland-nocta").c_str(), 1);
    for (const char* variable : {"DISPLAY", "XAUTHORITY"}) {
        const auto value = evaluate("imports.gi.GLib.getenv('" + std::string(variable) + "')");
        setenv(variable, unquoted(value.value_or("")).c_str(), 1);
    }
}

GnomeShell::~GnomeShell() {
    for (const char* variable : {"XDG_RUNTIME_DIR", "WAYLAND_DISPLAY", "DISPLAY", "XAUTHORITY"}) {
        unsetenv(variable);
    }
    // Asked to end, it may crash on its way.
    process->signal(SIGKILL);
    process->waitForEnd();
}

Process::Environment GnomeShell::environment() const {
    Process::Environment variables{{"HOME", folder.path() / "home"},     {"XDG_CONFIG_HOME", ""},
                                   {"XDG_RUNTIME_DIR", runtimeFolder()}, {"XDG_CURRENT_DESKTOP", "GNOME"},
                                   {"XDG_SESSION_TYPE", "wayland"},      {"GSETTINGS_BACKEND", "keyfile"},
                                   {"LIBGL_ALWAYS_SOFTWARE", "1"},       {"NO_AT_BRIDGE", "1"}};
    if (!process) {
        // Of the session that the tests run in.
        for (const char* variable : {"DISPLAY", "XAUTHORITY", "WAYLAND_DISPLAY"}) {
            variables.emplace_back(variable, "");
        }
    }
    return variables;
}

std::optional<std::string> GnomeShell::evaluate(const std::string& script) const {
    const auto file = folder.path() / "answer";
    const std::string command = "exec gdbus call --session --dest org.gnome.Shell --object-path /org/gnome/Shell "
                                "--method org.gnome.Shell.Eval \"$1\" >\"$2\"";
    Process question({"sh", "-c", command, "sh", script, file});
    if (question.waitForEnd() != Ending{.exitStatus = 0}) {
        return std::nullopt;
    }
    std::ifstream in(file);
    std::string answer((std::istreambuf_iterator<char>(in)), {});
    const std::string start = "(true, '";
    const auto end = answer.rfind("')");
    if (!answer.starts_with(start) || end == std::string::npos) {
        return std::nullopt;
    }
    return answer.substr(start.size(), end - start.size());
}

std::string GnomeShell::focusedWindow() const {
    return unquoted(evaluate("global.display.focus_window?.get_wm_class() ?? ''").value_or(""));
}

ScreenPicture GnomeShell::picture() const {
    const auto file = (folder.path() / "screen").string();
    const std::string command = "gdbus call --session --dest org.gnome.Shell --object-path /org/gnome/Shell/Screenshot "
                                "--method org.gnome.Shell.Screenshot.Screenshot false false \"$1.png\" >/dev/null && "
                                "exec convert \"$1.png\" -depth 8 \"$1.ppm\"";
    Process question({"sh", "-c", command, "sh", file});
    if (question.waitForEnd() != Ending{.exitStatus = 0}) {
        throw std::runtime_error("no picture of the screen: " + question.errors());
    }
    return ScreenPicture::read(file + ".ppm");
}

std::optional<Point> GnomeShell::place(const std::string& text) const {
    return middleOf(R"(
        const find = actor => {
            if (!actor.mapped)
                return null;
            if (actor instanceof imports.gi.St.Label && actor.text === ')" +
                    text + R"(')
                return actor;
            return actor.get_children().reduce((found, child) => found ?? find(child), null);
        };
        const actor = find(global.stage);)");
}

std::optional<Point> GnomeShell::statusItem() const {
    return middleOf(R"(
        const area = Main.panel.statusArea;
        const actor = area[Object.keys(area).find(name => name.startsWith('appindicator-'))];)");
}

std::optional<Point> GnomeShell::middleOf(const std::string& scriptOfActor) const {
    const auto answer = evaluate(scriptOfActor + R"(
        const [x, y] = actor?.get_transformed_position() ?? [0, 0];
        actor ? `${Math.round(x + actor.width / 2)} ${Math.round(y + actor.height / 2)}` : '')");
    std::istringstream words(unquoted(answer.value_or("")));
    Point point;
    return words >> point.x >> point.y ? std::optional(point) : std::nullopt;
}

void GnomeShell::click(const Point& point) const {
    carryOut(std::string(devices) + "global.noctaPointer.notify_absolute_motion(now, " + std::to_string(point.x) +
             ", " + std::to_string(point.y) + "); true");
    for (const char* state : {"PRESSED", "RELEASED"}) {
        carryOut(std::string(devices) +
                 "global.noctaPointer.notify_button(now, Clutter.BUTTON_PRIMARY, Clutter.ButtonState." + state +
                 "); true");
    }
}

void GnomeShell::press(const std::vector<int>& keys) const {
    const auto notify = [this](int key, const std::string& state) {
        carryOut(std::string(devices) + "global.noctaKeyboard.notify_key(now, " + std::to_string(key) +
                 ", Clutter.KeyState." + state + "); true");
    };
    for (const int key : keys) {
        notify(key, "PRESSED");
    }
    const std::vector<int> reversed(keys.rbegin(), keys.rend());
    for (const int key : reversed) {
        notify(key, "RELEASED");
    }
}

void GnomeShell::carryOut(const std::string& script) const {
    if (evaluate(script) != "true") {
        throw std::runtime_error("GNOME Shell does not carry out: " + script);
    }
}

} // namespace nocta::test
