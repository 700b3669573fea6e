#pragma once

namespace nocta {

/// Whether the environment names a session bus. Without one the bus library would look for other ways to get one, up to
/// starting it: nothing may ask it for the session bus then.
[[nodiscard]] bool isSessionBusNamed();

} // namespace nocta
