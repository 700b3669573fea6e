#include "Platform/DBus/SystemBusConnection.h"

#include <utility>

#include <QThread>

namespace nocta {

namespace {

/// Where the library looks for the bus.
QString address() {
    const QString named = qEnvironmentVariable("DBUS_SYSTEM_BUS_ADDRESS");
    return !named.isEmpty() ? named : QStringLiteral("unix:path=/var/run/dbus/system_bus_socket");
}

} // namespace

SystemBusConnection::SystemBusConnection() = default;

SystemBusConnection::~SystemBusConnection() {
    if (connecting) {
        connecting->wait();
    }
    QDBusConnection::disconnectFromBus(name);
}

void SystemBusConnection::open(std::function<void()> newOnSettled) {
    if (isOpen()) {
        newOnSettled();
        return;
    }
    onSettled = std::move(newOnSettled);
    if (connecting) {
        return;
    }
    // One that was greeted in vain, which may have been long ago, is greeted anew.
    greeting = std::make_unique<BusGreeting>(address().toStdString(), [this] { connect(); });
}

void SystemBusConnection::connect() {
    greeting.reset();
    QDBusConnection::disconnectFromBus(name); // what is left of a bus that has gone
    static int count = 0;
    name = QStringLiteral("nocta-system-bus-%1").arg(++count);
    // On a thread of its own, since the library waits for the bus to let it in.
    connecting.reset(
        QThread::create([name = name] { QDBusConnection::connectToBus(QDBusConnection::SystemBus, name); }));
    QObject::connect(connecting.get(), &QThread::finished, &context, [this] { settle(); });
    connecting->start();
}

void SystemBusConnection::settle() {
    connecting->wait();
    connecting.reset();
    connection = QDBusConnection(name);
    std::exchange(onSettled, nullptr)();
}

} // namespace nocta
