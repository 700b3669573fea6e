#include "Core/Signal.h"

#include "Core/Property.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace nocta {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(Signal, EmittingWithoutCallbacksDoesNothing) {
    Signal<int> signal;
    EXPECT_NO_FATAL_FAILURE(signal.emit(1));
    std::vector<int> received;
    const auto subscription = signal.connect([&](int value) { received.push_back(value); });
    EXPECT_THAT(received, IsEmpty()); // what was emitted before is not made up for
}

TEST(Signal, CallbacksAreCalledInOrderOfConnectionWithTheArguments) {
    Signal<int, const std::string&> signal;
    std::vector<std::string> calls;
    const auto first =
        signal.connect([&](int n, const std::string& s) { calls.push_back("1" + s + std::to_string(n)); });
    const auto second =
        signal.connect([&](int n, const std::string& s) { calls.push_back("2" + s + std::to_string(n)); });
    signal.emit(7, "x");
    signal.emit(8, "y");
    EXPECT_THAT(calls, ElementsAre("1x7", "2x7", "1y8", "2y8"));
}

TEST(Signal, DestroyingASubscriptionEndsOnlyIt) {
    Signal<> signal;
    int first = 0;
    int second = 0;
    auto doomed = std::make_unique<Subscription>(signal.connect([&] { ++first; }));
    const auto kept = signal.connect([&] { ++second; });
    signal.emit();
    doomed.reset();
    signal.emit();
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 2);
}

TEST(Signal, AMovedSubscriptionKeepsItsCallback) {
    Signal<> signal;
    int calls = 0;
    Subscription outer;
    {
        Subscription inner = signal.connect([&] { ++calls; });
        outer = std::move(inner);
    }
    signal.emit();
    EXPECT_EQ(calls, 1);
}

TEST(Signal, AssigningASubscriptionEndsTheOneItHeld) {
    Signal<> signal;
    int old = 0;
    int fresh = 0;
    Subscription subscription = signal.connect([&] { ++old; });
    subscription = signal.connect([&] { ++fresh; });
    signal.emit();
    EXPECT_EQ(old, 0);
    EXPECT_EQ(fresh, 1);
}

TEST(Signal, ACallbackMayEndItself) {
    Signal<> signal;
    int calls = 0;
    int after = 0;
    const auto captured = std::make_shared<int>(42);
    std::optional<Subscription> subscription;
    // By value, so that it dies with the callback unless that is kept alive while it runs.
    subscription = signal.connect([&calls, &subscription, captured] {
        subscription.reset();
        calls += *captured;
    });
    const auto following = signal.connect([&] { ++after; });
    signal.emit();
    signal.emit();
    EXPECT_EQ(calls, 42);
    EXPECT_EQ(after, 2);
    EXPECT_EQ(captured.use_count(), 1);
}

TEST(Signal, ACallbackMayEndOneThatIsStillToCome) {
    Signal<> signal;
    int later = 0;
    std::optional<Subscription> victim;
    const auto killer = signal.connect([&] { victim.reset(); });
    victim = signal.connect([&] { ++later; });
    signal.emit();
    EXPECT_EQ(later, 0);
}

TEST(Signal, ACallbackConnectedDuringAnEmissionIsFirstCalledInTheNext) {
    Signal<> signal;
    std::vector<Subscription> added;
    int calls = 0;
    const auto adder = signal.connect([&] {
        if (added.empty()) {
            added.push_back(signal.connect([&] { ++calls; }));
        }
    });
    signal.emit();
    EXPECT_EQ(calls, 0);
    signal.emit();
    EXPECT_EQ(calls, 1);
}

TEST(Signal, ACallbackMayEmitAgain) {
    Signal<int> signal;
    std::vector<int> first;
    std::vector<int> second;
    const auto nesting = signal.connect([&](int depth) {
        first.push_back(depth);
        if (depth < 3) {
            signal.emit(depth + 1);
        }
    });
    const auto plain = signal.connect([&](int depth) { second.push_back(depth); });
    signal.emit(1);
    EXPECT_THAT(first, ElementsAre(1, 2, 3));
    EXPECT_THAT(second, ElementsAre(3, 2, 1));
}

