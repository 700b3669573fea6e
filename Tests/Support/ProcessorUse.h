#pragma once

#include <filesystem>
#include <fstream>
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

/// The sum over all threads of the lines of a /proc status file that start with `key`.
inline long statusSum(pid_t pid, const std::string& key) {
    long sum = 0;
    for (const auto& task : std::filesystem::directory_iterator("/proc/" + std::to_string(pid) + "/task")) {
        std::ifstream status(task.path() / "status");
        for (std::string line; std::getline(status, line);) {
            if (line.starts_with(key)) {
                sum += std::stol(line.substr(key.size()));
            }
        }
    }
    return sum;
}

inline long switchesOf(pid_t pid) {
    return statusSum(pid, "voluntary_ctxt_switches:") + statusSum(pid, "nonvoluntary_ctxt_switches:");
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
