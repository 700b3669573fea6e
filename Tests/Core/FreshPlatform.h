#pragma once

#include "Platform/Simulated/SimulatedPlatform.h"

#include <deque>

namespace nocta {

/// A simulated world, installed for this process. Never destroyed: shared instances may hold on to it.
inline SimulatedPlatform& freshPlatform(Instant start = SimulatedPlatform::defaultStart) {
    static auto& worlds = *new std::deque<SimulatedPlatform>;
    SimulatedPlatform& world = worlds.emplace_back(start);
    world.install();
    return world;
}

} // namespace nocta
