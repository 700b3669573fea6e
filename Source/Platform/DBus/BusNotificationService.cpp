#include "Platform/DBus/BusNotificationService.h"

#include "Platform/Bus/SessionBusName.h"
#include "Platform/RunLoop.h"

#include <utility>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

namespace nocta {

namespace {

const QString applicationName = QStringLiteral("Nocta");
const QString applicationId = QStringLiteral("org.nocta.Nocta");

QDBusMessage method(const QString& name) {
    return QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.Notifications"),
                                          QStringLiteral("/org/freedesktop/Notifications"),
                                          QStringLiteral("org.freedesktop.Notifications"), name);
}

/// `hasMarkup`: whether the body is read as markup; the title never is.
QDBusMessage notify(const NotificationRequest& request, bool hasMarkup) {
    constexpr uint replacesNone = 0;
    constexpr int usualTime = -1;
    const QString title = QString::fromStdString(request.title);
    const QString body = QString::fromStdString(request.body);
    const QVariantMap hints{{QStringLiteral("desktop-entry"), applicationId}};
    auto message = method(QStringLiteral("Notify"));
    message << applicationName << replacesNone << applicationId << title << (hasMarkup ? body.toHtmlEscaped() : body)
            << QStringList() << hints << usualTime;
    return message;
}

} // namespace

BusNotificationService::BusNotificationService(RunLoop& loop) : loop(loop), context(std::make_unique<QObject>()) {}

BusNotificationService::~BusNotificationService() = default;

void BusNotificationService::requestAuthorization(std::uint32_t /*options*/,
                                                  std::function<void(bool granted)> completion) {
    loop.async([completion = std::move(completion)] { completion(true); });
}

void BusNotificationService::add(const NotificationRequest& request) {
    if (!isSessionBusNamed()) {
        return;
    }
    auto bus = QDBusConnection::sessionBus();
    auto* answer = new QDBusPendingCallWatcher(bus.asyncCall(method(QStringLiteral("GetCapabilities"))), context.get());
    QObject::connect(answer, &QDBusPendingCallWatcher::finished, context.get(), [answer, bus, request] {
        answer->deleteLater();
        const QDBusPendingReply<QStringList> capabilities = *answer;
        if (!capabilities.isError()) {
            bus.send(notify(request, capabilities.value().contains(QStringLiteral("body-markup"))));
        }
    });
}

} // namespace nocta
