#pragma once

#include <chrono>

#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>

namespace nocta::test {

/// Runs an event loop that waits for what comes, as the program's does, until `condition` holds; false when it does not
/// within `patience`, which is far beyond what it should take.
template <class Condition>
bool runUntil(Condition condition, std::chrono::milliseconds patience = std::chrono::seconds(10)) {
    const QDeadlineTimer deadline(patience);
    bool holds = condition();
    if (!holds) {
        QEventLoop events;
        QTimer check;
        check.setSingleShot(true); // the condition may run a loop of its own
        QObject::connect(&check, &QTimer::timeout, &events, [&] {
            holds = condition();
            if (holds || deadline.hasExpired()) {
                events.quit();
            } else {
                check.start(2);
            }
        });
        check.start(2);
        events.exec();
    }
    return holds;
}

} // namespace nocta::test
