#pragma once

#include "Platform/DBus/BusGreeting.h"

#include <functional>
#include <memory>

#include <QDBusConnection>
#include <QObject>
#include <QString>

class QThread;

namespace nocta {

/// Its owner's own connection to the system bus. Main thread only.
class SystemBusConnection {
  public:
    SystemBusConnection();
    SystemBusConnection(const SystemBusConnection&) = delete;
    SystemBusConnection& operator=(const SystemBusConnection&) = delete;
    /// Ends the connection.
    ~SystemBusConnection();

    /// Connects unless that is done, or is being done. Calls back once it is settled, from the event loop or, with a
    /// connection already there, at once; what was to be called by an earlier `open` is dropped. A bus that hangs is
    /// not waited for: the answer comes late or never.
    void open(std::function<void()> onSettled);
    [[nodiscard]] bool isOpen() const { return connection.isConnected(); }
    /// The connection; one that is not connected unless `isOpen`.
    [[nodiscard]] QDBusConnection& bus() { return connection; }

  private:
    void connect();
    void settle();

    QString name;
    QDBusConnection connection{QString()};
    std::unique_ptr<BusGreeting> greeting; ///< until the bus has answered it
    std::unique_ptr<QThread> connecting;   ///< from then on until it is settled
    std::function<void()> onSettled;
    QObject context; // destroyed first: nothing settles any more
};

} // namespace nocta
