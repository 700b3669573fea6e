#pragma once

#include "Platform/Time.h"

namespace nocta {

/// Is told of what happens to the whole machine, from the run loop. One cause may be reported more than once, and under
/// more than one name (a resume also sets the clock): reactions must bear repetition.
class SystemEventsDelegate {
  public:
    SystemEventsDelegate() = default;
    SystemEventsDelegate(const SystemEventsDelegate&) = delete;
    SystemEventsDelegate& operator=(const SystemEventsDelegate&) = delete;
    virtual ~SystemEventsDelegate() = default;

    /// The machine was suspended for `asleep` seconds, which the intervals of `RunLoop` do not count, and runs again.
    virtual void systemDidWake(Seconds asleep) = 0;
    /// The wall clock was set, forwards or backwards.
    virtual void clockDidChange() = 0;
    /// This session has the screens again, after another one had them: somebody else may have changed their tables.
    virtual void sessionDidBecomeActive() = 0;
};

/// What happens to the machine as a whole. Main thread only. Where nobody tells, nothing is reported, silently.
class SystemEvents {
  public:
    SystemEvents() = default;
    SystemEvents(const SystemEvents&) = delete;
    SystemEvents& operator=(const SystemEvents&) = delete;
    virtual ~SystemEvents() = default;

    /// `delegate`, or null for nobody, outlives the service or is replaced before. Does not wait for anything.
    virtual void setDelegate(SystemEventsDelegate* delegate) = 0;
};

} // namespace nocta
