#pragma once

#include "Platform/SystemEvents.h"

#include <memory>

namespace nocta {

/// What login1 tells on the system bus: that the machine runs again after a suspend, and that this session (that of
/// XDG_SESSION_ID, else the one that login1 takes for the process's) has become the active one. The clock is not its
/// business. Nothing is asked before there is a delegate; a bus that goes away is not looked for again.
class LoginSystemEvents final : public SystemEvents {
  public:
    LoginSystemEvents();
    LoginSystemEvents(const LoginSystemEvents&) = delete;
    LoginSystemEvents& operator=(const LoginSystemEvents&) = delete;
    ~LoginSystemEvents() override;

    void setDelegate(SystemEventsDelegate* delegate) override;

  private:
    class Listener;

    SystemEventsDelegate* delegate = nullptr;
    std::unique_ptr<Listener> listener;
};

} // namespace nocta
