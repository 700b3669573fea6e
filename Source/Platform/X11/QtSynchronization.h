#pragma once

namespace nocta {

/// Waits until the X server has carried out what Qt has sent so far: Qt's connection is another one than ours. Does
/// nothing if Qt is not on an X server.
void synchronizeQt();

} // namespace nocta
