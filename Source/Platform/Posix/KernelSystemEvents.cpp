#include "Platform/Posix/KernelSystemEvents.h"

#include <cerrno>
#include <cstdint>
#include <ctime>
#include <limits>

#include <sys/timerfd.h>
#include <unistd.h>

namespace nocta {

namespace {

/// Less is what a busy machine lets pass between two readings of its clocks.
constexpr Seconds shortestSuspend{0.1};

} // namespace

KernelSystemEvents::KernelSystemEvents(RunLoop& loop)
    : descriptor(timerfd_create(CLOCK_REALTIME, TFD_CLOEXEC | TFD_NONBLOCK)) {
    if (descriptor >= 0) {
        arm();
        watch = loop.watch(descriptor, [this] { timerDidCancel(); });
    }
}

KernelSystemEvents::~KernelSystemEvents() {
    watch.reset();
    if (descriptor >= 0) {
        close(descriptor);
    }
}

/// Sets the timer for an instant that does not come: it ends only by being cancelled. A library that fakes the clock
/// for this process adds to it.
void KernelSystemEvents::arm() const {
    itimerspec never{};
    never.it_value.tv_sec = std::numeric_limits<std::time_t>::max() / 2;
    timerfd_settime(descriptor, TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET, &never, nullptr);
}

void KernelSystemEvents::timerDidCancel() {
    std::uint64_t expirations = 0;
    if (read(descriptor, &expirations, sizeof expirations) >= 0 || errno != ECANCELED) {
        return;
    }
    arm();
    if (const Seconds asleep = suspendMeter.take(); asleep >= shortestSuspend && delegate != nullptr) {
        delegate->systemDidWake(asleep);
    }
    if (delegate != nullptr) {
        delegate->clockDidChange();
    }
}

} // namespace nocta
