#pragma once

#include "CountingRunLoop.h"
#include "Platform/Workspace.h"
#include "QtLoop.h"
#include "Support/TemporaryFolder.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace nocta::test {

/// What the tests of every workspace have: applications that are installed, and that are reported.
class WorkspaceTest : public testing::Test {
  protected:
    WorkspaceTest() { std::filesystem::create_directories(desktopFiles()); }

    [[nodiscard]] std::filesystem::path desktopFiles() const { return home.path() / "applications"; }

    void install(const std::string& id, const std::string& content = "") const {
        std::ofstream(desktopFiles() / (id + ".desktop")) << "[Desktop Entry]\nType=Application\nName=Some\nExec=some\n"
                                                          << content;
    }

    /// For an observer that ends before the test does.
    [[nodiscard]] Workspace::ActivationHandler recorder() {
        return [this](const RunningApplication& application) { reports.push_back(application); };
    }

    /// Whether exactly these were reported since the last call, in this order.
    [[nodiscard]] bool reported(const std::vector<std::string>& ids) {
        loop.runUntil([&] { return reports.size() >= ids.size(); });
        std::vector<std::string> actual;
        for (const auto& report : std::exchange(reports, {})) {
            actual.push_back(report.bundleIdentifier.value_or("(none)"));
        }
        EXPECT_EQ(actual, ids);
        return actual == ids;
    }

    QtLoop loop;
    CountingRunLoop runLoop;
    TemporaryFolder home;
    std::vector<RunningApplication> reports;
};

} // namespace nocta::test
