#include "Support/Mutter.h"

#include "Support/Eventually.h"

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace nocta::test {

namespace {

/// How many CRTCs have a mode, of those in the text of the resources: its number, the server's number for it, its
/// place, its size and its mode start each of their entries, and nothing else starts with seven whole numbers.
std::size_t activeIn(std::string text) {
    for (const std::string type : {"uint32 ", "int64 "}) {
        for (auto at = text.find(type); at != std::string::npos; at = text.find(type)) {
            text.erase(at, type.size());
        }
    }
    std::size_t active = 0;
    for (auto at = text.find('('); at != std::string::npos; at = text.find('(', at + 1)) {
        std::istringstream entry(text.substr(at + 1, 100));
        int number = -1;
        char separator = ',';
        int count = 0;
        while (count < 7 && separator == ',' && entry >> number >> separator) {
            ++count;
        }
        if (count == 7 && separator == ',' && number >= 0) {
            ++active;
        }
    }
    return active;
}

} // namespace

Mutter::Mutter() {
    std::filesystem::create_directory(runtimeFolder());
    std::filesystem::permissions(runtimeFolder(), std::filesystem::perms::owner_all);
    setenv("XDG_RUNTIME_DIR", runtimeFolder().c_str(), 1);
    start();
}

Mutter::~Mutter() {
    unsetenv("XDG_RUNTIME_DIR");
    end();
}

void Mutter::end() {
    if (process->isRunning()) {
        process->signal(SIGKILL);
        process->waitForEnd();
    }
}

void Mutter::restart() {
    end();
    start();
}

void Mutter::start() {
    process = std::make_unique<Process>(
        std::vector<std::string>{"mutter", "--x11", "--sm-disable"},
        Process::Environment{
            {"HOME", folder.path()}, {"XDG_CONFIG_HOME", ""}, {"GSETTINGS_BACKEND", "memory"}, {"NO_AT_BRIDGE", "1"}});
    if (!eventually([this] { return !resources().empty(); }, std::chrono::seconds(30))) {
        throw std::runtime_error("no mutter: " + process->errors());
    }
}

void Mutter::waitForDisplays(std::size_t count) const {
    if (!eventually([&] { return activeIn(resources()) == count; })) {
        throw std::runtime_error("mutter does not learn of its displays: " + resources());
    }
}

std::string Mutter::resources() const {
    const auto answer = folder.path() / "resources";
    Process question({"sh", "-c",
                      "exec gdbus call --session --dest org.gnome.Mutter.DisplayConfig --object-path "
                      "/org/gnome/Mutter/DisplayConfig --method org.gnome.Mutter.DisplayConfig.GetResources >" +
                          answer.string()});
    if (question.waitForEnd() != Ending{.exitStatus = 0}) {
        return {};
    }
    std::ifstream file(answer);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace nocta::test
