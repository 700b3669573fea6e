#include "Support/Sway.h"

#include <array>
#include <cstring>
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

namespace message {
constexpr std::uint32_t runCommand = 0;
constexpr std::uint32_t getVersion = 7;
} // namespace message

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

Sway::Sway(std::optional<std::size_t> gammaSize) : WlrCompositor(gammaSize) {
    start({"sway", "-c", write("sway.conf", configuration)},
          {{"SWAYSOCK", commandSocket()}, {"DBUS_SESSION_BUS_ADDRESS", ""}},
          [this] { return !ask(message::getVersion, "").empty(); });
    // As when a person has come to the first screen last.
    command("focus output HEADLESS-1");
}

void Sway::command(const std::string& text) const {
    const auto answer = nlohmann::json::parse(ask(message::runCommand, text));
    for (const auto& result : answer) {
        if (!result.at("success").get<bool>()) {
            throw std::runtime_error("sway refuses: " + text + ": " + result.dump());
        }
    }
}

void Sway::switchOutput(const std::string& output, bool isOn) const {
    command("output " + output + (isOn ? " enable" : " disable"));
}

void Sway::setMode(const std::string& output, int width, int height) const {
    command("output " + output + " resolution " + std::to_string(width) + "x" + std::to_string(height));
}

void Sway::setScale(const std::string& output, int scale) const {
    command("output " + output + " scale " + std::to_string(scale));
}

std::string Sway::ask(std::uint32_t type, const std::string& payload) const {
    const std::string magic = "i3-ipc";
    const auto number = [](std::uint32_t value) {
        std::array<char, sizeof value> bytes{};
        std::memcpy(bytes.data(), &value, sizeof value);
        return std::string(bytes.data(), bytes.size());
    };
    const Connection connection(commandSocket());
    connection.write(magic + number(static_cast<std::uint32_t>(payload.size())) + number(type) + payload);
    const auto header = connection.read(magic.size() + 2 * sizeof(std::uint32_t));
    std::uint32_t size = 0;
    std::memcpy(&size, header.data() + magic.size(), sizeof size);
    return connection.read(size);
}

} // namespace nocta::test