TEST(Signal, AnEmissionInsideAnotherOneForgetsEndedCallbacksAndSkipsNone) {
    Signal<> signal;
    int last = 0;
    bool isInside = false;
    auto ended = std::make_unique<Subscription>(signal.connect([] {}));
    const auto nesting = signal.connect([&] {
        if (!std::exchange(isInside, true)) {
            ended.reset();
            signal.emit();
        }
    });
    const auto following = signal.connect([&] { ++last; });
    signal.emit();
    EXPECT_EQ(last, 2);
}

TEST(Signal, ASubscriptionMayOutliveItsSignal) {
    auto signal = std::make_unique<Signal<>>();
    int calls = 0;
    auto subscription = std::make_unique<Subscription>(signal->connect([&] { ++calls; }));
    signal->emit();
    signal.reset();
    subscription.reset();
    EXPECT_EQ(calls, 1);
}

struct Thermostat : ObservableObject {
    Property<int> target{*this, 20};
    Property<std::string> name{*this, "hall"};
};

TEST(Property, StartsWithItsInitialValueAndTellsNobody) {
    Thermostat thermostat;
    int calls = 0;
    const auto subscription = thermostat.target.observe([&](int) { ++calls; });
    EXPECT_EQ(thermostat.target.get(), 20);
    EXPECT_EQ(calls, 0);
}

TEST(Property, WillChangeComesWhileTheOldValueStandsAndTheValueAfter) {
    Thermostat thermostat;
    std::vector<std::string> log;
    const auto will =
        thermostat.observeWillChange([&] { log.push_back("will " + std::to_string(thermostat.target.get())); });
    const auto did = thermostat.target.observe([&](int value) {
        log.push_back("did " + std::to_string(value) + " " + std::to_string(thermostat.target.get()));
    });
    thermostat.target = 23;
    EXPECT_THAT(log, ElementsAre("will 20", "did 23 23"));
}

TEST(Property, AnEqualValueCountsAsAnAssignment) {
    Thermostat thermostat;
    int wills = 0;
    std::vector<int> values;
    const auto will = thermostat.observeWillChange([&] { ++wills; });
    const auto did = thermostat.target.observe([&](int value) { values.push_back(value); });
    thermostat.target = 20;
    thermostat.target = 20;
    EXPECT_EQ(wills, 2);
    EXPECT_THAT(values, ElementsAre(20, 20));
}

TEST(Property, AStreamTellsOfItsOwnPropertyOnly) {
    Thermostat thermostat;
    int wills = 0;
    int targets = 0;
    const auto will = thermostat.observeWillChange([&] { ++wills; });
    const auto did = thermostat.target.observe([&](int) { ++targets; });
    thermostat.name = "attic";
    EXPECT_EQ(wills, 1);
    EXPECT_EQ(targets, 0);
    EXPECT_EQ(thermostat.name.get(), "attic");
}

TEST(Property, TheOwnersReactionComesAfterTheObservers) {
    struct Owner : ObservableObject {
        std::vector<std::string> log;
        Property<int> value{*this, 0, [this] { log.push_back("reaction " + std::to_string(value.get())); }};
    } owner;
    const auto did = owner.value.observe([&](int value) { owner.log.push_back("observer " + std::to_string(value)); });
    owner.value = 5;
    EXPECT_THAT(owner.log, ElementsAre("observer 5", "reaction 5"));
}

TEST(Property, WhereAnObserverAssignsAgainEveryObserverEndsWithTheNewestValue) {
    Thermostat thermostat;
    int lastSeen = 0;
    const auto limiter = thermostat.target.observe([&](int value) {
        if (value > 25) {
            thermostat.target = 25;
        }
    });
    const auto display = thermostat.target.observe([&](int value) { lastSeen = value; });
    thermostat.target = 30;
    EXPECT_EQ(thermostat.target.get(), 25);
    EXPECT_EQ(lastSeen, 25);
}

} // namespace
} // namespace nocta
