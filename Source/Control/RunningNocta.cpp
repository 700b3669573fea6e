#include "Control/RunningNocta.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <string_view>
#include <system_error>

#include <dbus/dbus.h>
#include <poll.h>
#include <unistd.h>

namespace nocta {

namespace {

using Json = nlohmann::json;

constexpr const char* busName = "org.nocta.Nocta";
constexpr const char* objectPath = "/org/nocta/Nocta";
constexpr const char* remoteInterface = "org.nocta.Nocta1";

constexpr int answerTimeoutMilliseconds = 5000;

/// The library's report of what went wrong.
struct Error {
    Error() { dbus_error_init(&error); }
    Error(const Error&) = delete;
    Error& operator=(const Error&) = delete;
    ~Error() { dbus_error_free(&error); }

    DBusError error{};
};

/// Without one named the library would start a bus.
bool isSessionBusNamed() {
    // NOLINTBEGIN(concurrency-mt-unsafe): one thread
    if (const char* address = std::getenv("DBUS_SESSION_BUS_ADDRESS")) {
        return *address != '\0';
    }
    const char* folder = std::getenv("XDG_RUNTIME_DIR");
    // NOLINTEND(concurrency-mt-unsafe)
    std::error_code none;
    return folder != nullptr && std::filesystem::exists(std::filesystem::path(folder) / "bus", none);
}

void append(DBusMessageIter& target, int type, const void* value) {
    if (dbus_message_iter_append_basic(&target, type, value) == 0) {
        throw std::bad_alloc();
    }
}

/// Texts come from the command line and may hold anything; the library ends a process that sends what is no UTF-8.
void appendText(DBusMessageIter& target, const std::string& text) {
    const char* bytes = text.c_str();
    if (dbus_validate_utf8(bytes, nullptr) == 0) {
        throw Refused("This is no text in UTF-8.");
    }
    append(target, DBUS_TYPE_STRING, &bytes);
}

template <class Type>
Json basic(DBusMessageIter& position) {
    Type value{};
    dbus_message_iter_get_basic(&position, &value);
    return value;
}

Json jsonAt(DBusMessageIter& position);

Json jsonOfArray(DBusMessageIter& array) {
    DBusMessageIter element;
    dbus_message_iter_recurse(&array, &element);
    const bool isMap = dbus_message_iter_get_element_type(&array) == DBUS_TYPE_DICT_ENTRY;
    Json json = isMap ? Json::object() : Json::array();
    for (; dbus_message_iter_get_arg_type(&element) != DBUS_TYPE_INVALID; dbus_message_iter_next(&element)) {
        if (!isMap) {
            json.push_back(jsonAt(element));
            continue;
        }
        DBusMessageIter entry;
        dbus_message_iter_recurse(&element, &entry);
        const Json key = jsonAt(entry);
        dbus_message_iter_next(&entry);
        json[key.is_string() ? key.get<std::string>() : key.dump()] = jsonAt(entry);
    }
    return json;
}

Json jsonAt(DBusMessageIter& position) {
    switch (dbus_message_iter_get_arg_type(&position)) {
    case DBUS_TYPE_BOOLEAN:
        return basic<dbus_bool_t>(position) != 0;
    case DBUS_TYPE_BYTE:
        return basic<std::uint8_t>(position);
    case DBUS_TYPE_INT16:
        return basic<std::int16_t>(position);
    case DBUS_TYPE_UINT16:
        return basic<std::uint16_t>(position);
    case DBUS_TYPE_INT32:
        return basic<std::int32_t>(position);
    case DBUS_TYPE_UINT32:
        return basic<std::uint32_t>(position);
    case DBUS_TYPE_INT64:
        return basic<std::int64_t>(position);
    case DBUS_TYPE_UINT64:
        return basic<std::uint64_t>(position);
    case DBUS_TYPE_DOUBLE:
        return basic<double>(position);
    case DBUS_TYPE_STRING:
    case DBUS_TYPE_OBJECT_PATH:
    case DBUS_TYPE_SIGNATURE:
        return basic<const char*>(position);
    case DBUS_TYPE_VARIANT: {
        DBusMessageIter content;
        dbus_message_iter_recurse(&position, &content);
        return jsonAt(content);
    }
    case DBUS_TYPE_ARRAY:
        return jsonOfArray(position);
    default:
        return nullptr;
    }
}

std::string signatureAt(DBusMessageIter& position) {
    char* signature = dbus_message_iter_get_signature(&position);
    std::string copy = signature;
    dbus_free(signature);
    return copy;
}

} // namespace

void RunningNocta::Disconnect::operator()(DBusConnection* connection) const {
    dbus_connection_close(connection);
    dbus_connection_unref(connection);
}

void RunningNocta::Release::operator()(DBusMessage* message) const {
    dbus_message_unref(message);
}

RunningNocta::RunningNocta() {
    Error failure;
    if (isSessionBusNamed()) {
        bus.reset(dbus_bus_get_private(DBUS_BUS_SESSION, &failure.error));
    }
    if (!bus) {
        throw NotRunning("There is no session bus to find Nocta on.");
    }
    dbus_connection_set_exit_on_disconnect(bus.get(), 0);
}

RunningNocta::Message RunningNocta::makeCall(const char* interface, const char* method) {
    Message message(dbus_message_new_method_call(busName, objectPath, interface, method));
    if (!message) {
        throw std::bad_alloc();
    }
    // Whoever asks wants to know, not to start it.
    dbus_message_set_auto_start(message.get(), 0);
    return message;
}

RunningNocta::Message RunningNocta::ask(const Message& message) {
    Error failure;
    Message reply(
        dbus_connection_send_with_reply_and_block(bus.get(), message.get(), answerTimeoutMilliseconds, &failure.error));
    if (reply) {
        return reply;
    }
    const std::string_view name = failure.error.name;
    if (name == DBUS_ERROR_SERVICE_UNKNOWN || name == DBUS_ERROR_NAME_HAS_NO_OWNER) {
        throw NotRunning("Nocta is not running.");
    }
    // What the library says by itself: the bus or Nocta went away in the middle, or hangs.
    if (name == DBUS_ERROR_NO_REPLY || name == DBUS_ERROR_TIMEOUT || name == DBUS_ERROR_DISCONNECTED) {
        throw NotRunning("Nocta does not answer.");
    }
    throw Refused(failure.error.message);
}

RunningNocta::Value RunningNocta::get(const std::string& property) {
    const auto message = makeCall(DBUS_INTERFACE_PROPERTIES, "Get");
    DBusMessageIter arguments;
    dbus_message_iter_init_append(message.get(), &arguments);
    appendText(arguments, remoteInterface);
    appendText(arguments, property);
    const auto reply = ask(message);
    DBusMessageIter position;
    if (dbus_message_has_signature(reply.get(), "v") == 0 || dbus_message_iter_init(reply.get(), &position) == 0) {
        throw Refused("Nocta's answer makes no sense.");
    }
    DBusMessageIter content;
    dbus_message_iter_recurse(&position, &content);
    return {.json = jsonAt(content), .signature = signatureAt(content)};
}

Json RunningNocta::getAll() {
    const auto message = makeCall(DBUS_INTERFACE_PROPERTIES, "GetAll");
    DBusMessageIter arguments;
    dbus_message_iter_init_append(message.get(), &arguments);
    appendText(arguments, remoteInterface);
    const auto reply = ask(message);
    DBusMessageIter position;
    if (dbus_message_has_signature(reply.get(), "a{sv}") == 0 || dbus_message_iter_init(reply.get(), &position) == 0) {
        throw Refused("Nocta's answer makes no sense.");
    }
    return jsonAt(position);
}

void RunningNocta::set(const std::string& property, const Value& value) {
    const auto message = makeCall(DBUS_INTERFACE_PROPERTIES, "Set");
    DBusMessageIter arguments;
    dbus_message_iter_init_append(message.get(), &arguments);
    appendText(arguments, remoteInterface);
    appendText(arguments, property);
    DBusMessageIter content;
    if (dbus_message_iter_open_container(&arguments, DBUS_TYPE_VARIANT, value.signature.c_str(), &content) == 0) {
        throw std::bad_alloc();
    }
    if (value.signature == "b") {
        const dbus_bool_t boolean = value.json.get<bool>() ? 1 : 0;
        append(content, DBUS_TYPE_BOOLEAN, &boolean);
    } else if (value.signature == "x") {
        const auto integer = value.json.get<std::int64_t>();
        append(content, DBUS_TYPE_INT64, &integer);
    } else if (value.signature == "d") {
        const auto number = value.json.get<double>();
        append(content, DBUS_TYPE_DOUBLE, &number);
    } else {
        try {
            appendText(content, value.json.get<std::string>());
        } catch (const Refused&) {
            dbus_message_iter_abandon_container(&arguments, &content);
            throw;
        }
    }
    dbus_message_iter_close_container(&arguments, &content);
    ask(message);
}

void RunningNocta::call(const std::string& method, const std::vector<std::string>& arguments) {
    const auto message = makeCall(remoteInterface, method.c_str());
    DBusMessageIter position;
    dbus_message_iter_init_append(message.get(), &position);
    for (const auto& argument : arguments) {
        appendText(position, argument);
    }
    ask(message);
}

void RunningNocta::watch(const std::function<void()>& changed) {
    constexpr std::array rules{"type='signal',sender='org.nocta.Nocta',path='/org/nocta/Nocta',"
                               "interface='org.freedesktop.DBus.Properties',member='PropertiesChanged',"
                               "arg0='org.nocta.Nocta1'",
                               "type='signal',sender='org.freedesktop.DBus',interface='org.freedesktop.DBus',"
                               "member='NameOwnerChanged',arg0='org.nocta.Nocta'"};
    for (const char* rule : rules) {
        Error failure;
        dbus_bus_add_match(bus.get(), rule, &failure.error);
    }
    changed();
    int descriptor = -1;
    dbus_connection_get_unix_fd(bus.get(), &descriptor);
    while (true) {
        while (const Message message{dbus_connection_pop_message(bus.get())}) {
            if (dbus_message_is_signal(message.get(), DBUS_INTERFACE_PROPERTIES, "PropertiesChanged") != 0 ||
                dbus_message_is_signal(message.get(), DBUS_INTERFACE_DBUS, "NameOwnerChanged") != 0) {
                changed();
            }
        }
        if (dbus_connection_get_is_connected(bus.get()) == 0) {
            throw NotRunning("The session bus has gone.");
        }
        // No events are asked for on standard output: that its reader has gone is told all the same.
        std::array<pollfd, 2> sources{
            {{.fd = descriptor, .events = POLLIN, .revents = 0}, {.fd = STDOUT_FILENO, .events = 0, .revents = 0}}};
        poll(sources.data(), sources.size(), -1);
        if ((sources[1].revents & (POLLERR | POLLHUP)) != 0) {
            return;
        }
        dbus_connection_read_write(bus.get(), 0);
    }
}

} // namespace nocta
