#pragma once

#include <string>

namespace nocta::test {

/// The program that keeps the settings of Xfce's programs. Throws where it is not installed.
[[nodiscard]] std::string xfceSettingsProgram();

} // namespace nocta::test
