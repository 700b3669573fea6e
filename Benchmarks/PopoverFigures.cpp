// Measures the popover: how long an opening takes until the first frame is drawn, what a step of a slider costs with
// the settings file written, and what it does while nothing happens. On a private X server. Prints Markdown.

#include "Core/AppState.h"
#include "Interface/Popover/PopoverModel.h"
#include "Interface/StatusBar/QuickPopoverHost.h"
#include "Interface/XcbApplication.h"
#include "Measured.h"
#include "Platform/Qt/QtRunLoop.h"
#include "Platform/Qt/QtSettingsStore.h"
#include "Platform/Simulated/SimulatedPlatform.h"
#include "Platform/X11/X11PopoverSurface.h"
#include "Support/TemporaryFolder.h"

#include <chrono>
#include <cstdio>
#include <memory>
#include <optional>
#include <vector>

#include <unistd.h>

#include <QEventLoop>
#include <QGuiApplication>
#include <QQuickWindow>

namespace {

using namespace nocta; // NOLINT(google-build-using-namespace)
using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

/// The popover of a program that runs for nothing else, with displays that only remember.
class Desktop {
  public:
    Desktop() {
        auto platform = Platform::current();
        platform.settings = &settings;
        platform.runLoop = &loop;
        Platform::install(platform);
        host.emplace(
            loop, [](QWindow& window) { return std::make_unique<X11PopoverSurface>(window); },
            [this] {
                auto scene = PopoverModel::makeScene();
                model = scene.properties().value(QStringLiteral("model")).value<PopoverModel*>();
                return scene;
            },
            [] {});
        popover = host->makePopover({.contentSize = {.width = 340, .height = 560}});
    }

    /// Milliseconds until the first frame is on its way to the server.
    double open() {
        const auto start = Clock::now();
        popover->show(Rectangle{.x = 1200, .y = 4, .width = 22, .height = 22}, Edge::below);
        popover->makeKey();
        bool drawn = false;
        for (auto* window : QGuiApplication::topLevelWindows()) {
            if (auto* quick = qobject_cast<QQuickWindow*>(window)) {
                QObject::connect(
                    quick, &QQuickWindow::frameSwapped, quick, [&drawn] { drawn = true; }, Qt::SingleShotConnection);
            }
        }
        application.runUntil([&] { return drawn; });
        const double taken = Milliseconds(Clock::now() - start).count();
        pass(std::chrono::milliseconds(300));
        return taken;
    }
    void close() {
        popover->performClose();
        pass(std::chrono::milliseconds(100));
    }
    /// Waits only for what comes.
    void pass(std::chrono::milliseconds time) {
        QEventLoop waiting;
        const auto end = loop.oneShot(time, [&waiting] { waiting.quit(); });
        waiting.exec();
    }

    test::XcbApplication application;
    test::TemporaryFolder folder;
    SimulatedPlatform& world = simulated();
    QtRunLoop loop;
    QtSettingsStore settings{QString::fromStdString(folder.path() / "nocta.conf")};
    std::optional<QuickPopoverHost> host;
    std::unique_ptr<Popover> popover;
    PopoverModel* model = nullptr;

  private:
    static SimulatedPlatform& simulated() {
        static auto& platform = *new SimulatedPlatform;
        platform.install();
        return platform;
    }
};

} // namespace

// An exception ends the measurement, as it should. NOLINTNEXTLINE(bugprone-exception-escape)
int main() {
    Desktop desktop;
    const auto pid = getpid();
    const double first = desktop.open();
    std::vector<double> again;
    for (int i = 0; i < 20; ++i) {
        desktop.close();
        again.push_back(desktop.open());
    }
    const auto openings = test::spreadOf(again);
    std::printf("| first opening | %.0f ms |\n|---|---|\n", first);
    std::printf("| the twenty after it, median and worst | %.0f and %.0f ms |\n", openings.median, openings.worst);

    constexpr int steps = 200;
    const double before = test::cpuOf(pid);
    for (int i = 0; i < steps; ++i) {
        PresetsModel::setCustomTemp(1900 + 20 * i);
        desktop.pass(std::chrono::milliseconds(17));
    }
    std::printf("| CPU of a slider's step, drawn and saved | %.2f ms |\n", (test::cpuOf(pid) - before) / steps);

    const double beforeUnseen = test::cpuOf(pid);
    for (int i = 0; i < steps; ++i) {
        PresetsModel::setCustomTemp(1910 + 20 * i);
    }
    std::printf("| of it without the drawing | %.2f ms |\n", (test::cpuOf(pid) - beforeUnseen) / steps);

    // Until Qt's pool has ended its threads, which take their counts along.
    desktop.pass(std::chrono::seconds(35));
    for (int tab = 0; tab < 4; ++tab) {
        desktop.model->setSelectedTab(tab);
        desktop.pass(std::chrono::seconds(2));
        const double idleBefore = test::cpuOf(pid);
        const auto switchesBefore = test::switchesOf(pid);
        desktop.pass(std::chrono::seconds(20));
        std::printf("| tab %d, 20 s of nothing: CPU, context switches | %.1f ms, %ld |\n", tab,
                    test::cpuOf(pid) - idleBefore, test::switchesSince(switchesBefore, pid));
        std::fflush(stdout);
    }
    desktop.popover.reset();
}
