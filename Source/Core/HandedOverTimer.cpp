#include "Core/HandedOverTimer.h"

#include "Platform/Platform.h"

#include <utility>

namespace nocta {

HandedOverTimer::HandedOverTimer(Seconds delay, std::function<void()> callback)
    : firing(std::make_shared<Firing>(Firing{.callback = std::move(callback)})) {
    auto& runLoop = *Platform::current().runLoop;
    timer = runLoop.oneShot(delay, [&runLoop, weak = std::weak_ptr(firing)] {
        runLoop.async([weak] {
            if (const auto running = weak.lock()) {
                running->hasRun = true;
                running->callback();
            }
        });
    });
}

} // namespace nocta
