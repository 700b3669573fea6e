// Measures the whole program on a whole desktop, beside what people use in its place, in the same run: redshift-gtk
// with SafeEyes or with Workrave. On a private X server with a window manager, a panel and a notification daemon.
// Prints Markdown.
//
// Usage: desktop-figures [IDLE-SECONDS [OPENINGS [LAUNCHES]]], 300, 100 and 10 unless told; 0 leaves a part out. Half
// an hour of idling has a break in it.

#include "Support/DrivenDisplays.h"
#include "Support/DrivenWindows.h"
#include "Support/Eventually.h"
#include "Support/Panel.h"
#include "Support/Process.h"
#include "Support/SessionBus.h"
#include "Support/SystemBus.h"
#include "Support/TemporaryFolder.h"
#include "Support/XServer.h"
#include "WholeDesktop.h"

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace nocta::test; // NOLINT(google-build-using-namespace)
using nocta::XReply;
using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

void run(std::vector<std::string> command) {
    Process process(std::move(command));
    require(process.waitForEnd() == Ending{.exitStatus = 0}, process.errors().c_str());
}

class Session {
  public:
    Session() {
        displays.plug(1);
        calibration = displays.allRamps();
        run({"xsetroot", "-solid", "#4080c0"});
        run({"xhost", "+local:"}); // SafeEyes does not understand a cookie for every display
        std::filesystem::create_directory(home.path() / "runtime");
        write("nocta/nocta.conf", everythingOn);
        windows.awaitManager();
    }

    [[nodiscard]] Process::Environment environment() const {
        return {{"HOME", home.path()},
                {"XDG_CONFIG_HOME", home.path() / "config"},
                {"XDG_CACHE_HOME", home.path() / "cache"},
                {"XDG_DATA_HOME", home.path() / "data"},
                {"XDG_RUNTIME_DIR", home.path() / "runtime"},
                {"GSETTINGS_BACKEND", "memory"},
                {"NO_AT_BRIDGE", "1"}};
    }
    void write(const std::string& file, const std::string& content) const {
        const auto path = home.path() / "config" / file;
        std::filesystem::create_directories(path.parent_path());
        std::ofstream(path) << content;
    }
    [[nodiscard]] std::unique_ptr<Process> start(std::vector<std::string> arguments) const {
        return std::make_unique<Process>(std::move(arguments), environment());
    }
    [[nodiscard]] std::unique_ptr<Process> startNocta() const { return start({programFolder() / "nocta"}); }

    [[nodiscard]] bool isCalibrated() const { return displays.allRamps() == calibration; }

    /// Where the popover's middle is, once its window is shown.
    [[nodiscard]] std::optional<xcb_point_t> popover() const {
        const auto& server = displays.server();
        const auto window = windows.find("nocta");
        if (!window) {
            return std::nullopt;
        }
        const auto attributesCookie = xcb_get_window_attributes(server.get(), *window);
        const auto geometryCookie = xcb_get_geometry(server.get(), *window);
        const XReply<xcb_translate_coordinates_reply_t> place(xcb_translate_coordinates_reply(
            server.get(), xcb_translate_coordinates(server.get(), *window, server.root(), 0, 0), nullptr));
        const XReply<xcb_get_window_attributes_reply_t> attributes(
            xcb_get_window_attributes_reply(server.get(), attributesCookie, nullptr));
        const XReply<xcb_get_geometry_reply_t> geometry(xcb_get_geometry_reply(server.get(), geometryCookie, nullptr));
        if (!place || !attributes || !geometry || attributes->map_state != XCB_MAP_STATE_VIEWABLE) {
            return std::nullopt;
        }
        return xcb_point_t{.x = static_cast<std::int16_t>(place->dst_x + geometry->width / 2),
                           .y = static_cast<std::int16_t>(place->dst_y + geometry->height / 2)};
    }
    /// 0xRRGGBB.
    [[nodiscard]] std::uint32_t pixel(const xcb_point_t& point) const {
        const auto& server = displays.server();
        const XReply<xcb_get_image_reply_t> image(xcb_get_image_reply(
            server.get(),
            xcb_get_image(server.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, server.root(), point.x, point.y, 1, 1, ~0U),
            nullptr));
        std::uint32_t value = 0;
        if (image) {
            std::memcpy(&value, xcb_get_image_data(image.get()), sizeof value);
        }
        return value & 0xffffffU;
    }
    [[nodiscard]] bool popoverIsDrawn() const {
        constexpr std::uint32_t wallpaper = 0x4080c0;
        const auto middle = popover();
        return middle && pixel(*middle) != wallpaper && pixel(*middle) != 0;
    }

    void openPopover() const {
        require(startNocta()->waitForEnd() == Ending{.exitStatus = 0}, "the second launch");
        require(eventually([this] { return popoverIsDrawn(); }), "the popover");
    }
    void closePopover() const {
        require(eventually([this] { return popoverIsDrawn(); }), "the popover");
        require(eventually([this] {
                    run({"xdotool", "key", "Escape"});
                    return !popover();
                }),
                "the popover's end");
    }

    XServer xServer;
    SessionBus bus;
    SystemBus systemBus; // SafeEyes does not start without one
    TemporaryFolder home;
    DrivenDisplays displays;
    std::map<xcb_randr_crtc_t, Ramps> calibration;
    Process manager{{"openbox"}, environment()};
    DrivenWindows windows;
    Process notifications{{"dunst"}, environment()};
    Panel panel{PanelKind::xfce};
};

void end(Process& process) {
    process.signal(SIGTERM);
    process.waitForEnd();
}

