#include "Platform/DBus/GeoClueLocationService.h"

#include "Platform/Bus/BusNames.h"
#include "Platform/Bus/SignalReceiver.h"
#include "Platform/DBus/SystemBusConnection.h"

#include <chrono>
#include <cmath>
#include <functional>
#include <optional>
#include <span>
#include <utility>

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QTimer>
#include <QVariantMap>

namespace nocta {

namespace {

const QString geoClueName = QStringLiteral("org.freedesktop.GeoClue2");
const QString managerPath = QStringLiteral("/org/freedesktop/GeoClue2/Manager");
const QString managerInterface = QStringLiteral("org.freedesktop.GeoClue2.Manager");
const QString clientInterface = QStringLiteral("org.freedesktop.GeoClue2.Client");
const QString locationInterface = QStringLiteral("org.freedesktop.GeoClue2.Location");
const QString locationUpdated = QStringLiteral("LocationUpdated");

/// GClueAccuracyLevel.
uint accuracyLevel(LocationAccuracy accuracy) {
    switch (accuracy) {
    case LocationAccuracy::city:
        return 4;
    }
    return 4;
}

/// Nothing where `properties` are not those of a place on Earth.
std::optional<Location> location(const QVariantMap& properties) {
    const QVariant latitude = properties.value(QStringLiteral("Latitude"));
    const QVariant longitude = properties.value(QStringLiteral("Longitude"));
    if (latitude.typeId() != QMetaType::Double || longitude.typeId() != QMetaType::Double) {
        return std::nullopt;
    }
    const Location place{.latitude = latitude.toDouble(), .longitude = longitude.toDouble()};
    // Not a number lies in no range.
    if (!(std::abs(place.latitude) <= 90) || !(std::abs(place.longitude) <= 180)) {
        return std::nullopt;
    }
    return place;
}

} // namespace

/// The one client that GeoClue keeps for this process's connection, and the request under way. Every request asks for
/// the client again, gets the same one, and a new one where GeoClue has been started anew since.
class GeoClueLocationService::Client {
  public:
    explicit Client(Seconds patience) : patience(patience) {
        deadline.setSingleShot(true);
        QObject::connect(&deadline, &QTimer::timeout, &context, [this] { fail(); });
        serviceWatcher.setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
        QObject::connect(&serviceWatcher, &QDBusServiceWatcher::serviceUnregistered, &context, [this] {
            if (!clientPath.isEmpty()) { // else it is about a request that is over
                fail();
            }
        });
    }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;
    ~Client() { stop(); }

    void start() {
        if (isUpdating && (isConnecting || systemBus.isOpen())) {
            return;
        }
        stop();
        isUpdating = true;
        isConnecting = true;
        deadline.start(std::chrono::ceil<std::chrono::milliseconds>(patience));
        systemBus.open([this, request = request] {
            if (request == this->request) {
                isConnecting = false;
                getClient();
            }
        });
    }

    void stop() {
        if (!isUpdating) {
            return;
        }
        isUpdating = false;
        isConnecting = false;
        ++request;
        deadline.stop();
        if (clientPath.isEmpty()) {
            return;
        }
        serviceWatcher.removeWatchedService(geoClueName);
        updates.ignore(systemBus.bus(), clientPath, clientInterface, locationUpdated);
        auto message = call(std::exchange(clientPath, {}), clientInterface, QStringLiteral("Stop"));
        message.setAutoStartService(false); // one that is gone has stopped
        systemBus.bus().send(message);
    }

    LocationDelegate* delegate = nullptr;
    LocationAccuracy accuracy = LocationAccuracy::city;

  private:
    static QDBusMessage call(const QString& path, const QString& interface, const QString& member,
                             const QVariantList& arguments = {}) {
        auto message = QDBusMessage::createMethodCall(geoClueName, path, interface, member);
        message.setArguments(arguments);
        return message;
    }

