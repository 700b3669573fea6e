#include "Platform/DBus/GeoClueLocationService.h"

#include "QtLoop.h"
#include "Support/GeoClue.h"

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <vector>

#include <gtest/gtest.h>

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QVariantMap>

namespace nocta {
namespace {

using std::chrono::milliseconds;

/// What the service tells.
class Listener final : public LocationDelegate {
  public:
    void didUpdateLocations(std::span<const Location> locations) override {
        fixes.insert(fixes.end(), locations.begin(), locations.end());
    }
    void didFail() override { ++failures; }

    std::vector<Location> fixes;
    int failures = 0;
};

constexpr Location berlin{.latitude = 52.52, .longitude = 13.405};
constexpr Location sydney{.latitude = -33.87, .longitude = 151.21};

/// GeoClue moves what it tells at the level of a city at random, by some kilometres.
bool isNear(const Location& place, const Location& city) {
    constexpr double degrees = 0.3;
    return std::abs(place.latitude - city.latitude) < degrees && std::abs(place.longitude - city.longitude) < degrees;
}

QDBusConnection other(const QString& name = QStringLiteral("other")) {
    return QDBusConnection::connectToBus(QDBusConnection::SystemBus, name);
}

const QString geoClueName = QStringLiteral("org.freedesktop.GeoClue2");

// --- With the real GeoClue ---

class GeoClueLocationServiceTest : public testing::Test {
  protected:
    explicit GeoClueLocationServiceTest(test::GeoClue::Policy policy = test::GeoClue::Policy::allowed)
        : geoClue(policy) {
        service.setDelegate(&listener);
    }

    /// Takes the place of `service`, for requests that are to fail soon.
    void usePatience(Seconds patience) {
        impatientService.emplace(patience);
        impatientService->setDelegate(&listener);
    }

    /// The next fix of a request made now, which is then stopped.
    std::optional<Location> fix(LocationService& from) {
        listener.fixes.clear();
        from.startUpdatingLocation();
        const bool arrived = loop.runUntil([this] { return !listener.fixes.empty(); });
        from.stopUpdatingLocation();
        return arrived ? std::optional(listener.fixes.back()) : std::nullopt;
    }

    void expectFix(LocationService& from, const Location& city) {
        const auto place = fix(from);
        ASSERT_TRUE(place);
        EXPECT_TRUE(isNear(*place, city)) << place->latitude << ' ' << place->longitude;
    }

