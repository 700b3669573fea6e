#include "Platform/Posix/TerminationSignals.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <utility>

#include <sys/eventfd.h>
#include <unistd.h>

namespace nocta {

namespace {

constexpr std::array handledSignals{SIGTERM, SIGINT, SIGHUP};

std::atomic<int> signalDescriptor{-1};

void handleSignal(int /*signal*/) {
    const int savedError = errno;
    constexpr std::uint64_t one = 1;
    [[maybe_unused]] const auto written = write(signalDescriptor, &one, sizeof one);
    errno = savedError;
}

} // namespace

TerminationSignals::TerminationSignals(RunLoop& loop, std::function<void()> onSignal)
    : descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      watch(loop.watch(descriptor, [this, onSignal = std::move(onSignal)] {
          std::uint64_t count = 0;
          if (read(descriptor, &count, sizeof count) > 0) {
              onSignal();
          }
      })) {
    signalDescriptor = descriptor;
    struct sigaction action {};
    action.sa_handler = handleSignal;
    action.sa_flags = SA_RESTART;
    for (const int signal : handledSignals) {
        sigaction(signal, &action, nullptr);
    }
}

TerminationSignals::~TerminationSignals() {
    for (const int signal : handledSignals) {
        std::signal(signal, SIG_DFL);
    }
    watch.reset();
    close(descriptor);
}

} // namespace nocta
