#include "Platform/KWin/KGlobalAccelEventMonitor.h"

#include "Platform/Bus/BusNameOwner.h"
#include "Platform/Bus/SignalReceiver.h"

#include <utility>

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QGuiApplication>
#include <QList>
#include <QMetaObject>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVariantList>
#include <Qt>

namespace nocta {

namespace {

const QString serviceName = QStringLiteral("org.kde.kglobalaccel");

const QString componentName = QStringLiteral("org.nocta.Nocta");
const QString actionName = QStringLiteral("next-preset");
/// What KGlobalAccel makes of that component's name.
const QString componentPath = QStringLiteral("/component/org_nocta_Nocta");
const QString componentInterface = QStringLiteral("org.kde.kglobalaccel.Component");

/// Of KGlobalAccel's `setShortcut`.
constexpr uint setPresent = 2; ///< in force from now on; with what the user has chosen, where they have
constexpr uint isDefault = 8;  ///< what the system settings offer to go back to

/// The component and the action, first by name, then in words.
QStringList actionId() {
    return {componentName, actionName, QStringLiteral("Nocta"), QStringLiteral("Next preset")};
}

/// As Qt counts keys, with every choice of the modifiers that may be held besides. The first is the one that counts.
QList<int> shortcutKeys() {
    constexpr int key = int{Qt::META} | int{Qt::SHIFT} | int{Qt::Key_I};
    return {key, key | int{Qt::CTRL}, key | int{Qt::ALT}, key | int{Qt::CTRL} | int{Qt::ALT}};
}

QDBusMessage method(const QString& name, const QVariantList& arguments) {
    auto message = QDBusMessage::createMethodCall(serviceName, QStringLiteral("/kglobalaccel"),
                                                  QStringLiteral("org.kde.KGlobalAccel"), name);
    message.setAutoStartService(false);
    message.setArguments(arguments);
    return message;
}

} // namespace

/// What Nocta has in KGlobalAccel.
class KGlobalAccelEventMonitor::Action {
  public:
    explicit Action(std::function<void()> onPressed)
        : onPressed(std::move(onPressed)),
          pressed([this](const QDBusMessage& signal) { handle(signal, true); }),
          released([this](const QDBusMessage& signal) { handle(signal, false); }),
          service(serviceName, [this] { claim(); }) {
        pressed.listen(bus, componentPath, componentInterface, QStringLiteral("globalShortcutPressed"));
        released.listen(bus, componentPath, componentInterface, QStringLiteral("globalShortcutReleased"));
    }
    Action(const Action&) = delete;
    Action& operator=(const Action&) = delete;
    ~Action() {
        if (service.get().isEmpty()) {
            return;
        }
        // What is inactive keeps the keys that the user has chosen for it, and leaves them to others in the meantime.
        // What came too late for its keys is forgotten, and tries again the next time.
        bus.send(isOutdone ? method(QStringLiteral("unregister"), {componentName, actionName})
                           : method(QStringLiteral("setInactive"), {actionId()}));
    }

  private:
    /// Says what Nocta wants to the KGlobalAccel that is there now.
    void claim() {
        isHeld = false;
        isOutdone = false;
        if (service.get().isEmpty()) {
            return;
        }
        const auto keys = QVariant::fromValue(shortcutKeys());
        bus.send(method(QStringLiteral("doRegister"), {actionId()}));
        bus.send(method(QStringLiteral("setShortcut"), {actionId(), keys, isDefault}));
        auto* const answer = new QDBusPendingCallWatcher(
            bus.asyncCall(method(QStringLiteral("setShortcut"), {actionId(), keys, setPresent})), &context);
        QObject::connect(answer, &QDBusPendingCallWatcher::finished, &context, [this, answer] {
            answer->deleteLater();
            const QDBusPendingReply<QList<int>> granted = *answer;
            // A key of another action's is granted as none; fewer keys are the user's own choice.
            isOutdone = !granted.isError() && !granted.value().isEmpty() && granted.value().constFirst() == 0;
        });
    }

    void handle(const QDBusMessage& signal, bool isPress) {
        const auto arguments = signal.arguments();
        if (signal.service() != service.get() || arguments.value(0).toString() != componentName ||
            arguments.value(1).toString() != actionName) {
            return;
        }
        // A key that repeats is pressed again and again, and released once.
        if (!std::exchange(isHeld, isPress) && isPress) {
            // Not from within the signal, whose receiver may end by it.
            QMetaObject::invokeMethod(
                &context, [call = onPressed] { call(); }, Qt::QueuedConnection);
        }
    }

    std::function<void()> onPressed;
    QDBusConnection bus = QDBusConnection::sessionBus();
    bool isHeld = false;
    bool isOutdone = false; ///< by another action that had the keys before
    SignalReceiver pressed;
    SignalReceiver released;
    BusNameOwner service;
    QObject context; // destroyed first: no answer comes any more
};

KGlobalAccelEventMonitor::KGlobalAccelEventMonitor()
    // Elsewhere KGlobalAccel is a program of its own, which on Wayland sees no keys.
    : available(!qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") &&
                !BusNameOwner::find(QStringLiteral("org.kde.KWin")).isEmpty() &&
                !BusNameOwner::find(serviceName).isEmpty()) {}

KGlobalAccelEventMonitor::~KGlobalAccelEventMonitor() = default;

std::unique_ptr<EventMonitorToken>
KGlobalAccelEventMonitor::addGlobalKeyDownMonitor(std::function<void(const KeyEvent&)> handler) {
    return monitors.add(std::move(handler));
}

std::unique_ptr<EventMonitorToken>
KGlobalAccelEventMonitor::addGlobalMouseDownMonitor(std::function<void()> /*handler*/) {
    return std::make_unique<EventMonitorToken>();
}

void KGlobalAccelEventMonitor::begin() {
    if (available) {
        action = std::make_unique<Action>([this] { report(); });
    }
}

void KGlobalAccelEventMonitor::end() {
    action.reset();
}

void KGlobalAccelEventMonitor::report() const {
    // What is typed into our own windows is nobody's business here.
    if (QGuiApplication::focusWindow() == nullptr) {
        monitors.report({.modifierFlags = modifier::command | modifier::shift, .keyCode = keycode::i});
    }
}

} // namespace nocta
