#pragma once

#include "Platform/Qt/QtRunLoop.h"

#include <utility>
#include <vector>

namespace nocta::test {

/// A run loop whose delays pass a hundred times as fast, and that remembers those of one shot.
class HastyRunLoop final : public RunLoop {
  public:
    std::unique_ptr<Timer> oneShot(Seconds delay, std::function<void()> callback) override {
        if (delay > Seconds(0)) {
            asked.push_back(delay);
        }
        return loop.oneShot(delay / 100.0, std::move(callback));
    }
    std::unique_ptr<Timer> repeating(Seconds interval, TimerPrecision precision,
                                     std::function<void()> callback) override {
        return loop.repeating(interval / 100.0, precision, std::move(callback));
    }
    void async(std::function<void()> task) override { loop.async(std::move(task)); }
    std::unique_ptr<RunLoopSource> watch(int descriptor, std::function<void()> callback) override {
        return loop.watch(descriptor, std::move(callback));
    }

    [[nodiscard]] const std::vector<Seconds>& delays() const { return asked; }

  private:
    QtRunLoop loop;
    std::vector<Seconds> asked;
};

} // namespace nocta::test
