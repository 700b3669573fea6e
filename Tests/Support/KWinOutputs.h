#pragma once

#include <cstddef>
#include <filesystem>

namespace nocta::test {

/// Switches an output of the KWin at that socket on or off, as a person does in the settings of the displays. Outputs
/// are numbered as KWin's own virtual ones ("Virtual-0" is the first). Throws where KWin does not.
void switchOutput(const std::filesystem::path& socket, std::size_t number, bool isOn);

} // namespace nocta::test
