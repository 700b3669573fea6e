#include "Support/Sway.h"

#include "Support/Eventually.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include <nlohmann/json.hpp>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace nocta::test {

namespace {

constexpr const char* configuration = R"(
output * resolution 1280x800
output HEADLESS-1 position 0 0
output HEADLESS-2 position 1280 0
default_border none
xwayland disable
)";

/// sway refuses to run as root. What it needs is given to nobody in particular, as whom it runs then.
constexpr uid_t nobody = 65534;

bool isRoot() {
    return geteuid() == 0;
}

/// A folder that sway may write to.
std::filesystem::path makeFolder(const std::filesystem::path& path) {
    std::filesystem::create_directory(path);
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    if (isRoot() && chown(path.c_str(), nobody, nobody) != 0) {
        throw std::runtime_error("no folder for sway");
    }
    return path;
}

/// Whatever the umask and wherever this checkout lies.
void letEverybodyRead(const std::filesystem::path& file) {
    using std::filesystem::perms;
    std::filesystem::permissions(file, perms::owner_all | perms::group_read | perms::others_read);
}

namespace message {
constexpr std::uint32_t runCommand = 0;
constexpr std::uint32_t getOutputs = 3;
constexpr std::uint32_t getTree = 4;
constexpr std::uint32_t getVersion = 7;
} // namespace message

std::size_t windowsBelow(const nlohmann::json& node) {
    std::size_t count = node.contains("pid") ? 1 : 0; // only windows have one
    for (const auto* list : {"nodes", "floating_nodes"}) {
        for (const auto& child : node.value(list, nlohmann::json::array())) {
            count += windowsBelow(child);
        }
    }
    return count;
}

