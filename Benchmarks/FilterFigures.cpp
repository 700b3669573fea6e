// Measures the whole program from outside, on a private X server, beside redshift in the same run. Prints Markdown.
//
// Usage: filter-figures [IDLE-SECONDS], 300 unless told; 0 leaves the idle figures out.

#include "Measured.h"
#include "Support/DrivenDisplays.h"
#include "Support/Eventually.h"
#include "Support/Process.h"
#include "Support/ProcessMemory.h"
#include "Support/SessionBus.h"
#include "Support/TemporaryFolder.h"
#include "Support/XServer.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <poll.h>

namespace {

using namespace nocta::test; // NOLINT(google-build-using-namespace)
using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

/// A session on an X server of its own with that many displays.
class Session {
  public:
    explicit Session(std::size_t displayCount) {
        std::filesystem::create_directory(home.path() / "runtime");
        displays.plug(displayCount);
        calibration = displays.allRamps();
        observed = displays.active().back();
    }

    [[nodiscard]] std::unique_ptr<Process> start(std::vector<std::string> arguments) const {
        return std::make_unique<Process>(std::move(arguments),
                                         Process::Environment{{"HOME", home.path()},
                                                              {"XDG_CONFIG_HOME", home.path() / "config"},
                                                              {"XDG_RUNTIME_DIR", home.path() / "runtime"}});
    }
    [[nodiscard]] std::unique_ptr<Process> startNocta() const { return start({programFolder() / "nocta"}); }
    [[nodiscard]] std::unique_ptr<Process> startDrivenNocta() const {
        return start({programFolder() / "driven-nocta"});
    }

    void writeSettings(const std::string& content) const {
        std::filesystem::create_directories(home.path() / "config/nocta");
        std::ofstream(home.path() / "config/nocta/nocta.conf") << content;
    }

    [[nodiscard]] Ramps ramps() const { return displays.ramps(observed); }
    [[nodiscard]] bool isCalibrated() const { return ramps() == calibration.at(observed); }

    /// Milliseconds from now until `condition`, asked without a pause.
    template <class Condition>
    static double timeUntil(Clock::time_point start, Condition condition) {
        while (!condition()) {
            require(Clock::now() - start < std::chrono::seconds(20), "what is timed");
        }
        return Milliseconds(Clock::now() - start).count();
    }

    void recalibrate() {
        for (const auto& [crtc, values] : calibration) {
            displays.setRamps(crtc, values);
        }
    }

    XServer server;
    SessionBus bus;
    TemporaryFolder home;
    DrivenDisplays displays;
    std::map<xcb_randr_crtc_t, Ramps> calibration;
    xcb_randr_crtc_t observed = 0;
};

/// Waits until the ramps have not changed for a while.
void settle(const Session& session) {
    Ramps last = session.ramps();
    auto since = Clock::now();
    while (Clock::now() - since < std::chrono::milliseconds(500)) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        if (auto now = session.ramps(); now != last) {
            last = std::move(now);
            since = Clock::now();
        }
    }
}

/// CPU milliseconds a frame of a fade of 60 frames.
double noctaFrame(Session& session) {
    const auto nocta = session.startDrivenNocta();
    require(eventually([&] { return !session.isCalibrated(); }), "the first table");
    settle(session);
    const double before = cpuOf(nocta->id());
    nocta->write("apply 2700 0.7 2.0\n");
    settle(session);
    const double cost = cpuOf(nocta->id()) - before;
    nocta->signal(SIGTERM);
    nocta->waitForEnd();
    return cost / 60;
}

/// CPU milliseconds a step of redshift's fade of 40 steps to its temperature. It is told which CRTCs have a display:
/// left to itself it serves all 16 of this server.
double redshiftStep(Session& session, std::size_t displayCount) {
    std::string method = "randr:crtc=0";
    for (std::size_t crtc = 1; crtc < displayCount; ++crtc) {
        method += "," + std::to_string(crtc);
    }
    const auto redshift = session.start({"redshift", "-m", method, "-l", "50:10", "-t", "2700:2700"});
    require(eventually([&] { return !session.isCalibrated(); }), "redshift's first table");
    const double before = cpuOf(redshift->id());
    settle(session);
    // The first step was over when it was seen.
    const double cost = (cpuOf(redshift->id()) - before) / 39;
    redshift->signal(SIGKILL);
    redshift->waitForEnd();
    session.recalibrate();
    return cost;
}

