#include "App/BackEnds.h"

#include "Platform/X11/RandrDisplayService.h"

#include <array>

#include <QCoreApplication>

namespace nocta {

namespace {

using MakeDisplayService = std::unique_ptr<DisplayService> (*)(RunLoop&, const std::function<void()>&);

std::unique_ptr<DisplayService> makeRandr(RunLoop& loop, const std::function<void()>& onServerLost) {
    const QString guard = QCoreApplication::applicationDirPath() + QStringLiteral("/nocta-guard");
    return std::make_unique<RandrDisplayService>(
        loop, RandrDisplayService::Options{.guardProgram = guard.toStdString(), .onServerLost = onServerLost});
}

constexpr std::array<MakeDisplayService, 1> displayServices{&makeRandr};

} // namespace

std::optional<std::string> displayServerName() {
    return XConnection::serverName();
}

std::unique_ptr<DisplayService> makeDisplayService(RunLoop& loop, const std::function<void()>& onServerLost) {
    for (const auto make : displayServices) {
        if (auto service = make(loop, onServerLost); service->isAvailable()) {
            return service;
        }
    }
    return nullptr;
}

} // namespace nocta
