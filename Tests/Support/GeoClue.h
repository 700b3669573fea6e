#pragma once

#include "Support/Process.h"
#include "Support/SystemBus.h"
#include "Support/TemporaryFolder.h"

#include <memory>
#include <string>

namespace nocta::test {

/// The real GeoClue on a private system bus, with a configuration of its own. It looks the position up at a program of
/// the test's in place of a web service.
class GeoClue {
  public:
    enum class Policy {
        allowed, ///< Nocta may be told the position
        denied,
    };

    explicit GeoClue(Policy policy = Policy::allowed);

    /// What the lookup answers from now on, in degrees; it answers nothing before the first.
    void place(double latitude, double longitude) const;
    /// Starts the program without which GeoClue lets nobody in.
    void startAgent();
    /// Ends the service as a crash does, and its agent.
    void kill();
    /// Starts it, and waits until it answers.
    void start();

    SystemBus bus;

  private:
    TemporaryFolder folder;
    std::unique_ptr<Process> lookup;
    std::unique_ptr<Process> service;
    std::unique_ptr<Process> agent;
};

} // namespace nocta::test
