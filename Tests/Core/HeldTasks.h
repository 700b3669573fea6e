#pragma once

#include "Platform/Platform.h"
#include "Platform/Simulated/SimulatedPlatform.h"

#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace nocta {

/// A simulated world whose tasks wait until they are released, as they do while other events of the same turn are
/// handled: what happens between a timer's firing and its task can be told apart.
class HeldTasks final : public RunLoop {
  public:
    /// Takes the place of `platform`'s loop for what is made from now on; `platform` outlives it.
    explicit HeldTasks(SimulatedPlatform& platform) : loop(platform.runLoop) {
        Platform installed = Platform::current();
        installed.runLoop = this;
        Platform::install(installed);
    }

    [[nodiscard]] std::size_t count() const { return tasks.size(); }

    void release() {
        for (const auto& task : std::exchange(tasks, {})) {
            task();
        }
    }

    std::unique_ptr<Timer> oneShot(Seconds delay, std::function<void()> callback) override {
        return loop.oneShot(delay, std::move(callback));
    }
    std::unique_ptr<Timer> repeating(Seconds interval, TimerPrecision precision,
                                     std::function<void()> callback) override {
        return loop.repeating(interval, precision, std::move(callback));
    }
    void async(std::function<void()> task) override { tasks.push_back(std::move(task)); }
    std::unique_ptr<RunLoopSource> watch(int descriptor, std::function<void()> callback) override {
        return loop.watch(descriptor, std::move(callback));
    }

  private:
    SimulatedRunLoop& loop;
    std::vector<std::function<void()>> tasks;
};

} // namespace nocta
