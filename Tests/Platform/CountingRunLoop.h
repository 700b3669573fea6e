#pragma once

#include "Platform/Qt/QtRunLoop.h"

#include <utility>

namespace nocta::test {

/// A run loop that counts how often it wakes what was handed to it.
class CountingRunLoop final : public RunLoop {
  public:
    std::unique_ptr<Timer> oneShot(Seconds delay, std::function<void()> callback) override {
        return loop.oneShot(delay, counted(std::move(callback)));
    }
    std::unique_ptr<Timer> repeating(Seconds interval, TimerPrecision precision,
                                     std::function<void()> callback) override {
        return loop.repeating(interval, precision, counted(std::move(callback)));
    }
    void async(std::function<void()> task) override { loop.async(counted(std::move(task))); }
    std::unique_ptr<RunLoopSource> watch(int descriptor, std::function<void()> callback) override {
        return loop.watch(descriptor, counted(std::move(callback)));
    }

    [[nodiscard]] int wakeUps() const { return count; }

  private:
    std::function<void()> counted(std::function<void()> callback) {
        return [this, callback = std::move(callback)] {
            ++count;
            callback();
        };
    }

    QtRunLoop loop;
    int count = 0;
};

} // namespace nocta::test
