// Measures the whole program on whole Wayland desktops: on a private sway with waybar and mako, then on a private KWin
// with waybar. Prints Markdown.
//
// Usage: wayland-desktop-figures [IDLE-SECONDS [OPENINGS [LAUNCHES]]], 300, 100 and 10 unless told; 0 leaves a part
// out.

#include "Support/Eventually.h"
#include "Support/KWin.h"
#include "Support/KWinInput.h"
#include "Support/Panel.h"
#include "Support/Process.h"
#include "Support/ScreenPicture.h"
#include "Support/SessionBus.h"
#include "Support/Sway.h"
#include "Support/TemporaryFolder.h"
#include "WholeDesktop.h"

#include <chrono>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <memory>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include <linux/input-event-codes.h>

namespace {

using namespace nocta::test; // NOLINT(google-build-using-namespace)
using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

/// The home of somebody with everything on, and their hands.
class Session {
  public:
    Session() {
        std::filesystem::create_directory(home.path() / "runtime");
        std::filesystem::permissions(home.path() / "runtime", std::filesystem::perms::owner_all);
        std::filesystem::create_directories(home.path() / "config/nocta");
        std::ofstream(home.path() / "config/nocta/nocta.conf") << everythingOn;
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    virtual ~Session() = default;

    [[nodiscard]] std::unique_ptr<Process> start(std::vector<std::string> arguments) const {
        return std::make_unique<Process>(std::move(arguments),
                                         Process::Environment{{"HOME", home.path()},
                                                              {"XDG_CONFIG_HOME", home.path() / "config"},
                                                              {"XDG_RUNTIME_DIR", home.path() / "runtime"}});
    }
    /// The program itself, which answers questions on its standard input.
    [[nodiscard]] std::unique_ptr<Process> startNocta() const { return start({programFolder() / "driven-nocta"}); }

    void openPopover(Process& nocta) const {
        require(start({programFolder() / "nocta"})->waitForEnd() == Ending{.exitStatus = 0}, "the second launch");
        require(eventually([&] { return popoverIsOpen(nocta); }), "the popover");
    }
    void closePopover(Process& nocta) {
        require(eventually([&] { return popoverIsOpen(nocta); }), "the popover");
        require(eventually([&] {
                    pressEscape();
                    return !popoverIsOpen(nocta);
                }),
                "the popover's end");
    }

    [[nodiscard]] virtual bool popoverIsOpen(Process& nocta) const = 0;

  private:
    virtual void pressEscape() = 0;

    TemporaryFolder home;
};

class SwaySession final : public Session {
  public:
    [[nodiscard]] bool popoverIsOpen(Process& /*nocta*/) const override {
        const TemporaryFolder folder;
        const auto file = folder.path() / "pixel.ppm";
        // On the first screen, where the popover has nothing but its ground, which is light; the screen's own is dark.
        Process grim({"grim", "-t", "ppm", "-g", "1102,450 1x1", file});
        require(grim.waitForEnd() == Ending{.exitStatus = 0}, "a picture");
        return (ScreenPicture::read(file).at(0, 0) & 255U) > 100;
    }
    [[nodiscard]] bool isTinted() const { return sway.table("HEADLESS-1").has_value(); }
    [[nodiscard]] std::unique_ptr<Process> startGammastep() const {
        return start({"gammastep", "-m", "wayland", "-l", "50:10", "-t", "6500:3400"});
    }

  private:
    void pressEscape() override { Process({"wtype", "-s", "100", "-k", "Escape", "-s", "50"}).waitForEnd(); }

    Sway sway;
    SessionBus bus;
    std::unique_ptr<Process> notifications = start({"mako"});
    Panel panel{PanelKind::waybar};
};

class KWinSession final : public Session {
  public:
    /// It has the keyboard, too.
    [[nodiscard]] bool popoverIsOpen(Process& nocta) const override {
        const auto before = nocta.errors().size();
        nocta.write("keyboard\n");
        require(eventually([&] { return nocta.errors().find('\n', before) != std::string::npos; }), "an answer");
        return nocta.errors().substr(before).starts_with("ours");
    }

  private:
    void pressEscape() override { hands.type({KEY_ESC}); }

