#include "Platform/DBus/SystemBusConnection.h"

#include <utility>

#include <QThread>

namespace nocta {

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
    QDBusConnection::disconnectFromBus(name); // what is left of a bus that has gone
    static int count = 0;
    name = QStringLiteral("nocta-system-bus-%1").arg(++count);
    // On a thread of its own, since the library waits for the bus's greeting.
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
