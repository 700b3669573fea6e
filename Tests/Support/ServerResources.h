#pragma once

#include <cstdint>
#include <map>

#include <sys/types.h>

namespace nocta::test {

/// What the X server that DISPLAY names keeps for one process of this machine, on all of its connections together.
struct ServerResources {
    int connections = 0;
    std::map<std::uint32_t, std::uint32_t> counts; ///< of windows, pixmaps and all others, by the atom of their type
    std::uint64_t pixmapBytes = 0;

    /// Whether there is more of anything.
    [[nodiscard]] bool exceed(const ServerResources& other) const;
};

[[nodiscard]] ServerResources serverResourcesOf(pid_t process);

} // namespace nocta::test