/// Its own process first.
std::vector<pid_t> family(const Process& process, const std::string& child) {
    std::vector<pid_t> all{process.id()};
    require(eventually([&] { return !process.children(child).empty(); }, std::chrono::seconds(30)), child.c_str());
    const auto children = process.children(child);
    all.insert(all.end(), children.begin(), children.end());
    return all;
}

/// The filter of the peers: a tray icon, and the daemon that it starts.
std::unique_ptr<Process> startRedshift(const Session& session) {
    return session.start({"redshift-gtk", "-m", "randr:crtc=0", "-l", "50:10", "-t", "6500:3400"});
}

// --- Memory ---

void memoryFigures(int openings) {
    const Session session;
    const auto redshift = startRedshift(session);
    const auto redshiftFamily = family(*redshift, "redshift");
    // As it sets itself up; where the folder is missing, it fails to.
    const auto configuration = session.home.path() / "config/safeeyes";
    std::filesystem::create_directories(configuration);
    std::filesystem::copy("/usr/lib/python3/dist-packages/safeeyes/config", configuration,
                          std::filesystem::copy_options::recursive);
    const auto safeEyes = session.start({"safeeyes"});
    std::this_thread::sleep_for(std::chrono::seconds(10)); // until they have settled
    require(safeEyes->isRunning(), safeEyes->errors().c_str());
    const auto nocta = session.startNocta();
    const auto noctaFamily = family(*nocta, "nocta-guard");
    const std::vector<pid_t> program{nocta->id()};
    std::puts("\n| memory on a desktop with everything on | private dirty | PSS |\n|---|---|---|");
    require(eventually([&] { return session.popoverIsDrawn(); }), "the first popover");
    std::this_thread::sleep_for(std::chrono::seconds(2));
    printMemory("Nocta, popover open for the first time", program);
    session.closePopover();
    std::this_thread::sleep_for(untilAtRest);
    printMemory("Nocta, popover closed", program);
    for (int opening = 1; opening <= openings; ++opening) {
        session.openPopover();
        session.closePopover();
        if (opening == 10 || opening == openings) {
            std::this_thread::sleep_for(untilAtRest);
            printMemory("Nocta, popover closed after " + std::to_string(opening) + " more openings", program);
        }
    }
    session.openPopover();
    std::this_thread::sleep_for(std::chrono::seconds(2));
    printMemory("Nocta, popover open again", program);
    printMemory("nocta-guard", {noctaFamily.back()});
    printMemory("redshift-gtk and its redshift", redshiftFamily);
    printMemory("SafeEyes", {safeEyes->id()});
    end(*nocta);
    end(*safeEyes);
    end(*redshift);
}

// --- Idle ---

void idleFigures(int seconds) {
    const Session session;
    const auto nocta = session.startNocta();
    const auto noctaFamily = family(*nocta, "nocta-guard");
    session.closePopover();
    const auto redshift = startRedshift(session);
    const auto workrave = session.start({"workrave"});
    std::vector<Watched> watched{{.name = "Nocta", .processes = {nocta->id()}},
                                 {.name = "nocta-guard", .processes = {noctaFamily.back()}},
                                 {.name = "redshift-gtk and its redshift", .processes = family(*redshift, "redshift")},
                                 {.name = "Workrave", .processes = {workrave->id()}}};
    std::this_thread::sleep_for(untilItemAtRest);
    require(workrave->isRunning(), workrave->errors().c_str());
    printIdle(seconds, std::move(watched));
    end(*nocta);
    end(*workrave);
    end(*redshift);
}

// --- Launch and quit ---

void launchFigures(int launches) {
    const Session session;
    std::vector<double> filter;
    std::vector<double> popover;
    std::vector<double> quit;
    const auto timeUntil = [](Clock::time_point start, const auto& condition) {
        while (!condition()) { // asked without a pause
            require(Clock::now() - start < std::chrono::seconds(20), "what is timed");
        }
        return Milliseconds(Clock::now() - start).count();
    };
    for (int i = 0; i < launches; ++i) {
        auto start = Clock::now();
        const auto nocta = session.start({programFolder() / "driven-nocta"});
        filter.push_back(timeUntil(start, [&] { return !session.isCalibrated(); }));
        popover.push_back(timeUntil(start, [&] { return session.popoverIsDrawn(); }));
        std::this_thread::sleep_for(std::chrono::seconds(1));
        start = Clock::now();
        nocta->write("quit\n");
        quit.push_back(timeUntil(start, [&] { return session.isCalibrated(); }));
        nocta->waitForEnd();
    }
    std::printf("\n| %d launches on a desktop with everything on | median | worst |\n|---|---|---|\n", launches);
    const auto print = [](const char* what, const std::vector<double>& times) {
        const auto spread = spreadOf(times);
        std::printf("| %s | %.1f ms | %.1f ms |\n", what, spread.median, spread.worst);
    };
    print("process start to first table", filter);
    print("process start to popover drawn, 350 ms of it meant", popover);
    print("Quit, with the popover open, to calibration", quit);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv) {
    try {
        const auto [idleSeconds, openings, launches] = Extent::of(std::span(argv, static_cast<std::size_t>(argc)));
        if (launches > 0) {
            launchFigures(launches);
        }
        if (openings > 0) {
            memoryFigures(openings);
        }
        if (idleSeconds > 0) {
            idleFigures(idleSeconds);
        }
    } catch (const std::exception& exception) { // so that the programs it has started end
        std::fprintf(stderr, "%s\n", exception.what());
        return 1;
    }
}