    test::GeoClue geoClue;
    test::QtLoop loop;
    Listener listener;
    GeoClueLocationService service;
    std::optional<GeoClueLocationService> impatientService;
};

TEST_F(GeoClueLocationServiceTest, TellsWhereTheUserIs) {
    geoClue.place(berlin.latitude, berlin.longitude);
    geoClue.startAgent();
    expectFix(service, berlin);
    EXPECT_EQ(listener.failures, 0);
}

TEST_F(GeoClueLocationServiceTest, EveryRequestIsAnsweredAnewToTheSameClient) {
    geoClue.startAgent();
    geoClue.place(berlin.latitude, berlin.longitude);
    expectFix(service, berlin);
    geoClue.place(sydney.latitude, sydney.longitude);
    EXPECT_TRUE(loop.runUntil([this] { return isNear(fix(service).value_or(berlin), sydney); }))
        << "the traveller's new place";
    auto introspect = QDBusMessage::createMethodCall(geoClueName, QStringLiteral("/org/freedesktop/GeoClue2/Client"),
                                                     QStringLiteral("org.freedesktop.DBus.Introspectable"),
                                                     QStringLiteral("Introspect"));
    EXPECT_EQ(other().call(introspect).arguments().constFirst().toString().count(QStringLiteral("<node name=")), 1);
    EXPECT_EQ(listener.failures, 0);
}

TEST_F(GeoClueLocationServiceTest, AsksNobodyBeforeTheFirstRequest) {
    const auto names = [] { return other().interface()->registeredServiceNames().value().size(); };
    const auto before = names();
    loop.runFor(milliseconds(50));
    EXPECT_EQ(names(), before);
    service.startUpdatingLocation();
    EXPECT_TRUE(loop.runUntil([&] { return names() > before; }));
}

TEST_F(GeoClueLocationServiceTest, WhereGeoClueDiesInTheMiddleALaterRequestIsAnswered) {
    geoClue.startAgent();
    service.startUpdatingLocation(); // the lookup says nothing yet
    loop.runFor(milliseconds(300));
    EXPECT_EQ(listener.failures, 0);
    geoClue.kill();
    EXPECT_TRUE(loop.runUntil([this] { return listener.failures == 1; }));
    geoClue.start();
    geoClue.startAgent();
    geoClue.place(berlin.latitude, berlin.longitude);
    loop.runFor(milliseconds(50));
    EXPECT_TRUE(listener.fixes.empty()) << "that request is over";
    expectFix(service, berlin);
    EXPECT_EQ(listener.failures, 1);
}

TEST_F(GeoClueLocationServiceTest, WhereGeoClueDiedBetweenRequestsTheNextOneIsAnswered) {
    geoClue.startAgent();
    geoClue.place(berlin.latitude, berlin.longitude);
    expectFix(service, berlin);
    geoClue.kill();
    geoClue.start();
    geoClue.startAgent();
    expectFix(service, berlin);
    EXPECT_EQ(listener.failures, 0);
}

TEST_F(GeoClueLocationServiceTest, WithoutAnAgentARequestFailsAndALaterOneIsAnswered) {
    geoClue.place(berlin.latitude, berlin.longitude);
    usePatience(Seconds(0.3));
    impatientService->startUpdatingLocation();
    EXPECT_TRUE(loop.runUntil([this] { return listener.failures == 1; }));
    geoClue.startAgent();
    EXPECT_TRUE(loop.runUntil([this] { return fix(*impatientService).has_value(); }, std::chrono::seconds(60)));
    EXPECT_TRUE(isNear(listener.fixes.back(), berlin));
}

TEST_F(GeoClueLocationServiceTest, AnAnswerThatComesTooLateIsNotHeardAndALaterRequestIsAnswered) {
    geoClue.startAgent();
    usePatience(Seconds(1));
    impatientService->startUpdatingLocation();
    EXPECT_TRUE(loop.runUntil([this] { return listener.failures == 1; }));
    geoClue.place(berlin.latitude, berlin.longitude);
    loop.runFor(milliseconds(500));
    EXPECT_TRUE(listener.fixes.empty());
    EXPECT_TRUE(loop.runUntil([this] { return fix(*impatientService).has_value(); }, std::chrono::seconds(60)));
    EXPECT_TRUE(isNear(listener.fixes.back(), berlin));
}

TEST_F(GeoClueLocationServiceTest, WhereTheBusIsNotThereARequestFailsAndALaterOneIsAnswered) {
    geoClue.place(berlin.latitude, berlin.longitude);
    geoClue.kill();
    geoClue.bus.kill();
    for (int failures = 1; failures <= 2; ++failures) {
        service.startUpdatingLocation();
        EXPECT_EQ(listener.failures, failures - 1) << "told inside the call";
        EXPECT_TRUE(loop.runUntil([&] { return listener.failures == failures; }));
    }
    geoClue.bus.restart();
    geoClue.start();
    geoClue.startAgent();
    expectFix(service, berlin);
    EXPECT_EQ(listener.failures, 2);
}

TEST_F(GeoClueLocationServiceTest, ABusThatHangsIsNotWaitedForAndALaterRequestIsAnswered) {
    geoClue.startAgent();
    geoClue.place(berlin.latitude, berlin.longitude);
    usePatience(Seconds(3)); // more than GeoClue takes on a busy machine
    geoClue.bus.freeze();
    const auto start = std::chrono::steady_clock::now();
    impatientService->startUpdatingLocation();
    impatientService->stopUpdatingLocation();
    impatientService->startUpdatingLocation();
    EXPECT_TRUE(loop.runUntil([this] { return listener.failures == 1; }));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(15));
    geoClue.bus.thaw();
    EXPECT_TRUE(loop.runUntil([this] { return fix(*impatientService).has_value(); }, std::chrono::seconds(60)));
}

TEST_F(GeoClueLocationServiceTest, WhereTheBusDiesInTheMiddleALaterRequestIsAnswered) {
    geoClue.startAgent();
    service.startUpdatingLocation();
    loop.runFor(milliseconds(300));
    geoClue.bus.kill();
    loop.runFor(milliseconds(50));
    geoClue.kill();
    geoClue.bus.restart();
    geoClue.start();
    geoClue.startAgent();
    geoClue.place(berlin.latitude, berlin.longitude);
    loop.runFor(milliseconds(50));
    EXPECT_TRUE(listener.fixes.empty());
    expectFix(service, berlin);
}

class GeoClueLocationServiceDeniedTest : public GeoClueLocationServiceTest {
  protected:
    GeoClueLocationServiceDeniedTest() : GeoClueLocationServiceTest(test::GeoClue::Policy::denied) {}
};

TEST_F(GeoClueLocationServiceDeniedTest, FailsAtEveryRequest) {
    geoClue.startAgent();
    geoClue.place(berlin.latitude, berlin.longitude);
    for (int failures = 1; failures <= 2; ++failures) {
        service.startUpdatingLocation();
        EXPECT_TRUE(loop.runUntil([&] { return listener.failures == failures; }));
    }
    EXPECT_TRUE(listener.fixes.empty());
}

// --- What the real GeoClue says only when it is broken, and what it is asked ---

/// Has GeoClue's name and says what a test wants said.
class ScriptedGeoClue final : public QDBusVirtualObject {
  public:
    ScriptedGeoClue() {
        bus.registerVirtualObject(QStringLiteral("/org/freedesktop/GeoClue2"), this, QDBusConnection::SubPath);
        bus.registerService(geoClueName);
    }
    ~ScriptedGeoClue() override { QDBusConnection::disconnectFromBus(QStringLiteral("geoclue")); }
    ScriptedGeoClue(const ScriptedGeoClue&) = delete;
    ScriptedGeoClue& operator=(const ScriptedGeoClue&) = delete;

