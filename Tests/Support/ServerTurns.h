#pragma once

#include "Platform/X11/XConnection.h"

namespace nocta::test {

/// Returns when the X server has carried out what all of its other clients had asked of it, and has sent them what it
/// had to say. `own` is a connection of the test.
///
/// A reply to `own` alone does not tell: the server serves the clients that have taken little of its time before those
/// that have taken much, and a test that asks one thing after the other may keep others waiting for long.
void letServerServe(const XConnection& own);

} // namespace nocta::test
