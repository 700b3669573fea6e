#pragma once

#include "Desktop.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace nocta::test {

/// A session whose schedule runs by manual times, 06:00 and 18:00 UTC, and whose Nocta believes in another time.
class DesktopWithAFakedClock : public Desktop {
  protected:
    DesktopWithAFakedClock() {
        writeSettings("[General]\nscheduleEnabled=true\nscheduleUsesLocation=false\n"
                      "manualSunrise=21600\nmanualSunset=64800\n");
    }

    /// The program, for which it is now `time` ("16:29:00") on 20 March 2026. Its clock goes on from there; its
    /// monotonic clock, by which timers count, is the true one.
    [[nodiscard]] std::unique_ptr<Process> startAt(const std::string& program, const std::string& time,
                                                   const Process::Environment& changes = {},
                                                   std::vector<std::string> arguments = {}) const {
        setClock(time);
        auto faked = environment();
        faked.emplace_back("LD_PRELOAD", NOCTA_FAKETIME_LIBRARY);
        faked.emplace_back("FAKETIME_TIMESTAMP_FILE", clock());
        faked.emplace_back("FAKETIME_NO_CACHE", "1");
        faked.emplace_back("FAKETIME_DONT_FAKE_MONOTONIC", "1");
        faked.emplace_back("NO_FAKE_STAT", "1");
        faked.emplace_back("TZ", "UTC0");
        for (const auto& change : changes) {
            std::erase_if(faked, [&](const auto& variable) { return variable.first == change.first; });
            faked.push_back(change);
        }
        arguments.insert(arguments.begin(), programFolder() / program);
        return std::make_unique<Process>(std::move(arguments), faked);
    }

    /// Sets that clock, of which nobody is told.
    void setClock(const std::string& time) const {
        const auto next = home.path() / "next-clock";
        std::ofstream(next) << "@2026-03-20 " << time << '\n';
        std::filesystem::rename(next, clock());
    }

    [[nodiscard]] bool settingsSay(const std::string& line) const {
        return settings().find(line + "\n") != std::string::npos;
    }

    [[nodiscard]] std::filesystem::path clock() const { return home.path() / "clock"; }

    const Ramps natural = warmRamps(6500, 1.0);
    const Ramps focus = warmRamps(5000, 0.9);
};

} // namespace nocta::test
