// Measures what telling the user costs the fade: the shortcut is pressed, and another client watches the frames. On a
// private X server and bus. Prints Markdown.

#include "Measured.h"
#include "Support/DrivenDisplays.h"
#include "Support/DrivenInput.h"
#include "Support/Eventually.h"
#include "Support/NotificationDaemon.h"
#include "Support/Process.h"
#include "Support/SessionBus.h"
#include "Support/TemporaryFolder.h"
#include "Support/XServer.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace nocta::test; // NOLINT(google-build-using-namespace)
using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

/// A session with one display and Nocta, which has put its filter on it.
class Session {
  public:
    Session() {
        displays.plug(1);
        // A server without a keyboard begins with other key codes than those of Linux.
        Process layout({"setxkbmap", "-rules", "evdev", "-model", "pc105", "us"});
        require(layout.waitForEnd() == Ending{.exitStatus = 0}, "the layout");
        std::filesystem::create_directory(home.path() / "runtime");
        const auto calibration = ramps();
        nocta = std::make_unique<Process>(std::vector<std::string>{programFolder() / "nocta"},
                                          Process::Environment{{"HOME", home.path()},
                                                               {"XDG_CONFIG_HOME", home.path() / "config"},
                                                               {"XDG_RUNTIME_DIR", home.path() / "runtime"}});
        require(eventually([&] { return ramps() != calibration; }), "the first table");
        (void)watch(std::chrono::seconds(2)); // what else there is to do at launch
    }

    struct Fade {
        double first = 0;   ///< milliseconds to the first frame
        double longest = 0; ///< milliseconds between two frames at most
    };

    /// Presses the shortcut and watches the fade that it begins to its end.
    [[nodiscard]] Fade fade() const {
        const auto start = Clock::now();
        input.type({key::super, key::shift, key::i});
        const auto frames = watch(std::chrono::seconds(5));
        require(frames.size() > 5, "the fade");
        Fade fade{.first = Milliseconds(frames.front() - start).count()};
        for (std::size_t i = 1; i < frames.size(); ++i) {
            fade.longest = std::max(fade.longest, Milliseconds(frames[i] - frames[i - 1]).count());
        }
        return fade;
    }

    XServer server;
    SessionBus bus;

  private:
    [[nodiscard]] Ramps ramps() const { return displays.ramps(displays.active().front()); }

    /// When the display's ramps changed, as long as they do, asked without a pause.
    [[nodiscard]] std::vector<Clock::time_point> watch(std::chrono::seconds patience) const {
        std::vector<Clock::time_point> changes;
        const auto display = displays.active().front();
        Ramps last = displays.ramps(display);
        auto end = Clock::now() + patience;
        while (Clock::now() < end) {
            if (auto now = displays.ramps(display); now != last) {
                last = std::move(now);
                changes.push_back(Clock::now());
                end = changes.back() + std::chrono::milliseconds(500);
            }
        }
        return changes;
    }

    TemporaryFolder home;
    DrivenDisplays displays;
    DrivenInput input;
    std::unique_ptr<Process> nocta;
};

void print(const char* what, const Session& session) {
    constexpr int fades = 20;
    std::vector<double> first;
    std::vector<double> longest;
    for (int i = 0; i < fades; ++i) {
        const auto fade = session.fade();
        first.push_back(fade.first);
        longest.push_back(fade.longest);
    }
    std::printf("| %s | %.1f ms | %.1f ms | %.1f ms | %.1f ms |\n", what, spreadOf(first).median, spreadOf(first).worst,
                spreadOf(longest).median, spreadOf(longest).worst);
    std::fflush(stdout);
}

} // namespace

// An exception ends the measurement, as it should. NOLINTNEXTLINE(bugprone-exception-escape)
int main() {
    const Session session;
    std::puts("| notification daemon | press to first frame | worst | longest between two frames | worst |\n"
              "|---|---|---|---|---|");
    print("none", session);
    const NotificationDaemon daemon;
    print("dunst", session);
    daemon.signal(SIGSTOP);
    print("dunst, stopped by SIGSTOP", session);
    daemon.signal(SIGCONT);
}
