#include "Platform/DBus/PortalAppearance.h"

#include "Platform/Bus/SessionBusName.h"
#include "Platform/Bus/SignalReceiver.h"
#include "Platform/DBus/PortalNames.h"

#include <map>
#include <utility>

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QMap>
#include <QStringList>
#include <QVariantMap>

namespace nocta {

namespace {

const QString settingsInterface = QStringLiteral("org.freedesktop.portal.Settings");

const QString portalNamespace = QStringLiteral("org.freedesktop.appearance");
const QString gnomeNamespace = QStringLiteral("org.gnome.desktop.interface");
const QString kdeNamespace = QStringLiteral("org.kde.kdeglobals.KDE");

/// A namespace and a key.
using SettingName = std::pair<QString, QString>;

const SettingName colorSchemeName{portalNamespace, QStringLiteral("color-scheme")};
const SettingName reducedMotionName{portalNamespace, QStringLiteral("reduced-motion")};
const SettingName animationsName{gnomeNamespace, QStringLiteral("enable-animations")};
const SettingName animationFactorName{kdeNamespace, QStringLiteral("AnimationDurationFactor")};

} // namespace

class PortalAppearance::Settings {
  public:
    Settings() {
        if (!isSessionBusNamed()) {
            return;
        }
        auto bus = QDBusConnection::sessionBus();
        changes.listen(bus, portalPath, settingsInterface, QStringLiteral("SettingChanged"));
        watcher.setConnection(bus);
        watcher.addWatchedService(portalName);
        QObject::connect(&watcher, &QDBusServiceWatcher::serviceRegistered, &context, [this, bus] { read(bus); });
        read(bus);
    }

    [[nodiscard]] QVariant value(const SettingName& name) const {
        const auto found = values.find(name);
        return found == values.end() ? QVariant() : found->second;
    }

    /// By the observer that has registered them.
    std::map<const void*, std::function<void()>> handlers;

  private:
    /// Asks for everything at once: the portal leaves out what it does not know.
    void read(const QDBusConnection& bus) {
        auto call =
            QDBusMessage::createMethodCall(portalName, portalPath, settingsInterface, QStringLiteral("ReadAll"));
        call << QStringList{portalNamespace, gnomeNamespace, kdeNamespace};
        auto* answer = new QDBusPendingCallWatcher(bus.asyncCall(call), &context);
        QObject::connect(answer, &QDBusPendingCallWatcher::finished, &context, [this, answer] {
            answer->deleteLater();
            const QDBusMessage reply = answer->reply();
            if (reply.type() == QDBusMessage::ReplyMessage && reply.signature() == QStringLiteral("a{sa{sv}}")) {
                take(qdbus_cast<QMap<QString, QVariantMap>>(reply.arguments().constFirst()));
            }
        });
    }

    void take(const QMap<QString, QVariantMap>& all) {
        std::map<SettingName, QVariant> read;
        for (const auto& name : {colorSchemeName, reducedMotionName, animationsName, animationFactorName}) {
            if (const auto value = all.value(name.first).value(name.second); value.isValid()) {
                read[name] = value;
            }
        }
        become(std::move(read));
    }

    void settingDidChange(const QDBusMessage& message) {
        if (message.signature() != QStringLiteral("ssv")) {
            return;
        }
        const SettingName name{message.arguments().at(0).toString(), message.arguments().at(1).toString()};
        if (name != colorSchemeName && name != reducedMotionName && name != animationsName &&
            name != animationFactorName) {
            return;
        }
        auto changed = values;
        changed[name] = message.arguments().at(2).value<QDBusVariant>().variant();
        become(std::move(changed));
    }

    void become(std::map<SettingName, QVariant> newValues) {
        if (std::exchange(values, std::move(newValues)) == values) {
            return;
        }
        const auto present = handlers;
        for (const auto& [observer, handler] : present) {
            if (handlers.contains(observer)) {
                handler();
            }
        }
    }

    std::map<SettingName, QVariant> values;
    SignalReceiver changes{[this](const QDBusMessage& message) { settingDidChange(message); }};
    QDBusServiceWatcher watcher;
    QObject context; // destroyed first: no answer comes any more
};

class PortalAppearance::Observer final : public AppearanceObserver {
  public:
    Observer(Settings& settings, std::function<void()> handler) : settings(settings) {
        settings.handlers.emplace(this, std::move(handler));
    }
    Observer(const Observer&) = delete;
    Observer& operator=(const Observer&) = delete;
    ~Observer() override { settings.handlers.erase(this); }

  private:
    Settings& settings;
};

PortalAppearance::PortalAppearance() : settings(std::make_unique<Settings>()) {}

PortalAppearance::~PortalAppearance() = default;

std::optional<ColorScheme> PortalAppearance::colorScheme() const {
    // 0, and what later versions may add, is no preference.
    switch (settings->value(colorSchemeName).toUInt()) {
    case 1:
        return ColorScheme::dark;
    case 2:
        return ColorScheme::light;
    default:
        return std::nullopt;
    }
}

bool PortalAppearance::reducesMotion() const {
    const auto animations = settings->value(animationsName);
    const auto factor = settings->value(animationFactorName);
    bool isNumber = false;
    const bool isZero = factor.toString().toDouble(&isNumber) == 0 && isNumber;
    return settings->value(reducedMotionName).toUInt() == 1 || (animations.isValid() && !animations.toBool()) || isZero;
}

std::unique_ptr<AppearanceObserver> PortalAppearance::observe(std::function<void()> handler) {
    return std::make_unique<Observer>(*settings, std::move(handler));
}

} // namespace nocta