    [[nodiscard]] QString introspect(const QString& /*path*/) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& /*connection*/) override {
        const QString member = message.member();
        calls << member;
        if (member == holding) {
            held = message;
            return true;
        }
        if (member == QStringLiteral("GetClient")) {
            answer(message, client);
        } else if (member == QStringLiteral("Set")) {
            const auto arguments = message.arguments();
            properties[arguments.at(1).toString()] = arguments.at(2).value<QDBusVariant>().variant();
            answer(message, {});
        } else if (member == QStringLiteral("GetAll")) {
            answer(message, location);
        } else {
            answer(message, {});
            if (member == QStringLiteral("Start")) {
                update();
            }
        }
        return true;
    }

    /// Says the location to who was held back.
    void release() const { answer(held, location); }

    void refuse() const { bus.send(held.createErrorReply(QDBusError::AccessDenied, QStringLiteral("no"))); }

    /// Says that there is a new location.
    void update() const { emitUpdate(bus); }

    static void emitUpdate(const QDBusConnection& from) {
        auto signal = QDBusMessage::createSignal(QStringLiteral("/org/freedesktop/GeoClue2/Client/1"),
                                                 QStringLiteral("org.freedesktop.GeoClue2.Client"),
                                                 QStringLiteral("LocationUpdated"));
        signal << QVariant::fromValue(QDBusObjectPath("/"))
               << QVariant::fromValue(QDBusObjectPath("/org/freedesktop/GeoClue2/Client/1/Location/0"));
        from.send(signal);
    }

