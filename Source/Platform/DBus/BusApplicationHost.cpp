#include "Platform/DBus/BusApplicationHost.h"

#include "Platform/DBus/SessionBusName.h"

#include <utility>

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVirtualObject>

namespace nocta {

namespace {

const QString serviceName = QStringLiteral("org.nocta.Nocta");
const QString objectPath = QStringLiteral("/org/nocta/Nocta");
const QString applicationInterface = QStringLiteral("org.freedesktop.Application");

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
    auto call =
        QDBusMessage::createMethodCall(serviceName, objectPath, applicationInterface, QStringLiteral("Activate"));
    call << platformData;
    return bus.call(call, QDBus::Block, activationTimeoutMilliseconds).type() == QDBusMessage::ReplyMessage;
}

} // namespace

/// Answers the calls of the bus. Written out rather than generated: the interface is one method.
class BusApplicationHost::RemoteObject final : public QDBusVirtualObject {
  public:
    explicit RemoteObject(std::function<void()> onActivate) : onActivate(std::move(onActivate)) {}

    [[nodiscard]] QString introspect(const QString& /*path*/) const override {
        return QStringLiteral(R"(<interface name="org.freedesktop.Application">
    <method name="Activate">
      <arg name="platform_data" type="a{sv}" direction="in"/>
    </method>
  </interface>
)");
    }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        if (message.interface() != applicationInterface || message.member() != QStringLiteral("Activate")) {
            return false;
        }
        if (message.signature() != QStringLiteral("a{sv}")) {
            connection.send(message.createErrorReply(QDBusError::InvalidArgs, QStringLiteral("Activate takes a{sv}")));
            return true;
        }
        connection.send(message.createReply());
        onActivate();
        return true;
    }

  private:
    std::function<void()> onActivate;
};

BusApplicationHost::BusApplicationHost() = default;

BusApplicationHost::~BusApplicationHost() {
    if (object) {
        auto bus = QDBusConnection::sessionBus();
        bus.unregisterService(serviceName);
        bus.unregisterObject(objectPath, QDBusConnection::UnregisterTree);
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
    bus.registerVirtualObject(objectPath, object.get(), QDBusConnection::SubPath);
    // Twice: an owner that ends while it is being asked leaves the name to us.
    for (int attempt = 0; attempt < 2; ++attempt) {
        const auto registration = bus.interface()->registerService(
            serviceName, QDBusConnectionInterface::DontQueueService, QDBusConnectionInterface::DontAllowReplacement);
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

} // namespace nocta
