#pragma once

#include "Support/Process.h"
#include "Support/TemporaryFolder.h"

#include <memory>
#include <string>

namespace nocta::test {

/// A private session bus, which starts no services. While it lives, this process's environment names it.
class SessionBus {
  public:
    SessionBus();
    SessionBus(const SessionBus&) = delete;
    SessionBus& operator=(const SessionBus&) = delete;
    ~SessionBus();

    [[nodiscard]] const std::string& address() const { return busAddress; }
    /// Ends the bus as a crash does.
    void kill();

  private:
    TemporaryFolder folder;
    std::string busAddress;
    std::unique_ptr<Process> daemon;
};

} // namespace nocta::test