    static QVariantMap place(const QVariant& latitude, const QVariant& longitude) {
        return {{QStringLiteral("Latitude"), latitude}, {QStringLiteral("Longitude"), longitude}};
    }

    QDBusConnection bus = other(QStringLiteral("geoclue"));
    QStringList calls;
    QVariantMap properties; ///< of the client, as they were set
    QVariant client = QVariant::fromValue(QDBusObjectPath("/org/freedesktop/GeoClue2/Client/1"));
    QVariant location = place(berlin.latitude, berlin.longitude);
    QString holding; ///< the call that is not answered

  private:
    void answer(const QDBusMessage& message, const QVariant& value) const {
        bus.send(value.isValid() ? message.createReply(value) : message.createReply());
    }

    QDBusMessage held;
};

class GeoClueConversationTest : public testing::Test {
  protected:
    GeoClueConversationTest() { service.setDelegate(&listener); }

    void expectFailureAndThenAFix() {
        service.startUpdatingLocation();
        EXPECT_TRUE(loop.runUntil([this] { return listener.failures == 1; }));
        EXPECT_TRUE(listener.fixes.empty());
        geoClue->client = QVariant::fromValue(QDBusObjectPath("/org/freedesktop/GeoClue2/Client/1"));
        geoClue->location = ScriptedGeoClue::place(berlin.latitude, berlin.longitude);
        service.startUpdatingLocation();
        EXPECT_TRUE(loop.runUntil([this] { return !listener.fixes.empty(); }));
        EXPECT_EQ(listener.fixes, std::vector{berlin});
        EXPECT_EQ(listener.failures, 1);
    }

    test::SystemBus bus;
    test::QtLoop loop;
    std::unique_ptr<ScriptedGeoClue> geoClue = std::make_unique<ScriptedGeoClue>();
    Listener listener;
    GeoClueLocationService service;
};

TEST_F(GeoClueConversationTest, SaysWhoAsksAndHowExactlyAndStopsOnce) {
    service.setDesiredAccuracy(LocationAccuracy::city);
    service.requestWhenInUseAuthorization();
    service.startUpdatingLocation();
    ASSERT_TRUE(loop.runUntil([this] { return !listener.fixes.empty(); }));
    service.stopUpdatingLocation();
    service.stopUpdatingLocation();
    ASSERT_TRUE(loop.runUntil([this] { return geoClue->calls.contains(QStringLiteral("Stop")); }));
    loop.runFor(milliseconds(50));
    EXPECT_EQ(geoClue->calls, QStringList({QStringLiteral("GetClient"), QStringLiteral("Set"), QStringLiteral("Set"),
                                           QStringLiteral("Start"), QStringLiteral("GetAll"), QStringLiteral("Stop")}));
    EXPECT_EQ(geoClue->properties.value(QStringLiteral("DesktopId")), QStringLiteral("org.nocta.Nocta"));
    EXPECT_EQ(geoClue->properties.value(QStringLiteral("RequestedAccuracyLevel")), QVariant(4U));
    EXPECT_EQ(geoClue->properties.value(QStringLiteral("RequestedAccuracyLevel")).typeId(), QMetaType::UInt);
    EXPECT_EQ(listener.fixes, std::vector{berlin});
}

TEST_F(GeoClueConversationTest, StartingWhatIsStartedChangesNothing) {
    service.startUpdatingLocation();
    service.startUpdatingLocation();
    ASSERT_TRUE(loop.runUntil([this] { return !listener.fixes.empty(); }));
    service.startUpdatingLocation();
    loop.runFor(milliseconds(50));
    EXPECT_EQ(geoClue->calls.count(QStringLiteral("GetClient")), 1);
    EXPECT_EQ(geoClue->calls.count(QStringLiteral("Start")), 1);
}

