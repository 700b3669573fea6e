// Measures breaks of the whole program from outside, on a private X server at 1920 x 1080 with a window manager, beside
// SafeEyes in the same run. Prints Markdown.
//
// Usage: break-figures [BREAKS], how many whole breaks of each program, 3 unless told; 0 leaves them out.

#include "Measured.h"
#include "Support/DrivenDisplays.h"
#include "Support/DrivenWindows.h"
#include "Support/Eventually.h"
#include "Support/Process.h"
#include "Support/ProcessMemory.h"
#include "Support/SessionBus.h"
#include "Support/SystemBus.h"
#include "Support/TemporaryFolder.h"
#include "Support/XServer.h"

#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace nocta::test; // NOLINT(google-build-using-namespace)
using nocta::XReply;
using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr Milliseconds fadeIn{600};
constexpr Milliseconds fadeOut{500};

void run(std::vector<std::string> command) {
    Process process(std::move(command));
    require(process.waitForEnd() == Ending{.exitStatus = 0}, process.errors().c_str());
}

class Session {
  public:
    Session() {
        run({"xrandr", "--newmode", "1080p", "148.5", "1920", "2008", "2052", "2200", "1080", "1084", "1089", "1125"});
        run({"xrandr", "--addmode", "DUMMY0", "1080p"});
        run({"xrandr", "--output", "DUMMY0", "--mode", "1080p", "--primary"});
        run({"xsetroot", "-solid", "#4080c0"});
        run({"xhost", "+local:"}); // SafeEyes does not understand a cookie for every display
        std::filesystem::create_directory(home.path() / "runtime");
        manager.emplace(std::vector<std::string>{"openbox"}, environment());
        windows.emplace();
        windows->awaitManager();
        // Once the rest is there. NOLINTNEXTLINE(cppcoreguidelines-prefer-member-initializer)
        wallpaper = corner();
    }

    void startCompositor() {
        compositor = start({"picom", "--backend", "xrender", "--config", "/dev/null"});
        std::this_thread::sleep_for(std::chrono::seconds(2));
        wallpaper = corner();
    }

    [[nodiscard]] Process::Environment environment() const {
        return {{"HOME", home.path()},
                {"XDG_CONFIG_HOME", home.path() / "config"},
                {"XDG_RUNTIME_DIR", home.path() / "runtime"}};
    }

    void write(const std::string& file, const std::string& content) const {
        const auto path = home.path() / "config" / file;
        std::filesystem::create_directories(path.parent_path());
        std::ofstream(path) << content;
    }

    [[nodiscard]] std::unique_ptr<Process> start(std::vector<std::string> arguments) const {
        return std::make_unique<Process>(std::move(arguments), environment());
    }

    /// With breaks of that many seconds, none of which comes by itself.
    [[nodiscard]] std::unique_ptr<Process> startNocta(int seconds) const {
        write("nocta/nocta.conf", "[General]\nbreaksEnabled=true\nbreakIntervalMinutes=100000\nbreakDurationSeconds=" +
                                      std::to_string(seconds) + "\n");
        const auto calibration = displays.allRamps();
        auto nocta = start({programFolder() / "driven-nocta"});
        require(eventually([&] { return displays.allRamps() != calibration; }), "the first table");
        return nocta;
    }

    /// 0xRRGGBB, near the top left of the screen.
    [[nodiscard]] std::uint32_t corner() const {
        const auto& server = displays.server();
        const XReply<xcb_get_image_reply_t> image(xcb_get_image_reply(
            server.get(), xcb_get_image(server.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, server.root(), 8, 8, 1, 1, ~0U),
            nullptr));
        require(image != nullptr, "the picture");
        std::uint32_t pixel = 0;
        std::memcpy(&pixel, xcb_get_image_data(image.get()), sizeof pixel);
        return pixel & 0xffffffU;
    }
    [[nodiscard]] bool isCovered() const { return corner() != wallpaper; }

    /// Asked without a pause.
    void awaitCover(bool isThere) const {
        const auto start = Clock::now();
        while (isCovered() != isThere) {
            require(Clock::now() - start < std::chrono::minutes(2), "the overlay");
        }
    }

