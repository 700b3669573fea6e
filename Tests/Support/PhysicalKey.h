#pragma once

#include <string>
#include <vector>

namespace nocta::test {

/// Presses and releases the key where US keyboards have I, on a keyboard that is plugged in for it, with modifiers as
/// wtype names them held. Other keys are pressed before, F1 to F22, without.
void pressPhysicalI(const std::vector<std::string>& modifiers);

} // namespace nocta::test
