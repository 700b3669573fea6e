#include "Remote/RemoteControl.h"

#include "Core/AppState.h"
#include "Core/BreakEngine.h"
#include "Core/UserActions.h"
#include "Platform/Platform.h"
#include "Remote/RemoteProperty.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include <QDBusArgument>
#include <QDBusError>
#include <QDBusMetaType>
#include <QDBusVariant>

namespace nocta {

namespace {

const QString objectPath = QStringLiteral("/org/nocta/Nocta");
const QString remoteInterface = QStringLiteral("org.nocta.Nocta1");
const QString propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");

QString signatureOf(const QVariant& value) {
    if (value.metaType() == QMetaType::fromType<QDBusArgument>()) {
        return value.value<QDBusArgument>().currentSignature();
    }
    return QString::fromLatin1(QDBusMetaType::typeToSignature(value.metaType()));
}

QDBusMessage failure(const QDBusMessage& message, const RemoteError& error) {
    return message.createErrorReply(error.name, error.text);
}

QDBusMessage failure(const QDBusMessage& message, QDBusError::ErrorType type, const QString& text) {
    return message.createErrorReply(type, text);
}

QDBusMessage wrongArguments(const QDBusMessage& message, const QString& signature) {
    return failure(
        message, QDBusError::InvalidArgs,
        QStringLiteral("%1 takes \"%2\", not \"%3\".").arg(message.member(), signature, message.signature()));
}

} // namespace

struct RemoteControl::Method {
    QString name;
    QStringList arguments; ///< the names of its texts: no method takes anything else
    std::function<std::optional<RemoteError>(const QStringList& arguments)> call;