TEST_F(GeoClueConversationTest, FixesComeUntilItIsStopped) {
    service.startUpdatingLocation();
    ASSERT_TRUE(loop.runUntil([this] { return listener.fixes.size() == 1; }));
    geoClue->location = ScriptedGeoClue::place(sydney.latitude, sydney.longitude);
    geoClue->update();
    ASSERT_TRUE(loop.runUntil([this] { return listener.fixes.size() == 2; }));
    EXPECT_EQ(listener.fixes, (std::vector{berlin, sydney}));
    geoClue->update();
    service.stopUpdatingLocation();
    geoClue->update();
    loop.runFor(milliseconds(100));
    EXPECT_EQ(listener.fixes.size(), 2U);
    EXPECT_EQ(listener.failures, 0);
}

TEST_F(GeoClueConversationTest, AFixThatIsBeingFetchedWhenItIsStoppedIsNotTold) {
    geoClue->holding = QStringLiteral("GetAll");
    service.startUpdatingLocation();
    ASSERT_TRUE(loop.runUntil([this] { return geoClue->calls.contains(QStringLiteral("GetAll")); }));
    service.stopUpdatingLocation();
    geoClue->release();
    loop.runFor(milliseconds(100));
    EXPECT_TRUE(listener.fixes.empty());
    EXPECT_EQ(listener.failures, 0);
}

TEST_F(GeoClueConversationTest, WhatAnotherProgramSaysInGeoCluesNameIsNotHeard) {
    service.startUpdatingLocation();
    ASSERT_TRUE(loop.runUntil([this] { return !listener.fixes.empty(); }));
    ScriptedGeoClue::emitUpdate(other());
    loop.runFor(milliseconds(100));
    EXPECT_EQ(geoClue->calls.count(QStringLiteral("GetAll")), 1);
    EXPECT_EQ(listener.fixes.size(), 1U);
}

TEST_F(GeoClueConversationTest, WhereTheServiceLeavesInTheMiddleTheRequestFailsAndTheNextOneIsAnswered) {
    geoClue->location = {};
    service.startUpdatingLocation();
    ASSERT_TRUE(loop.runUntil([this] { return geoClue->calls.contains(QStringLiteral("Start")); }));
    geoClue.reset();
    EXPECT_TRUE(loop.runUntil([this] { return listener.failures == 1; }));
    service.startUpdatingLocation();
    EXPECT_TRUE(loop.runUntil([this] { return listener.failures == 2; })) << "nobody is there";
    geoClue = std::make_unique<ScriptedGeoClue>();
    service.startUpdatingLocation();
    EXPECT_TRUE(loop.runUntil([this] { return !listener.fixes.empty(); }));
    EXPECT_EQ(listener.failures, 2);
}

TEST_F(GeoClueConversationTest, AServiceThatLeavesWithACallUnansweredFailsTheRequestOnce) {
    for (const char* call : {"GetClient", "Start", "GetAll"}) {
        listener.failures = 0;
        geoClue->holding = QString::fromLatin1(call);
        service.startUpdatingLocation();
        ASSERT_TRUE(loop.runUntil([&] { return geoClue->calls.contains(geoClue->holding); })) << call;
        geoClue.reset();
        EXPECT_TRUE(loop.runUntil([this] { return listener.failures > 0; })) << call;
        loop.runFor(milliseconds(50));
        EXPECT_EQ(listener.failures, 1) << call;
        geoClue = std::make_unique<ScriptedGeoClue>();
    }
}

TEST_F(GeoClueConversationTest, AServiceThatRefusesAndLeavesAtOnceFailsTheRequestOnce) {
    geoClue->holding = QStringLiteral("Start");
    service.startUpdatingLocation();
    ASSERT_TRUE(loop.runUntil([this] { return geoClue->calls.contains(QStringLiteral("Start")); }));
    geoClue->refuse();
    geoClue.reset();
    // Both are here before the first is heard.
    EXPECT_FALSE(other().interface()->isServiceRegistered(geoClueName));
    EXPECT_TRUE(loop.runUntil([this] { return listener.failures > 0; }));
    loop.runFor(milliseconds(50));
    EXPECT_EQ(listener.failures, 1);
}

