#include "Platform/Simulated/SimulatedDisplayService.h"

#include <algorithm>
#include <string>

namespace nocta {

std::size_t SimulatedDisplayService::activeDisplays(std::span<DisplayID> buffer) {
    ++recordedListCalls;
    std::copy_n(displays.begin(), std::min(displays.size(), buffer.size()), buffer.begin());
    return displays.size();
}

void SimulatedDisplayService::load(DisplayID display, std::span<const float> red, std::span<const float> green,
                                   std::span<const float> blue) {
    recordedLoads.push_back({.display = display,
                             .red = {red.begin(), red.end()},
                             .green = {green.begin(), green.end()},
                             .blue = {blue.begin(), blue.end()}});
    std::erase_if(shownLoads, [this](const auto& entry) { return !isActive(entry.first); });
    if (!isActive(display) || red.empty()) {
        return;
    }
    keepNewcomers();
    shownLoads[display] = ofNewcomers = std::make_shared<const Load>(recordedLoads.back());
}

void SimulatedDisplayService::loadNewcomers(std::span<const float> red, std::span<const float> green,
                                            std::span<const float> blue) {
    if (red.empty()) {
        return;
    }
    keepNewcomers();
    constexpr DisplayID noDisplay = 0;
    ofNewcomers = std::make_shared<const Load>(Load{.display = noDisplay,
                                                    .red = {red.begin(), red.end()},
                                                    .green = {green.begin(), green.end()},
                                                    .blue = {blue.begin(), blue.end()}});
}

void SimulatedDisplayService::keepNewcomers() {
    for (const auto active : displays) {
        shownLoads.try_emplace(active, ofNewcomers);
    }
}

const SimulatedDisplayService::Load* SimulatedDisplayService::shown(DisplayID display) const {
    if (!isActive(display)) {
        return nullptr;
    }
    const auto known = shownLoads.find(display);
    return known != shownLoads.end() ? known->second.get() : ofNewcomers.get();
}

void SimulatedDisplayService::restoreCalibration() {
    ++recordedRestores;
    shownLoads.clear();
    ofNewcomers.reset();
}

bool SimulatedDisplayService::isActive(DisplayID display) const {
    return std::ranges::find(displays, display) != displays.end();
}

std::vector<DisplayDescription> SimulatedDisplayService::describe() {
    std::vector<DisplayDescription> descriptions;
    for (const DisplayID display : displays) {
        descriptions.push_back({.id = display,
                                .name = "SIMULATED-" + std::to_string(display),
                                .tableSize = 256,
                                .hasTemperature = true,
                                .hasBrightness = true});
    }
    return descriptions;
}

} // namespace nocta
