#pragma once

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

struct DBusConnection;
struct DBusMessage;

namespace nocta {

/// There is no Nocta to speak to, or it does not answer.
class NotRunning : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Nocta answered that it does not do that, and why.
class Refused : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// The Nocta of this session, as seen from another process. Never starts one.
class RunningNocta {
  public:
    /// A value as JSON, and its D-Bus type.
    struct Value {
        nlohmann::json json;
        std::string signature;
    };

    /// Connects to the session bus; throws `NotRunning` where there is none. All calls wait for their answer and throw
    /// `NotRunning` or `Refused`.
    RunningNocta();

    [[nodiscard]] Value get(const std::string& property);
    [[nodiscard]] nlohmann::json getAll();
    /// `signature` is that of a boolean, an integer (64 bits), a number or a text ("b", "x", "d", "s").
    void set(const std::string& property, const Value& value);
    void call(const std::string& method, const std::vector<std::string>& arguments = {});

    /// Calls `changed` once at once, and then whenever a property changed and whenever Nocta came or went. Returns when
    /// nobody reads this process's standard output any more; throws `NotRunning` when the bus has gone.
    void watch(const std::function<void()>& changed);

  private:
    struct Disconnect {
        void operator()(DBusConnection* connection) const;
    };
    struct Release {
        void operator()(DBusMessage* message) const;
    };
    using Message = std::unique_ptr<DBusMessage, Release>;

    [[nodiscard]] static Message makeCall(const char* interface, const char* method);
    Message ask(const Message& message); // NOLINT(modernize-use-nodiscard): most answers are empty

    std::unique_ptr<DBusConnection, Disconnect> bus;
};

} // namespace nocta
