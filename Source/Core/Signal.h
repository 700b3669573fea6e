#pragma once

#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace nocta {

/// Keeps one callback connected to a signal for as long as it lives. May be destroyed inside that callback.
class [[nodiscard]] Subscription {
  public:
    Subscription() = default;
    Subscription(Subscription&&) = default;
    Subscription& operator=(Subscription&&) = default;
    Subscription(const Subscription&) = delete;
    Subscription& operator=(const Subscription&) = delete;
    ~Subscription() = default;

  private:
    template <class... Arguments>
    friend class Signal;

    explicit Subscription(std::shared_ptr<const void> callback) : callback(std::move(callback)) {}

    // The only strong reference: the signal sees a disconnection as an expired one.
    std::shared_ptr<const void> callback;
};

/// Calls every connected callback, in the order of connection, on the thread that emits. A callback connected during an
/// emission is first called in the next one; one disconnected during an emission is not called any more.
template <class... Arguments>
class Signal {
  public:
    Subscription connect(std::function<void(Arguments...)> callback) {
        forgetEnded();
        auto owned = std::make_shared<const Callback>(std::move(callback));
        callbacks.push_back(owned);
        return Subscription(std::move(owned));
    }

    void emit(Arguments... arguments) {
        if (callbacks.empty()) {
            return;
        }
        forgetEnded();
        const auto connected = callbacks;
        for (const auto& candidate : connected) {
            if (const auto callback = candidate.lock()) {
                (*callback)(arguments...);
            }
        }
    }

  private:
    using Callback = std::function<void(Arguments...)>;

    void forgetEnded() {
        std::erase_if(callbacks, [](const auto& callback) { return callback.expired(); });
    }

    std::vector<std::weak_ptr<const Callback>> callbacks;
};

} // namespace nocta
