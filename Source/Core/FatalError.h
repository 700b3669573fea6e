#pragma once

#include <string_view>

namespace nocta {

/// Writes "Fatal error: `message`" to standard error and aborts the process. The displays' calibration is then given
/// back from outside. Only for states in which going on would be wrong: nothing else in the program aborts.
[[noreturn]] void fatalError(std::string_view message);

} // namespace nocta
