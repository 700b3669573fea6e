#pragma once

#include "Platform/Application.h"

namespace nocta {

/// Starts and stops the program's parts, in their order. Reaches all of them through their shared instances.
class AppDelegate final : public ApplicationDelegate {
  public:
    /// Puts the user's filter on the screen at once, without a fade; with the filter off, nothing is loaded.
    void applicationDidFinishLaunching() override;

    /// Gives the displays back their own calibration. Settings need no saving: every change was saved when it happened.
    void applicationWillTerminate() override;
};

} // namespace nocta
