#pragma once

#include <array>
#include <chrono>
#include <string>

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>

namespace nocta::test {

/// A Qt application whose loop runs until something holds.
class QtLoop {
  public:
    /// False when `condition` does not hold within `patience`, which is far beyond what it should take.
    template <class Condition>
    bool runUntil(Condition condition, std::chrono::milliseconds patience = std::chrono::seconds(10)) {
        const QDeadlineTimer deadline(patience);
        while (!condition()) {
            if (deadline.hasExpired()) {
                return false;
            }
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        }
        return true;
    }

    /// What is due at the end of `duration` has happened, however little of it the machine left to this process.
    void runFor(std::chrono::milliseconds duration) {
        runUntil([] { return false; }, duration);
        runDue();
    }

    /// Lets happen what is due now, and what that makes due at once.
    void runDue() { // NOLINT(readability-convert-member-functions-to-static): it runs this loop
        while (QAbstractEventDispatcher::instance()->processEvents(QEventLoop::AllEvents)) {
        }
    }

  private:
    int argumentCount = 1;
    std::string name = "test";
    std::array<char*, 2> arguments{name.data(), nullptr};
    QCoreApplication application{argumentCount, arguments.data()};
};

} // namespace nocta::test
