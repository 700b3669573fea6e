#pragma once

#include "Platform/ApplicationHost.h"

#include <memory>

class QDBusConnection;
class QDBusVirtualObject;

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

    /// The bus that the claim was made on; one that is not connected where there is none.
    [[nodiscard]] QDBusConnection connection() const;
    /// Has `other` answer, at the same path, the calls of all other interfaces, for as long as it lives.
    void serve(QDBusVirtualObject& other);

  private:
    class RemoteObject;

    std::unique_ptr<RemoteObject> object;
};

} // namespace nocta
