#pragma once

#include <string>
#include <vector>

namespace nocta {

/// How noctactl ends.
namespace exitStatus {
constexpr int success = 0;
constexpr int refused = 1;    ///< Nocta said no
constexpr int wrongUsage = 2; ///< the command line makes no sense
constexpr int notRunning = 3; ///< there is no Nocta, or it does not answer
} // namespace exitStatus

/// Carries out noctactl's command line, without the program's name. Writes results to standard output, what went wrong
/// in one line to standard error, and returns the exit status.
int runCommand(const std::vector<std::string>& arguments);

} // namespace nocta
