#include "Platform/DBus/LoginSystemEvents.h"

#include "Platform/Bus/BusNames.h"
#include "Platform/Bus/SignalReceiver.h"
#include "Platform/DBus/SystemBusConnection.h"
#include "Platform/SuspendMeter.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QVariantMap>

namespace nocta {

namespace {

const QString loginName = QStringLiteral("org.freedesktop.login1");
const QString loginPath = QStringLiteral("/org/freedesktop/login1");
const QString loginInterface = QStringLiteral("org.freedesktop.login1.Manager");
const QString sessionInterface = QStringLiteral("org.freedesktop.login1.Session");

} // namespace

/// Listens on the system bus from its creation on. Signals are not checked for their sender: whoever sends one in
/// login1's name has the displays loaded once more, and cannot make a suspend longer than the clocks say.
class LoginSystemEvents::Listener {
  public:
    explicit Listener(const LoginSystemEvents& owner) : owner(owner) {
        systemBus.open([this] {
            if (systemBus.isOpen()) {
                listen();
            }
        });
    }

  private:
    void listen() {
        sleeps.listen(systemBus.bus(), loginPath, loginInterface, QStringLiteral("PrepareForSleep"));
        auto call = QDBusMessage::createMethodCall(loginName, loginPath, loginInterface, QStringLiteral("GetSession"));
        call << qEnvironmentVariable("XDG_SESSION_ID", QStringLiteral("auto"));
        auto* watcher = new QDBusPendingCallWatcher(systemBus.bus().asyncCall(call), &context);
        QObject::connect(watcher, &QDBusPendingCallWatcher::finished, &context, [this, watcher] {
            watcher->deleteLater();
            const QDBusMessage answer = watcher->reply();
            if (answer.type() == QDBusMessage::ReplyMessage && answer.signature() == QStringLiteral("o")) {
                sessionChanges.listen(systemBus.bus(), answer.arguments().constFirst().value<QDBusObjectPath>().path(),
                                      propertiesInterface, QStringLiteral("PropertiesChanged"));
            }
        });
    }

    void prepareForSleep(const QDBusMessage& message) {
        if (message.signature() != QStringLiteral("b") || message.arguments().constFirst().toBool()) {
            return; // about to sleep
        }
        const Seconds asleep = suspendMeter.take();
        if (owner.delegate != nullptr) {
            owner.delegate->systemDidWake(asleep);
        }
    }

    void sessionDidChange(const QDBusMessage& message) {
        if (message.signature() != QStringLiteral("sa{sv}as") || message.arguments().constFirst() != sessionInterface) {
            return;
        }
        const auto changed = qdbus_cast<QVariantMap>(message.arguments().at(1));
        if (changed.value(QStringLiteral("Active")).toBool() && owner.delegate != nullptr) {
            owner.delegate->sessionDidBecomeActive();
        }
    }

    const LoginSystemEvents& owner;
    SuspendMeter suspendMeter;
    SystemBusConnection systemBus;
    SignalReceiver sleeps{[this](const QDBusMessage& message) { prepareForSleep(message); }};
    SignalReceiver sessionChanges{[this](const QDBusMessage& message) { sessionDidChange(message); }};
    QObject context; // destroyed first: no answer comes any more
};

LoginSystemEvents::LoginSystemEvents() = default;

LoginSystemEvents::~LoginSystemEvents() = default;

void LoginSystemEvents::setDelegate(SystemEventsDelegate* newDelegate) {
    delegate = newDelegate;
    if (delegate != nullptr && !listener) {
        listener = std::make_unique<Listener>(*this);
    }
}

} // namespace nocta
