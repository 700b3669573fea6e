#include "Desktop.h"

#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <dbus/dbus.h>
#include <nlohmann/json.hpp>

namespace nocta::test {
namespace {

using Json = nlohmann::json;
using Words = std::vector<std::string>;

std::string contentOf(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

Words linesOf(const std::string& text) {
    Words lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

/// How a command ended, and what it wrote.
struct Outcome {
    Ending ending;
    std::string output;
    std::string errors;
};

class Noctactl : public Desktop {
  protected:
    /// A command whose standard output goes to a file of that name.
    [[nodiscard]] std::unique_ptr<Process> begin(const std::string& outputName, const Words& arguments,
                                                 const Process::Environment& changes = {}) const {
        auto variables = environment();
        variables.insert(variables.end(), changes.begin(), changes.end());
        Words words{"sh", "-c", R"(exec "$0" "$@" >')" + (home.path() / outputName).string() + "'",
                    programFolder() / "noctactl"};
        words.insert(words.end(), arguments.begin(), arguments.end());
        return std::make_unique<Process>(words, variables);
    }

    Outcome run(const Words& arguments, const Process::Environment& changes = {}) {
        const auto name = "output" + std::to_string(++runs);
        const auto process = begin(name, arguments, changes);
        const auto ending = process->waitForEnd();
        EXPECT_TRUE(ending) << arguments.front();
        return {ending.value_or(Ending()), contentOf(home.path() / name), process->errors()};
    }

    /// Works, and writes that.
    void expectOutput(const Words& arguments, const std::string& output) {
        const auto outcome = run(arguments);
        EXPECT_EQ(outcome.ending, cleanExit) << arguments.front();
        EXPECT_EQ(outcome.output, output) << arguments.front();
        EXPECT_EQ(outcome.errors, "") << arguments.front();
    }
    /// Fails with that status and one line.
    void expectFailure(const Words& arguments, int status, const std::string& line,
                       const Process::Environment& changes = {}) {
        const auto outcome = run(arguments, changes);
        EXPECT_EQ(outcome.ending, Ending{.exitStatus = status}) << arguments.front();
        EXPECT_EQ(outcome.errors, "noctactl: " + line + "\n");
        EXPECT_EQ(outcome.output, "");
    }

    [[nodiscard]] std::unique_ptr<Process> startWith(const std::string& content) {
        writeSettings("[General]\n" + content);
        auto nocta = startNocta();
        EXPECT_TRUE(eventually([this] { return run({"get", "version"}).ending == cleanExit; }));
        return nocta;
    }

    int runs = 0;
};

const Words everyCommand{
    "status", "get",          "get customTemp", "set customTemp 3000",  "preset",  "preset dusk",
    "cycle",  "profile list", "break skip",     "profile set app dusk", "popover", "profile remove app",
    "quit"};

Words split(const std::string& line) {
    Words words;
    std::istringstream stream(line);
    for (std::string word; stream >> word;) {
        words.push_back(word);
    }
    return words;
}

// --- Without Nocta ---

TEST_F(Noctactl, WithoutNoctaEveryCommandSaysSo) {
    for (const auto& command : everyCommand) {
        expectFailure(split(command), 3, "Nocta is not running.");
    }
    const auto outcome = run({"status", "--json"});
    EXPECT_EQ(outcome.ending, Ending{.exitStatus = 3});
    EXPECT_EQ(outcome.output, "{\"running\":false}\n");
}

TEST_F(Noctactl, WithoutABusItSaysSo) {
    expectFailure({"status"}, 3, "There is no session bus to find Nocta on.",
                  {{"DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus"}});
    expectFailure({"status"}, 3, "There is no session bus to find Nocta on.", {{"DBUS_SESSION_BUS_ADDRESS", ""}});
}

/// A bus that starts services: of the service file that is installed, with another program in it.
class ActivatingDesktop : public Noctactl {
  protected:
    void startBus(const std::string& program) {
        const auto folder = home.path() / "activating";
        std::filesystem::create_directory(folder);
        auto service = contentOf(NOCTA_SERVICE_FILE);
        const auto exec = service.find("Exec=");
        ASSERT_NE(exec, std::string::npos);
        service.replace(exec, service.find('\n', exec) - exec, "Exec=" + program);
        std::ofstream(folder / "org.nocta.Nocta.service") << service;
        address = "unix:path=" + (folder / "bus").string();
        std::ofstream(folder / "bus.conf")
            << "<busconfig><type>session</type><listen>" << address << "</listen><servicedir>" << folder.string()
            << "</servicedir><policy context='default'><allow user='*'/><allow send_destination='*' eavesdrop='true'/>"
               "<allow eavesdrop='true'/><allow own='*'/></policy></busconfig>";
        daemon = std::make_unique<Process>(
            Words{"dbus-daemon", "--nofork", "--config-file=" + (folder / "bus.conf").string()}, environment());
        ASSERT_TRUE(eventually([this] { return isUp(); }));
    }

    /// Whether the bus answers.
    [[nodiscard]] bool isUp() const {
        return Process({"dbus-send", "--bus=" + address, "--print-reply=literal", "--dest=org.freedesktop.DBus", "/",
                        "org.freedesktop.DBus.Peer.Ping"})
                   .waitForEnd() == cleanExit;
    }

    /// What a desktop does when the person picks Nocta; whether that was answered.
    [[nodiscard]] bool activate() const {
        DBusError error;
        dbus_error_init(&error);
        DBusConnection* connection = dbus_connection_open_private(address.c_str(), &error);
        if (connection == nullptr || dbus_bus_register(connection, &error) == 0) {
            return false;
        }
        DBusMessage* call = dbus_message_new_method_call("org.nocta.Nocta", "/org/nocta/Nocta",
                                                         "org.freedesktop.Application", "Activate");
        DBusMessageIter arguments;
        DBusMessageIter platformData;
        dbus_message_iter_init_append(call, &arguments);
        dbus_message_iter_open_container(&arguments, DBUS_TYPE_ARRAY, "{sv}", &platformData);
        dbus_message_iter_close_container(&arguments, &platformData);
        constexpr int patienceMilliseconds = 20000;
        DBusMessage* reply = dbus_connection_send_with_reply_and_block(connection, call, patienceMilliseconds, &error);
        dbus_message_unref(call);
        if (reply != nullptr) {
            dbus_message_unref(reply);
        }
        dbus_connection_close(connection);
        dbus_connection_unref(connection);
        dbus_error_free(&error);
        return reply != nullptr;
    }

    std::string address;
    std::unique_ptr<Process> daemon;
};

TEST_F(ActivatingDesktop, AskingStartsNoNocta) {
    const auto marker = home.path() / "started";
    startBus("/usr/bin/touch " + marker.string());
    for (const auto& command : everyCommand) {
        expectFailure(split(command), 3, "Nocta is not running.", {{"DBUS_SESSION_BUS_ADDRESS", address}});
    }
    EXPECT_FALSE(std::filesystem::exists(marker));
    // It would have been started by a call that does not forbid it; nobody waits for the answer.
    Process({"dbus-send", "--bus=" + address, "--dest=org.nocta.Nocta", "/org/nocta/Nocta",
             "org.freedesktop.DBus.Peer.Ping"})
        .waitForEnd();
    EXPECT_TRUE(eventually([&] { return std::filesystem::exists(marker); }));
}

TEST_F(ActivatingDesktop, ADesktopStartsNoctaByActivatingIt) {
    writeSettings("[General]\nactivePresetID=dusk\n");
    startBus(programFolder() / "nocta");
    EXPECT_TRUE(activate());
    EXPECT_TRUE(everyDisplayBecomes(warmRamps(3400, 0.8)));
    const Process::Environment there{{"DBUS_SESSION_BUS_ADDRESS", address}};
    EXPECT_EQ(run({"get", "activePresetID"}, there).output, "dusk\n");
    EXPECT_EQ(run({"quit"}, there).ending, cleanExit);
    EXPECT_TRUE(becomesCalibrated());
}

// --- With Nocta ---

TEST_F(Noctactl, StatusIsALineForEverythingThatMatters) {
    const auto nocta = startWith("activePresetID=dusk\n");
    expectOutput({"status"}, "Filter     Dusk (3400 K, 80 %)\n"
                             "Schedule   off\n"
                             "Breaks     off\n"
                             "Score      95 of 100; filtered 0 h 5 min, breaks taken 0, skipped 0\n"
                             "In front   unknown\n"
                             "Displays   DUMMY0, DUMMY1, DUMMY2, by randr\n");
    for (const char* command : {"set customTemp 3000", "set filterEnabled off", "set scheduleEnabled on",
                                "set scheduleUsesLocation off", "set breaksEnabled on"}) {
        expectOutput(split(command), "");
    }
    const auto lines = linesOf(run({"status"}).output);
    ASSERT_EQ(lines.size(), 6U);
    EXPECT_EQ(lines[0], "Filter     off; when on: values of your own (3000 K, 100 %)");
    EXPECT_EQ(lines[1], "Schedule   06:30 to 20:00");
    EXPECT_TRUE(lines[2].starts_with("Breaks     20 s every 20 min, the next in 1")) << lines[2];
}

TEST_F(Noctactl, StatusAsJsonHasEveryProperty) {
    const auto nocta = startWith("activePresetID=dusk\n");
    const auto json = Json::parse(run({"status", "--json"}).output);
    EXPECT_EQ(json.at("running"), true);
    EXPECT_EQ(json.at("activePresetID"), "dusk");
    EXPECT_EQ(json.at("effectiveTemp"), 3400);
    EXPECT_EQ(json.at("effectiveBrightness"), 0.8);
    EXPECT_EQ(json.at("timeUntilBreak"), -1);
    EXPECT_EQ(json.at("appProfiles"), Json::object());
    EXPECT_EQ(json.at("displays").size(), 3U);
    EXPECT_EQ(json.at("presets").at(2).at("id"), "dusk");
    // What is got one by one is the same.
    const auto lines = linesOf(run({"get"}).output);
    EXPECT_EQ(lines.size(), json.size() - 1);
    for (const auto& line : lines) {
        const auto name = line.substr(0, line.find(' '));
        const auto& value = json.at(name);
        EXPECT_EQ(line, name + " " + (value.is_string() ? value.get<std::string>() : value.dump()));
    }
}

TEST_F(Noctactl, SettingsAreGotAndSet) {
    const auto nocta = startWith("activePresetID=dusk\n");
    const std::vector<std::pair<std::string, std::string>> values{
        {"activePresetID", "evening"},     {"customBrightness", "0.5"},    {"filterEnabled", "true"},
        {"scheduleUsesLocation", "false"}, {"manualSunrise", "05:45"},     {"manualSunset", "21:15"},
        {"breakIntervalMinutes", "45"},    {"breakDurationSeconds", "30"}, {"breaksEnabled", "true"},
        {"launchAtLogin", "true"},         {"showMenuBarScore", "false"},  {"customTemp", "3000"}};
    for (const auto& [name, value] : values) {
        expectOutput({"set", name, value}, "");
        expectOutput({"get", name}, value + "\n");
    }
    EXPECT_TRUE(everyDisplayBecomes(warmRamps(3000, 0.5)));
    EXPECT_NE(settings().find("\ncustomTemp=3000\n"), std::string::npos);
    EXPECT_NE(settings().find("\nbreakIntervalMinutes=45\n"), std::string::npos);
}

TEST_F(Noctactl, SwitchesAreToggledAndNumbersStepped) {
    const auto nocta = startWith("customTemp=3000\ncustomBrightness=0.5\nactivePresetID=custom\n");
    expectOutput({"set", "filterEnabled", "toggle"}, "");
    expectOutput({"get", "filterEnabled"}, "false\n");
    expectOutput({"set", "filterEnabled", "toggle"}, "");
    expectOutput({"get", "filterEnabled"}, "true\n");
    expectOutput({"set", "customTemp", "+200"}, "");
    expectOutput({"set", "customTemp", "-500"}, "");
    expectOutput({"get", "customTemp"}, "2700\n");
    for (int step = 0; step < 2; ++step) {
        expectOutput({"set", "customBrightness", "-0.1"}, "");
    }
    expectOutput({"get", "customBrightness"}, "0.3\n");
    expectFailure({"set", "customBrightness", "-0.1"}, 1, "A brightness is 0.3 to 1.0.");
    EXPECT_TRUE(everyDisplayBecomes(warmRamps(2700, 0.3)));
}

TEST_F(Noctactl, WhatCannotBeIsRefusedWithTheReason) {
    const auto nocta = startWith("activePresetID=dusk\n");
    expectFailure({"set", "customTemp", "1000"}, 1, "A temperature is 1900 to 6500 kelvin.");
    expectFailure({"set", "customBrightness", "nan"}, 1, "A brightness is 0.3 to 1.0.");
    expectFailure({"set", "breakIntervalMinutes", "25"}, 1,
                  "The minutes between breaks are one of 15, 20, 30, 45, 60.");
    expectFailure({"set", "exposureScore", "100"}, 1, "exposureScore can be read only.");
    expectFailure({"set", "frontApplication", "x"}, 1, "frontApplication can be read only.");
    expectFailure({"set", "colour", "red"}, 1, "There is no property \"colour\".");
    expectFailure({"get", "colour"}, 1, "There is no property \"colour\".");
    expectFailure({"preset", "custom"}, 1,
                  "There is no preset \"custom\": there are natural, focus, dusk, evening, sleep, cinema.");
    expectFailure({"preset", "\xff"}, 1, "This is no text in UTF-8.");
    expectFailure({"set", "activePresetID", "\xff"}, 1, "This is no text in UTF-8.");
    expectFailure({"break", "skip"}, 1, "There is no break on the screen.");
    expectFailure({"profile", "remove", "org.gimp.GIMP"}, 1, "There is no profile of \"org.gimp.GIMP\".");
    expectOutput({"set", "filterEnabled", "off"}, "");
    expectFailure({"preset", "sleep"}, 1, "The filter is off: presets can be chosen while it is on.");
}

TEST_F(Noctactl, WhatMakesNoSenseIsWrongUsage) {
    const auto nocta = startWith("activePresetID=dusk\n");
    const std::vector<std::pair<Words, std::string>> usages{
        {{}, "no command"},
        {{"explode"}, "no such command"},
        {{"profile"}, "no such command"},
        {{"profile", "rename"}, "no such command"},
        {{"break"}, "no such command"},
        {{"--versio"}, "no such command"},
        {{"set"}, "something is missing"},
        {{"set", "customTemp"}, "something is missing"},
        {{"profile", "set", "app"}, "something is missing"},
        {{"status", "--xml"}, "\"--xml\" is no option of it"},
        {{"quit", "now"}, "\"now\" is too much"},
        {{"set", "customTemp", "warm"}, "\"warm\" is no whole number"},
        {{"set", "customTemp", "3000K"}, "\"3000K\" is no whole number"},
        {{"set", "customTemp", "99999999999999999999"}, "\"99999999999999999999\" is no whole number"},
        {{"set", "customTemp", "+9223372036854775807"}, "\"+9223372036854775807\" is too large a step"},
        {{"set", "customBrightness", ""}, "\"\" is no number"},
        {{"set", "filterEnabled", "perhaps"}, "\"perhaps\" is neither true, false nor toggle"},
        {{"set", "appProfiles", "{}"}, "this is changed one by one with the command profile"}};
    for (const auto& [arguments, reason] : usages) {
        expectFailure(arguments, 2, reason + "; see noctactl --help");
    }
    EXPECT_EQ(settings(), "[General]\nactivePresetID=dusk\n") << "nothing was saved";
}

TEST_F(Noctactl, PresetsAreListedChosenAndCycled) {
    const auto nocta = startWith("activePresetID=evening\n");
    expectOutput({"preset"}, "  natural\t6500 K\t100 %\n"
                             "  focus\t5000 K\t90 %\n"
                             "  dusk\t3400 K\t80 %\n"
                             "* evening\t2700 K\t70 %\n"
                             "  sleep\t1900 K\t50 %\n"
                             "  cinema\t4000 K\t100 %\n");
    expectOutput({"preset", "dusk"}, "");
    EXPECT_TRUE(everyDisplayBecomes(warmRamps(3400, 0.8)));
    expectOutput({"cycle"}, "");
    EXPECT_TRUE(everyDisplayBecomes(warmRamps(2700, 0.7)));
    expectOutput({"get", "activePresetName"}, "Evening\n");
}

TEST_F(Noctactl, ProfilesAreListedSetAndRemoved) {
    const auto nocta = startWith("activePresetID=dusk\n");
    expectOutput({"profile", "list"}, "");
    expectOutput({"profile", "set", "org.kde.okular", "dusk"}, "");
    expectOutput({"profile", "set", "org.gimp.GIMP", "natural"}, "");
    expectOutput({"profile", "list"}, "org.gimp.GIMP\tnatural\norg.kde.okular\tdusk\n");
    expectOutput({"profile", "remove", "org.kde.okular"}, "");
    expectOutput({"get", "appProfiles"}, "{\"org.gimp.GIMP\":\"natural\"}\n");
}

TEST_F(Noctactl, QuitGivesTheCalibrationBack) {
    const auto nocta = startWith("activePresetID=dusk\n");
    ASSERT_TRUE(everyDisplayBecomes(warmRamps(3400, 0.8)));
    expectOutput({"quit"}, "");
    EXPECT_EQ(nocta->waitForEnd(), cleanExit);
    EXPECT_TRUE(isCalibrated());
}

TEST_F(Noctactl, APopoverIsOpened) {
    const auto nocta = startWith("");
    expectOutput({"popover"}, "");
    EXPECT_TRUE(nocta->isRunning());
}

TEST_F(Noctactl, ANoctaThatHangsIsNotWaitedForForever) {
    const auto nocta = startWith("");
    nocta->signal(SIGSTOP);
    expectFailure({"status"}, 3, "Nocta does not answer.");
    nocta->signal(SIGCONT);
}

TEST_F(Noctactl, WatchWritesALineNowAndAtEveryChange) {
    const auto watch = begin("watched", {"watch"});
    const auto lines = [this] { return linesOf(contentOf(home.path() / "watched")); };
    const auto becomes = [&](const auto& condition) {
        return eventually([&] { return !lines().empty() && condition(Json::parse(lines().back())); });
    };
    const Json away{{"running", false}};
    ASSERT_TRUE(becomes([&](const Json& line) { return line == away; }));
    auto nocta = startWith("activePresetID=dusk\n");
    ASSERT_TRUE(becomes([](const Json& line) { return line.value("activePresetID", "") == "dusk"; }));
    expectOutput({"set", "customTemp", "2500"}, "");
    EXPECT_TRUE(becomes([](const Json& line) { return line.value("effectiveTemp", 0) == 2500; }));
    const auto before = lines().size();
    expectOutput({"set", "customTemp", "2500"}, "");
    expectOutput({"set", "breaksEnabled", "true"}, "");
    EXPECT_TRUE(becomes([](const Json& line) { return line.value("breaksEnabled", false); }));
    EXPECT_EQ(lines().size(), before + 1) << "what changes nothing is no line";
    EXPECT_GT(Json::parse(lines().back()).at("timeUntilBreak"), 600) << "up to date";
    nocta->signal(SIGKILL);
    EXPECT_TRUE(becomes([&](const Json& line) { return line == away; }));
    EXPECT_TRUE(watch->isRunning());
}

TEST_F(Noctactl, WatchEndsWhenNobodyReads) {
    Process pipeline({"sh", "-c", "\"$0\" watch | head -n 1", programFolder() / "noctactl"}, environment());
    EXPECT_EQ(pipeline.waitForEnd(), cleanExit);
}

TEST_F(Noctactl, WatchEndsWithTheBus) {
    const auto watch = begin("watched", {"watch"});
    ASSERT_TRUE(eventually([this] { return !contentOf(home.path() / "watched").empty(); }));
    bus.kill();
    EXPECT_EQ(watch->waitForEnd(), Ending{.exitStatus = 3});
    EXPECT_EQ(watch->errors(), "noctactl: The session bus has gone.\n");
}

TEST_F(Noctactl, HelpAndVersionNeedNoNocta) {
    const auto help = run({"--help"});
    EXPECT_EQ(help.ending, cleanExit);
    for (const auto& command : everyCommand) {
        EXPECT_NE(help.output.find("\n  " + split(command).front()), std::string::npos) << command;
    }
    expectOutput({"--version"}, "noctactl " NOCTA_VERSION "\n");
}

// --- Completion and manual ---

class Completion : public Noctactl {
  protected:
    /// What is offered after these words, by bash, zsh and fish: the same by each.
    std::set<std::string> offered(const std::string& words) {
        const std::string folder = NOCTA_PACKAGING_FOLDER "/completions/";
        const auto count = std::to_string(split(words).size());
        auto bash = shell({"bash", "--norc", "-c",
                           "source '" + folder + "noctactl.bash'; COMP_WORDS=(" + words + " ''); COMP_CWORD=" + count +
                               R"(; _noctactl; printf '%s\n' "${COMPREPLY[@]}")"});
        // Outside of a line that is edited the shell's own functions do not work: these only write.
        const auto zsh = shell({"zsh", "-fc",
                                "compadd() { shift; print -l -- $@; }; _describe() { print -l -- ${verbs%%:*}; }; "
                                "words=(" +
                                    words + " ''); CURRENT=$#words; source '" + folder + "_noctactl'"});
        const auto fish = shell(
            {"fish", "--no-config", "-c",
             "source '" + folder + "noctactl.fish'; complete -C '" + words + " '; complete -C '" + words + " -'"});
        EXPECT_EQ(bash, zsh) << words;
        EXPECT_EQ(bash, fish) << words;
        return bash;
    }

  private:
    std::set<std::string> shell(const Words& command) {
        const auto output = home.path() / "completions";
        Words words{"sh", "-c", R"(exec "$0" "$@" >')" + output.string() + "'"};
        words.insert(words.end(), command.begin(), command.end());
        auto variables = environment();
        variables.emplace_back("PATH", programFolder().string() + ":/usr/bin:/bin");
        Process process(words, variables);
        EXPECT_TRUE(process.waitForEnd()) << command.front();
        EXPECT_EQ(process.errors(), "") << command.front();
        std::set<std::string> offers;
        for (const auto& line : linesOf(contentOf(output))) {
            const auto offer = line.substr(0, line.find('\t'));
            if (!offer.empty()) {
                offers.insert(offer);
            }
        }
        return offers;
    }
};

TEST_F(Completion, OffersEveryCommandAndItsWords) {
    std::set<std::string> commands{"--help", "--version", "status", "get",     "set",   "preset",
                                   "cycle",  "profile",   "break",  "popover", "watch", "quit"};
    EXPECT_EQ(offered("noctactl"), commands);
    EXPECT_EQ(offered("noctactl status"), std::set<std::string>{"--json"});
    EXPECT_EQ(offered("noctactl profile"), (std::set<std::string>{"list", "set", "remove"}));
    EXPECT_EQ(offered("noctactl break"), std::set<std::string>{"skip"});
    EXPECT_EQ(offered("noctactl quit"), std::set<std::string>());
}

TEST_F(Completion, OffersThePropertiesAndValuesThatThereAre) {
    const auto nocta = startWith("");
    const auto state = Json::parse(run({"status", "--json"}).output);
    std::set<std::string> properties;
    std::set<std::string> presets;
    for (const auto& [name, value] : state.items()) {
        if (name != "running") {
            properties.insert(name);
        }
    }
    for (const auto& preset : state.at("presets")) {
        presets.insert(preset.at("id").get<std::string>());
    }
    EXPECT_EQ(offered("noctactl get"), properties);
    EXPECT_EQ(offered("noctactl preset"), presets);
    EXPECT_EQ(offered("noctactl set activePresetID"), presets);
    EXPECT_EQ(offered("noctactl profile set org.gimp.GIMP"), presets);
    // The settings, of which profiles have a command of their own, and each of their values can be set.
    const auto settable = offered("noctactl set");
    EXPECT_EQ(settable.size(), 13U);
    for (const auto& name : settable) {
        EXPECT_TRUE(properties.contains(name)) << name;
        for (const auto& value : offered("noctactl set " + name)) {
            EXPECT_EQ(run({"set", name, value}).ending, cleanExit) << name << ' ' << value;
        }
    }
}

TEST_F(Completion, OffersTheApplicationsThatHaveProfiles) {
    const auto nocta = startWith("");
    expectOutput({"profile", "set", "org.gimp.GIMP", "natural"}, "");
    expectOutput({"profile", "set", "org.kde.okular", "dusk"}, "");
    EXPECT_EQ(offered("noctactl profile remove"), (std::set<std::string>{"org.gimp.GIMP", "org.kde.okular"}));
}

TEST_F(Noctactl, TheManualKnowsEveryPropertyAndCommand) {
    const auto nocta = startWith("");
    const auto manual = contentOf(NOCTA_PACKAGING_FOLDER "/man/noctactl.1");
    const auto state = Json::parse(run({"status", "--json"}).output);
    for (const auto& [name, value] : state.items()) {
        EXPECT_NE(manual.find(name), std::string::npos) << name;
    }
    for (const auto& command : everyCommand) {
        EXPECT_NE(manual.find(split(command).front()), std::string::npos) << command;
    }
}

TEST(Manual, IsFormattedWithoutAWarning) {
    for (const char* page : {"nocta", "noctactl"}) {
        Process man({"sh", "-c",
                     "exec man --warnings=w -E UTF-8 -Tutf8 -l '" NOCTA_PACKAGING_FOLDER "/man/" + std::string(page) +
                         ".1' >/dev/null"},
                    {{"MANROFFOPT", ""}});
        EXPECT_EQ(man.waitForEnd(), cleanExit);
        EXPECT_EQ(man.errors(), "") << page;
    }
}

} // namespace
} // namespace nocta::test
