// Measures the whole program from outside, on a private sway, beside gammastep in the same run. Prints Markdown.

#include "Measured.h"
#include "Support/Eventually.h"
#include "Support/Process.h"
#include "Support/SessionBus.h"
#include "Support/Sway.h"
#include "Support/TemporaryFolder.h"

#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace nocta::test; // NOLINT(google-build-using-namespace)
using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;
using Table = std::optional<std::vector<std::uint16_t>>;

/// A session on a sway of its own with that many displays.
class Session {
  public:
    explicit Session(std::size_t displayCount) {
        std::filesystem::create_directory(home.path() / "runtime");
        std::filesystem::permissions(home.path() / "runtime", std::filesystem::perms::owner_all);
        if (displayCount == 1) {
            sway.command("output HEADLESS-2 disable");
        }
        while (sway.outputs().size() < displayCount) {
            [[maybe_unused]] const auto plugged = sway.plug();
        }
        observed = sway.outputs().back();
    }

    [[nodiscard]] std::unique_ptr<Process> start(std::vector<std::string> arguments) const {
        return std::make_unique<Process>(std::move(arguments),
                                         Process::Environment{{"HOME", home.path()},
                                                              {"XDG_CONFIG_HOME", home.path() / "config"},
                                                              {"XDG_RUNTIME_DIR", home.path() / "runtime"}});
    }

    [[nodiscard]] Table table() const { return sway.table(observed); }

    Sway sway;
    SessionBus bus;
    TemporaryFolder home;
    std::string observed;
};

/// Waits until the table has not changed for a while.
void settle(const Session& session) {
    auto last = session.table();
    auto since = Clock::now();
    while (Clock::now() - since < std::chrono::milliseconds(500)) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        if (auto now = session.table(); now != last) {
            last = std::move(now);
            since = Clock::now();
        }
    }
}

void end(const Session& session, Process& process) {
    process.signal(SIGKILL);
    process.waitForEnd();
    require(eventually([&] { return !session.table(); }), "the display's own table");
}

/// Closes the popover that a launch opens: drawing is not what is measured.
void closePopover() {
    std::this_thread::sleep_for(std::chrono::seconds(1));
    require(Process({"wtype", "-s", "200", "-k", "Escape", "-s", "50"}).waitForEnd() == Ending{.exitStatus = 0},
            "Escape");
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
}

/// CPU milliseconds a frame of a fade of 60 frames.
double noctaFrame(const Session& session) {
    const auto nocta = session.start({programFolder() / "driven-nocta"});
    require(eventually([&] { return session.table().has_value(); }), "the first table");
    closePopover();
    settle(session);
    const double before = cpuOf(nocta->id());
    nocta->write("apply 2700 0.7 2.0\n");
    settle(session);
    const double cost = cpuOf(nocta->id()) - before;
    end(session, *nocta);
    return cost / 60;
}

/// CPU milliseconds a step of gammastep's fade of 40 steps to its temperature.
double gammastepStep(const Session& session) {
    const auto gammastep = session.start({"gammastep", "-m", "wayland", "-l", "50:10", "-t", "2700:2700"});
    require(eventually([&] { return session.table().has_value(); }), "gammastep's first table");
    const double before = cpuOf(gammastep->id());
    settle(session);
    // The first step was over when it was seen.
    const double cost = (cpuOf(gammastep->id()) - before) / 39;
    end(session, *gammastep);
    return cost;
}

/// Milliseconds from a kill to the display's own table.
double killed(const Session& session) {
    const auto nocta = session.start({programFolder() / "nocta"});
    require(eventually([&] { return session.table().has_value(); }), "the first table");
    const auto start = Clock::now();
    nocta->signal(SIGKILL);
    while (session.table()) {
        require(Clock::now() - start < std::chrono::seconds(20), "the display's own table");
    }
    return Milliseconds(Clock::now() - start).count();
}

} // namespace

// An exception ends the measurement, as it should. NOLINTNEXTLINE(bugprone-exception-escape)
int main() {
    std::puts("| displays | Nocta, a frame | gammastep, a step | ratio |\n|---|---|---|---|");
    for (const std::size_t count : {1U, 2U, 4U}) {
        const Session session(count);
        const auto nocta = repeated(5, [&] { return noctaFrame(session); });
        const auto gammastep = repeated(5, [&] { return gammastepStep(session); });
        std::printf("| %zu | %.0f us | %.0f us | %.2f |\n", count, nocta.median * 1000, gammastep.median * 1000,
                    nocta.median / gammastep.median);
        std::fflush(stdout);
    }
    const Session session(1);
    const auto delay = repeated(20, [&] { return killed(session); });
    std::printf("\nSIGKILL to the display's own table, of 20: median %.1f ms, worst %.1f ms\n", delay.median,
                delay.worst);
}
