#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace nocta {

/// Handlers that are called until their token is destroyed, which may happen inside any of them. `Token` is the
/// interface's class of tokens, `Arguments` what the handlers are told.
template <class Token, class... Arguments>
class SimulatedHandlers {
  public:
    using Handler = std::function<void(Arguments...)>;

    [[nodiscard]] std::unique_ptr<Token> add(Handler handler) {
        auto shared = std::make_shared<Handler>(std::move(handler));
        std::erase_if(handlers, [](const auto& each) { return each.expired(); });
        handlers.push_back(shared);
        return std::make_unique<Registration>(std::move(shared));
    }

    void call(Arguments... arguments) const {
        const auto present = handlers;
        for (const auto& each : present) {
            if (const auto handler = each.lock()) {
                (*handler)(arguments...);
            }
        }
    }

    /// Tokens that live.
    [[nodiscard]] std::size_t count() const {
        return static_cast<std::size_t>(
            std::ranges::count_if(handlers, [](const auto& each) { return !each.expired(); }));
    }

  private:
    class Registration final : public Token {
      public:
        explicit Registration(std::shared_ptr<Handler> handler) : handler(std::move(handler)) {}

      private:
        std::shared_ptr<Handler> handler;
    };

    std::vector<std::weak_ptr<Handler>> handlers;
};

} // namespace nocta
