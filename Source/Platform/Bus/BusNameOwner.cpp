#include "Platform/Bus/BusNameOwner.h"

#include "Platform/Bus/SessionBusName.h"

#include <utility>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusReply>

namespace nocta {

namespace {

QDBusMessage question(const QString& member, const QString& name) {
    auto message =
        QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
                                       QStringLiteral("org.freedesktop.DBus"), member);
    message << name;
    return message;
}

} // namespace

BusNameOwner::BusNameOwner(const QString& name, std::function<void()> onChange) : onChange(std::move(onChange)) {
    if (!isSessionBusNamed()) {
        return;
    }
    auto bus = QDBusConnection::sessionBus();
    watcher.setConnection(bus);
    watcher.setWatchMode(QDBusServiceWatcher::WatchForOwnerChange);
    watcher.addWatchedService(name);
    QObject::connect(
        &watcher, &QDBusServiceWatcher::serviceOwnerChanged, &context,
        [this](const QString& /*service*/, const QString& /*old*/, const QString& newOwner) { become(newOwner); });
    auto* const answer =
        new QDBusPendingCallWatcher(bus.asyncCall(question(QStringLiteral("GetNameOwner"), name)), &context);
    QObject::connect(answer, &QDBusPendingCallWatcher::finished, &context, [this, answer] {
        answer->deleteLater();
        const QDBusPendingReply<QString> reply = *answer;
        // A change that came before is newer than the answer.
        if (!isKnown && !reply.isError()) {
            become(reply.value());
        }
    });
}

BusNameOwner::~BusNameOwner() = default;

QString BusNameOwner::find(const QString& name) {
    if (!isSessionBusNamed()) {
        return {};
    }
    constexpr int patience = 1000; // milliseconds
    const QDBusReply<QString> reply =
        QDBusConnection::sessionBus().call(question(QStringLiteral("GetNameOwner"), name), QDBus::Block, patience);
    return reply.isValid() ? reply.value() : QString();
}

void BusNameOwner::become(const QString& newOwner) {
    isKnown = true;
    owner = newOwner;
    onChange();
}

} // namespace nocta
