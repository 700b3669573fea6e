#include "Desktop.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <deque>
#include <fstream>
#include <limits>
#include <map>
#include <random>
#include <set>
#include <string>
#include <variant>
#include <vector>

#include <dbus/dbus.h>

namespace nocta::test {
namespace {

constexpr const char* busName = "org.nocta.Nocta";
constexpr const char* objectPath = "/org/nocta/Nocta";
constexpr const char* remoteInterface = "org.nocta.Nocta1";

const std::set<std::string> presets{"natural", "focus", "dusk", "evening", "sleep", "cinema"};

/// Texts that mean something somewhere, and some that should not.
const std::vector<std::string> texts{"natural",        "focus",
                                     "dusk",           "evening",
                                     "sleep",          "cinema",
                                     "custom",         "",
                                     "06:30",          "23:59",
                                     "24:00",          "org.gimp.GIMP",
                                     "org.kde.okular", "ünïcödé \xf0\x9f\x8c\x99",
                                     "%n%s\n\t\"\\",   std::string(5000, 'x')};
const std::vector<std::string> properties{
    "filterEnabled",        "activePresetID",   "customTemp",    "customBrightness", "scheduleEnabled",
    "scheduleUsesLocation", "manualSunrise",    "manualSunset",  "breaksEnabled",    "breakIntervalMinutes",
    "breakDurationSeconds", "appProfiles",      "launchAtLogin", "showMenuBarScore", "exposureScore",
    "timeUntilBreak",       "frontApplication", "displays",      "no such property", ""};

/// Calls whatever there is, and what there is not, with whatever it likes.
class Monkey {
  public:
    explicit Monkey(std::uint32_t seed) : random(seed) {}

    /// Everything but a request to quit.
    DBusMessage* call() {
        switch (below(10)) {
        case 0:
        case 1:
        case 2:
        case 3:
            return set();
        case 4:
        case 5:
            return method(true);
        case 6:
            return method(false);
        case 7:
            return get();
        case 8:
            return application();
        default:
            return nonsense();
        }
    }

  private:
    std::size_t below(std::size_t bound) { return random() % bound; }
    template <class List>
    const auto& oneOf(const List& list) {
        return list[below(list.size())];
    }
    const char* text() { return oneOf(texts).c_str(); }

    static DBusMessage* make(const char* path, const char* interface, const char* member) {
        return dbus_message_new_method_call(busName, path, interface, member);
    }

    DBusMessage* set() {
        auto* message = make(objectPath, DBUS_INTERFACE_PROPERTIES, "Set");
        DBusMessageIter arguments;
        dbus_message_iter_init_append(message, &arguments);
        appendText(arguments, below(20) == 0 ? text() : remoteInterface);
        const auto& property = oneOf(properties);
        appendText(arguments, property.c_str());
        DBusMessageIter content;
        if (below(3) == 0) {
            appendVariant(arguments, 2);
            return message;
        }
        // Of the right type, and often of a sensible value.
        static const std::map<std::string, char> types{
            {"filterEnabled", 'b'},        {"activePresetID", 's'},       {"customTemp", 'x'},
            {"customBrightness", 'd'},     {"scheduleEnabled", 'b'},      {"scheduleUsesLocation", 'b'},
            {"manualSunrise", 's'},        {"manualSunset", 's'},         {"breaksEnabled", 'b'},
            {"breakIntervalMinutes", 'x'}, {"breakDurationSeconds", 'x'}, {"launchAtLogin", 'b'},
            {"showMenuBarScore", 'b'}};
        const auto type = types.find(property);
        if (type == types.end()) {
            dbus_message_iter_open_container(&arguments, DBUS_TYPE_VARIANT, "a{ss}", &content);
            appendTextMap(content);
        } else {
            const std::string signature(1, type->second);
            dbus_message_iter_open_container(&arguments, DBUS_TYPE_VARIANT, signature.c_str(), &content);
            appendBasic(content, type->second);
        }
        dbus_message_iter_close_container(&arguments, &content);
        return message;
    }

