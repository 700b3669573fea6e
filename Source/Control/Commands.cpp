#include "Control/Commands.h"

#include "Control/RunningNocta.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <optional>
#include <span>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace nocta {

namespace {

using Json = nlohmann::json;
using Arguments = std::span<const std::string>;

/// The command line makes no sense.
class WrongUsage : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

constexpr const char* help = R"(Usage: noctactl COMMAND

Asks the Nocta that is running. Never starts one.

  status [--json]                 what Nocta does at the moment
  get [PROPERTY]                  the value of a property, or of all of them
  set PROPERTY VALUE              change a setting; also: toggle, and +N or -N
  preset [ID]                     choose a preset, or list them
  cycle                           go to the next preset
  profile list                    the presets of applications
  profile set APPLICATION ID      give an application a preset of its own
  profile remove APPLICATION      take it away
  break skip                      end the break on the screen
  popover                         open the popover
  watch                           everything as one line of JSON, now and at every change
  quit                            end Nocta
  --help, --version

Exit status: 0 done, 1 refused by Nocta, 2 wrong usage, 3 Nocta is not running.
)";

void print(const std::string& text) {
    std::fputs(text.c_str(), stdout);
}

/// On one line, and in any case valid.
std::string dump(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

/// As scripts like it: texts as they are, everything else as JSON.
std::string plain(const Json& json) {
    return json.is_string() ? json.get<std::string>() : dump(json);
}

// --- Values ---

template <class Number>
std::optional<Number> parsed(std::string_view text) {
    if (text.starts_with('+')) {
        text.remove_prefix(1);
    }
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

/// No setting is negative: a sign makes the number a step from the value as it is.
bool isStep(std::string_view text) {
    return text.starts_with('+') || text.starts_with('-');
}

Json booleanFrom(const std::string& text, const Json& current) {
    constexpr std::array<std::string_view, 4> on{"true", "on", "yes", "1"};
    constexpr std::array<std::string_view, 4> off{"false", "off", "no", "0"};
    if (std::ranges::find(on, text) != on.end()) {
        return true;
    }
    if (std::ranges::find(off, text) != off.end()) {
        return false;
    }
    if (text == "toggle") {
        return !current.get<bool>();
    }
    throw WrongUsage("\"" + text + "\" is neither true, false nor toggle");
}

Json integerFrom(const std::string& text, const Json& current) {
    const auto number = parsed<std::int64_t>(text);
    if (!number) {
        throw WrongUsage("\"" + text + "\" is no whole number");
    }
    std::int64_t sum = 0;
    if (!isStep(text)) {
        return *number;
    }
    if (__builtin_add_overflow(current.get<std::int64_t>(), *number, &sum)) {
        throw WrongUsage("\"" + text + "\" is too large a step");
    }
    return sum;
}

Json realFrom(const std::string& text, const Json& current) {
    const auto number = parsed<double>(text);
    if (!number) {
        throw WrongUsage("\"" + text + "\" is no number");
    }
    // Steps are decimal, and the ends are reached in spite of what binary fractions leave over.
    constexpr double resolution = 1e6;
    return isStep(text) ? std::round((current.get<double>() + *number) * resolution) / resolution : *number;
}

/// The value that `text` means for a property that has this one now.
RunningNocta::Value valueFrom(const std::string& text, const RunningNocta::Value& current) {
    if (current.signature == "b") {
        return {.json = booleanFrom(text, current.json), .signature = "b"};
    }
    if (current.signature == "x") {
        return {.json = integerFrom(text, current.json), .signature = "x"};
    }
    if (current.signature == "d") {
        return {.json = realFrom(text, current.json), .signature = "d"};
    }
    if (current.signature == "a{ss}") {
        throw WrongUsage("this is changed one by one with the command profile");
    }
    return {.json = text, .signature = "s"};
}

// --- What a person reads ---

std::string percent(const Json& factor) {
    // The popover cuts off too; the tiny addition undoes what binary fractions take from 0.29.
    return std::to_string(static_cast<int>(factor.get<double>() * 100 + 1e-9)) + " %";
}

std::string twoDigits(std::int64_t number) {
    return (number < 10 ? "0" : "") + std::to_string(number);
}

std::string filterLine(const Json& state, bool isCustom) {
    const auto values = state.at("effectiveTemp").dump() + " K, " + percent(state.at("effectiveBrightness"));
    const auto name = isCustom ? "values of your own" : state.at("activePresetName").get<std::string>();
    return (state.at("filterEnabled").get<bool>() ? "" : "off; when on: ") + name + " (" + values + ")";
}

std::string scheduleLine(const Json& state) {
    if (!state.at("scheduleEnabled").get<bool>()) {
        return "off";
    }
    const auto times =
        state.at("manualSunrise").get<std::string>() + " to " + state.at("manualSunset").get<std::string>();
    return state.at("scheduleUsesLocation").get<bool>() ? "by the sun where you are, else " + times : times;
}

std::string breaksLine(const Json& state) {
    if (!state.at("breaksEnabled").get<bool>()) {
        return "off";
    }
    const auto rhythm =
        state.at("breakDurationSeconds").dump() + " s every " + state.at("breakIntervalMinutes").dump() + " min, ";
    if (state.at("breakShown").get<bool>()) {
        return rhythm + "one is on the screen";
    }
    const auto left = std::max<std::int64_t>(state.at("timeUntilBreak").get<std::int64_t>(), 0);
    return rhythm + "the next in " + std::to_string(left / 60) + ":" + twoDigits(left % 60);
}

std::string displaysLine(const Json& state) {
    std::string line;
    for (const auto& display : state.at("displays")) {
        line += line.empty() ? "" : ", ";
        line += display.at("name").get<std::string>();
        if (!display.at("temperature").get<bool>()) {
            line += " (cannot be changed)";
        } else if (!display.at("brightness").get<bool>()) {
            line += " (colour only)";
        }
    }
    return (line.empty() ? "none" : line) + ", by " + state.at("displayService").get<std::string>();
}

std::string statusText(const Json& state) {
    const auto& presets = state.at("presets");
    const bool isCustom = std::ranges::none_of(
        presets, [&](const Json& preset) { return preset.at("id") == state.at("activePresetID"); });
    const auto front = state.at("frontApplication").get<std::string>();
    const auto minutes = state.at("totalFilteredMinutes").get<std::int64_t>();
    return "Filter     " + filterLine(state, isCustom) + "\nSchedule   " + scheduleLine(state) + "\nBreaks     " +
           breaksLine(state) + "\nScore      " + state.at("exposureScore").dump() + " of 100; filtered " +
           std::to_string(minutes / 60) + " h " + std::to_string(minutes % 60) + " min, breaks taken " +
           state.at("breaksTaken").dump() + ", skipped " + state.at("breaksSkipped").dump() + "\nIn front   " +
           (front.empty() ? "unknown" : front) + "\nDisplays   " + displaysLine(state) + "\n";
}

Json running(Json state) {
    state["running"] = true;
    return state;
}

const Json notRunningState{{"running", false}};

// --- Commands ---

void status(Arguments arguments) {
    if (arguments.empty()) {
        print(statusText(RunningNocta().getAll()));
        return;
    }
    try {
        print(dump(running(RunningNocta().getAll())) + "\n");
    } catch (const NotRunning&) {
        print(dump(notRunningState) + "\n");
        throw;
    }
}

void get(Arguments arguments) {
    RunningNocta nocta;
    if (!arguments.empty()) {
        print(plain(nocta.get(arguments[0]).json) + "\n");
        return;
    }
    const auto state = nocta.getAll();
    for (const auto& [name, value] : state.items()) {
        print(name + " " + plain(value) + "\n");
    }
}

void set(Arguments arguments) {
    RunningNocta nocta;
    const auto& property = arguments[0];
    nocta.set(property, valueFrom(arguments[1], nocta.get(property)));
}

void preset(Arguments arguments) {
    RunningNocta nocta;
    if (!arguments.empty()) {
        nocta.call("ChoosePreset", {arguments[0]});
        return;
    }
    const auto state = nocta.getAll();
    for (const auto& preset : state.at("presets")) {
        const bool isActive = state.at("filterEnabled").get<bool>() && preset.at("id") == state.at("activePresetID");
        print((isActive ? "* " : "  ") + preset.at("id").get<std::string>() + "\t" + preset.at("temperature").dump() +
              " K\t" + percent(preset.at("brightness")) + "\n");
    }
}

void listProfiles(Arguments /*arguments*/) {
    const auto profiles = RunningNocta().get("appProfiles").json;
    for (const auto& [application, preset] : profiles.items()) {
        print(application + "\t" + plain(preset) + "\n");
    }
}

void watch(Arguments /*arguments*/) {
    RunningNocta nocta;
    nocta.watch([&nocta] {
        Json state;
        try {
            state = running(nocta.getAll());
        } catch (const NotRunning&) {
            state = notRunningState;
        }
        print(dump(state) + "\n");
        std::fflush(stdout);
    });
}

/// A command that is one method of Nocta, called with the arguments as they are.
auto calling(const char* method) {
    return [method](Arguments arguments) { RunningNocta().call(method, {arguments.begin(), arguments.end()}); };
}

struct Command {
    std::vector<std::string> words;
    std::size_t fewest; ///< arguments
    std::size_t most;
    std::function<void(Arguments)> run;
    std::vector<std::string> options = {}; ///< the only arguments it takes, where there are any
};

std::vector<Command> commands() {
    return {
        {{"status"}, 0, 1, &status, {"--json"}},
        {{"get"}, 0, 1, &get},
        {{"set"}, 2, 2, &set},
        {{"preset"}, 0, 1, &preset},
        {{"cycle"}, 0, 0, calling("CyclePreset")},
        {{"profile", "list"}, 0, 0, &listProfiles},
        {{"profile", "set"}, 2, 2, calling("SetProfile")},
        {{"profile", "remove"}, 1, 1, calling("RemoveProfile")},
        {{"break", "skip"}, 0, 0, calling("SkipBreak")},
        {{"popover"}, 0, 0, calling("OpenPopover")},
        {{"watch"}, 0, 0, &watch},
        {{"quit"}, 0, 0, calling("Quit")},
        {{"--help"}, 0, 0, [](Arguments) { print(help); }},
        {{"--version"}, 0, 0, [](Arguments) { print("noctactl " NOCTA_VERSION "\n"); }},
    };
}

void carryOut(Arguments arguments) {
    for (const auto& command : commands()) {
        if (arguments.size() < command.words.size() ||
            !std::ranges::equal(command.words, arguments.first(command.words.size()))) {
            continue;
        }
        const auto rest = arguments.subspan(command.words.size());
        if (rest.size() < command.fewest || rest.size() > command.most) {
            throw WrongUsage(rest.size() < command.fewest ? "something is missing"
                                                          : "\"" + rest[command.most] + "\" is too much");
        }
        for (const auto& argument : rest) {
            if (!command.options.empty() && std::ranges::find(command.options, argument) == command.options.end()) {
                throw WrongUsage("\"" + argument + "\" is no option of it");
            }
        }
        command.run(rest);
        return;
    }
    throw WrongUsage(arguments.empty() ? "no command" : "no such command");
}

int failure(int status, const std::string& text) {
    std::fflush(stdout);
    std::fprintf(stderr, "noctactl: %s\n", text.c_str());
    return status;
}

} // namespace

int runCommand(const std::vector<std::string>& arguments) {
    try {
        carryOut(arguments);
        return exitStatus::success;
    } catch (const WrongUsage& error) {
        return failure(exitStatus::wrongUsage, error.what() + std::string("; see noctactl --help"));
    } catch (const NotRunning& error) {
        return failure(exitStatus::notRunning, error.what());
    } catch (const Refused& error) {
        return failure(exitStatus::refused, error.what());
    } catch (const Json::exception&) {
        // What answered is no Nocta of this version.
        return failure(exitStatus::refused, "Nocta's answer makes no sense.");
    }
}

} // namespace nocta