/// CPU milliseconds of the least that any client can do for a frame: wake up, send ready-made ramps, sleep. What this
/// machine takes for it, most of it for waking a sleeping processor, bounds what a program can reach here.
double leastFrame(Session& session, std::size_t displayCount) {
    const auto active = session.displays.active();
    const Ramps ramps = peculiarRamps(256, 9);
    const auto cpu = [] {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
    };
    constexpr int frames = 60;
    const double before = cpu();
    for (int frame = 0; frame < frames; ++frame) {
        poll(nullptr, 0, 33);
        for (std::size_t display = 0; display < displayCount; ++display) {
            session.displays.server().setCrtcGamma(active[display], ramps.data(), 256);
        }
        session.displays.server().flush();
    }
    const double cost = (cpu() - before) / frames;
    session.recalibrate();
    return cost;
}

void fadeFigures() {
    std::puts("| displays | Nocta, a frame | redshift, a step | ratio | least possible |\n|---|---|---|---|---|");
    for (const std::size_t count : {1U, 4U, 16U}) {
        Session session(count);
        const auto nocta = repeated(5, [&] { return noctaFrame(session); });
        const auto redshift = repeated(5, [&] { return redshiftStep(session, count); });
        const auto least = repeated(3, [&] { return leastFrame(session, count); });
        std::printf("| %zu | %.0f us | %.0f us | %.2f | %.0f us |\n", count, nocta.median * 1000,
                    redshift.median * 1000, nocta.median / redshift.median, least.median * 1000);
        std::fflush(stdout);
    }
}

double startOf(Session& session, const std::vector<std::string>& arguments) {
    const auto start = Clock::now();
    const auto process = session.start(arguments);
    const double time = Session::timeUntil(start, [&] { return !session.isCalibrated(); });
    process->signal(SIGTERM);
    process->waitForEnd();
    session.recalibrate();
    return time;
}

void print(const char* what, const Spread& spread, const char* unit) {
    std::printf("| %s | %.1f %s | %.1f %s |\n", what, spread.median, unit, spread.worst, unit);
    std::fflush(stdout);
}

