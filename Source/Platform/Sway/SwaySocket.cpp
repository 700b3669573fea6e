#include "Platform/Sway/SwaySocket.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <utility>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace nocta {

namespace {

constexpr std::string_view magic = "i3-ipc";
constexpr std::size_t numberSize = sizeof(std::uint32_t);
constexpr std::size_t headerSize = magic.size() + 2 * numberSize;
/// Far more than any message that is asked for here.
constexpr std::size_t largestPayload = 1U << 24U;

/// In the byte order of the machine, as sway is on the same one.
std::string bytesOf(std::uint32_t number) {
    std::string bytes(numberSize, '\0');
    std::memcpy(bytes.data(), &number, numberSize);
    return bytes;
}

std::uint32_t numberAt(std::string_view bytes, std::size_t place) {
    std::uint32_t number = 0;
    std::memcpy(&number, bytes.substr(place, numberSize).data(), numberSize);
    return number;
}

int connectToSway() {
    const char* variable = std::getenv("SWAYSOCK");
    const std::string_view path(variable != nullptr ? variable : "");
    sockaddr_un address{};
    if (path.empty() || path.size() >= sizeof address.sun_path) {
        return -1;
    }
    address.sun_family = AF_UNIX;
    path.copy(static_cast<char*>(address.sun_path), path.size());
    const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (descriptor < 0) {
        return -1;
    }
    // What the interface asks for. NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast)
    if (connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        close(descriptor);
        return -1;
    }
    return descriptor;
}

} // namespace

SwaySocket::SwaySocket() : descriptor(connectToSway()) {}

SwaySocket::~SwaySocket() {
    close();
}

void SwaySocket::send(std::uint32_t type, std::string_view payload) {
    std::string message(magic);
    message += bytesOf(static_cast<std::uint32_t>(payload.size())) + bytesOf(type);
    message += payload;
    // So little finds room at once, unless sway has stopped reading.
    const auto sent = ::send(descriptor, message.data(), message.size(), MSG_NOSIGNAL);
    if (sent != static_cast<ssize_t>(message.size())) {
        close();
    }
}

void SwaySocket::receive() {
    std::array<char, 4096> buffer{};
    while (isConnected()) {
        const auto count = recv(descriptor, buffer.data(), buffer.size(), 0);
        if (count > 0) {
            incoming.append(buffer.data(), static_cast<std::size_t>(count));
        } else if (count < 0 && errno == EINTR) {
            continue;
        } else if (count < 0 && errno == EAGAIN) {
            return;
        } else {
            close();
        }
    }
}

std::optional<SwayMessage> SwaySocket::next() {
    if (incoming.size() < headerSize) {
        return std::nullopt;
    }
    const std::size_t size = numberAt(incoming, magic.size());
    if (!incoming.starts_with(magic) || size > largestPayload) {
        incoming.clear();
        close();
        return std::nullopt;
    }
    if (incoming.size() < headerSize + size) {
        return std::nullopt;
    }
    SwayMessage message{.type = numberAt(incoming, magic.size() + numberSize),
                        .payload = incoming.substr(headerSize, size)};
    incoming.erase(0, headerSize + size);
    return message;
}

std::optional<SwayMessage> SwaySocket::await() {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(1);
    for (;;) {
        if (auto message = next()) {
            return message;
        }
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now()).count();
        if (!isConnected() || left <= 0) {
            return std::nullopt;
        }
        pollfd readable{.fd = descriptor, .events = POLLIN, .revents = 0};
        poll(&readable, 1, static_cast<int>(left));
        receive();
    }
}

void SwaySocket::close() {
    if (isConnected()) {
        ::close(std::exchange(descriptor, -1));
    }
}

} // namespace nocta
