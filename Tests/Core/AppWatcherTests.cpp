#include "Core/AppWatcher.h"

#include "AppWatcherInspector.h"
#include "Core/AppState.h"
#include "Core/ExpectedFade.h"
#include "Core/FilterEngine.h"
#include "Core/FilterEngineInspector.h"
#include "FreshPlatform.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

namespace nocta {
namespace {

/// How many frames the engine draws for a fade of that length.
int framesOf(double seconds) {
    return static_cast<int>(seconds * 30.0);
}

/// Two applications: one for reading, whose profile is Sleep, and a plain one without a profile.
class Watcher : public testing::Test {
  protected:
    Watcher() {
        state().appProfiles = ProfileMap{{reader, "sleep"}};
        AppWatcher::shared().start();
    }

    static AppState& state() { return AppState::shared(); }

    void activate(std::optional<std::string> application) {
        platform.workspace.activate(std::move(application));
        platform.advance(Seconds(0));
    }

    /// Puts that preset on the screen as its card does, and lets its fade end.
    void choose(const std::string& id) {
        state().activePresetID = id;
        FilterEngine::shared().applyImmediate(state().effectiveTemp(), state().effectiveBrightness());
        platform.advance(Seconds(0));
    }

    /// Lets ten seconds pass: longer than any fade.
    void settle() { platform.advance(Seconds(10)); }

    /// Whether a fade has been started that takes exactly so long and ends with these values.
    void expectFade(std::int64_t kelvin, double brightness, double seconds) {
        const int before = platform.displays.flushes();
        ASSERT_TRUE(engine.hasTimer());
        EXPECT_TRUE(areNear(engine.pending().value(), factorsOf(kelvin, brightness))) << *engine.pending();
        settle();
        EXPECT_EQ(platform.displays.flushes() - before, framesOf(seconds));
        EXPECT_TRUE(areNear(engine.current(), factorsOf(kelvin, brightness))) << engine.current();
    }

    void expectNothing() {
        EXPECT_FALSE(engine.hasTimer());
        const int before = platform.displays.flushes();
        settle();
        EXPECT_EQ(platform.displays.flushes(), before);
    }

    static constexpr const char* reader = "org.example.Reader";
    static constexpr const char* plain = "org.example.Plain";

