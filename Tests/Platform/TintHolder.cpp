// A program that tints every display through the display service that its argument names, and then goes on until it is
// killed.

#include "Platform/Qt/QtRunLoop.h"
#include "Platform/Wayland/WlrGammaDisplayService.h"
#include "Platform/X11/RandrDisplayService.h"
#include "Support/Process.h"

#include <cstdlib>
#include <string_view>

#include <QCoreApplication>

using namespace nocta; // NOLINT(google-build-using-namespace)

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    QtRunLoop loop;
    const auto end = [] { std::exit(EXIT_FAILURE); };
    std::unique_ptr<DisplayService> service;
    if (std::string_view(argv[1]) == "Randr") {
        service = std::make_unique<RandrDisplayService>(
            loop,
            RandrDisplayService::Options{.guardProgram = test::programFolder() / "nocta-guard", .onServerLost = end});
    } else {
        service = std::make_unique<WlrGammaDisplayService>(loop, end);
    }
    std::vector<DisplayID> displays(service->activeDisplays({}));
    service->activeDisplays(displays);
    const std::vector<float> black(256, 0.0F);
    for (const auto display : displays) {
        service->load(display, black, black, black);
    }
    service->flush();
    return QCoreApplication::exec();
}
