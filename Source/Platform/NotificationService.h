#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace nocta {

/// What a notification may do: an or of these.
namespace notification {
inline constexpr std::uint32_t sound = 2;
inline constexpr std::uint32_t alert = 4;
} // namespace notification

/// A message to show at once. UTF-8.
struct NotificationRequest {
    /// Names the message: one with another identifier does not replace it.
    std::string identifier;
    std::string title;
    std::string body;

    bool operator==(const NotificationRequest&) const = default;
};

/// Shows short messages in the desktop's way. Main thread only; nothing here waits for an answer, and a message that
/// nobody shows is lost silently.
class NotificationService {
  public:
    NotificationService() = default;
    NotificationService(const NotificationService&) = delete;
    NotificationService& operator=(const NotificationService&) = delete;
    virtual ~NotificationService() = default;

    /// Asks the user, where the desktop does. `completion` is called from the run loop with what was granted.
    virtual void requestAuthorization(std::uint32_t options, std::function<void(bool granted)> completion) = 0;
    virtual void add(const NotificationRequest& request) = 0;
};

} // namespace nocta
