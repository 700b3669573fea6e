#pragma once

#include "Platform/NotificationService.h"

#include <memory>

class QObject;

namespace nocta {

class RunLoop;

/// Messages through `org.freedesktop.Notifications` on the session bus. Whoever shows them there is started if need be,
/// asked first what it understands, and never waited for: where there is nobody, or nobody who answers, a message is
/// lost.
class BusNotificationService final : public NotificationService {
  public:
    /// `loop` outlives the service.
    explicit BusNotificationService(RunLoop& loop);
    BusNotificationService(const BusNotificationService&) = delete;
    BusNotificationService& operator=(const BusNotificationService&) = delete;
    ~BusNotificationService() override;

    /// These desktops ask nobody: whoever does not want messages switches them off where they are shown.
    void requestAuthorization(std::uint32_t options, std::function<void(bool granted)> completion) override;
    void add(const NotificationRequest& request) override;

  private:
    RunLoop& loop;
    std::unique_ptr<QObject> context; ///< what is still to be answered ends with it
};

} // namespace nocta
