#pragma once

// What the header below includes, before the name changes.
#include <wayland-client.h>

// The header is generated for C: it has an argument of that name.
#ifdef __clang__
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wkeyword-macro"
#endif
#define namespace nameSpace // NOLINT
#include <wlr-layer-shell-unstable-v1.h>
#undef namespace
#ifdef __clang__
#pragma clang diagnostic pop
#endif
