#pragma once

#include "Support/MessageBus.h"

namespace nocta::test {

class SystemBus final : public MessageBus {
  public:
    SystemBus() : MessageBus("system", "DBUS_SYSTEM_BUS_ADDRESS") {}
};

} // namespace nocta::test
