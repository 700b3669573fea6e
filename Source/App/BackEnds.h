#pragma once

#include "Platform/DisplayService.h"
#include "Platform/RunLoop.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace nocta {

/// The name of the display server of this session, the same for every program that means the same server; nothing where
/// the environment names none that a back end knows.
[[nodiscard]] std::optional<std::string> displayServerName();

/// The first display back end that can serve this session, in order of preference; null where none can. `onServerLost`
/// is called from the run loop when the server it serves has gone.
[[nodiscard]] std::unique_ptr<DisplayService> makeDisplayService(RunLoop& loop,
                                                                 const std::function<void()>& onServerLost);

} // namespace nocta