    XServer xServer;
    SessionBus bus;
    SystemBus systemBus; // SafeEyes does not start without one
    TemporaryFolder home;
    DrivenDisplays displays;
    std::optional<Process> manager;
    std::optional<DrivenWindows> windows;
    std::unique_ptr<Process> compositor;
    std::uint32_t wallpaper = 0;
};

void end(Process& process) {
    process.signal(SIGTERM);
    process.waitForEnd();
}

void rest(Milliseconds time) {
    std::this_thread::sleep_for(time);
}

// --- A whole break ---

struct Cost {
    double program = 0; ///< CPU milliseconds
    double server = 0;
};

/// What a break of 20 s costs from just before it until well after it.
template <class Begin>
Cost costOfBreak(const Session& session, Process& process, Begin begin) {
    const auto program = process.id();
    rest(std::chrono::seconds(2));
    const Cost before{.program = cpuOf(program), .server = cpuOf(session.xServer.id())};
    begin();
    const auto start = Clock::now();
    while (!session.isCovered()) { // seldom: every question costs the server time
        require(Clock::now() - start < std::chrono::seconds(20), ("the break " + process.errors()).c_str());
        rest(std::chrono::milliseconds(100));
    }
    while (session.isCovered()) {
        rest(std::chrono::milliseconds(500));
    }
    rest(std::chrono::seconds(2));
    return {.program = cpuOf(program) - before.program, .server = cpuOf(session.xServer.id()) - before.server};
}

/// One kind of break, of 20 s, that comes when it is asked for; nothing else that costs anything.
void configurePeer(const Session& session) {
    std::string plugins;
    for (const auto* id : {"donotdisturb", "notification", "audiblealert", "trayicon", "smartpause", "screensaver",
                           "healthstats", "mediacontrol"}) {
        plugins += (plugins.empty() ? "" : ", ") + std::string(R"({"id": ")") + id +
                   R"(", "enabled": false, "version": "0.0.1"})";
    }
    session.write("safeeyes/safeeyes.json", R"({
        "meta": {"config_version": "6.0.3"}, "random_order": false, "allow_postpone": false,
        "short_break_interval": 1000, "long_break_interval": 5000, "long_break_duration": 60,
        "pre_break_warning_time": 10, "short_break_duration": 20, "persist_state": false, "postpone_duration": 5,
        "use_rpc_server": true, "rpc_port": 17200, "shortcut_disable_time": 2, "shortcut_skip": 9,
        "shortcut_postpone": 65, "strict_break": false, "short_breaks": [{"name": "Rest your eyes"}],
        "long_breaks": [], "plugins": [)" + plugins +
                                                "]}");
    std::filesystem::copy("/usr/lib/python3/dist-packages/safeeyes/config/style",
                          session.home.path() / "config/safeeyes/style");
}

void wholeBreaks(const char* title, bool withCompositor, int breaks) {
    Session session;
    if (withCompositor) {
        session.startCompositor();
    }
    configurePeer(session);
    const auto nocta = session.startNocta(20);
    const auto peer = session.start({"safeeyes"});
    const auto noctaBreak = [&] { return costOfBreak(session, *nocta, [&] { nocta->write("break\n"); }); };
    const auto peerBreak = [&] {
        return costOfBreak(session, *peer, [&] {
            (void)eventually([&] {
                auto client = session.start({"safeeyes", "--take-break"});
                client->waitForEnd();
                rest(std::chrono::milliseconds(300));
                return session.isCovered();
            });
        });
    };
    std::printf("\n| CPU of a break of 20 s, %s | Nocta | SafeEyes | ratio | X server for Nocta | for SafeEyes |\n"
                "|---|---|---|---|---|---|\n",
                title);
    const auto print = [](const std::string& what, const Cost& ours, const Cost& theirs) {
        std::printf("| %s | %.0f ms | %.0f ms | %.2f | %.0f ms | %.0f ms |\n", what.c_str(), ours.program,
                    theirs.program, ours.program / theirs.program, ours.server, theirs.server);
        std::fflush(stdout);
    };
    for (int i = 1; i <= breaks; ++i) {
        const auto ours = noctaBreak();
        const auto theirs = peerBreak();
        print(i == 1 ? "the first, which loads" : "number " + std::to_string(i), ours, theirs);
    }
    end(*nocta);
    end(*peer);
}