class Connection {
  public:
    explicit Connection(const std::filesystem::path& path) : descriptor(::socket(AF_UNIX, SOCK_STREAM, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.string().copy(static_cast<char*>(address.sun_path), sizeof address.sun_path - 1);
        // The type that the interface asks for. NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast)
        if (connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
            close(descriptor);
            throw std::runtime_error("sway does not listen");
        }
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection() { close(descriptor); }

    void write(const std::string& bytes) const {
        if (send(descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(bytes.size())) {
            throw std::runtime_error("sway does not listen any more");
        }
    }

    [[nodiscard]] std::string read(std::size_t size) const {
        std::string bytes(size, '\0');
        for (std::size_t have = 0; have < size;) {
            const auto count = recv(descriptor, bytes.data() + have, size - have, 0);
            if (count <= 0) {
                throw std::runtime_error("sway does not answer");
            }
            have += static_cast<std::size_t>(count);
        }
        return bytes;
    }

  private:
    int descriptor;
};

} // namespace

Sway::Sway(std::optional<std::size_t> gammaSize) {
    // Its own folders in it are closed to others; this one is passed through.
    std::filesystem::permissions(folder.path(), std::filesystem::perms::owner_all | std::filesystem::perms::group_exec |
                                                    std::filesystem::perms::others_exec);
    const auto runtime = makeFolder(folder.path() / "runtime");
    const auto home = makeFolder(folder.path() / "home");
    const auto gamma = makeFolder(folder.path() / "gamma");
    const auto configurationFile = folder.path() / "sway.conf";
    std::ofstream(configurationFile) << configuration;
    letEverybodyRead(configurationFile);
    const auto library = folder.path() / "headless-gamma.so";
    std::filesystem::copy_file(NOCTA_HEADLESS_GAMMA_LIBRARY, library);
    letEverybodyRead(library);
    waylandSocket = runtime / "wayland-1";
    ipcSocket = runtime / "ipc";
    if (gammaSize) {
        setGammaSize(*gammaSize);
    }

    std::vector<std::string> arguments;
    if (isRoot()) {
        const auto id = std::to_string(nobody);
        arguments = {"setpriv", "--reuid=" + id, "--regid=" + id, "--clear-groups"};
    }
    // Set behind setpriv, which is not to be preloaded.
    arguments.insert(arguments.end(),
                     {"env", "LD_PRELOAD=" + library.string(), "sway", "-c", configurationFile.string()});
    process = std::make_unique<Process>(std::move(arguments), Process::Environment{{"HOME", home},
                                                                                   {"XDG_RUNTIME_DIR", runtime},
                                                                                   {"XDG_CONFIG_HOME", ""},
                                                                                   {"SWAYSOCK", ipcSocket},
                                                                                   {"NOCTA_TEST_GAMMA", gamma},
                                                                                   {"WLR_BACKENDS", "headless"},
                                                                                   {"WLR_HEADLESS_OUTPUTS", "2"},
                                                                                   {"WLR_LIBINPUT_NO_DEVICES", "1"},
                                                                                   {"WLR_RENDERER", "pixman"},
                                                                                   {"DISPLAY", ""},
                                                                                   {"WAYLAND_DISPLAY", ""},
                                                                                   {"DBUS_SESSION_BUS_ADDRESS", ""}});
    const bool hasStarted = eventually([this] {
        try {
            return std::filesystem::exists(waylandSocket) && !ask(message::getVersion, "").empty();
        } catch (const std::runtime_error&) {
            return false;
        }
    });
    if (!hasStarted) {
        throw std::runtime_error("no sway: " + process->errors());
    }
    setenv("WAYLAND_DISPLAY", waylandSocket.c_str(), 1);
    unsetenv("DISPLAY");
}

Sway::~Sway() {
    unsetenv("WAYLAND_DISPLAY");
    process->signal(SIGCONT);
    process->signal(SIGTERM);
    process->waitForEnd();
}

void Sway::kill() {
    process->signal(SIGKILL);
    process->waitForEnd();
}

void Sway::command(const std::string& text) const {
    const auto answer = nlohmann::json::parse(ask(message::runCommand, text));
    for (const auto& result : answer) {
        if (!result.at("success").get<bool>()) {
            throw std::runtime_error("sway refuses: " + text + ": " + result.dump());
        }
    }
}

std::vector<std::string> Sway::outputs() const {
    std::vector<std::string> names;
    for (const auto& output : nlohmann::json::parse(ask(message::getOutputs, ""))) {
        if (output.at("active").get<bool>()) {
            names.push_back(output.at("name"));
        }
    }
    return names;
}

std::string Sway::plug() const {
    const auto before = outputs();
    command("create_output");
    const auto after = outputs();
    const auto added =
        std::ranges::find_if(after, [&](const auto& name) { return std::ranges::find(before, name) == before.end(); });
    if (added == after.end()) {
        throw std::runtime_error("sway plugs nothing in");
    }
    return *added;
}

void Sway::unplug() const {
    const auto before = outputs().size();
    process->signal(SIGUSR1);
    if (!eventually([&] { return outputs().size() < before; })) {
        throw std::runtime_error("sway pulls nothing out");
    }
}

std::size_t Sway::windowCount() const {
    return windowsBelow(nlohmann::json::parse(ask(message::getTree, "")));
}

std::optional<std::vector<std::uint16_t>> Sway::table(const std::string& output) const {
    std::ifstream file(folder.path() / "gamma" / output, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(file)), {});
    if (bytes.empty()) {
        return std::nullopt;
    }
    std::vector<std::uint16_t> values(bytes.size() / sizeof(std::uint16_t));
    std::memcpy(values.data(), bytes.data(), values.size() * sizeof(std::uint16_t));
    return values;
}

void Sway::setGammaSize(std::size_t size) const {
    const auto file = folder.path() / "gamma" / "size";
    const auto unfinished = folder.path() / "gamma" / "size.new";
    std::ofstream(unfinished) << size;
    letEverybodyRead(unfinished);
    std::filesystem::rename(unfinished, file);
}

std::string Sway::ask(std::uint32_t type, const std::string& payload) const {
    const std::string magic = "i3-ipc";
    const auto number = [](std::uint32_t value) {
        std::array<char, sizeof value> bytes{};
        std::memcpy(bytes.data(), &value, sizeof value);
        return std::string(bytes.data(), bytes.size());
    };
    const Connection connection(ipcSocket);
    connection.write(magic + number(static_cast<std::uint32_t>(payload.size())) + number(type) + payload);
    const auto header = connection.read(magic.size() + 2 * sizeof(std::uint32_t));
    std::uint32_t size = 0;
    std::memcpy(&size, header.data() + magic.size(), sizeof size);
    return connection.read(size);
}

} // namespace nocta::test
