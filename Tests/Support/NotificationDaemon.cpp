#include "Support/NotificationDaemon.h"

#include "Support/Eventually.h"

#include <algorithm>
#include <csignal>
#include <fstream>
#include <stdexcept>

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QVariantMap>

namespace nocta::test {

namespace {

const QString serviceName = QStringLiteral("org.freedesktop.Notifications");

QDBusConnection sessionBus() {
    // A connection of its own, to the bus that the environment names now.
    const QString name = QStringLiteral("notification daemon ") + qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
    return QDBusConnection::connectToBus(QDBusConnection::SessionBus, name);
}

/// Calls the daemon's own interface for scripts.
QDBusMessage call(const QString& member) {
    auto reply =
        sessionBus().call(QDBusMessage::createMethodCall(serviceName, QStringLiteral("/org/freedesktop/Notifications"),
                                                         QStringLiteral("org.dunstproject.cmd0"), member));
    if (reply.type() != QDBusMessage::ReplyMessage) {
        throw std::runtime_error("the notification daemon does not answer: " + reply.errorMessage().toStdString());
    }
    return reply;
}

} // namespace

NotificationDaemon::NotificationDaemon(Markup markup) {
    const auto configuration = folder.path() / "dunstrc";
    std::ofstream(configuration) << "[global]\n"
                                 << "markup = " << (markup == Markup::full ? "full" : "no") << R"(
format = "%b"
icon_path = ")" << folder.path().string()
                                 << R"("
history_length = 1000
notification_limit = 0
stack_duplicates = false
[urgency_normal]
timeout = 0
[ours]
desktop_entry = "org.nocta.Nocta"
set_category = "ours"
)";
    std::ofstream(folder.path() / "org.nocta.Nocta.svg")
        << R"(<svg xmlns="http://www.w3.org/2000/svg" width="24" height="24"/>)";
    daemon = std::make_unique<Process>(std::vector<std::string>{"dunst", "-conf", configuration.string()});
    if (!eventually([] { return sessionBus().interface()->isServiceRegistered(serviceName).value(); })) {
        throw std::runtime_error("no notification daemon: " + daemon->errors());
    }
}

// Of this one. NOLINTNEXTLINE(readability-convert-member-functions-to-static)
std::vector<Notification> NotificationDaemon::notifications() const {
    call(QStringLiteral("NotificationCloseAll"));
    const auto reply = call(QStringLiteral("NotificationListHistory"));
    std::vector<Notification> all;
    for (const auto& entry : qdbus_cast<QList<QVariantMap>>(reply.arguments().constFirst())) {
        const auto text = [&](const char* key) { return entry.value(QLatin1String(key)).toString().toStdString(); };
        all.push_back({.application = text("appname"),
                       .title = text("summary"),
                       .body = text("body"),
                       .seen = text("message"),
                       .category = text("category"),
                       .icon = text("icon_path"),
                       .id = entry.value(QStringLiteral("id")).toInt()});
    }
    std::ranges::sort(all, {}, &Notification::id);
    return all;
}

void NotificationDaemon::kill() {
    daemon->signal(SIGKILL);
    daemon->waitForEnd();
}

} // namespace nocta::test
