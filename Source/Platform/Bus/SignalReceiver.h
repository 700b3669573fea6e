#pragma once

#include <functional>
#include <utility>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>

namespace nocta {

/// Hands one signal of the bus to a function.
class SignalReceiver final : public QObject {
    Q_OBJECT

  public:
    explicit SignalReceiver(std::function<void(const QDBusMessage&)> function) : function(std::move(function)) {}

    /// Listens to the signal of that object, whoever sends it: to name the sender would have the library wait for who
    /// that is. Whether it is the right one, `QDBusMessage::service` tells.
    void listen(QDBusConnection& bus, const QString& path, const QString& interface, const QString& member) {
        bus.connect(QString(), path, interface, member, this, SLOT(receive(QDBusMessage)));
    }
    /// Ends that.
    void ignore(QDBusConnection& bus, const QString& path, const QString& interface, const QString& member) {
        bus.disconnect(QString(), path, interface, member, this, SLOT(receive(QDBusMessage)));
    }

  private:
    Q_SLOT void receive(const QDBusMessage& message) { function(message); }

    std::function<void(const QDBusMessage&)> function;
};

} // namespace nocta
