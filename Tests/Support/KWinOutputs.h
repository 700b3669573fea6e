#pragma once

#include <cstddef>
#include <filesystem>

namespace nocta::test {

/// Switches an output of the KWin at that socket on or off, as a person does in the settings of the displays. Outputs
/// are numbered as in their names ("Virtual-0" or "X11-0" is the first). Throws where KWin does not.
void switchOutput(const std::filesystem::path& socket, std::size_t number, bool isOn);

} // namespace nocta::test