    DBusMessage* method(bool fits) {
        static const std::vector<std::pair<const char*, std::size_t>> methods{{"CyclePreset", 0}, {"ChoosePreset", 1},
                                                                              {"SetProfile", 2},  {"RemoveProfile", 1},
                                                                              {"SkipBreak", 0},   {"OpenPopover", 0}};
        const auto& [name, count] = oneOf(methods);
        auto* message = make(objectPath, remoteInterface, name);
        DBusMessageIter arguments;
        dbus_message_iter_init_append(message, &arguments);
        if (fits) {
            for (std::size_t i = 0; i < count; ++i) {
                appendText(arguments, text());
            }
        } else {
            appendAnything(arguments);
        }
        return message;
    }

    DBusMessage* get() {
        const bool all = below(4) == 0;
        auto* message = make(objectPath, DBUS_INTERFACE_PROPERTIES, all ? "GetAll" : "Get");
        DBusMessageIter arguments;
        dbus_message_iter_init_append(message, &arguments);
        appendText(arguments, below(10) == 0 ? text() : remoteInterface);
        if (!all) {
            appendText(arguments, oneOf(properties).c_str());
        }
        return message;
    }

    DBusMessage* application() {
        static const std::vector<const char*> members{"Activate", "Open", "ActivateAction", "Close"};
        auto* message = make(objectPath, "org.freedesktop.Application", oneOf(members));
        DBusMessageIter arguments;
        dbus_message_iter_init_append(message, &arguments);
        if (below(2) == 0) {
            appendVariantMap(arguments, 1);
        } else {
            appendAnything(arguments);
        }
        return message;
    }

    DBusMessage* nonsense() {
        static const std::vector<const char*> paths{"/", objectPath, "/org/nocta/Nocta/below", "/org/nocta"};
        static const std::vector<const char*> interfaces{remoteInterface, DBUS_INTERFACE_PROPERTIES, nullptr,
                                                         DBUS_INTERFACE_INTROSPECTABLE, "org.example.Nonsense"};
        static const std::vector<const char*> members{"Set", "Get", "GetAll", "Introspect", "Explode", "CyclePreset"};
        auto* message = make(oneOf(paths), oneOf(interfaces), oneOf(members));
        DBusMessageIter arguments;
        dbus_message_iter_init_append(message, &arguments);
        appendAnything(arguments);
        return message;
    }

    static void appendText(DBusMessageIter& target, const char* text) {
        dbus_message_iter_append_basic(&target, DBUS_TYPE_STRING, &text);
    }

    void appendAnything(DBusMessageIter& target) {
        for (auto count = below(4); count > 0; --count) {
            append(target, 2);
        }
    }

    void append(DBusMessageIter& target, int depth) {
        static const std::string basics = "ybnqiuxtdsog";
        switch (depth > 0 ? below(6) : 0) {
        case 1:
            appendVariant(target, depth - 1);
            break;
        case 2:
            appendVariantMap(target, depth - 1);
            break;
        case 3:
            appendTextMap(target);
            break;
        case 4: {
            const std::string type(1, oneOf(basics));
            DBusMessageIter array;
            dbus_message_iter_open_container(&target, DBUS_TYPE_ARRAY, type.c_str(), &array);
            for (auto count = below(5); count > 0; --count) {
                appendBasic(array, type.front());
            }
            dbus_message_iter_close_container(&target, &array);
            break;
        }
        case 5: {
            DBusMessageIter structure;
            dbus_message_iter_open_container(&target, DBUS_TYPE_STRUCT, nullptr, &structure);
            append(structure, depth - 1);
            append(structure, depth - 1);
            dbus_message_iter_close_container(&target, &structure);
            break;
        }
        default:
            appendBasic(target, oneOf(basics));
        }
    }

