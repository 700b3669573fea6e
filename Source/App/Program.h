#pragma once

#include <functional>

namespace nocta {

class ApplicationDelegate;

/// The whole program: chooses who answers for the world in this session, installs them as the platform and runs
/// `delegate` on it. What keeps it from starting is said in one line on standard error. `cyclePreset` is called when
/// another program asks for the next preset.
///
/// Returns the exit status: 0 after Quit or a signal, and when a running Nocta was activated instead; 1 when there was
/// nothing to do it with, or the display server went away.
int runProgram(char** argv, ApplicationDelegate& delegate, const std::function<void()>& cyclePreset);

} // namespace nocta
