#include "Platform/DBus/BusApplicationHost.h"

#include "Platform/Bus/SessionBusName.h"

#include <algorithm>
#include <array>
#include <utility>

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QPointer>

namespace nocta {

namespace {

const QString noctaName = QStringLiteral("org.nocta.Nocta");
const QString noctaPath = QStringLiteral("/org/nocta/Nocta");
const QString applicationInterface = QStringLiteral("org.freedesktop.Application");
const QString introspectableInterface = QStringLiteral("org.freedesktop.DBus.Introspectable");

/// How long the running program may take to answer.
constexpr int activationTimeoutMilliseconds = 1000;

/// Asks the running program to come to the front; whether it answered.
bool activateOther(const QDBusConnection& bus) {
    QVariantMap platformData;
    if (qEnvironmentVariableIsSet("XDG_ACTIVATION_TOKEN")) {
        platformData[QStringLiteral("activation-token")] = qEnvironmentVariable("XDG_ACTIVATION_TOKEN");
    }
    if (qEnvironmentVariableIsSet("DESKTOP_STARTUP_ID")) {
        platformData[QStringLiteral("desktop-startup-id")] = qEnvironmentVariable("DESKTOP_STARTUP_ID");
    }
    auto call = QDBusMessage::createMethodCall(noctaName, noctaPath, applicationInterface, QStringLiteral("Activate"));
    call << platformData;
    return bus.call(call, QDBus::Block, activationTimeoutMilliseconds).type() == QDBusMessage::ReplyMessage;
}

} // namespace

/// Answers the calls of the bus. Written out rather than generated: the interface is three methods.
class BusApplicationHost::RemoteObject final : public QDBusVirtualObject {
  public:
    explicit RemoteObject(std::function<void()> onActivate) : onActivate(std::move(onActivate)) {}

    /// Who answers what this does not.
    QPointer<QDBusVirtualObject> other;

    [[nodiscard]] QString introspect(const QString& path) const override {
        if (path != noctaPath) {
            return {};
        }
        const auto own = QStringLiteral(R"(<interface name="org.freedesktop.Application">
    <method name="Activate">
      <arg name="platform_data" type="a{sv}" direction="in"/>
    </method>
    <method name="Open">
      <arg name="uris" type="as" direction="in"/>
      <arg name="platform_data" type="a{sv}" direction="in"/>
    </method>
    <method name="ActivateAction">
      <arg name="action_name" type="s" direction="in"/>
      <arg name="parameter" type="av" direction="in"/>
      <arg name="platform_data" type="a{sv}" direction="in"/>
    </method>
  </interface>
)");
        return other != nullptr ? own + other->introspect(path) : own;
    }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        if (message.path() != noctaPath) {
            return false;
        }
        if (message.interface() == introspectableInterface) {
            return false; // the library answers it with `introspect`
        }
        if (message.interface() != applicationInterface && other != nullptr &&
            other->handleMessage(message, connection)) {
            return true;
        }
        const auto* const method = std::ranges::find(methods, message.member(), &Method::name);
        if (message.interface() != applicationInterface || method == methods.end()) {
            // The library would say that there is no such object.
            connection.send(message.createErrorReply(
                QDBusError::UnknownMethod,
                QStringLiteral("\"%1\" has no method \"%2\" here").arg(message.interface(), message.member())));
            return true;
        }
        if (message.signature() != method->signature) {
            connection.send(message.createErrorReply(
                QDBusError::InvalidArgs, QStringLiteral("%1 takes \"%2\"").arg(method->name, method->signature)));
            return true;
        }
        if (method->name == QStringLiteral("ActivateAction")) {
            connection.send(message.createErrorReply(
                QDBusError::InvalidArgs,
                QStringLiteral("There is no action \"%1\"").arg(message.arguments().constFirst().toString())));
            return true;
        }
        // Whatever files a desktop has Nocta open: they mean nothing to it, but the person wants to see it.
        connection.send(message.createReply());
        onActivate();
        return true;
    }

  private:
    struct Method {
        QString name;
        QString signature;
    };
    inline static const std::array methods{Method{QStringLiteral("Activate"), QStringLiteral("a{sv}")},
                                           Method{QStringLiteral("Open"), QStringLiteral("asa{sv}")},
                                           Method{QStringLiteral("ActivateAction"), QStringLiteral("sava{sv}")}};

    std::function<void()> onActivate;
};

BusApplicationHost::BusApplicationHost() = default;

BusApplicationHost::~BusApplicationHost() {
    if (object) {
        auto bus = QDBusConnection::sessionBus();
        bus.unregisterService(noctaName);
        bus.unregisterObject(noctaPath, QDBusConnection::UnregisterTree);
    }
}

ApplicationHost::Claim BusApplicationHost::claim(std::function<void()> onActivate) {
    if (!isSessionBusNamed()) {
        return Claim::unavailable;
    }
    auto bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        return Claim::unavailable;
    }
    // The object first: whoever sees the name may call at once.
    object = std::make_unique<RemoteObject>(std::move(onActivate));
    bus.registerVirtualObject(noctaPath, object.get(), QDBusConnection::SubPath);
    // Twice: an owner that ends while it is being asked leaves the name to us.
    for (int attempt = 0; attempt < 2; ++attempt) {
        const auto registration = bus.interface()->registerService(
            noctaName, QDBusConnectionInterface::DontQueueService, QDBusConnectionInterface::DontAllowReplacement);
        if (!registration.isValid()) {
            return Claim::unavailable;
        }
        if (registration.value() == QDBusConnectionInterface::ServiceRegistered) {
            return Claim::primary;
        }
        if (activateOther(bus)) {
            return Claim::forwarded;
        }
    }
    return Claim::unanswered;
}

QDBusConnection BusApplicationHost::connection() const {
    return object ? QDBusConnection::sessionBus() : QDBusConnection(QString());
}

void BusApplicationHost::serve(QDBusVirtualObject& other) {
    if (object) {
        object->other = &other;
    }
}

} // namespace nocta
