#include "Platform/Mutter/DisplayConfig.h"

#include "Platform/Bus/SessionBusName.h"

#include <utility>

#include <QDBusArgument>
#include <QDBusPendingCallWatcher>
#include <QList>
#include <QVariant>
#include <QVariantMap>

namespace nocta {

namespace {

using std::chrono::milliseconds;

const QString serviceName = QStringLiteral("org.gnome.Mutter.DisplayConfig");
const QString objectPath = QStringLiteral("/org/gnome/Mutter/DisplayConfig");
const QString displayInterface = serviceName;
const QString busName = QStringLiteral("org.freedesktop.DBus");

/// For calls that nobody waits for.
constexpr int answerTimeoutMilliseconds = 10000;

QDBusMessage makeCall(const char* method, const QVariantList& arguments = {}) {
    auto call = QDBusMessage::createMethodCall(serviceName, objectPath, displayInterface, QString::fromLatin1(method));
    call.setArguments(arguments);
    call.setAutoStartService(false);
    return call;
}

QDBusMessage makeBusCall(const char* method, const QVariantList& arguments = {}) {
    auto call = QDBusMessage::createMethodCall(busName, QStringLiteral("/org/freedesktop/DBus"), busName,
                                               QString::fromLatin1(method));
    call.setArguments(arguments);
    return call;
}

QDBusMessage makeSetCall(std::uint32_t serial, std::uint32_t crtc, const DisplayConfig::Ramps& ramps) {
    const auto size = static_cast<std::ptrdiff_t>(ramps.size() / 3);
    QVariantList arguments{serial, crtc};
    for (auto channel = ramps.begin(); channel != ramps.end(); channel += size) {
        arguments.append(QVariant::fromValue(QList<ushort>(channel, channel + size)));
    }
    return makeCall("SetCrtcGamma", arguments);
}

bool isAnswer(const QDBusMessage& message, const char* signature) {
    return message.type() == QDBusMessage::ReplyMessage && message.signature() == QLatin1String(signature);
}

DisplayConfig::Outcome outcomeOf(const QDBusMessage& message) {
    if (message.type() == QDBusMessage::ReplyMessage) {
        return DisplayConfig::Outcome::done;
    }
    switch (QDBusError(message).type()) {
    case QDBusError::Disconnected:
    case QDBusError::NoReply:
    case QDBusError::ServiceUnknown:
    case QDBusError::TimedOut:
    case QDBusError::Timeout:
        return DisplayConfig::Outcome::unanswered;
    default:
        return DisplayConfig::Outcome::refused;
    }
}

std::vector<DisplayConfig::Crtc> crtcsOf(const QDBusArgument& list) {
    std::vector<DisplayConfig::Crtc> crtcs;
    list.beginArray();
    while (!list.atEnd()) {
        DisplayConfig::Crtc crtc;
        qlonglong systemId = 0;
        int x = 0;
        int y = 0;
        int width = 0;
        int height = 0;
        int mode = -1;
        list.beginStructure();
        list >> crtc.id >> systemId >> x >> y >> width >> height >> mode; // transforms and properties follow
        list.endStructure();
        crtc.isActive = mode >= 0;
        crtcs.push_back(std::move(crtc));
    }
    list.endArray();
    return crtcs;
}

/// Gives each CRTC the names of its outputs; one without an output shows nothing.
void connect(std::vector<DisplayConfig::Crtc>& crtcs, const QDBusArgument& outputs) {
    outputs.beginArray();
    while (!outputs.atEnd()) {
        uint id = 0;
        qlonglong systemId = 0;
        int current = -1;
        QList<uint> possible;
        QString name;
        outputs.beginStructure();
        outputs >> id >> systemId >> current >> possible >> name; // modes, clones and properties follow
        outputs.endStructure();
        for (auto& crtc : crtcs) {
            if (current >= 0 && crtc.id == static_cast<std::uint32_t>(current)) {
                crtc.name.append(crtc.name.empty() ? "" : "+").append(name.toStdString());
            }
        }
    }
    outputs.endArray();
    for (auto& crtc : crtcs) {
        crtc.isActive &= !crtc.name.empty();
    }
}

std::optional<DisplayConfig::Resources> resourcesOf(const QDBusMessage& message) {
    if (!isAnswer(message, "ua(uxiiiiiuaua{sv})a(uxiausauaua{sv})a(uxuudu)ii")) {
        return std::nullopt;
    }
    const auto arguments = message.arguments();
    DisplayConfig::Resources resources;
    resources.serial = arguments.at(0).toUInt();
    resources.crtcs = crtcsOf(arguments.at(1).value<QDBusArgument>());
    connect(resources.crtcs, arguments.at(2).value<QDBusArgument>());
    return resources;
}

std::optional<DisplayConfig::Ramps> rampsOf(const QDBusMessage& message) {
    if (!isAnswer(message, "aqaqaq")) {
        return std::nullopt;
    }
    const auto arguments = message.arguments();
    const auto red = qdbus_cast<QList<ushort>>(arguments.at(0));
    DisplayConfig::Ramps ramps;
    for (const auto& argument : arguments) {
        const auto channel = qdbus_cast<QList<ushort>>(argument);
        if (channel.size() != red.size()) {
            return std::nullopt;
        }
        ramps.insert(ramps.end(), channel.begin(), channel.end());
    }
    return ramps;
}

} // namespace

DisplayConfig::DisplayConfig(std::function<void()> onChange, std::function<void(const std::string&)> onNewSession)
    : bus(isSessionBusNamed() ? QDBusConnection::sessionBus() : QDBusConnection(QString())) {
    if (!bus.isConnected()) {
        return;
    }
    changes.setSingleShot(true);
    QObject::connect(&changes, &QTimer::timeout, &context, std::move(onChange));
    // From whoever sends it: to name the sender would have the library wait for who that is.
    bus.connect(QString(), objectPath, displayInterface, QStringLiteral("MonitorsChanged"), &changes, SLOT(start()));
    owners.setConnection(bus);
    owners.addWatchedService(serviceName);
    QObject::connect(&owners, &QDBusServiceWatcher::serviceOwnerChanged, &context,
                     [this, onNewSession = std::move(onNewSession)](
                         const QString& /*service*/, const QString& /*oldOwner*/, const QString& newOwner) {
                         if (!newOwner.isEmpty()) {
                             onNewSession(busId + newOwner.toStdString());
                         }
                     });
}

std::optional<DisplayConfig::Resources> DisplayConfig::resources(milliseconds patience) const {
    return resourcesOf(bus.call(makeCall("GetResources"), QDBus::Block, static_cast<int>(patience.count())));
}

void DisplayConfig::askResources(std::function<void(std::optional<Resources>)> onAnswer) {
    ask(makeCall("GetResources"),
        [onAnswer = std::move(onAnswer)](const QDBusMessage& answer) { onAnswer(resourcesOf(answer)); });
}

std::optional<DisplayConfig::Ramps> DisplayConfig::ramps(std::uint32_t serial, std::uint32_t crtc,
                                                         milliseconds patience) const {
    return rampsOf(
        bus.call(makeCall("GetCrtcGamma", {serial, crtc}), QDBus::Block, static_cast<int>(patience.count())));
}

void DisplayConfig::askRamps(std::uint32_t serial, std::uint32_t crtc, std::function<void(Outcome, Ramps)> onAnswer) {
    ask(makeCall("GetCrtcGamma", {serial, crtc}), [onAnswer = std::move(onAnswer)](const QDBusMessage& answer) {
        auto ramps = rampsOf(answer);
        const auto outcome = outcomeOf(answer);
        onAnswer(ramps || outcome != Outcome::done ? outcome : Outcome::refused, std::move(ramps).value_or(Ramps()));
    });
}

DisplayConfig::Outcome DisplayConfig::setRamps(std::uint32_t serial, std::uint32_t crtc, const Ramps& ramps,
                                               milliseconds patience) const {
    return outcomeOf(bus.call(makeSetCall(serial, crtc, ramps), QDBus::Block, static_cast<int>(patience.count())));
}

void DisplayConfig::sendRamps(std::uint32_t serial, std::uint32_t crtc, const Ramps& ramps,
                              std::function<void(Outcome)> onAnswer) {
    ask(makeSetCall(serial, crtc, ramps),
        [onAnswer = std::move(onAnswer)](const QDBusMessage& answer) { onAnswer(outcomeOf(answer)); });
}

std::optional<std::string> DisplayConfig::sessionName(milliseconds patience) {
    const auto timeout = static_cast<int>(patience.count());
    const auto id = bus.call(makeBusCall("GetId"), QDBus::Block, timeout);
    const auto owner = bus.call(makeBusCall("GetNameOwner", {serviceName}), QDBus::Block, timeout);
    if (!isAnswer(id, "s") || !isAnswer(owner, "s")) {
        return std::nullopt;
    }
    busId = id.arguments().at(0).toString().toStdString();
    return busId + owner.arguments().at(0).toString().toStdString();
}

std::string DisplayConfig::clientName() const {
    return bus.baseService().toStdString();
}

bool DisplayConfig::isConnected(const std::string& clientName, milliseconds patience) const {
    const auto answer = bus.call(makeBusCall("NameHasOwner", {QString::fromStdString(clientName)}), QDBus::Block,
                                 static_cast<int>(patience.count()));
    return isAnswer(answer, "b") && answer.arguments().at(0).toBool();
}

void DisplayConfig::ask(const QDBusMessage& call, std::function<void(const QDBusMessage&)> onAnswer) {
    auto* answer = new QDBusPendingCallWatcher(bus.asyncCall(call, answerTimeoutMilliseconds), &context);
    QObject::connect(answer, &QDBusPendingCallWatcher::finished, &context, [answer, onAnswer = std::move(onAnswer)] {
        answer->deleteLater();
        onAnswer(answer->reply());
    });
}

} // namespace nocta