    KWin kwin;
    KWinInput hands;
    Panel panel{PanelKind::waybar};
};

void end(Process& process) {
    process.signal(SIGTERM);
    process.waitForEnd();
}

/// Every program that is to be found with its services at the first look.
void awaitDesktop() {
    std::this_thread::sleep_for(std::chrono::seconds(3));
}

template <class Condition>
double timeUntil(Clock::time_point start, const Condition& condition) {
    while (!condition()) { // asked without a pause
        require(Clock::now() - start < std::chrono::seconds(20), "what is timed");
    }
    return Milliseconds(Clock::now() - start).count();
}

void print(const char* what, const std::vector<double>& times) {
    const auto spread = spreadOf(times);
    std::printf("| %s | %.1f ms | %.1f ms |\n", what, spread.median, spread.worst);
    std::fflush(stdout);
}

void launchFiguresOnSway(int launches) {
    const SwaySession session;
    awaitDesktop();
    std::vector<double> filter;
    std::vector<double> popover;
    std::vector<double> quit;
    for (int i = 0; i < launches; ++i) {
        auto start = Clock::now();
        const auto nocta = session.startNocta();
        filter.push_back(timeUntil(start, [&] { return session.isTinted(); }));
        popover.push_back(timeUntil(start, [&] { return session.popoverIsOpen(*nocta); }));
        std::this_thread::sleep_for(std::chrono::seconds(1));
        start = Clock::now();
        nocta->write("quit\n");
        quit.push_back(timeUntil(start, [&] { return !session.isTinted(); }));
        nocta->waitForEnd();
    }
    std::printf("\n| %d launches on sway with everything on | median | worst |\n|---|---|---|\n", launches);
    print("process start to first table", filter);
    print("process start to popover drawn, 350 ms of it meant, 18 ms to look", popover);
    print("Quit, with the popover open, to the display's own table", quit);
}

void launchFiguresOnKWin(int launches) {
    KWinSession session;
    awaitDesktop();
    std::vector<double> popover;
    for (int i = 0; i < launches; ++i) {
        const auto start = Clock::now();
        const auto nocta = session.startNocta();
        popover.push_back(timeUntil(start, [&] { return session.popoverIsOpen(*nocta); }));
        session.closePopover(*nocta);
        nocta->write("quit\n");
        nocta->waitForEnd();
    }
    std::printf("\n| %d launches on KWin with everything on | median | worst |\n|---|---|---|\n", launches);
    print("process start to popover with the keyboard, 350 ms of it meant", popover);
}

void memoryFigures(const std::string& desktop, Session& session, int openings) {
    awaitDesktop();
    const auto nocta = session.startNocta();
    const auto printIt = [&](const std::string& what) { printMemory("popover " + what, {nocta->id()}); };
    std::printf("\n| memory on %s with everything on | private dirty | PSS |\n|---|---|---|\n", desktop.c_str());
    require(eventually([&] { return session.popoverIsOpen(*nocta); }), "the first popover");
    std::this_thread::sleep_for(std::chrono::seconds(2));
    printIt("open for the first time");
    session.closePopover(*nocta);
    std::this_thread::sleep_for(untilAtRest);
    printIt("closed");
    for (int opening = 1; opening <= openings; ++opening) {
        session.openPopover(*nocta);
        session.closePopover(*nocta);
        if (opening == 10 || opening == openings) {
            std::this_thread::sleep_for(untilAtRest);
            printIt("closed after " + std::to_string(opening) + " more openings");
        }
    }
    session.openPopover(*nocta);
    std::this_thread::sleep_for(std::chrono::seconds(2));
    printIt("open again");
    end(*nocta);
}

void idleFigures(const std::string& desktop, Session& session, int seconds) {
    awaitDesktop();
    const auto nocta = session.startNocta();
    session.closePopover(*nocta);
    std::this_thread::sleep_for(untilItemAtRest);
    printIdle(seconds, {{.name = "Nocta on " + desktop, .processes = {nocta->id()}}});
    end(*nocta);
}

} // namespace

int main(int argc, char** argv) {
    try {
        const auto [idleSeconds, openings, launches] = Extent::of(std::span(argv, static_cast<std::size_t>(argc)));
        if (launches > 0) {
            launchFiguresOnSway(launches);
            launchFiguresOnKWin(launches);
        }
        if (openings > 0) {
            {
                SwaySession session;
                memoryFigures("sway", session, openings);
            }
            KWinSession session;
            memoryFigures("KWin", session, openings);
        }
        if (idleSeconds > 0) {
            {
                SwaySession session;
                idleFigures("sway", session, idleSeconds);
            }
            {
                const SwaySession session;
                const auto gammastep = session.startGammastep();
                std::this_thread::sleep_for(std::chrono::seconds(10)); // until its fade is over
                printIdle(idleSeconds, {{.name = "gammastep on sway", .processes = {gammastep->id()}}});
                printMemory("gammastep", {gammastep->id()});
            }
            KWinSession session;
            idleFigures("KWin", session, idleSeconds);
        }
    } catch (const std::exception& exception) { // so that the programs it has started end
        std::fprintf(stderr, "%s\n", exception.what());
        return 1;
    }
}
