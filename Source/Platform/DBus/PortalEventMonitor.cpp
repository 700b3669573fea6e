#include "Platform/DBus/PortalEventMonitor.h"

#include "Platform/Bus/SessionBusName.h"
#include "Platform/Bus/SignalReceiver.h"
#include "Platform/DBus/PortalNames.h"
#include "Platform/KeyMonitors.h"

#include <utility>

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusServiceWatcher>
#include <QGuiApplication>
#include <QList>
#include <QVariantMap>

namespace nocta {

namespace {

const QString shortcutsInterface = QStringLiteral("org.freedesktop.portal.GlobalShortcuts");
const QString requestInterface = QStringLiteral("org.freedesktop.portal.Request");
const QString sessionInterface = QStringLiteral("org.freedesktop.portal.Session");
const QString shortcutName = QStringLiteral("cycle-preset");

QDBusMessage method(const QString& name) {
    return QDBusMessage::createMethodCall(portalName, portalPath, shortcutsInterface, name);
}

/// A shortcut as the portal takes it.
struct PortalShortcut {
    QString name;
    QVariantMap properties;
};

QDBusArgument& operator<<(QDBusArgument& argument, const PortalShortcut& shortcut) {
    argument.beginStructure();
    argument << shortcut.name << shortcut.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, PortalShortcut& shortcut) {
    argument.beginStructure();
    argument >> shortcut.name >> shortcut.properties;
    argument.endStructure();
    return argument;
}

} // namespace

class PortalEventMonitor::Shortcut {
  public:
    Shortcut() {
        qDBusRegisterMetaType<PortalShortcut>();
        qDBusRegisterMetaType<QList<PortalShortcut>>();
    }

    KeyMonitors monitors{[this] { begin(); }, [this] { end(); }};

  private:
    void begin() {
        if (!isSessionBusNamed()) {
            return;
        }
        auto bus = QDBusConnection::sessionBus();
        activations.listen(bus, portalPath, shortcutsInterface, QStringLiteral("Activated"));
        watcher.setConnection(bus);
        watcher.addWatchedService(portalName);
        QObject::connect(&watcher, &QDBusServiceWatcher::serviceRegistered, &context, [this] { createSession(); });
        createSession();
    }

    void end() {
        auto bus = QDBusConnection::sessionBus();
        watcher.disconnect(&context);
        activations.ignore(bus, portalPath, shortcutsInterface, QStringLiteral("Activated"));
        forgetRequest();
        if (!session.isEmpty()) {
            bus.send(QDBusMessage::createMethodCall(portalName, session, sessionInterface, QStringLiteral("Close")));
        }
        session.clear();
    }

    void createSession() {
        session.clear();
        auto call = method(QStringLiteral("CreateSession"));
        auto options = newRequest();
        options[QStringLiteral("session_handle_token")] = token();
        call << options;
        QDBusConnection::sessionBus().send(call);
    }

    void bind() {
        auto call = method(QStringLiteral("BindShortcuts"));
        const QList<PortalShortcut> shortcuts{
            {.name = shortcutName,
             .properties = {{QStringLiteral("description"), QStringLiteral("Next preset")},
                            {QStringLiteral("preferred_trigger"), QStringLiteral("LOGO+SHIFT+i")}}}};
        const QString noWindow;
        call << QVariant::fromValue(QDBusObjectPath(session)) << QVariant::fromValue(shortcuts) << noWindow
             << newRequest();
        QDBusConnection::sessionBus().send(call);
    }

    /// Listens to the answer before it is asked for.
    QVariantMap newRequest() {
        forgetRequest();
        ++requestCount;
        auto bus = QDBusConnection::sessionBus();
        auto sender = bus.baseService().mid(1);
        request = portalPath + QStringLiteral("/request/") + sender.replace(QLatin1Char('.'), QLatin1Char('_')) +
                  QLatin1Char('/') + token();
        responses.listen(bus, request, requestInterface, QStringLiteral("Response"));
        return {{QStringLiteral("handle_token"), token()}};
    }

    void forgetRequest() {
        if (!request.isEmpty()) {
            auto bus = QDBusConnection::sessionBus();
            responses.ignore(bus, request, requestInterface, QStringLiteral("Response"));
        }
        request.clear();
    }

    [[nodiscard]] QString token() const { return QStringLiteral("nocta%1").arg(requestCount); }

    void handleResponse(const QDBusMessage& message) {
        constexpr uint success = 0;
        if (message.signature() != QStringLiteral("ua{sv}") || message.path() != request) {
            return;
        }
        forgetRequest();
        const bool hasSession = !session.isEmpty();
        if (message.arguments().constFirst().toUInt() != success || hasSession) {
            return;
        }
        const auto results = qdbus_cast<QVariantMap>(message.arguments().at(1));
        session = results.value(QStringLiteral("session_handle")).toString();
        if (!session.isEmpty()) {
            bind();
        }
    }

    void handleActivation(const QDBusMessage& message) const {
        // What is typed into our own windows is nobody's business here.
        if (message.signature() != QStringLiteral("osta{sv}") || QGuiApplication::focusWindow() != nullptr) {
            return;
        }
        const auto arguments = message.arguments();
        if (!session.isEmpty() && arguments.at(0).value<QDBusObjectPath>().path() == session &&
            arguments.at(1).toString() == shortcutName) {
            monitors.report({.modifierFlags = modifier::command | modifier::shift, .keyCode = keycode::i});
        }
    }

    QString request; ///< the one that has no answer yet
    QString session; ///< with the portal that runs now, once it has one for us
    int requestCount = 0;
    SignalReceiver responses{[this](const QDBusMessage& message) { handleResponse(message); }};
    SignalReceiver activations{[this](const QDBusMessage& message) { handleActivation(message); }};
    QDBusServiceWatcher watcher;
    QObject context;
};

PortalEventMonitor::PortalEventMonitor() : shortcut(std::make_unique<Shortcut>()) {}

PortalEventMonitor::~PortalEventMonitor() = default;

bool PortalEventMonitor::isAvailable() const {
    if (!isSessionBusNamed()) {
        return false;
    }
    const auto* const bus = QDBusConnection::sessionBus().interface();
    return bus != nullptr && (bus->isServiceRegistered(portalName).value() ||
                              bus->activatableServiceNames().value().contains(portalName));
}

std::unique_ptr<EventMonitorToken>
PortalEventMonitor::addGlobalKeyDownMonitor(std::function<void(const KeyEvent&)> handler) {
    return shortcut->monitors.add(std::move(handler));
}

std::unique_ptr<EventMonitorToken> PortalEventMonitor::addGlobalMouseDownMonitor(std::function<void()> /*handler*/) {
    return std::make_unique<EventMonitorToken>();
}

} // namespace nocta
