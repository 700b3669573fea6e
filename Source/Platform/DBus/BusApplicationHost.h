#pragma once

#include "Platform/ApplicationHost.h"

#include <memory>

namespace nocta {

/// The name `org.nocta.Nocta` on the session bus, and `org.freedesktop.Application` at `/org/nocta/Nocta`. A bus that
/// goes away later takes the name with it and changes nothing else.
class BusApplicationHost final : public ApplicationHost {
  public:
    BusApplicationHost();
    BusApplicationHost(const BusApplicationHost&) = delete;
    BusApplicationHost& operator=(const BusApplicationHost&) = delete;
    ~BusApplicationHost() override;

    Claim claim(std::function<void()> onActivate) override;

  private:
    class RemoteObject;

    std::unique_ptr<RemoteObject> object;
};

} // namespace nocta
