#pragma once

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

#include <sys/types.h>

namespace nocta::test {

/// CPU time of all threads of a process, in milliseconds.
inline double cpuOf(pid_t pid) {
    double nanoseconds = 0;
    for (const auto& task : std::filesystem::directory_iterator("/proc/" + std::to_string(pid) + "/task")) {
        double running = 0;
        std::ifstream(task.path() / "schedstat") >> running;
        nanoseconds += running;
    }
    return nanoseconds / 1e6;
}

/// Context switches so far, by the path of the thread: those of one that ends are not known any more.
using Switches = std::map<std::filesystem::path, long>;

inline Switches switchesOf(pid_t pid) {
    Switches all;
    for (const auto& task : std::filesystem::directory_iterator("/proc/" + std::to_string(pid) + "/task")) {
        std::ifstream status(task.path() / "status");
        for (std::string line; std::getline(status, line);) {
            if (const auto name = line.find("voluntary_ctxt_switches:"); name != std::string::npos) {
                all[task.path()] += std::stol(line.substr(line.find(':') + 1));
            }
        }
    }
    return all;
}

inline long switchesSince(const Switches& before, pid_t pid) {
    long sum = 0;
    for (const auto& [thread, count] : switchesOf(pid)) {
        const auto known = before.find(thread);
        sum += count - (known != before.end() ? known->second : 0);
    }
    return sum;
}

/// User and system time in clock ticks, as accounting tools see it.
inline long ticksOf(pid_t pid) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
    std::string text;
    std::getline(file, text);
    text = text.substr(text.rfind(')') + 2);
    std::istringstream fields(text);
    std::string skipped;
    for (int i = 0; i < 11; ++i) {
        fields >> skipped;
    }
    long user = 0;
    long system = 0;
    fields >> user >> system;
    return user + system;
}

} // namespace nocta::test
