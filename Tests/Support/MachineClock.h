#pragma once

#include <sys/timex.h>

namespace nocta::test {

/// Sets the machine's clock, by a nanosecond: forwards and, the next time, back. False where this user may not.
inline bool setMachineClock() {
    static bool isAhead = false;
    timex change{};
    change.modes = ADJ_SETOFFSET | ADJ_NANO;
    change.time.tv_sec = isAhead ? -1 : 0;
    change.time.tv_usec = isAhead ? 999'999'999 : 1;
    isAhead = !isAhead;
    return adjtimex(&change) >= 0;
}

} // namespace nocta::test