TEST_F(GeoClueConversationTest, WithoutADelegateNobodyIsTold) {
    service.setDelegate(nullptr);
    service.startUpdatingLocation();
    ASSERT_TRUE(loop.runUntil([this] { return geoClue->calls.contains(QStringLiteral("GetAll")); }));
    loop.runFor(milliseconds(50));
    geoClue.reset();
    loop.runFor(milliseconds(50));
    EXPECT_TRUE(listener.fixes.empty());
    EXPECT_EQ(listener.failures, 0);
}

TEST_F(GeoClueConversationTest, AnAnswerToAskingForTheClientThatIsNoClientFails) {
    geoClue->client = QStringLiteral("client");
    expectFailureAndThenAFix();
}

TEST_F(GeoClueConversationTest, ThePolesAndTheDateLineArePlaces) {
    constexpr Location ends{.latitude = -90, .longitude = 180};
    geoClue->location = ScriptedGeoClue::place(ends.latitude, ends.longitude);
    service.startUpdatingLocation();
    ASSERT_TRUE(loop.runUntil([this] { return !listener.fixes.empty(); }));
    EXPECT_EQ(listener.fixes, std::vector{ends});
}

class GeoClueLocationServiceBadAddressTest : public testing::TestWithParam<const char*> {};

TEST_P(GeoClueLocationServiceBadAddressTest, FailsAtEveryRequest) {
    setenv("DBUS_SYSTEM_BUS_ADDRESS", GetParam(), 1);
    test::QtLoop loop;
    Listener listener;
    GeoClueLocationService service;
    service.setDelegate(&listener);
    for (int failures = 1; failures <= 2; ++failures) {
        service.startUpdatingLocation();
        EXPECT_TRUE(loop.runUntil([&] { return listener.failures == failures; }));
    }
}

INSTANTIATE_TEST_SUITE_P(Each, GeoClueLocationServiceBadAddressTest,
                         testing::Values("unix:path=/nonexistent/bus", "nonsense", "unix:", "tcp:host=,port=1"));

struct Junk {
    const char* name;
    QVariant location;

    friend std::ostream& operator<<(std::ostream& stream, const Junk& each) { return stream << each.name; }
};

class GeoClueJunkTest : public GeoClueConversationTest, public testing::WithParamInterface<Junk> {};

TEST_P(GeoClueJunkTest, FailsAndTheNextRequestIsAnswered) {
    geoClue->location = GetParam().location;
    expectFailureAndThenAFix();
}

constexpr double infinite = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

INSTANTIATE_TEST_SUITE_P(
    Each, GeoClueJunkTest,
    testing::Values(Junk{"NoNumberInLatitude", ScriptedGeoClue::place(notANumber, 13.0)},
                    Junk{"NoNumberInLongitude", ScriptedGeoClue::place(52.0, notANumber)},
                    Junk{"InfiniteLatitude", ScriptedGeoClue::place(-infinite, 13.0)},
                    Junk{"InfiniteLongitude", ScriptedGeoClue::place(52.0, infinite)},
                    Junk{"NorthOfThePole", ScriptedGeoClue::place(std::nextafter(90.0, 91.0), 13.0)},
                    Junk{"SouthOfThePole", ScriptedGeoClue::place(-1e300, 13.0)},
                    Junk{"BeyondTheDateLine", ScriptedGeoClue::place(52.0, std::nextafter(180.0, 181.0))},
                    Junk{"BeyondTheDateLineInTheWest", ScriptedGeoClue::place(52.0, -1000.0)},
                    Junk{"WholeNumbers", ScriptedGeoClue::place(52, 13)},
                    Junk{"Texts", ScriptedGeoClue::place(QStringLiteral("52"), QStringLiteral("13"))},
                    Junk{"Nothing", QVariantMap()}, Junk{"NoDictionary", QStringLiteral("52 13")}),
    [](const auto& each) { return each.param.name; });

} // namespace
} // namespace nocta