// --- The fades and the first frame ---

/// One break that is skipped soon after it is there.
struct Glimpse {
    double firstFrame = 0;  ///< milliseconds from the timer's firing until something is on the screen
    double fadeInShare = 0; ///< of one core, in percent
    double fadeOutShare = 0;
};

Glimpse glimpse(const Session& session, Process& nocta) {
    nocta.write("interval 0\n");
    rest(std::chrono::milliseconds(500)); // that saves the settings, which is no part of a break
    Glimpse seen;
    const auto start = Clock::now();
    nocta.write("restart\n"); // with a work period of no length
    session.awaitCover(true);
    seen.firstFrame = Milliseconds(Clock::now() - start).count();
    double before = cpuOf(nocta.id());
    rest(fadeIn);
    seen.fadeInShare = (cpuOf(nocta.id()) - before) / fadeIn.count() * 100;
    nocta.write("interval 100000\n");
    rest(std::chrono::milliseconds(1500));
    before = cpuOf(nocta.id());
    nocta.write("skip\n");
    rest(fadeOut + std::chrono::milliseconds(100));
    seen.fadeOutShare = (cpuOf(nocta.id()) - before) / fadeOut.count() * 100;
    session.awaitCover(false);
    return seen;
}

void print(const char* what, const std::vector<double>& values, const char* unit) {
    const auto spread = spreadOf(values);
    std::printf("| %s | %.1f %s | %.1f %s |\n", what, spread.median, unit, spread.worst, unit);
    std::fflush(stdout);
}

void fades(const char* title, bool withCompositor) {
    Session session;
    if (withCompositor) {
        session.startCompositor();
    }
    std::vector<double> first;
    std::vector<double> later;
    std::vector<double> in;
    std::vector<double> out;
    for (int i = 0; i < 5; ++i) {
        const auto nocta = session.startNocta(60);
        rest(std::chrono::seconds(1));
        first.push_back(glimpse(session, *nocta).firstFrame);
        for (int j = 0; j < 4; ++j) {
            const auto seen = glimpse(session, *nocta);
            later.push_back(seen.firstFrame);
            in.push_back(seen.fadeInShare);
            out.push_back(seen.fadeOutShare);
        }
        end(*nocta);
        session.awaitCover(false);
    }
    std::printf("\n| %s | median | worst |\n|---|---|---|\n", title);
    print("timer to first visible frame, the first break of a process, of 5", first, "ms");
    print("timer to first visible frame, later ones, of 20", later, "ms");
    print("CPU while it fades in, of one core", in, "%");
    print("CPU while it fades out, of one core", out, "%");
}

// --- Memory ---

void memory() {
    const Session session;
    const auto nocta = session.startNocta(60);
    std::puts("\n| memory at rest | resident | private dirty |\n|---|---|---|");
    const auto print = [&](const char* what) {
        rest(std::chrono::seconds(2));
        std::printf("| %s | %ld kB | %ld kB |\n", what, memoryOf(nocta->id(), "Rss:"),
                    memoryOf(nocta->id(), "Private_Dirty:"));
        std::fflush(stdout);
    };
    print("before the first break");
    for (int i = 1; i <= 10; ++i) {
        glimpse(session, *nocta);
        if (i == 2) {
            print("after two breaks");
        }
    }
    print("after ten breaks");
}

} // namespace

int main(int argc, char** argv) {
    try {
        const int breaks = argc > 1 ? std::atoi(argv[1]) : 3; // NOLINT: the arguments are a plain array
        if (breaks > 0) {
            wholeBreaks("without a compositor", false, breaks);
            wholeBreaks("with a compositor (picom)", true, breaks);
        }
        fades("without a compositor", false);
        fades("with a compositor (picom)", true);
        memory();
    } catch (const std::exception& exception) { // so that the programs it has started end
        std::fprintf(stderr, "%s\n", exception.what());
        return 1;
    }
}
