#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace nocta {

/// A message of sway's, by i3's protocol.
struct SwayMessage {
    std::uint32_t type = 0;
    std::string payload; ///< JSON
};

/// A connection to the socket where sway takes commands, which SWAYSOCK names.
class SwaySocket {
  public:
    /// Kinds of messages. Events have a number of their own.
    static constexpr std::uint32_t runCommand = 0;
    static constexpr std::uint32_t getWorkspaces = 1;
    static constexpr std::uint32_t subscribe = 2;
    static constexpr std::uint32_t getOutputs = 3;
    static constexpr std::uint32_t workspaceEvent = 0x80000000;
    static constexpr std::uint32_t bindingEvent = 0x80000005;

    /// Connects; does not wait.
    SwaySocket();
    SwaySocket(const SwaySocket&) = delete;
    SwaySocket& operator=(const SwaySocket&) = delete;
    ~SwaySocket();

    [[nodiscard]] bool isConnected() const { return descriptor >= 0; }
    /// To be watched; -1 where there is no connection.
    [[nodiscard]] int get() const { return descriptor; }

    /// Sends a message, or ends the connection where sway takes none.
    void send(std::uint32_t type, std::string_view payload);
    /// Takes what has come in, and ends the connection when sway did.
    void receive();
    /// The next message that has come in whole.
    [[nodiscard]] std::optional<SwayMessage> next();
    /// Waits for a message, a second at most.
    [[nodiscard]] std::optional<SwayMessage> await();

  private:
    void close();

    int descriptor = -1;
    std::string incoming;
};

} // namespace nocta