    void appendBasic(DBusMessageIter& target, char type) {
        static const std::vector<std::int64_t> integers{0,
                                                        1,
                                                        -1,
                                                        15,
                                                        20,
                                                        30,
                                                        45,
                                                        60,
                                                        1899,
                                                        1900,
                                                        3000,
                                                        6500,
                                                        6501,
                                                        100000,
                                                        std::numeric_limits<std::int64_t>::max(),
                                                        std::numeric_limits<std::int64_t>::min()};
        static const std::vector<double> reals{0.3,
                                               0.5,
                                               1.0,
                                               0.0,
                                               -1.0,
                                               1e308,
                                               std::numeric_limits<double>::quiet_NaN(),
                                               std::numeric_limits<double>::infinity(),
                                               std::numeric_limits<double>::denorm_min()};
        // As wide as the widest; the library reads what the type has.
        DBusBasicValue value{};
        switch (type) {
        case DBUS_TYPE_BOOLEAN:
            value.bool_val = below(2) == 0 ? 0 : 1;
            break;
        case DBUS_TYPE_DOUBLE:
            value.dbl = below(2) == 0 ? oneOf(reals) : static_cast<double>(below(1000)) / 1000.0;
            break;
        case DBUS_TYPE_STRING: {
            appendText(target, text());
            return;
        }
        case DBUS_TYPE_OBJECT_PATH: {
            const char* path = objectPath;
            dbus_message_iter_append_basic(&target, DBUS_TYPE_OBJECT_PATH, &path);
            return;
        }
        case DBUS_TYPE_SIGNATURE: {
            const char* signature = "a{sv}";
            dbus_message_iter_append_basic(&target, DBUS_TYPE_SIGNATURE, &signature);
            return;
        }
        default:
            value.i64 = below(2) == 0 ? oneOf(integers) : static_cast<std::int64_t>(below(8000));
        }
        dbus_message_iter_append_basic(&target, type, &value);
    }

    void appendVariant(DBusMessageIter& target, int depth) {
        static const std::string basics = "ybnqiuxtdsog";
        DBusMessageIter content;
        if (depth > 0 && below(4) == 0) {
            dbus_message_iter_open_container(&target, DBUS_TYPE_VARIANT, "v", &content);
            appendVariant(content, depth - 1);
        } else if (below(4) == 0) {
            dbus_message_iter_open_container(&target, DBUS_TYPE_VARIANT, "a{ss}", &content);
            appendTextMap(content);
        } else {
            const std::string type(1, oneOf(basics));
            dbus_message_iter_open_container(&target, DBUS_TYPE_VARIANT, type.c_str(), &content);
            appendBasic(content, type.front());
        }
        dbus_message_iter_close_container(&target, &content);
    }

    void appendTextMap(DBusMessageIter& target) {
        DBusMessageIter map;
        dbus_message_iter_open_container(&target, DBUS_TYPE_ARRAY, "{ss}", &map);
        for (auto count = below(4); count > 0; --count) {
            DBusMessageIter entry;
            dbus_message_iter_open_container(&map, DBUS_TYPE_DICT_ENTRY, nullptr, &entry);
            appendText(entry, text());
            appendText(entry, text());
            dbus_message_iter_close_container(&map, &entry);
        }
        dbus_message_iter_close_container(&target, &map);
    }

    void appendVariantMap(DBusMessageIter& target, int depth) {
        DBusMessageIter map;
        dbus_message_iter_open_container(&target, DBUS_TYPE_ARRAY, "{sv}", &map);
        for (auto count = below(3); count > 0; --count) {
            DBusMessageIter entry;
            dbus_message_iter_open_container(&map, DBUS_TYPE_DICT_ENTRY, nullptr, &entry);
            appendText(entry, text());
            appendVariant(entry, depth);
            dbus_message_iter_close_container(&map, &entry);
        }
        dbus_message_iter_close_container(&target, &map);
    }

    std::mt19937 random;
};

class RandomCalls : public Desktop {
  protected:
    ~RandomCalls() override {
        if (connection != nullptr) {
            dbus_connection_close(connection);
            dbus_connection_unref(connection);
        }
    }

