// What a change of the application in front looks up.

#include "Core/Preset.h"
#include "Core/Setting.h"

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

namespace {

constexpr int profileCount = 10000;

std::string application(int number) {
    return "org.example.Application" + std::to_string(number);
}

/// A profile and its preset, of another application each time, in no order: the processor's caches know neither.
void lookUpProfile(benchmark::State& state) {
    nocta::ProfileMap profiles;
    std::vector<std::string> applications;
    for (int i = 0; i < profileCount; ++i) {
        profiles[application(i)] = "cinema"; // the last one that is compared
        applications.push_back(application(i));
    }
    std::shuffle(applications.begin(), applications.end(), std::minstd_rand(1));
    std::size_t next = 0;
    for ([[maybe_unused]] auto _ : state) {
        const auto profile = profiles.find(applications[next]);
        benchmark::DoNotOptimize(nocta::builtInPreset(profile->second));
        next = (next + 1) % applications.size();
    }
}
BENCHMARK(lookUpProfile);

/// The same where there is none.
void lookUpNoProfile(benchmark::State& state) {
    nocta::ProfileMap profiles;
    for (int i = 0; i < profileCount; ++i) {
        profiles[application(i)] = "cinema";
    }
    const std::string unprofiled = application(5000) + "a";
    for ([[maybe_unused]] auto _ : state) {
        benchmark::DoNotOptimize(profiles.find(unprofiled) == profiles.end());
    }
}
BENCHMARK(lookUpNoProfile);

} // namespace
