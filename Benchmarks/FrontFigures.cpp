// Measures what watching the keyboard and the application in front costs the whole program, on a private X server.
// Prints Markdown.
//
// Usage: front-figures [IDLE-SECONDS], 60 unless told; 0 leaves the idle figures out.

#include "Measured.h"
#include "Support/DrivenDisplays.h"
#include "Support/DrivenInput.h"
#include "Support/DrivenWindows.h"
#include "Support/Eventually.h"
#include "Support/Process.h"
#include "Support/SessionBus.h"
#include "Support/TemporaryFolder.h"
#include "Support/XServer.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <initializer_list>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <unistd.h>
#include <xcb/xinput.h>

namespace {

using namespace nocta::test; // NOLINT(google-build-using-namespace)
using nocta::XReply;
using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

/// A session with two programs, "film", which has a profile, and "other", and Nocta.
class Session {
  public:
    Session() {
        input.setLayout({"us"});
        displays.plug(1);
        std::filesystem::create_directory(home.path() / "runtime");
        std::filesystem::create_directories(home.path() / "config/nocta");
        std::ofstream(home.path() / "config/nocta/nocta.conf")
            << "[General]\nactivePresetID=dusk\nappProfiles=\"@ByteArray({\\\"film\\\":\\\"sleep\\\"})\"\n";
        film = open("Film");
        other = open("Other");
        windows.setActive(other);
        const auto calibration = ramps();
        nocta = start({programFolder() / "driven-nocta"});
        nocta->write("interval 30\n"); // saved when it has launched
        require(eventually([&] {
                    std::ifstream file(home.path() / "config/nocta/nocta.conf");
                    const std::string text((std::istreambuf_iterator<char>(file)), {});
                    return text.find("breakIntervalMinutes=30\n") != std::string::npos && ramps() != calibration;
                }),
                "the launch");
    }

    [[nodiscard]] Ramps ramps() const { return displays.ramps(displays.active().front()); }

    void settle() const {
        Ramps last = ramps();
        auto since = Clock::now();
        while (Clock::now() - since < std::chrono::milliseconds(500)) {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            if (auto now = ramps(); now != last) {
                last = std::move(now);
                since = Clock::now();
            }
        }
    }

    XServer server;
    SessionBus bus;
    TemporaryFolder home;
    DrivenDisplays displays;
    DrivenWindows windows;
    DrivenInput input;
    std::vector<std::unique_ptr<Process>> programs;
    xcb_window_t film = XCB_WINDOW_NONE;
    xcb_window_t other = XCB_WINDOW_NONE;
    std::unique_ptr<Process> nocta;

  private:
    [[nodiscard]] std::unique_ptr<Process> start(std::vector<std::string> arguments) const {
        return std::make_unique<Process>(std::move(arguments),
                                         Process::Environment{{"HOME", home.path()},
                                                              {"XDG_CONFIG_HOME", home.path() / "config"},
                                                              {"XDG_RUNTIME_DIR", home.path() / "runtime"}});
    }

    [[nodiscard]] xcb_window_t open(const std::string& className) {
        programs.push_back(start({"xterm", "-name", "some", "-class", className}));
        return windows.await(className);
    }
};

/// The least that any client can do to hear of keys: sleep, read the raw event, sleep again.
[[noreturn]] void listen() {
    const nocta::XConnection connection;
    struct {
        xcb_input_event_mask_t head{.deviceid = XCB_INPUT_DEVICE_ALL_MASTER, .mask_len = 1};
        std::uint32_t mask = XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS;
    } selection;
    const XReply<xcb_input_xi_query_version_reply_t> version(xcb_input_xi_query_version_reply(
        connection.get(), xcb_input_xi_query_version(connection.get(), 2, 2), nullptr));
    xcb_input_xi_select_events(connection.get(), connection.root(), 1, &selection.head);
    connection.synchronize();
    std::puts("listening");
    while (const XReply<xcb_generic_event_t> event{xcb_wait_for_event(connection.get())}) {
    }
    std::exit(0); // NOLINT(concurrency-mt-unsafe): it has one thread
}

/// CPU microseconds of a process for one time that these keys are pressed and released, as slowly as a person types.
double costOf(const Session& session, pid_t pid, std::initializer_list<std::uint8_t> keys) {
    constexpr int times = 300;
    const auto pause = [] { std::this_thread::sleep_for(std::chrono::milliseconds(15)); };
    const double before = cpuOf(pid);
    for (int i = 0; i < times; ++i) {
        for (const auto key : keys) {
            session.input.press(key);
            pause();
        }
        for (const auto key : keys) {
            session.input.release(key);
            pause();
        }
    }
    return (cpuOf(pid) - before) / times * 1000;
}

void keyFigures(const std::string& program) {
    const Session session;
    session.settle();
    Process listener({program, "--listen"});
    std::this_thread::sleep_for(std::chrono::seconds(1));
    std::puts("| typed in another program, CPU of the process | Nocta | least possible |\n|---|---|---|");
    const auto print = [&](const char* what, std::initializer_list<std::uint8_t> keys) {
        const auto nocta = repeated(3, [&] { return costOf(session, session.nocta->id(), keys); });
        const auto least = repeated(3, [&] { return costOf(session, listener.id(), keys); });
        std::printf("| %s | %.0f us | %.0f us |\n", what, nocta.median, least.median);
        std::fflush(stdout);
    };
    print("a letter", {key::a});
    print("a capital letter: Shift and a letter", {key::shift, key::a});
    print("the I key, which is looked at", {key::i});
}

void activationFigures() {
    Session session;
    session.settle();
    const auto time = [&](xcb_window_t window) {
        const Ramps before = session.ramps();
        const auto start = Clock::now();
        session.windows.setActive(window);
        while (session.ramps() == before) {
            require(Clock::now() - start < std::chrono::seconds(20), "the fade");
        }
        const double milliseconds = Milliseconds(Clock::now() - start).count();
        session.settle();
        return milliseconds;
    };
    std::puts("\n| activation to first table of the fade | median | worst |\n|---|---|---|");
    std::printf("| the first one, which reads the desktop files | %.1f ms | |\n", time(session.film));
    bool isFilm = true;
    const auto later = repeated(20, [&] {
        isFilm = !isFilm;
        return time(isFilm ? session.film : session.other);
    });
    std::printf("| later ones, of 20 | %.1f ms | %.1f ms |\n", later.median, later.worst);
}

void idleFigures(int seconds) {
    const Session session;
    session.settle();
    std::this_thread::sleep_for(std::chrono::seconds(15));
    const auto pid = session.nocta->id();
    const auto switches = switchesOf(pid);
    const long ticks = ticksOf(pid);
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    std::printf("\n| idle for %d s | context switches | CPU ticks |\n|---|---|---|\n| Nocta | %ld | %ld |\n", seconds,
                switchesSince(switches, pid), ticksOf(pid) - ticks);
}

} // namespace

// An exception ends the measurement, as it should. NOLINTNEXTLINE(bugprone-exception-escape)
int main(int argc, char** argv) {
    const std::string argument = argc > 1 ? argv[1] : "60";
    if (argument == "--listen") {
        listen();
    }
    keyFigures(argv[0]);
    activationFigures();
    if (const int seconds = std::atoi(argument.c_str()); seconds > 0) {
        idleFigures(seconds);
    }
}
