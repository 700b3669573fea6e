#pragma once

#include <chrono>
#include <thread>

namespace nocta::test {

/// Asks again and again until `condition` holds; false when it does not within `patience`, which is far beyond what it
/// should take: a test fails by it, it does not measure with it.
template <class Condition>
[[nodiscard]] bool eventually(Condition condition, std::chrono::milliseconds patience = std::chrono::seconds(10)) {
    const auto end = std::chrono::steady_clock::now() + patience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

} // namespace nocta::test