void delayFigures() {
    std::puts("\n| delay | median | worst |\n|---|---|---|");
    Session session(1);
    const std::string nocta = programFolder() / "nocta";
    session.writeSettings("[General]\nactivePresetID=dusk\n");
    print("process start to first table, of 20", repeated(20, [&] { return startOf(session, {nocta}); }), "ms");
    print("`redshift -m randr -P -O 3400`: the same, of 20",
          repeated(20,
                   [&] {
                       return startOf(session, {"redshift", "-m", "randr", "-P", "-O", "3400"});
                   }),
          "ms");

    std::string profiles;
    for (int i = 0; i < 10000; ++i) {
        profiles += (profiles.empty() ? "" : ",") + std::string(R"(\"org.example.Application)") + std::to_string(i) +
                    R"(\":\"focus\")";
    }
    session.writeSettings("[General]\nactivePresetID=dusk\nappProfiles=\"@ByteArray({" + profiles + "})\"\n");
    print("process start to first table with 10,000 profiles, of 20",
          repeated(20, [&] { return startOf(session, {nocta}); }), "ms");
    session.writeSettings("[General]\nactivePresetID=dusk\n");

    const auto tinted = [&] {
        auto process = session.startNocta();
        require(eventually([&] { return !session.isCalibrated(); }), "the first table");
        require(eventually([&] { return process->children("nocta-guard").size() == 1; }), "the guard");
        return process;
    };
    print("SIGKILL to calibration, of 20",
          repeated(20,
                   [&] {
                       const auto process = tinted();
                       const auto start = Clock::now();
                       process->signal(SIGKILL);
                       return Session::timeUntil(start, [&] { return session.isCalibrated(); });
                   }),
          "ms");
    print("abort to calibration, of 20",
          repeated(20,
                   [&] {
                       const auto process = tinted();
                       const auto start = Clock::now();
                       process->signal(SIGABRT);
                       return Session::timeUntil(start, [&] { return session.isCalibrated(); });
                   }),
          "ms");
    print("SIGTERM to calibration, of 20",
          repeated(20,
                   [&] {
                       const auto process = tinted();
                       const auto start = Clock::now();
                       process->signal(SIGTERM);
                       return Session::timeUntil(start, [&] { return session.isCalibrated(); });
                   }),
          "ms");
    const auto first = tinted();
    print("second launch, start to exit, of 20",
          repeated(20,
                   [&] {
                       const auto start = Clock::now();
                       const auto second = session.startNocta();
                       return Session::timeUntil(start, [&] { return !second->isRunning(); });
                   }),
          "ms");
    const Ramps tint = session.ramps();
    print("display plugged in to table, of 20",
          repeated(20,
                   [&] {
                       session.displays.setMode(1, 0);
                       const auto start = Clock::now();
                       const auto display = session.displays.active().back();
                       const double time =
                           Session::timeUntil(start, [&] { return session.displays.ramps(display) == tint; });
                       session.displays.setMode(1, std::nullopt);
                       session.displays.setRamps(display, session.calibration.begin()->second);
                       return time;
                   }),
          "ms");
    int mode = 0;
    print("ramp reset by a mode change to table, of 20",
          repeated(20,
                   [&] {
                       session.recalibrate();
                       mode = 1 - mode;
                       const auto start = Clock::now();
                       session.displays.setMode(0, static_cast<std::size_t>(mode));
                       return Session::timeUntil(start, [&] { return session.ramps() == tint; });
                   }),
          "ms");
}

void idleFigures(int seconds) {
    struct Watched {
        std::string name;
        pid_t pid;
        Switches switches;
        long ticks;
    };
    std::vector<Watched> watched;
    const auto start = [&](const Session& session, const std::string& name) {
        auto nocta = session.startNocta();
        require(eventually([&] { return nocta->children("nocta-guard").size() == 1; }), "the guard");
        watched.push_back({name, nocta->id(), {}, 0});
        watched.push_back({name + ", its guard", nocta->children("nocta-guard").front(), {}, 0});
        return nocta;
    };
    Session still(1);
    still.writeSettings("[General]\nactivePresetID=dusk\n");
    const auto nocta = start(still, "Nocta");
    // A phase that ends during the measurement shows as the frames of one fade.
    Session scheduled(1);
    scheduled.writeSettings("[General]\nscheduleEnabled=true\nscheduleUsesLocation=false\nmanualSunrise=21600\n"
                            "manualSunset=64800\n");
    const auto scheduledNocta = start(scheduled, "Nocta with the schedule on");
    // Start-up is over: what it leaves behind has been done.
    std::this_thread::sleep_for(std::chrono::seconds(15));
    for (auto& process : watched) {
        process.switches = switchesOf(process.pid);
        process.ticks = ticksOf(process.pid);
    }
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    std::printf("\n| idle for %d s | context switches | CPU ticks | PSS | private dirty |\n|---|---|---|---|---|\n",
                seconds);
    for (const auto& process : watched) {
        std::printf("| %s | %ld | %ld | %ld kB | %ld kB |\n", process.name.c_str(),
                    switchesSince(process.switches, process.pid), ticksOf(process.pid) - process.ticks,
                    memoryOf(process.pid, "Pss:"), memoryOf(process.pid, "Private_Dirty:"));
    }
}

} // namespace

// An exception ends the measurement, as it should. NOLINTNEXTLINE(bugprone-exception-escape)
int main(int argc, char** argv) {
    const int idleSeconds = argc > 1 ? std::atoi(argv[1]) : 300;
    fadeFigures();
    delayFigures();
    if (idleSeconds > 0) {
        idleFigures(idleSeconds);
    }
}
