#pragma once

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <sys/types.h>

namespace nocta::test {

struct Spread {
    double median = 0;
    double worst = 0;
};

inline Spread spreadOf(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return {.median = values[values.size() / 2], .worst = values.back()};
}

inline Spread repeated(int times, const std::function<double()>& measure) {
    std::vector<double> values;
    values.reserve(static_cast<std::size_t>(times));
    for (int i = 0; i < times; ++i) {
        values.push_back(measure());
    }
    return spreadOf(values);
}

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

inline void require(bool holds, const char* what) {
    if (!holds) {
        throw std::runtime_error(std::string("did not happen: ") + what);
    }
}

} // namespace nocta::test
