#include "Platform/KWin/NightLight.h"

#include "Platform/Bus/BusNameOwner.h"
#include "Platform/Bus/BusNames.h"
#include "Platform/Bus/SessionBusName.h"
#include "Platform/KWin/NightTint.h"

#include <algorithm>
#include <ctime>
#include <limits>
#include <utility>

#include <QDBusArgument>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

namespace nocta {

namespace {

/// How long a KWin that is alive may take for an answer.
constexpr int patience = 5000; // milliseconds

/// KWin does not listen to what is no further than this from what it shows, in kelvin.
constexpr std::uint32_t step = 50;

/// What KWin takes for a way in the middle of a fade. Asked more often, it would never come to the end of one.
constexpr Seconds shortestPause{0.25};
/// Longer than the longest of its steps, those of the shortest way.
constexpr Seconds longestStep{3.0};

/// Until KWin is asked for the second time in a row for what it goes astray from, and at most until any other: whoever
/// else asks it for temperatures is not fought.
constexpr Seconds firstRepeat{1.0};
constexpr Seconds rarestRepeat{60.0};
constexpr Seconds calmTime{10.0};

/// Where previews end, after fifteen seconds or, as KWin's timers go, up to a twentieth less.
constexpr Seconds previewTime{13.0};

QDBusMessage call(const char* service, const char* path, const QString& interface, const char* name) {
    auto message =
        QDBusMessage::createMethodCall(QLatin1String(service), QLatin1String(path), interface, QLatin1String(name));
    message.setAutoStartService(false);
    return message;
}

} // namespace

const std::array<NightLight::Dialect, 2> NightLight::dialects{{{.service = "org.kde.NightColor",
                                                                .path = "/ColorCorrect",
                                                                .interface = "org.kde.kwin.ColorCorrect",
                                                                .hasLastingPreviews = true}, // Plasma 5
                                                               {.service = "org.kde.KWin.NightLight",
                                                                .path = "/org/kde/KWin/NightLight",
                                                                .interface = "org.kde.KWin.NightLight",
                                                                .hasLastingPreviews = false}}}; // Plasma 6

NightLight::NightLight(RunLoop& loop) : loop(loop), bus(QString()), context(std::make_unique<QObject>()) {
    if (!isSessionBusNamed()) {
        return;
    }
    bus = QDBusConnection::sessionBus();
    for (const auto& each : dialects) {
        owner = BusNameOwner::find(QLatin1String(each.service));
        if (owner.isEmpty()) {
            continue;
        }
        const auto listen = [&](auto function) {
            (changes.*function)(bus, QLatin1String(each.path), propertiesInterface,
                                QStringLiteral("PropertiesChanged"));
        };
        // Before it is asked, so that no change is missed.
        listen(&SignalReceiver::listen);
        const auto answer = bus.call(propertiesOf(each), QDBus::Block, patience);
        if (areProperties(answer)) {
            dialect = &each;
            take(qdbus_cast<QVariantMap>(answer.arguments().constFirst()));
            break;
        }
        listen(&SignalReceiver::ignore);
        owner.clear();
    }
    if (dialect != nullptr) {
        watcher.setConnection(bus);
        watcher.setWatchMode(QDBusServiceWatcher::WatchForOwnerChange);
        watcher.addWatchedService(QLatin1String(dialect->service));
        QObject::connect(&watcher, &QDBusServiceWatcher::serviceOwnerChanged, &changes,
                         [this](const QString& /*service*/, const QString& before, const QString& now) {
                             if (!before.isEmpty()) {
                                 didVanish();
                             }
                             if (!now.isEmpty()) {
                                 didAppear(now);
                             }
                         });
    }
}

NightLight::~NightLight() {
    release();
}

void NightLight::show(std::uint32_t kelvin) {
    if (std::exchange(wanted, kelvin) == kelvin) {
        return;
    }
    retryDelay = Seconds(0);
    again.reset();
    if (!pause) {
        ask();
    }
}

void NightLight::verify() {
    if (!wanted || owner.isEmpty()) {
        return;
    }
    whenAnswered(bus.asyncCall(propertiesOf(*dialect), patience), [this](const QDBusMessage& answer) {
        if (areProperties(answer)) {
            take(qdbus_cast<QVariantMap>(answer.arguments().constFirst()));
            if (wanted && wanted == asked && !hasArrived() && !arrival && unanswered == 0) {
                askAgain();
            }
        }
    });
}

void NightLight::release() {
    wanted.reset();
    for (auto* timer : {&pause, &arrival, &again, &calm, &renewal}) {
        timer->reset();
    }
    retryDelay = Seconds(0);
    if (!holding) {
        return;
    }
    const auto held = *std::exchange(holding, std::nullopt);
    if (!held.isFinished()) {
        // KWin answers one after the other.
        bus.call(propertiesOf(*dialect), QDBus::Block, patience);
    }
    const auto letGo = [this](const QDBusPendingReply<uint>& number) {
        auto message = method("uninhibit");
        message << number.value();
        return message;
    };
    if (!held.isFinished()) {
        whenAnswered(held, [this, letGo, held](const QDBusMessage& /*answer*/) {
            if (!held.isError()) {
                bus.send(letGo(held));
            }
        });
    } else if (!held.isError()) {
        // Asked once more, it hurries.
        bus.send(preview(NightTint::neutral));
        bus.call(letGo(held), QDBus::Block, patience);
        goTheLastStep();
    }
}

void NightLight::goTheLastStep() {
    const auto isLeftOver = [this] {
        const auto answer = bus.call(propertiesOf(*dialect), QDBus::Block, patience);
        if (!areProperties(answer)) {
            return false;
        }
        const auto properties = qdbus_cast<QVariantMap>(answer.arguments().constFirst());
        take(properties);
        return !properties.value(QStringLiteral("running")).toBool() && current != NightTint::neutral &&
               current + step >= NightTint::neutral && current <= NightTint::neutral + step;
    };
    if (!isLeftOver()) {
        return;
    }
    // Far enough away from it, KWin takes notice. Nobody sees so little.
    bus.send(preview(NightTint::neutral - 3 * step));
    constexpr int turns = 100;
    constexpr timespec turn{.tv_sec = 0, .tv_nsec = 10'000'000};
    for (int i = 0; i < turns && (isLeftOver() || current == NightTint::neutral); ++i) {
        nanosleep(&turn, nullptr);
    }
    bus.call(method("stopPreview"), QDBus::Block, patience);
}

QDBusMessage NightLight::propertiesOf(const Dialect& dialect) {
    auto message = call(dialect.service, dialect.path, propertiesInterface, "GetAll");
    message << QString(QLatin1String(dialect.interface));
    return message;
}

QDBusMessage NightLight::method(const char* name) const {
    return call(dialect->service, dialect->path, QLatin1String(dialect->interface), name);
}

QDBusMessage NightLight::preview(std::uint32_t kelvin) const {
    auto message = method("preview");
    message << kelvin;
    return message;
}

bool NightLight::areProperties(const QDBusMessage& answer) {
    return answer.type() == QDBusMessage::ReplyMessage && answer.signature() == QStringLiteral("a{sv}");
}

template <class Handler>
void NightLight::whenAnswered(const QDBusPendingCall& call, Handler handler) {
    auto* answer = new QDBusPendingCallWatcher(call, context.get());
    QObject::connect(answer, &QDBusPendingCallWatcher::finished, context.get(), [answer, handler = std::move(handler)] {
        answer->deleteLater();
        handler(answer->reply());
    });
}

void NightLight::propertiesDidChange(const QDBusMessage& message) {
    if (message.service() != owner || message.signature() != QStringLiteral("sa{sv}as") ||
        message.arguments().constFirst().toString() != QLatin1String(dialect->interface)) {
        return;
    }
    const auto before = current;
    take(qdbus_cast<QVariantMap>(message.arguments().at(1)));
    if (current != before) {
        didMove(before);
    }
}

void NightLight::take(const QVariantMap& properties) {
    current = properties.value(QStringLiteral("currentTemperature"), current).toUInt();
    supported = properties.value(QStringLiteral("available"), supported).toBool();
}

void NightLight::didAppear(const QString& name) {
    whenAnswered(bus.asyncCall(propertiesOf(*dialect), patience), [this, name](const QDBusMessage& answer) {
        if (!areProperties(answer)) {
            return;
        }
        owner = name;
        take(qdbus_cast<QVariantMap>(answer.arguments().constFirst()));
        if (wanted) {
            ask();
        }
    });
}

void NightLight::didVanish() {
    owner.clear();
    holding.reset();
    unanswered = 0;
    arrival.reset();
    again.reset();
    renewal.reset();
    context = std::make_unique<QObject>();
}

std::uint32_t NightLight::distance(std::uint32_t temperature) const {
    return temperature > *wanted ? temperature - *wanted : *wanted - temperature;
}

bool NightLight::hasArrived() const {
    return distance(current) <= step;
}

void NightLight::didMove(std::uint32_t before) {
    // What moves before KWin has been asked, and has answered, moves to something else.
    if (!wanted || wanted != asked || unanswered > 0) {
        return;
    }
    if (hasArrived()) {
        arrival.reset();
        calm = loop.oneShot(calmTime, [this] { retryDelay = Seconds(0); });
    } else if (distance(current) < distance(before)) {
        arrival = loop.oneShot(longestStep, [this] { askAgain(); });
    } else {
        askAgain();
    }
}

void NightLight::ask() {
    arrival.reset();
    again.reset();
    asked = *wanted;
    if (owner.isEmpty()) {
        return;
    }
    if (!holding) {
        holding = bus.asyncCall(method("inhibit"), std::numeric_limits<int>::max());
        ++unanswered;
        whenAnswered(*holding, [this](const QDBusMessage& /*answer*/) {
            --unanswered;
            if (wanted) {
                ask();
            }
        });
    }
    // KWin does not hear of the end of a program that ends before it is heard: then nothing may be on the screen.
    if (hasArrived() || !holding->isFinished()) {
        return;
    }
    pause = loop.oneShot(shortestPause, [this] {
        pause.reset();
        if (wanted != asked) {
            ask();
        }
    });
    renewLater();
    ++unanswered;
    whenAnswered(bus.asyncCall(preview(*wanted), patience), [this](const QDBusMessage& /*answer*/) {
        --unanswered;
        if (wanted && !hasArrived() && unanswered == 0) {
            arrival = loop.oneShot(longestStep, [this] { askAgain(); });
        }
    });
}

void NightLight::renewLater() {
    if (dialect->hasLastingPreviews) {
        return;
    }
    renewal = loop.oneShot(previewTime, [this] {
        renewal.reset();
        // From within a step of its own temperature KWin does not move.
        if (distance(NightTint::neutral) <= step) {
            return;
        }
        // What has not arrived is asked for anyway.
        if (wanted == asked && unanswered == 0 && hasArrived()) {
            bus.send(preview(*wanted));
        }
        renewLater();
    });
}

void NightLight::askAgain() {
    arrival.reset();
    calm.reset();
    if (!again) {
        again = loop.oneShot(std::exchange(retryDelay, std::clamp(2 * retryDelay, firstRepeat, rarestRepeat)),
                             [this] { ask(); });
    }
}

} // namespace nocta
