#pragma once

// xcb's header of the keyboard extension was written for C: it has a member of that name.
#define explicit explicitComponents // NOLINT
#include <xcb/xkb.h>
#undef explicit