    SimulatedPlatform& platform = freshPlatform();
    FilterEngineInspector engine{FilterEngine::shared()};
};

TEST_F(Watcher, FadesToAProfilesPresetInThePresetsOwnTimeAndOnlyOnce) {
    activate(reader);
    expectFade(1900, 0.5, 3.0);
    activate(reader);
    expectNothing();
}

TEST_F(Watcher, ARepeatedActivationDoesNotRestartAFade) {
    activate(reader);
    platform.advance(Seconds(1));
    activate(reader);
    const int before = platform.displays.flushes();
    settle();
    EXPECT_EQ(platform.displays.flushes() - before, framesOf(2.0)) << "what was left of it";
}

TEST_F(Watcher, FadesBackToTheActivePresetForAnApplicationWithoutAProfile) {
    choose("dusk");
    activate(reader);
    expectFade(1900, 0.5, 3.0);
    activate(plain);
    expectFade(3400, 0.8, 2.0);
}

TEST_F(Watcher, TheFadeBackTakesTwoSecondsWhateverThePresetsOwnTime) {
    state().activePresetID = "sleep"; // its own: 3 s
    activate(plain);
    expectFade(1900, 0.5, 2.0);
}

TEST_F(Watcher, AppliesTheActivePresetAgainForEveryApplicationWithoutAProfile) {
    choose("dusk");
    activate(plain);
    expectNothing(); // Dusk is on the screen already
    FilterEngine::shared().applyImmediate(2700, 0.7);
    activate("org.example.Other");
    expectFade(3400, 0.8, 2.0);
}

TEST_F(Watcher, AnActivationWhileTheFilterIsOffCountsAsHandled) {
    state().filterEnabled = false;
    settle();
    activate(reader);
    expectNothing();
    state().filterEnabled = true;
    settle();
    activate(reader);
    expectNothing();
    activate(plain);
    activate(reader);
    expectFade(1900, 0.5, 3.0);
}

TEST_F(Watcher, AProfileThatNamesNoBuiltInPresetIsNone) {
    choose("dusk");
    for (const char* id : {"custom", "Sleep", "", "moonlight"}) {
        state().appProfiles = ProfileMap{{reader, id}};
        FilterEngine::shared().applyImmediate(2700, 0.7);
        activate(reader);
        expectFade(3400, 0.8, 2.0);
        activate(plain);
        settle();
    }
}

TEST_F(Watcher, WhileCustomValuesAreInForceAnApplicationWithoutAProfileGetsNatural) {
    state().customTemp = 3000;
    state().customBrightness = 0.6;
    choose("custom");
    activate(plain);
    expectFade(6500, 1.0, 2.0);
}

TEST_F(Watcher, ComparesIdentifiersExactly) {
    state().appProfiles = ProfileMap{{"org.example.reader", "sleep"}, {"org.example.Reader ", "sleep"}};
    choose("dusk");
    activate(reader);
    expectNothing();
    activate("org.example.reader");
    expectFade(1900, 0.5, 3.0);
}

TEST_F(Watcher, AnApplicationWithoutAnIdentifierCausesNothingAndIsForgotten) {
    activate(reader);
    settle();
    activate(std::nullopt);
    expectNothing();
    activate(reader);
    expectNothing(); // it was the last one handled
}

TEST_F(Watcher, TheEmptyIdentifierCountsAsHandledBeforeTheFirstApplication) {
    state().appProfiles = ProfileMap{{"", "sleep"}};
    activate("");
    expectNothing();
    activate(plain);
    settle();
    activate("");
    expectFade(1900, 0.5, 3.0);
}

TEST_F(Watcher, ReactsAtTheNextTurnOfTheRunLoop) {
    platform.workspace.activate(reader);
    EXPECT_FALSE(engine.hasTimer());
    platform.advance(Seconds(0));
    EXPECT_TRUE(engine.hasTimer());
}

TEST_F(Watcher, ChangesNoSetting) {
    choose("dusk");
    const auto writes = platform.settings.writes().size();
    activate(reader);
    activate(plain);
    settle();
    EXPECT_EQ(state().activePresetID.get(), "dusk");
    EXPECT_EQ(platform.settings.writes().size(), writes);
}

TEST_F(Watcher, StoppedItReactsToNothing) {
    AppWatcher::shared().stop();
    EXPECT_EQ(platform.workspace.observers(), 0U);
    activate(reader);
    expectNothing();
    AppWatcher::shared().stop();
    EXPECT_EQ(platform.workspace.observers(), 0U);
}

TEST_F(Watcher, AReactionThatIsDueHappensAlsoAfterAStop) {
    platform.workspace.activate(reader);
    AppWatcher::shared().stop();
    platform.advance(Seconds(0));
    expectFade(1900, 0.5, 3.0);
}

TEST_F(Watcher, StartedAgainItStillIgnoresTheApplicationHandledLast) {
    activate(reader);
    settle();
    AppWatcher::shared().stop();
    AppWatcher::shared().start();
    activate(plain);
    settle();
    activate(reader);
    expectFade(1900, 0.5, 3.0);
    AppWatcher::shared().stop();
    FilterEngine::shared().applyImmediate(6500, 1.0);
    AppWatcher::shared().start();
    activate(reader);
    expectNothing();
}

TEST_F(Watcher, StartedTwiceItHasTwoObserversOfWhichStopRemovesTheSecond) {
    AppWatcher::shared().start();
    EXPECT_EQ(platform.workspace.observers(), 2U);
    AppWatcher::shared().stop();
    EXPECT_EQ(platform.workspace.observers(), 1U);
    activate(reader);
    expectFade(1900, 0.5, 3.0);
}

TEST_F(Watcher, WithoutAWorkspaceStartDoesNothing) {
    auto record = Platform::current();
    record.workspace = nullptr;
    Platform::install(record);
    const auto watcher = AppWatcherInspector::makeWatcher();
    watcher->start();
    watcher->stop();
    EXPECT_EQ(platform.workspace.observers(), 1U) << "the shared one's";
}

// --- Any sequence ---

/// What a person does, as far as the watcher minds.
struct Command {
    enum class Kind : std::uint8_t { activate, switchFilter, choose, assignProfile };
    Kind kind = Kind::activate;
    std::optional<std::string> application; ///< to activate, or whose profile is assigned
    std::string preset;
    bool isOn = false;

