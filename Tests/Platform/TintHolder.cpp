// A program that tints every display through the display service that its argument names, and then goes on until it is
// killed. With a second argument, a seed, the tint changes all the time.

#include "Platform/KWin/NightColorDisplayService.h"
#include "Platform/Mutter/MutterDisplayService.h"
#include "Platform/Qt/QtRunLoop.h"
#include "Platform/Wayland/WlrGammaDisplayService.h"
#include "Platform/X11/RandrDisplayService.h"
#include "Support/Process.h"
#include "Tint.h"

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
    const std::string_view kind = argv[1];
    std::unique_ptr<DisplayService> service;
    if (kind == "Randr") {
        service = std::make_unique<RandrDisplayService>(
            loop,
            RandrDisplayService::Options{.guardProgram = test::programFolder() / "nocta-guard", .onServerLost = end});
    } else if (kind == "Mutter") {
        service = std::make_unique<MutterDisplayService>(loop, test::programFolder() / "nocta-mutter-guard");
    } else if (kind == "KWin") {
        service = std::make_unique<NightColorDisplayService>(loop, end);
    } else {
        service = std::make_unique<WlrGammaDisplayService>(loop, end);
    }
    std::vector<DisplayID> displays(service->activeDisplays({}));
    service->activeDisplays(displays);
    const auto load = [&](const std::vector<float>& red, const std::vector<float>& green,
                          const std::vector<float>& blue) {
        for (const auto display : displays) {
            service->load(display, red, green, blue);
        }
        service->flush();
    };
    const auto tint = [&](float level) {
        const std::vector<float> table(256, level);
        load(table, table, table);
    };
    if (kind == "KWin") {
        load(test::straightTable(test::heldTint.red), test::straightTable(test::heldTint.green),
             test::straightTable(test::heldTint.blue));
    } else {
        tint(0.0F);
    }
    std::minstd_rand random(argc > 2 ? static_cast<unsigned>(std::atoi(argv[2])) : 1U);
    std::unique_ptr<Timer> change;
    if (argc > 2) {
        change = loop.repeating(Seconds(0.005), TimerPrecision::frame,
                                [&] { tint(static_cast<float>(random() % 1000) / 1000.0F); });
    }
    return QCoreApplication::exec();
}
