#include "Support/Process.h"

#include "Support/Eventually.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace nocta::test {

namespace {

std::vector<std::string> changedEnvironment(const Process::Environment& changes) {
    std::vector<std::string> variables;
    for (char** variable = environ; *variable != nullptr; ++variable) {
        const std::string entry = *variable;
        const std::string name = entry.substr(0, entry.find('='));
        if (std::ranges::find(changes, name, &Process::Environment::value_type::first) == changes.end()) {
            variables.push_back(entry);
        }
    }
    for (const auto& [name, value] : changes) {
        if (!value.empty()) {
            variables.push_back(name);
            variables.back().append("=").append(value);
        }
    }
    return variables;
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> result;
    result.reserve(texts.size() + 1);
    for (auto& text : texts) {
        result.push_back(text.data());
    }
    result.push_back(nullptr);
    return result;
}

/// The fields of /proc/PID/stat from the state on; empty where the process is gone.
std::vector<std::string> processState(const std::string& pid) {
    std::ifstream file("/proc/" + pid + "/stat");
    std::string text((std::istreambuf_iterator<char>(file)), {});
    const auto nameEnd = text.rfind(')');
    if (nameEnd == std::string::npos) {
        return {};
    }
    std::vector<std::string> fields;
    std::string field;
    for (const char c : text.substr(nameEnd + 2)) {
        if (c == ' ') {
            fields.push_back(std::exchange(field, {}));
        } else {
            field += c;
        }
    }
    return fields;
}

} // namespace

Process::Process(std::vector<std::string> arguments, const Environment& environment) {
    std::array<int, 2> inputPipe{-1, -1};
    std::array<int, 2> errorPipe{-1, -1};
    if (pipe2(inputPipe.data(), O_CLOEXEC) != 0 || pipe2(errorPipe.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, inputPipe[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, errorPipe[1], STDERR_FILENO);
    auto variables = changedEnvironment(environment);
    const int failure = posix_spawnp(&pid, arguments.front().c_str(), &actions, nullptr, pointers(arguments).data(),
                                     pointers(variables).data());
    posix_spawn_file_actions_destroy(&actions);
    close(inputPipe[0]);
    close(errorPipe[1]);
    input = inputPipe[1];
    errorOutput = errorPipe[0];
    fcntl(errorOutput, F_SETFL, O_NONBLOCK);
    if (failure != 0) {
        throw std::runtime_error("cannot start " + arguments.front());
    }
}

Process::~Process() {
    if (isRunning()) {
        kill(pid, SIGKILL);
        waitpid(pid, nullptr, 0);
    }
    closeInput();
    close(errorOutput);
}

void Process::signal(int number) const {
    kill(pid, number);
}

void Process::write(const std::string& text) const {
    [[maybe_unused]] const auto written = ::write(input, text.data(), text.size());
}

void Process::closeInput() {
    if (input >= 0) {
        close(std::exchange(input, -1));
    }
}

bool Process::isInMask(const std::string& mask, int number) const {
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    const std::string key = mask + ":\t";
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(key)) {
            return (std::stoull(line.substr(key.size()), nullptr, 16) >> static_cast<unsigned>(number - 1) & 1U) != 0;
        }
    }
    return false;
}

std::optional<Ending> Process::waitForEnd(std::chrono::milliseconds patience) {
    [[maybe_unused]] const bool hasEnded = eventually([this] { return !isRunning(); }, patience);
    return ending;
}

bool Process::isRunning() {
    if (!ending) {
        int status = 0;
        if (waitpid(pid, &status, WNOHANG) == pid) {
            ending.emplace();
            if (WIFEXITED(status)) {
                ending->exitStatus = WEXITSTATUS(status);
            } else {
                ending->signal = WTERMSIG(status);
            }
        }
    }
    return !ending;
}

std::string Process::errors() {
    std::array<char, 4096> buffer{};
    for (ssize_t count = 0; (count = read(errorOutput, buffer.data(), buffer.size())) > 0;) {
        errorText.append(buffer.data(), static_cast<std::size_t>(count));
    }
    return errorText;
}

std::vector<pid_t> Process::children(const std::string& name) const {
    std::vector<pid_t> found;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        const std::string number = entry.path().filename();
        if (number.find_first_not_of("0123456789") != std::string::npos) {
            continue;
        }
        const auto state = processState(number);
        std::ifstream nameFile(entry.path() / "comm");
        std::string comm;
        std::getline(nameFile, comm);
        if (comm == name && state.size() > 1 && state[0] != "Z" && state[1] == std::to_string(pid)) {
            found.push_back(static_cast<pid_t>(std::stol(number)));
        }
    }
    return found;
}

bool isAlive(pid_t pid) {
    const auto state = processState(std::to_string(pid));
    return !state.empty() && state[0] != "Z";
}

std::filesystem::path programFolder() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

} // namespace nocta::test
