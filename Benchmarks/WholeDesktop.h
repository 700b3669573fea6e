#pragma once

#include "Measured.h"
#include "Support/ProcessMemory.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace nocta::test {

/// Longer than the popover's window outlives its closing.
inline constexpr std::chrono::seconds untilAtRest{40};
/// The item's first minute as well.
inline constexpr std::chrono::seconds untilItemAtRest{90};

inline constexpr const char* everythingOn =
    "[General]\nactivePresetID=dusk\nscheduleEnabled=true\nscheduleUsesLocation=false\n"
    "manualSunrise=21600\nmanualSunset=64800\nbreaksEnabled=true\n"
    "breakIntervalMinutes=30\nbreakDurationSeconds=20\nshowMenuBarScore=true\n"
    "appProfiles=\"@ByteArray({\\\"reader\\\":\\\"sleep\\\"})\"\n";

/// How much is measured; 0 leaves a part out.
struct Extent {
    int idleSeconds = 300;
    int openings = 100;
    int launches = 10;

    /// As the arguments of a program say, in that order, where they do.
    static Extent of(std::span<char*> arguments) {
        Extent extent;
        std::size_t next = 1;
        for (int* part : {&extent.idleSeconds, &extent.openings, &extent.launches}) {
            if (next < arguments.size()) {
                *part = std::atoi(arguments[next++]);
            }
        }
        return extent;
    }
};

inline void printMemory(const std::string& what, const std::vector<pid_t>& processes) {
    long dirty = 0;
    long shared = 0;
    for (const auto process : processes) {
        dirty += memoryOf(process, "Private_Dirty:");
        shared += memoryOf(process, "Pss:");
    }
    std::printf("| %s | %ld kB | %ld kB |\n", what.c_str(), dirty, shared);
    std::fflush(stdout);
}

/// A program, of one process or several, that is watched while nobody touches anything.
struct Watched {
    std::string name;
    std::vector<pid_t> processes;
    std::vector<Switches> switches{};
    long ticks = 0;
    long memory = 0;
};

inline void printIdle(int seconds, std::vector<Watched> watched) {
    const auto sum = [](const std::vector<pid_t>& processes, auto count) {
        long total = 0;
        for (const auto process : processes) {
            total += count(process);
        }
        return total;
    };
    const auto memory = [](pid_t process) { return memoryOf(process, "Private_Dirty:"); };
    for (auto& program : watched) {
        program.memory = sum(program.processes, memory);
        for (const auto process : program.processes) {
            program.switches.push_back(switchesOf(process));
        }
        program.ticks = sum(program.processes, &ticksOf);
    }
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    std::printf(
        "\n| idle for %d s with everything on | context switches a minute | CPU ticks | private dirty before | after "
        "|\n|---|---|---|---|---|\n",
        seconds);
    for (const auto& program : watched) {
        long switches = 0;
        for (std::size_t i = 0; i < program.processes.size(); ++i) {
            switches += switchesSince(program.switches[i], program.processes[i]);
        }
        const auto ticks = sum(program.processes, &ticksOf) - program.ticks;
        std::printf("| %s | %.1f | %ld | %ld kB | %ld kB |\n", program.name.c_str(),
                    static_cast<double>(switches) * 60 / seconds, ticks, program.memory,
                    sum(program.processes, memory));
    }
    std::fflush(stdout);
}

} // namespace nocta::test
