#include "Platform/Simulated/SimulatedDisplayService.h"

#include <algorithm>

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
}

} // namespace nocta
