#pragma once

#include <functional>
#include <memory>
#include <string_view>

#include <QObject>

class QSocketNotifier;

namespace nocta {

/// Finds out whether a message bus says anything, without waiting for it. The library waits for a bus that hangs for as
/// long as it does, and meanwhile serves no other bus and lets no program end. Main thread only.
class BusGreeting {
  public:
    /// Calls back once, from the event loop, when it is known that the bus does not hang: it has said something, has
    /// gone, or `address`, in the form of the bus's specification, does not name a socket of this machine, of which
    /// this could tell. Never, while it hangs.
    BusGreeting(std::string_view address, std::function<void()> onAnswer);
    BusGreeting(const BusGreeting&) = delete;
    BusGreeting& operator=(const BusGreeting&) = delete;
    ~BusGreeting();

  private:
    enum class Greeting {
        sent,
        pointless,  ///< there is nobody, or nobody that this could ask
        impossible, ///< the bus hangs, and so many wait for it already that the kernel lets nobody join
    };

    [[nodiscard]] Greeting greet(std::string_view address);

    int descriptor = -1;
    std::unique_ptr<QSocketNotifier> answer;
    QObject context; // destroyed first: nobody is called any more
};

} // namespace nocta
