#pragma once

#include <fstream>
#include <stdexcept>
#include <string>

#include <sys/types.h>

namespace nocta::test {

/// The line of /proc/PID/smaps_rollup that begins with `key` ("Pss:", "Private_Dirty:"), in kB. Throws where there is
/// none.
inline long memoryOf(pid_t process, const std::string& key) {
    std::ifstream file("/proc/" + std::to_string(process) + "/smaps_rollup");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(key)) {
            return std::stol(line.substr(key.size()));
        }
    }
    throw std::runtime_error("no " + key);
}

/// Whether a file whose path has that part is in its memory.
inline bool hasLoaded(pid_t process, const std::string& part) {
    std::ifstream file("/proc/" + std::to_string(process) + "/maps");
    for (std::string line; std::getline(file, line);) {
        if (line.find(part) != std::string::npos) {
            return true;
        }
    }
    return false;
}

} // namespace nocta::test
