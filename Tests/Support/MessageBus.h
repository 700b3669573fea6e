#pragma once

#include "Support/Process.h"
#include "Support/TemporaryFolder.h"

#include <csignal>
#include <memory>
#include <string>

namespace nocta::test {

/// A private message bus, which starts no services. While it lives, this process's environment names it.
class MessageBus {
  public:
    MessageBus(const MessageBus&) = delete;
    MessageBus& operator=(const MessageBus&) = delete;

    [[nodiscard]] const std::string& address() const { return busAddress; }
    /// Ends the bus as a crash does.
    void kill();
    /// The same, and another one takes its address.
    void restart();
    /// Lets the bus hang: it accepts connections and says nothing.
    void freeze() const { daemon->signal(SIGSTOP); }
    void thaw() const { daemon->signal(SIGCONT); }

    /// Whether that service is on the bus and answers.
    [[nodiscard]] bool answers(const std::string& service) const;

  protected:
    /// The type as its configuration says it, and the variable that names the bus to programs.
    MessageBus(const std::string& type, std::string variable);
    ~MessageBus();

  private:
    void start();

    TemporaryFolder folder;
    std::string variable;
    std::string busAddress;
    std::unique_ptr<Process> daemon;
};

} // namespace nocta::test