    [[nodiscard]] QString signature() const { return {arguments.size(), QLatin1Char('s')}; }
};

RemoteControl::RemoteControl(QDBusConnection bus, Actions actions)
    : bus(std::move(bus)), actions(std::move(actions)), methods(makeMethods()) {
    // Nothing is read before the program has launched: the filter comes first.
    announcement = Platform::current().runLoop->oneShot(Seconds(0), [this] {
        subscriptions.push_back(AppState::shared().observeWillChange([this] { announceLater(); }));
        subscriptions.push_back(BreakEngine::shared().observeBreaks([this] { announceLater(); }));
        if (auto* workspace = Platform::current().workspace) {
            frontObserver = workspace->addActivationObserver([this](const RunningApplication&) { announceLater(); });
        }
        announce();
    });
}

RemoteControl::~RemoteControl() = default;

std::vector<RemoteControl::Method> RemoteControl::makeMethods() const {
    const auto name = [](const char* literal) { return QString::fromLatin1(literal); };
    const auto application = name("application");
    const auto preset = name("preset");
    return {
        {name("CyclePreset"),
         {},
         [this](const QStringList&) -> std::optional<RemoteError> {
             actions.cyclePreset();
             return std::nullopt;
         }},
        {name("ChoosePreset"), {preset}, [](const QStringList& texts) { return choosePresetByID(texts[0]); }},
        {name("SetProfile"),
         {application, preset},
         [](const QStringList& texts) { return setProfile(texts[0], texts[1]); }},
        {name("RemoveProfile"), {application}, [](const QStringList& texts) { return removeProfile(texts[0]); }},
        {name("SkipBreak"),
         {},
         [](const QStringList&) -> std::optional<RemoteError> {
             auto& breaks = BreakEngine::shared();
             if (!breaks.isBreakShown()) {
                 return RemoteError{.name = QStringLiteral("org.nocta.Nocta1.Error.NoBreak"),
                                    .text = QStringLiteral("There is no break on the screen.")};
             }
             breaks.skipBreak();
             return std::nullopt;
         }},
        {name("OpenPopover"),
         {},
         [this](const QStringList&) -> std::optional<RemoteError> {
             actions.openPopover();
             return std::nullopt;
         }},
        {name("Quit"),
         {},
         [](const QStringList&) -> std::optional<RemoteError> {
             userActions::quit();
             return std::nullopt;
         }},
    };
}

QString RemoteControl::introspect(const QString& path) const {
    if (path != objectPath) {
        return {};
    }
    QString xml = QStringLiteral("<interface name=\"%1\">\n").arg(remoteInterface);
    for (const auto& method : methods) {
        xml += QStringLiteral("    <method name=\"%1\">\n").arg(method.name);
        for (const auto& argument : method.arguments) {
            xml += QStringLiteral("      <arg name=\"%1\" type=\"s\" direction=\"in\"/>\n").arg(argument);
        }
        xml += QStringLiteral("    </method>\n");
    }
    for (const auto& property : RemoteProperty::all()) {
        const auto access = property.write ? QStringLiteral("readwrite") : QStringLiteral("read");
        xml += QStringLiteral("    <property name=\"%1\" type=\"%2\" access=\"%3\"")
                   .arg(property.name, property.signature, access);
        xml += property.isAnnounced
                   ? QStringLiteral("/>\n")
                   : QStringLiteral(">\n      <annotation name=\"org.freedesktop.DBus.Property.EmitsChangedSignal\" "
                                    "value=\"false\"/>\n    </property>\n");
    }
    return xml + QStringLiteral("  </interface>\n");
}

bool RemoteControl::handleMessage(const QDBusMessage& message, const QDBusConnection& connection) {
    if (message.path() != objectPath) {
        return false;
    }
    const auto reply = answer(message);
    if (reply.type() == QDBusMessage::InvalidMessage) {
        return false;
    }
    if (message.isReplyRequired()) {
        connection.send(reply);
    }
    return true;
}

QDBusMessage RemoteControl::answer(const QDBusMessage& message) const {
    if (message.interface() == propertiesInterface) {
        return answerProperties(message);
    }
    const auto method = std::ranges::find(methods, message.member(), &Method::name);
    if (message.interface() != remoteInterface || method == methods.end()) {
        return {};
    }
    if (message.signature() != method->signature()) {
        return wrongArguments(message, method->signature());
    }
    QStringList texts;
    for (const auto& argument : message.arguments()) {
        texts.append(argument.toString());
    }
    const auto error = method->call(texts);
    return error ? failure(message, *error) : message.createReply();
}

QDBusMessage RemoteControl::answerProperties(const QDBusMessage& message) {
    struct Operation {
        QString name;
        QString signature;
    };
    static const std::array operations{Operation{QStringLiteral("Get"), QStringLiteral("ss")},
                                       Operation{QStringLiteral("GetAll"), QStringLiteral("s")},
                                       Operation{QStringLiteral("Set"), QStringLiteral("ssv")}};
    const auto* const operation = std::ranges::find(operations, message.member(), &Operation::name);
    if (operation == operations.end()) {
        return {};
    }
    if (message.signature() != operation->signature) {
        return wrongArguments(message, operation->signature);
    }
    const auto arguments = message.arguments();
    if (const auto interface = arguments[0].toString(); interface != remoteInterface) {
        return failure(message, QDBusError::UnknownInterface,
                       QStringLiteral("\"%1\" has no properties here: %2 has.").arg(interface, remoteInterface));
    }
    if (operation->name == QStringLiteral("GetAll")) {
        QVariantMap values;
        for (const auto& property : RemoteProperty::all()) {
            values.insert(property.name, property.read());
        }
        return message.createReply(values);
    }
    const auto* property = RemoteProperty::find(arguments[1].toString());
    if (property == nullptr) {
        return failure(message, QDBusError::UnknownProperty,
                       QStringLiteral("There is no property \"%1\".").arg(arguments[1].toString()));
    }
    if (operation->name == QStringLiteral("Get")) {
        return message.createReply(QVariant::fromValue(QDBusVariant(property->read())));
    }
    if (!property->write) {
        return failure(message, QDBusError::PropertyReadOnly,
                       QStringLiteral("%1 can be read only.").arg(property->name));
    }
    const auto value = arguments[2].value<QDBusVariant>().variant();
    if (const auto signature = signatureOf(value); signature != property->signature) {
        return failure(
            message, QDBusError::InvalidArgs,
            QStringLiteral("%1 is of type \"%2\", not \"%3\".").arg(property->name, property->signature, signature));
    }
    const auto error = property->write(value);
    return error ? failure(message, *error) : message.createReply();
}

void RemoteControl::announceLater() {
    // Once a turn: what a call changes is told of together, and before an assignment the old values still stand.
    if (!announcement) {
        announcement = Platform::current().runLoop->oneShot(Seconds(0), [this] { announce(); });
    }
}

void RemoteControl::announce() {
    announcement.reset();
    QVariantMap changed;
    for (const auto& property : RemoteProperty::all()) {
        if (!property.isAnnounced) {
            continue;
        }
        auto value = property.read();
        auto& told = announced[property.name];
        if (told.isValid() && told != value) {
            changed.insert(property.name, value);
        }
        told = std::move(value);
    }
    if (!changed.isEmpty()) {
        auto signal = QDBusMessage::createSignal(objectPath, propertiesInterface, QStringLiteral("PropertiesChanged"));
        signal << remoteInterface << changed << QStringList();
        bus.send(signal);
    }
}

} // namespace nocta
