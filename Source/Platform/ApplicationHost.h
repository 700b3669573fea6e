#pragma once

#include <functional>

namespace nocta {

/// Where the running program can be found by a second launch of it. Main thread only.
class ApplicationHost {
  public:
    enum class Claim {
        primary,     ///< this process is now the running program
        forwarded,   ///< another one is; it has been activated in our place
        unanswered,  ///< another one is, but it does not answer
        unavailable, ///< there is nothing to be found at, so nobody knows
    };

    ApplicationHost() = default;
    ApplicationHost(const ApplicationHost&) = delete;
    ApplicationHost& operator=(const ApplicationHost&) = delete;
    virtual ~ApplicationHost() = default;

    /// Asks to become the running program. `onActivate` is called from the run loop whenever a later launch is
    /// forwarded to this process. Waits for an answer, about two seconds at most.
    [[nodiscard]] virtual Claim claim(std::function<void()> onActivate) = 0;
};

} // namespace nocta
