#include "Platform/Sway/SwayEventMonitor.h"

#include <string>
#include <string_view>
#include <utility>

#include <QByteArray>
#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace nocta {

namespace {

/// Of the I key, as sway counts: the kernel's number and 8.
constexpr int keyCodeOfI = 23 + 8;
constexpr std::string_view command = "nop nocta";

/// Binds or unbinds the key with every choice of the modifiers that may be held besides. sway has taken it when this
/// returns: it forgets what a connection asked for that has ended.
void tellSway(bool isBound) {
    std::string commands;
    for (const auto* control : {"", "Ctrl+"}) {
        for (const auto* option : {"", "Mod1+"}) {
            for (const auto* level : {"", "Mod5+"}) {
                commands += isBound ? "bindcode --no-warn --no-repeat " : "unbindcode ";
                commands += std::string("--locked --inhibited ") + control + option + level + "Mod4+Shift+" +
                            std::to_string(keyCodeOfI);
                if (isBound) {
                    commands += " ";
                    commands += command;
                }
                commands += "\n";
            }
        }
    }
    SwaySocket socket;
    if (socket.isConnected()) {
        socket.send(SwaySocket::runCommand, commands);
        [[maybe_unused]] const auto answer = socket.await();
    }
}

std::uint32_t modifierFlag(const QString& name) {
    if (name == QStringLiteral("Shift")) {
        return modifier::shift;
    }
    if (name == QStringLiteral("Ctrl") || name == QStringLiteral("Control")) {
        return modifier::control;
    }
    if (name == QStringLiteral("Mod1") || name == QStringLiteral("Alt")) {
        return modifier::option;
    }
    return name == QStringLiteral("Mod4") ? modifier::command : 0;
}

QJsonObject objectOf(const std::string& json) {
    return QJsonDocument::fromJson(QByteArray::fromStdString(json)).object();
}

} // namespace

SwayEventMonitor::SwayEventMonitor(RunLoop& loop) : loop(loop), available(SwaySocket().isConnected()) {}

std::unique_ptr<EventMonitorToken>
SwayEventMonitor::addGlobalKeyDownMonitor(std::function<void(const KeyEvent&)> handler) {
    return monitors.add(std::move(handler));
}

std::unique_ptr<EventMonitorToken> SwayEventMonitor::addGlobalMouseDownMonitor(std::function<void()> /*handler*/) {
    return std::make_unique<EventMonitorToken>();
}

void SwayEventMonitor::begin() {
    events.emplace();
    if (!events->isConnected()) {
        return;
    }
    events->send(SwaySocket::subscribe, R"(["binding","workspace"])");
    [[maybe_unused]] const auto answer = events->await();
    if (!events->isConnected()) {
        return;
    }
    watch = loop.watch(events->get(), [this] { serve(); });
    tellSway(true);
}

void SwayEventMonitor::end() {
    watch.reset();
    if (events && events->isConnected()) {
        tellSway(false);
    }
    events.reset();
}

void SwayEventMonitor::serve() {
    events->receive();
    if (!events->isConnected()) {
        watch.reset();
    }
    // A handler may end the monitoring.
    while (auto message = events ? events->next() : std::nullopt) {
        handle(*message);
    }
}

void SwayEventMonitor::handle(const SwayMessage& message) {
    const auto event = objectOf(message.payload);
    if (message.type == SwaySocket::workspaceEvent) {
        // With its configuration read again, sway has forgotten what was bound since.
        if (event[QStringLiteral("change")].toString() == QStringLiteral("reload")) {
            tellSway(true);
        }
        return;
    }
    const auto binding = event[QStringLiteral("binding")].toObject();
    // What is typed into our own windows is nobody's business here.
    if (message.type != SwaySocket::bindingEvent || QGuiApplication::focusWindow() != nullptr ||
        binding[QStringLiteral("command")].toString().toStdString() != command) {
        return;
    }
    KeyEvent key{.modifierFlags = 0, .keyCode = keycode::i};
    for (const auto& name : binding[QStringLiteral("event_state_mask")].toArray()) {
        key.modifierFlags |= modifierFlag(name.toString());
    }
    monitors.report(key);
}

} // namespace nocta