    /// Sends `message`; an answer of that signature is handed to `onAnswer` and any other one fails, while the request
    /// is still the same.
    void ask(const QDBusMessage& message, const QString& signature, std::function<void(const QDBusMessage&)> onAnswer) {
        const auto pending = systemBus.bus().asyncCall(message, deadline.interval());
        auto* watcher = new QDBusPendingCallWatcher(pending, &context);
        QObject::connect(watcher, &QDBusPendingCallWatcher::finished, &context,
                         [this, watcher, signature, request = request, onAnswer = std::move(onAnswer)] {
                             watcher->deleteLater();
                             if (request != this->request) {
                                 return;
                             }
                             const QDBusMessage answer = watcher->reply();
                             if (answer.type() != QDBusMessage::ReplyMessage || answer.signature() != signature) {
                                 fail();
                                 return;
                             }
                             onAnswer(answer);
                         });
    }

    void getClient() {
        if (!systemBus.isOpen()) {
            fail();
            return;
        }
        // Answered only once the session has an agent.
        ask(call(managerPath, managerInterface, QStringLiteral("GetClient")), QStringLiteral("o"),
            [this](const QDBusMessage& answer) {
                findService(answer.arguments().constFirst().value<QDBusObjectPath>().path());
            });
    }

    void findService(const QString& path) {
        auto question = QDBusMessage::createMethodCall(
            QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
            QStringLiteral("org.freedesktop.DBus"), QStringLiteral("GetNameOwner"));
        question << geoClueName;
        ask(question, QStringLiteral("s"), [this, path](const QDBusMessage& answer) {
            service = answer.arguments().constFirst().toString();
            clientPath = path;
            startClient();
        });
    }

    void startClient() {
        auto& bus = systemBus.bus();
        serviceWatcher.setConnection(bus);
        serviceWatcher.addWatchedService(geoClueName);
        updates.listen(bus, clientPath, clientInterface, locationUpdated);
        // What these are answered does not matter: without them the start fails.
        bus.send(setProperty(QStringLiteral("DesktopId"), QStringLiteral("org.nocta.Nocta")));
        bus.send(setProperty(QStringLiteral("RequestedAccuracyLevel"), accuracyLevel(accuracy)));
        ask(call(clientPath, clientInterface, QStringLiteral("Start")), QString(), [](const QDBusMessage&) {});
    }

    [[nodiscard]] QDBusMessage setProperty(const QString& name, const QVariant& value) const {
        return call(clientPath, propertiesInterface, QStringLiteral("Set"),
                    {clientInterface, name, QVariant::fromValue(QDBusVariant(value))});
    }

    void update(const QDBusMessage& message) {
        if (clientPath.isEmpty() || message.service() != service || message.signature() != QStringLiteral("oo")) {
            return;
        }
        const QString path = message.arguments().at(1).value<QDBusObjectPath>().path();
        ask(call(path, propertiesInterface, QStringLiteral("GetAll"), {locationInterface}), QStringLiteral("a{sv}"),
            [this](const QDBusMessage& answer) {
                if (const auto place = location(qdbus_cast<QVariantMap>(answer.arguments().constFirst()))) {
                    deadline.stop();
                    if (delegate != nullptr) {
                        delegate->didUpdateLocations(std::span(&*place, 1));
                    }
                } else {
                    fail();
                }
            });
    }

    void fail() {
        stop();
        if (delegate != nullptr) {
            delegate->didFail();
        }
    }

    Seconds patience;
    SystemBusConnection systemBus;
    bool isUpdating = false;
    bool isConnecting = false;
    int request = 0;    ///< counts them: an answer to one that is over is not heard
    QString clientPath; ///< empty until the request under way has got its client
    QString service;    ///< the unique name of the GeoClue that gave it
    QTimer deadline;    ///< runs until the first fix
    QDBusServiceWatcher serviceWatcher;
    SignalReceiver updates{[this](const QDBusMessage& message) { update(message); }};
    QObject context; // destroyed first: nothing is heard any more
};

GeoClueLocationService::GeoClueLocationService(Seconds patience) : client(std::make_unique<Client>(patience)) {}

GeoClueLocationService::~GeoClueLocationService() = default;

void GeoClueLocationService::setDelegate(LocationDelegate* delegate) {
    client->delegate = delegate;
}

void GeoClueLocationService::setDesiredAccuracy(LocationAccuracy accuracy) {
    client->accuracy = accuracy;
}

void GeoClueLocationService::startUpdatingLocation() {
    client->start();
}

void GeoClueLocationService::stopUpdatingLocation() {
    client->stop();
}

} // namespace nocta
