#pragma once

#include "Support/MessageBus.h"

namespace nocta::test {

class SessionBus final : public MessageBus {
  public:
    SessionBus() : MessageBus("session", "DBUS_SESSION_BUS_ADDRESS") {}
};

} // namespace nocta::test