    void connect() {
        connection = dbus_connection_open_private(bus.address().c_str(), nullptr);
        ASSERT_NE(connection, nullptr);
        ASSERT_NE(dbus_bus_register(connection, nullptr), 0);
        dbus_connection_set_exit_on_disconnect(connection, 0);
    }

    /// So many calls, some of them under way at the same time; each is answered, with a result or an error.
    void callRandomly(Monkey& monkey, int count) {
        constexpr std::size_t underWay = 64;
        std::deque<DBusPendingCall*> pending;
        const auto takeAnswer = [&] {
            dbus_pending_call_block(pending.front());
            auto* reply = dbus_pending_call_steal_reply(pending.front());
            const char* error = dbus_message_get_error_name(reply);
            if (error != nullptr && std::string(error) == DBUS_ERROR_NO_REPLY) {
                ++unanswered;
            }
            (error == nullptr ? successes : errors) += 1;
            dbus_message_unref(reply);
            dbus_pending_call_unref(pending.front());
            pending.pop_front();
        };
        for (int i = 0; i < count && unanswered == 0; ++i) {
            auto* message = monkey.call();
            DBusPendingCall* call = nullptr;
            constexpr int patienceMilliseconds = 60000;
            ASSERT_NE(dbus_connection_send_with_reply(connection, message, &call, patienceMilliseconds), 0);
            ASSERT_NE(call, nullptr) << "the bus has gone";
            dbus_message_unref(message);
            pending.push_back(call);
            if (pending.size() == underWay) {
                takeAnswer();
            }
        }
        while (!pending.empty()) {
            takeAnswer();
        }
        EXPECT_EQ(unanswered, 0);
    }

    using Profiles = std::map<std::string, std::string>;
    using Value = std::variant<std::monostate, bool, std::int64_t, double, std::string, Profiles>;

    std::map<std::string, Value> state() {
        auto* call = dbus_message_new_method_call(busName, objectPath, DBUS_INTERFACE_PROPERTIES, "GetAll");
        dbus_message_append_args(call, DBUS_TYPE_STRING, &remoteInterface, DBUS_TYPE_INVALID);
        auto* reply = dbus_connection_send_with_reply_and_block(connection, call, 20000, nullptr);
        dbus_message_unref(call);
        std::map<std::string, Value> values;
        if (reply == nullptr) {
            ADD_FAILURE() << "no answer";
            return values;
        }
        DBusMessageIter position;
        DBusMessageIter entries;
        dbus_message_iter_init(reply, &position);
        for (dbus_message_iter_recurse(&position, &entries);
             dbus_message_iter_get_arg_type(&entries) != DBUS_TYPE_INVALID; dbus_message_iter_next(&entries)) {
            DBusMessageIter entry;
            DBusMessageIter content;
            dbus_message_iter_recurse(&entries, &entry);
            const auto name = textAt(entry);
            dbus_message_iter_next(&entry);
            dbus_message_iter_recurse(&entry, &content);
            values[name] = valueAt(content);
        }
        dbus_message_unref(reply);
        return values;
    }

    /// Everything is as a person in the popover could have left it.
    void expectValid() {
        const auto values = state();
        const auto number = [&](const char* name) { return std::get<std::int64_t>(values.at(name)); };
        const auto text = [&](const char* name) { return std::get<std::string>(values.at(name)); };
        EXPECT_TRUE(presets.contains(text("activePresetID")) || text("activePresetID") == "custom");
        EXPECT_GE(number("customTemp"), 1900);
        EXPECT_LE(number("customTemp"), 6500);
        EXPECT_GE(std::get<double>(values.at("customBrightness")), 0.3);
        EXPECT_LE(std::get<double>(values.at("customBrightness")), 1.0);
        EXPECT_TRUE((std::set<std::int64_t>{15, 20, 30, 45, 60}.contains(number("breakIntervalMinutes"))));
        EXPECT_TRUE((std::set<std::int64_t>{15, 20, 30, 60}.contains(number("breakDurationSeconds"))));
        for (const char* name : {"manualSunrise", "manualSunset"}) {
            EXPECT_TRUE(text(name) == "06:30" || text(name) == "23:59" || text(name) == "20:00") << text(name);
        }
        for (const auto& [application, preset] : std::get<Profiles>(values.at("appProfiles"))) {
            EXPECT_NE(application, "");
            EXPECT_TRUE(presets.contains(preset)) << preset;
        }
        EXPECT_GE(number("exposureScore"), 0);
        EXPECT_LE(number("exposureScore"), 100);
        EXPECT_EQ(number("breaksTaken"), 0);
        EXPECT_EQ(number("breaksSkipped"), 0);
    }

