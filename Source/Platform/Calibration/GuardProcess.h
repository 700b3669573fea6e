#pragma once

#include "Platform/RunLoop.h"

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include <sys/types.h>

namespace nocta {

/// The guard as Nocta sees it: a child that puts the calibration back when this process ends in any way. It is started
/// with the first record, is told of every newer one, and is started again when it dies. Main thread only.
class GuardProcess {
  public:
    /// `program` is the path of the guard for this display server; where it cannot be run, there is no guard. `loop`
    /// outlives this.
    GuardProcess(RunLoop& loop, std::string program);
    GuardProcess(const GuardProcess&) = delete;
    GuardProcess& operator=(const GuardProcess&) = delete;
    /// Lets the guard end by itself, as this process's death does.
    ~GuardProcess();

    /// Hands the guard what it has to put back from now on. On return it cannot miss it any more.
    void publish(std::vector<std::byte> encodedRecord);
    /// The same for a record without displays: there is nothing to put back, so no guard is started for it.
    void withdraw(std::vector<std::byte> encodedRecord);

  private:
    void start();
    bool sendRecord();
    void stop();
    void restartLater();

    RunLoop& loop;
    std::string program;
    std::vector<std::byte> record;
    pid_t pid = -1;
    int channel = -1;
    std::unique_ptr<RunLoopSource> deathWatch;
    std::unique_ptr<Timer> restartTimer;
    Seconds restartDelay{0};
    std::unique_ptr<Timer> steadyTimer;
};

} // namespace nocta
