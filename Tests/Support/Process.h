#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <sys/types.h>

namespace nocta::test {

/// How a process ended.
struct Ending {
    std::optional<int> exitStatus; ///< nothing where a signal ended it
    int signal = 0;

    bool operator==(const Ending&) const = default;
};

/// A program run by a test, killed when the test lets go of it.
class Process {
  public:
    /// Names to values; an empty value removes the variable.
    using Environment = std::vector<std::pair<std::string, std::string>>;

    /// Starts `arguments` (the program first, looked up in PATH) in this process's environment changed by
    /// `environment`. Its standard input and standard error are pipes to the test. Throws where it cannot be started.
    explicit Process(std::vector<std::string> arguments, const Environment& environment = {});
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;
    ~Process();

    [[nodiscard]] pid_t id() const { return pid; }
    void signal(int number) const;
    void write(const std::string& text) const;
    /// Lets its standard input end.
    void closeInput();
    /// Whether it ignores that signal.
    [[nodiscard]] bool ignores(int number) const { return isInMask("SigIgn", number); }
    /// Whether it has a handler for that signal.
    [[nodiscard]] bool catches(int number) const { return isInMask("SigCgt", number); }

    /// How it ended; nothing where it still runs after `patience`.
    std::optional<Ending> waitForEnd(std::chrono::milliseconds patience = std::chrono::seconds(20));
    [[nodiscard]] bool isRunning();
    /// All it wrote to standard error so far.
    std::string errors();

    /// The processes that it started and that still run, by executable name (of at most 15 bytes).
    [[nodiscard]] std::vector<pid_t> children(const std::string& name) const;

  private:
    [[nodiscard]] bool isInMask(const std::string& mask, int number) const;

    pid_t pid = -1;
    int input = -1;
    int errorOutput = -1;
    std::string errorText;
    std::optional<Ending> ending;
};

/// Whether a process of that number exists and is not just waiting to be reaped.
[[nodiscard]] bool isAlive(pid_t pid);

/// The folder of the programs under test: that of the test itself.
[[nodiscard]] std::filesystem::path programFolder();

} // namespace nocta::test