    /// Memory of that process that no file backs, in KiB.
    static long privateMemory(const Process& process) {
        std::ifstream status("/proc/" + std::to_string(process.id()) + "/status");
        for (std::string word; status >> word;) {
            if (word == "RssAnon:") {
                long kibibytes = 0;
                status >> kibibytes;
                return kibibytes;
            }
        }
        return -1;
    }

    int successes = 0;
    int errors = 0;
    int unanswered = 0;

  private:
    static std::string textAt(DBusMessageIter& position) {
        const char* text = nullptr;
        dbus_message_iter_get_basic(&position, &text);
        return text;
    }

    static Value valueAt(DBusMessageIter& position) {
        DBusBasicValue value{};
        switch (dbus_message_iter_get_arg_type(&position)) {
        case DBUS_TYPE_BOOLEAN:
            dbus_message_iter_get_basic(&position, &value);
            return value.bool_val != 0;
        case DBUS_TYPE_INT64:
            dbus_message_iter_get_basic(&position, &value);
            return value.i64;
        case DBUS_TYPE_DOUBLE:
            dbus_message_iter_get_basic(&position, &value);
            return value.dbl;
        case DBUS_TYPE_STRING:
            return textAt(position);
        default:
            break;
        }
        if (dbus_message_iter_get_element_type(&position) != DBUS_TYPE_DICT_ENTRY) {
            return {};
        }
        Profiles profiles;
        DBusMessageIter entries;
        for (dbus_message_iter_recurse(&position, &entries);
             dbus_message_iter_get_arg_type(&entries) != DBUS_TYPE_INVALID; dbus_message_iter_next(&entries)) {
            DBusMessageIter entry;
            dbus_message_iter_recurse(&entries, &entry);
            const auto key = textAt(entry);
            dbus_message_iter_next(&entry);
            profiles[key] = textAt(entry);
        }
        return profiles;
    }

    DBusConnection* connection = nullptr;
};

TEST_F(RandomCalls, NeitherEndNoctaNorLeaveItInAnInvalidState) {
    const auto nocta = startNocta();
    ASSERT_TRUE(eventually([this] { return bus.answers(busName); }));
    connect();
    Monkey monkey(20260320);
    constexpr int warmUp = NOCTA_RANDOM_CALLS / 5;
    callRandomly(monkey, warmUp);
    expectValid();
    [[maybe_unused]] const auto before = privateMemory(*nocta);
    callRandomly(monkey, NOCTA_RANDOM_CALLS - warmUp);
    expectValid();
    EXPECT_TRUE(nocta->isRunning());
    EXPECT_GT(successes, NOCTA_RANDOM_CALLS / 5) << "most of what fits works";
    EXPECT_GT(errors, NOCTA_RANDOM_CALLS / 5) << "what does not fit is refused";
#ifndef NOCTA_SANITIZED
    // What the popover's script engine has not collected yet comes and goes by megabytes; a leak of every call is more.
    constexpr long slack = 6144;
    EXPECT_LT(privateMemory(*nocta), before + slack);
    RecordProperty("private memory before and after, KiB",
                   std::to_string(before) + " " + std::to_string(privateMemory(*nocta)));
#endif
    nocta->signal(SIGTERM);
    EXPECT_EQ(nocta->waitForEnd(), cleanExit);
    EXPECT_TRUE(isCalibrated());
    EXPECT_EQ(nocta->errors(), "");
}

} // namespace
} // namespace nocta::test
