#pragma once

#include "Platform/NotificationService.h"
#include "Platform/RunLoop.h"

#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

namespace nocta {

/// Keeps the messages that a desktop would show.
class SimulatedNotificationService final : public NotificationService {
  public:
    /// `loop` outlives the service.
    explicit SimulatedNotificationService(RunLoop& loop) : loop(loop) {}

    /// What a user answers who is asked.
    bool grants = true;

    /// The options of every request for permission, in order.
    [[nodiscard]] const std::vector<std::uint32_t>& authorizationRequests() const { return recordedOptions; }
    /// Every message, in order.
    [[nodiscard]] const std::vector<NotificationRequest>& requests() const { return recordedRequests; }

    void requestAuthorization(std::uint32_t options, std::function<void(bool granted)> completion) override {
        recordedOptions.push_back(options);
        loop.async([completion = std::move(completion), granted = grants] { completion(granted); });
    }
    void add(const NotificationRequest& request) override { recordedRequests.push_back(request); }

  private:
    RunLoop& loop;
    std::vector<std::uint32_t> recordedOptions;
    std::vector<NotificationRequest> recordedRequests;
};

} // namespace nocta
