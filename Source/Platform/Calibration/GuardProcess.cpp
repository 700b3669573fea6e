#include "Platform/Calibration/GuardProcess.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace nocta {

namespace {

/// How long the guard may take to read before it counts as stuck.
constexpr int sendPatienceMilliseconds = 100;

/// The channel, for the one signal handler that may need it.
std::atomic<int> channelAtAbort{-1};

/// A core dump keeps the descriptors of a dying process open until it is written, which takes its time. The guard is
/// told before.
void releaseGuard(int signal) {
    if (const int channel = channelAtAbort; channel >= 0) {
        shutdown(channel, SHUT_RDWR);
    }
    raise(signal); // the handler is gone by now (SA_RESETHAND)
}

void releaseGuardAtAbort() {
    // Of its own, for the stack may be what overflowed.
    static std::array<std::byte, 16384> stack;
    const stack_t ownStack{.ss_sp = stack.data(), .ss_flags = 0, .ss_size = stack.size()};
    sigaltstack(&ownStack, nullptr);
    for (const int signal : {SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGQUIT, SIGTRAP, SIGSYS}) {
        struct sigaction present {};
        if (sigaction(signal, nullptr, &present) == 0 && present.sa_handler == SIG_DFL) {
            struct sigaction release {};
            release.sa_handler = releaseGuard;
            release.sa_flags = static_cast<int>(SA_RESETHAND | SA_ONSTACK);
            sigaction(signal, &release, nullptr);
        }
    }
}

/// Runs `program` with `standardInput` and nothing else of ours: no descriptor, no blocked signal, and a session of its
/// own, so that a terminal's interrupt does not reach it. -1 where it cannot be run.
pid_t spawn(const std::string& program, int standardInput) {
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    if (posix_spawn_file_actions_init(&actions) != 0) {
        return -1;
    }
    if (posix_spawnattr_init(&attributes) != 0) {
        posix_spawn_file_actions_destroy(&actions);
        return -1;
    }
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawn_file_actions_adddup2(&actions, standardInput, STDIN_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &all);
    posix_spawnattr_setflags(&attributes, static_cast<short>(POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | // NOLINT
                                                             POSIX_SPAWN_SETSIGDEF));
    std::string name = program.substr(program.rfind('/') + 1);
    const std::array<char*, 2> arguments{name.data(), nullptr};
    pid_t pid = -1;
    const int failure = posix_spawn(&pid, program.c_str(), &actions, &attributes, arguments.data(), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    return failure == 0 ? pid : -1;
}

} // namespace

GuardProcess::GuardProcess(RunLoop& loop, std::string program) : loop(loop), program(std::move(program)) {}

GuardProcess::~GuardProcess() {
    deathWatch.reset();
    if (channel >= 0) {
        channelAtAbort = -1;
        close(channel);
        // Not waited for: a guard that was stopped would keep Nocta from ending.
        waitpid(pid, nullptr, WNOHANG);
    }
}

void GuardProcess::publish(std::vector<std::byte> encodedRecord) {
    record = std::move(encodedRecord);
    if (channel < 0 && !restartTimer) {
        start();
    } else if (channel >= 0 && !sendRecord()) {
        stop();
        start();
    }
}

void GuardProcess::withdraw(std::vector<std::byte> encodedRecord) {
    record = std::move(encodedRecord);
    restartTimer.reset();
    if (channel >= 0 && !sendRecord()) {
        stop();
    }
}

void GuardProcess::start() {
    restartTimer.reset();
    std::array<int, 2> ends{-1, -1};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        restartLater();
        return;
    }
    const auto [ours, theirs] = ends;
    pid = spawn(program, theirs);
    close(theirs);
    channel = ours;
    if (pid < 0) {
        close(std::exchange(channel, -1));
        restartLater();
        return;
    }
    channelAtAbort = channel;
    releaseGuardAtAbort();
    deathWatch = loop.watch(channel, [this] {
        // The guard never writes: this is its end.
        stop();
        restartLater();
    });
    // A guard that has lived for a while starts the delays anew.
    steadyTimer = loop.oneShot(Seconds(10), [this] { restartDelay = Seconds(0); });
    if (!sendRecord()) {
        stop();
        restartLater();
    }
}

bool GuardProcess::sendRecord() {
    for (std::size_t sent = 0; sent < record.size();) {
        const auto count = send(channel, record.data() + sent, record.size() - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count > 0) {
            sent += static_cast<std::size_t>(count);
        } else if (errno == EAGAIN) {
            pollfd writable{.fd = channel, .events = POLLOUT, .revents = 0};
            if (poll(&writable, 1, sendPatienceMilliseconds) <= 0) {
                return false;
            }
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

void GuardProcess::stop() {
    deathWatch.reset();
    steadyTimer.reset();
    channelAtAbort = -1;
    // Killed first: at the mere end of the channel it would put the calibration back, and Nocta lives.
    kill(pid, SIGKILL);
    close(std::exchange(channel, -1));
    waitpid(std::exchange(pid, -1), nullptr, 0);
}

void GuardProcess::restartLater() {
    restartTimer = loop.oneShot(restartDelay, [this] { start(); });
    restartDelay = std::clamp(restartDelay * 2, Seconds(1), Seconds(60));
}

} // namespace nocta
