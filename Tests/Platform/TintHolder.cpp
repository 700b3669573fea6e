// A program that tints every display through the display service that its argument names, and then goes on until it is
// killed. With a second argument, a seed, the tint changes all the time.

#include "Platform/Mutter/MutterDisplayService.h"
#include "Platform/Qt/QtRunLoop.h"
#include "Platform/Wayland/WlrGammaDisplayService.h"
#include "Platform/X11/RandrDisplayService.h"
#include "Support/Process.h"

#include <cstdlib>
#include <memory>
#include <random>
#include <string_view>
#include <vector>

#include <QCoreApplication>

using namespace nocta; // NOLINT(google-build-using-namespace)

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    QtRunLoop loop;
    const auto end = [] { std::exit(EXIT_FAILURE); };
    std::unique_ptr<DisplayService> service;
    const std::string_view kind = argv[1];
    if (kind == "Randr") {
        service = std::make_unique<RandrDisplayService>(
            loop,
            RandrDisplayService::Options{.guardProgram = test::programFolder() / "nocta-guard", .onServerLost = end});
    } else if (kind == "Mutter") {
        service = std::make_unique<MutterDisplayService>(loop, test::programFolder() / "nocta-mutter-guard");
    } else {
        service = std::make_unique<WlrGammaDisplayService>(loop, end);
    }
    std::vector<DisplayID> displays(service->activeDisplays({}));
    service->activeDisplays(displays);
    const auto tint = [&](float level) {
        const std::vector<float> table(256, level);
        for (const auto display : displays) {
            service->load(display, table, table, table);
        }
        service->flush();
    };
    tint(0.0F);
    std::minstd_rand random(argc > 2 ? static_cast<unsigned>(std::atoi(argv[2])) : 1U);
    std::unique_ptr<Timer> change;
    if (argc > 2) {
        change = loop.repeating(Seconds(0.005), TimerPrecision::frame,
                                [&] { tint(static_cast<float>(random() % 1000) / 1000.0F); });
    }
    return QCoreApplication::exec();
}
