#pragma once

#include "ExpectedRamps.h"
#include "Support/Eventually.h"
#include "Support/Process.h"
#include "Support/SessionBus.h"
#include "Support/Sway.h"
#include "Support/TemporaryFolder.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace nocta::test {

/// A person's Wayland session: a compositor with two screens, a bus, a home; and Nocta in it.
class WaylandDesktop : public testing::Test {
  protected:
    /// With gamma tables of that size, or a compositor without any.
    explicit WaylandDesktop(std::optional<std::size_t> gammaSize = 1024) : sway(gammaSize) {
        std::filesystem::create_directory(runtimeFolder());
        std::filesystem::permissions(runtimeFolder(), std::filesystem::perms::owner_all);
    }

    [[nodiscard]] std::filesystem::path settingsFile() const { return home.path() / "config/nocta/nocta.conf"; }
    [[nodiscard]] std::filesystem::path runtimeFolder() const { return home.path() / "runtime"; }

    [[nodiscard]] Process::Environment environment() const {
        return {
            {"HOME", home.path()},
            {"XDG_CONFIG_HOME", home.path() / "config"},
            {"XDG_RUNTIME_DIR", runtimeFolder()},
            {"SWAYSOCK", sway.commandSocket()},
            {"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + (home.path() / "no-system-bus").string()},
        };
    }

    void writeSettings(const std::string& content) const {
        std::filesystem::create_directories(settingsFile().parent_path());
        std::ofstream(settingsFile(), std::ios::binary) << content;
    }

    [[nodiscard]] std::string settings() const {
        std::ifstream file(settingsFile(), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    [[nodiscard]] std::unique_ptr<Process> start(const std::string& program) const {
        return std::make_unique<Process>(std::vector<std::string>{programFolder() / program}, environment());
    }
    [[nodiscard]] std::unique_ptr<Process> startNocta() const { return start("nocta"); }
    /// The same program, which carries out commands from its standard input.
    [[nodiscard]] std::unique_ptr<Process> startDrivenNocta() const { return start("driven-nocta"); }

    /// Nothing: their own calibration.
    [[nodiscard]] bool everyDisplayShows(const std::optional<Tint>& tint) const {
        const auto outputs = sway.outputs();
        return std::ranges::all_of(outputs, [&](const std::string& output) {
            const auto table = sway.table(output);
            return tint && table ? isTable(*table, *tint) : !tint && !table;
        });
    }
    [[nodiscard]] bool everyDisplayBecomes(const std::optional<Tint>& tint) const {
        return eventually([&] { return everyDisplayShows(tint); });
    }

    Sway sway;
    SessionBus bus;
    TemporaryFolder home;
};

} // namespace nocta::test