    friend std::ostream& operator<<(std::ostream& stream, const Command& command) {
        switch (command.kind) {
        case Kind::activate:
            return stream << "activate " << command.application.value_or("(none)");
        case Kind::switchFilter:
            return stream << "filter " << (command.isOn ? "on" : "off");
        case Kind::choose:
            return stream << "choose " << command.preset;
        default:
            return stream << "profile " << command.application.value_or("a") << " = " << command.preset;
        }
    }
};

rc::Gen<Command> genCommand() {
    using Kind = Command::Kind;
    const std::vector<std::optional<std::string>> applications{"a", "b", "c", "", std::nullopt};
    const std::vector<std::string> presets{"natural", "focus", "dusk", "evening", "sleep", "cinema", "custom", "Dusk"};
    return rc::gen::apply(
        [](Kind kind, std::optional<std::string> application, std::string preset, bool isOn) {
            return Command{kind, std::move(application), std::move(preset), isOn};
        },
        rc::gen::weightedElement<Kind>(
            {{6, Kind::activate}, {1, Kind::switchFilter}, {1, Kind::choose}, {1, Kind::assignProfile}}),
        rc::gen::elementOf(applications), rc::gen::elementOf(presets), rc::gen::arbitrary<bool>());
}

struct Request {
    std::int64_t temp = 0;
    double brightness = 0;
    double seconds = 0;
};

/// The rule, said once more: what an activation asks of the filter.
struct Model {
    std::string last;
    bool isOn = true;
    std::string active = "natural";
    std::vector<std::pair<std::string, std::string>> profiles;

    std::optional<Request> activate(const std::optional<std::string>& application) {
        if (!application || *application == last) {
            return std::nullopt;
        }
        last = *application;
        if (!isOn) {
            return std::nullopt;
        }
        const auto profile =
            std::find_if(profiles.rbegin(), profiles.rend(), [this](const auto& each) { return each.first == last; });
        if (profile != profiles.rend()) {
            if (const auto* preset = find(profile->second)) {
                return Request{preset->colorTemp, preset->brightness, preset->transitionSecs};
            }
        }
        const auto* preset = find(active);
        return preset != nullptr ? Request{preset->colorTemp, preset->brightness, 2.0} : Request{6500, 1.0, 2.0};
    }

    static const Preset* find(const std::string& id) {
        for (const auto& preset : Preset::builtIn) {
            if (preset.id == id) {
                return &preset;
            }
        }
        return nullptr;
    }
};

RC_GTEST_PROP(WatcherModel, EverySequenceOfActivationsFollowsTheRule, ()) {
    static SimulatedPlatform& platform = freshPlatform();
    auto& state = AppState::shared();
    auto& filter = FilterEngine::shared();
    const FilterEngineInspector engine(filter);
    const auto watcher = AppWatcherInspector::makeWatcher();
    state.activePresetID = "natural";
    state.customTemp = 3000;
    state.appProfiles = ProfileMap{};
    state.filterEnabled = true;
    platform.advance(Seconds(10));
    watcher->start();

    Model model;
    const auto commands = *rc::gen::container<std::vector<Command>>(genCommand());
    for (const auto& command : commands) {
        switch (command.kind) {
        case Command::Kind::activate: {
            const auto before = engine.current();
            const int flushes = platform.displays.flushes();
            const auto request = model.activate(command.application);
            platform.workspace.activate(command.application);
            platform.advance(Seconds(10));
            const auto target = request ? factorsOf(request->temp, request->brightness) : before;
            const bool isThere = areNear(before, target);
            RC_ASSERT(areNear(engine.current(), target));
            RC_ASSERT(platform.displays.flushes() - flushes == (isThere ? 0 : framesOf(request->seconds)));
            break;
        }
        case Command::Kind::switchFilter:
            model.isOn = command.isOn;
            state.filterEnabled = command.isOn;
            break;
        case Command::Kind::choose:
            model.active = command.preset;
            state.activePresetID = command.preset;
            filter.applyImmediate(state.effectiveTemp(), state.effectiveBrightness());
            break;
        case Command::Kind::assignProfile: {
            const std::string application = command.application.value_or("a");
            model.profiles.emplace_back(application, command.preset);
            auto profiles = state.appProfiles.get();
            profiles[application] = command.preset;
            state.appProfiles = profiles;
            break;
        }
        }
        platform.advance(Seconds(10));
    }
}

} // namespace
} // namespace nocta
