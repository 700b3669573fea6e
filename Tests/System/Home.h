#pragma once

#include "Support/Process.h"
#include "Support/TemporaryFolder.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace nocta::test {

/// A person's home, with Nocta's settings in it, and Nocta in the session that the environment names.
class Home : public testing::Test {
  protected:
    Home() {
        std::filesystem::create_directory(runtimeFolder());
        std::filesystem::permissions(runtimeFolder(), std::filesystem::perms::owner_all);
    }

    [[nodiscard]] std::filesystem::path settingsFile() const { return home.path() / "config/nocta/nocta.conf"; }
    [[nodiscard]] std::filesystem::path runtimeFolder() const { return home.path() / "runtime"; }

    [[nodiscard]] virtual Process::Environment environment() const {
        return {
            {"HOME", home.path()},
            {"XDG_CONFIG_HOME", home.path() / "config"},
            {"XDG_RUNTIME_DIR", runtimeFolder()},
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
    [[nodiscard]] bool settingsHave(const std::string& line) const {
        return settings().find("\n" + line + "\n") != std::string::npos;
    }

    [[nodiscard]] std::unique_ptr<Process> start(const std::string& program,
                                                 std::vector<std::string> arguments = {}) const {
        arguments.insert(arguments.begin(), programFolder() / program);
        return std::make_unique<Process>(std::move(arguments), environment());
    }
    [[nodiscard]] std::unique_ptr<Process> startNocta() const { return start("nocta"); }
    /// The same program, which carries out commands from its standard input.
    [[nodiscard]] std::unique_ptr<Process> startDrivenNocta() const { return start("driven-nocta"); }

    TemporaryFolder home;
};

} // namespace nocta::test
