// The whole program, with a person's hand in its standard input: one command a line.
//
// driven-nocta [FACTOR [BEGIN]]: Core's timers run that many times as fast; fades of windows keep their time. With
// BEGIN, seconds since 1970, so does the wall clock, from then on.

#include "App/AppDelegate.h"
#include "App/Program.h"
#include "Core/AppState.h"
#include "Core/BreakEngine.h"
#include "Core/CircadianScheduler.h"
#include "Core/FatalError.h"
#include "Core/FilterEngine.h"
#include "Platform/Application.h"
#include "Platform/Clock.h"
#include "Platform/Platform.h"
#include "Platform/RunLoop.h"

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <span>
#include <sstream>
#include <string>
#include <utility>

#include <QAccessible>
#include <QGuiApplication>
#include <QPoint>
#include <QString>
#include <QWindow>

#include <unistd.h>

namespace {

using namespace nocta; // NOLINT(google-build-using-namespace)

/// A run loop on which what takes minutes takes moments.
class HastyRunLoop final : public RunLoop {
  public:
    HastyRunLoop(RunLoop& loop, double factor) : loop(loop), factor(factor) {}

    /// For timers that are made from now on.
    void setFactor(double newFactor) { factor = newFactor; }

    std::unique_ptr<Timer> oneShot(Seconds delay, std::function<void()> callback) override {
        return loop.oneShot(delay / factor, std::move(callback));
    }
    std::unique_ptr<Timer> repeating(Seconds interval, TimerPrecision precision,
                                     std::function<void()> callback) override {
        return loop.repeating(interval / factor, precision, std::move(callback));
    }
    void async(std::function<void()> task) override { loop.async(std::move(task)); }
    std::unique_ptr<RunLoopSource> watch(int descriptor, std::function<void()> callback) override {
        return loop.watch(descriptor, std::move(callback));
    }

  private:
    RunLoop& loop;
    double factor;
};

/// A wall clock that goes as fast.
class HastyClock final : public Clock {
  public:
    HastyClock(Instant begin, double factor) : begin(begin), factor(factor) {}

    [[nodiscard]] Instant now() const override {
        return begin + Seconds(std::chrono::steady_clock::now() - start) * factor;
    }

  private:
    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
    Instant begin;
    double factor;
};

/// The first of that name below `item`, as screen readers see it.
QAccessibleInterface* findBelow(const QAccessibleInterface& item, const QString& name) {
    for (int i = 0; i < item.childCount(); ++i) {
        auto* const child = item.child(i);
        if (child == nullptr || child->state().invisible) {
            continue;
        }
        if (child->text(QAccessible::Name) == name) {
            return child;
        }
        if (auto* const found = findBelow(*child, name)) {
            return found;
        }
    }
    return nullptr;
}

/// The name of what has the keyboard; empty where nothing has.
std::string nameOfFocus() {
    auto* const focus = QGuiApplication::focusObject();
    const auto* const found = focus != nullptr ? QAccessible::queryAccessibleInterface(focus) : nullptr;
    return found != nullptr ? found->text(QAccessible::Name).toStdString() : std::string();
}

/// The middle of what bears that name in a window that is shown, in pixels of the screen.
std::optional<QPoint> findOnScreen(const QString& name) {
    for (auto* const window : QGuiApplication::topLevelWindows()) {
        const auto* const root = window->isVisible() ? QAccessible::queryAccessibleInterface(window) : nullptr;
        if (const auto* const found = root != nullptr ? findBelow(*root, name) : nullptr) {
            return found->rect().center();
        }
    }
    return std::nullopt;
}

class Hand final : public ApplicationDelegate {
  public:
    Hand(double factor, std::optional<Instant> begin) : factor(factor), begin(begin) {}

    void applicationDidFinishLaunching() override {
        Platform platform = Platform::current();
        hastyLoop.emplace(*platform.runLoop, factor);
        platform.runLoop = &*hastyLoop;
        if (begin) {
            hastyClock.emplace(*begin, factor);
            platform.clock = &*hastyClock;
        }
        Platform::install(platform);
        program.applicationDidFinishLaunching();
        commandWatch = Platform::current().runLoop->watch(STDIN_FILENO, [this] { readCommands(); });
    }

    void cyclePreset() { program.cyclePreset(); }

    void applicationWillTerminate() override { program.applicationWillTerminate(); }

    bool applicationShouldHandleReopen(bool hasVisibleWindows) override {
        return program.applicationShouldHandleReopen(hasVisibleWindows);
    }

  private:
    void readCommands() {
        std::array<char, 4096> buffer{};
        const auto count = read(STDIN_FILENO, buffer.data(), buffer.size());
        if (count <= 0) {
            commandWatch.reset();
            return;
        }
        text.append(buffer.data(), static_cast<std::size_t>(count));
        for (auto end = text.find('\n'); end != std::string::npos; end = text.find('\n')) {
            carryOut(text.substr(0, end));
            text.erase(0, end + 1);
        }
    }

    void carryOut(const std::string& line) {
        std::istringstream words(line);
        std::string command;
        words >> command;
        auto& state = AppState::shared();
        const std::map<std::string, std::function<void()>> commands{
            {"preset",
             [&] {
                 std::string id;
                 words >> id;
                 choose(*builtInPreset(id));
             }},
            {"apply",
             [&] {
                 std::int64_t temp = 0;
                 double brightness = 0;
                 double seconds = 0;
                 words >> temp >> brightness >> seconds;
                 FilterEngine::shared().apply(temp, brightness, seconds);
             }},
            {"filter",
             [&] {
                 std::string word;
                 words >> word;
                 state.filterEnabled = word == "on";
             }},
            {"profiles",
             [&] {
                 int count = 0;
                 words >> count;
                 ProfileMap profiles;
                 for (int i = 0; i < count; ++i) {
                     profiles["org.example.Application" + std::to_string(i)] = "focus";
                 }
                 state.appProfiles = profiles;
             }},
            {"interval",
             [&] {
                 std::int64_t minutes = 0;
                 words >> minutes;
                 state.breakIntervalMinutes = minutes;
             }},
            {"locate", [] { CircadianScheduler::shared().requestLocation(); }},
            {"break", // at the next turn of the loop; the one after it is far away
             [&] {
                 state.breakIntervalMinutes = 0;
                 BreakEngine::shared().restartTimer();
                 state.breakIntervalMinutes = 100'000;
             }},
            {"restart", [] { BreakEngine::shared().restartTimer(); }},
            {"hurry",
             [&] {
                 double newFactor = 1;
                 words >> newFactor;
                 hastyLoop->setFactor(newFactor);
             }},
            {"skip", [] { BreakEngine::shared().skipBreak(); }},
            {"tallies",
             [&] {
                 std::cerr << state.breaksTaken.get() << " taken, " << state.breaksSkipped.get() << " skipped"
                           << std::endl;
             }},
            {"where",
             [&] {
                 std::string name;
                 std::getline(words >> std::ws, name);
                 const auto place = findOnScreen(QString::fromStdString(name));
                 std::cerr << (place ? std::to_string(place->x()) + " " + std::to_string(place->y()) : "nowhere")
                           << std::endl;
             }},
            {"focus", [] { std::cerr << nameOfFocus() << std::endl; }},
            {"keyboard",
             [] { std::cerr << (QGuiApplication::focusWindow() != nullptr ? "ours" : "others'") << std::endl; }},
            {"reset", [] { FilterEngine::shared().resetAllDisplays(); }},
            {"quit", [] { Platform::current().application->terminate(); }},
            {"abort", [] { std::abort(); }},
            {"crash", [] { raise(SIGSEGV); }},
            {"fatal", [] { fatalError("asked for"); }},
            {"time",
             [] {
                 std::cerr << static_cast<std::int64_t>(Platform::current().clock->now().time_since_epoch().count())
                           << std::endl;
             }},
            {"overflow", [] { FilterEngine::shared().apply(2000, 0.5, 1e300); }},
            {"restless",
             [&] {
                 words >> random;
                 restlessness = Platform::current().runLoop->repeating(Seconds(0.003), TimerPrecision::frame,
                                                                       [this] { fidget(); });
             }},
        };
        commands.at(command)();
    }

    static void choose(const Preset& preset) {
        AppState::shared().activePresetID = preset.id;
        FilterEngine::shared().apply(preset.colorTemp, preset.brightness, preset.transitionSecs);
    }

    /// One thing that a person may do: fades, sliders, switches.
    void fidget() {
        auto& state = AppState::shared();
        const auto below = [this](std::size_t bound) { return random() % bound; };
        switch (below(6)) {
        case 0:
            choose(Preset::builtIn[below(Preset::builtIn.size())]);
            break;
        case 1:
            state.filterEnabled = below(4) != 0;
            break;
        case 2:
            state.customTemp = 1900 + static_cast<std::int64_t>(below(4600));
            state.activePresetID = "custom";
            FilterEngine::shared().applyInteractive(state.effectiveTemp(), state.effectiveBrightness());
            break;
        case 3:
            state.breakIntervalMinutes = static_cast<std::int64_t>(below(60));
            break;
        case 4:
            state.appProfiles = ProfileMap{{"org.example.Application" + std::to_string(below(1000)), "sleep"}};
            break;
        default:
            break; // a moment's rest: fades go on
        }
    }

    double factor;
    std::optional<Instant> begin;
    std::optional<HastyRunLoop> hastyLoop;
    std::optional<HastyClock> hastyClock;
    AppDelegate program;
    std::unique_ptr<RunLoopSource> commandWatch;
    std::unique_ptr<Timer> restlessness;
    std::minstd_rand random;
    std::string text;
};

} // namespace

int main(int argc, char** argv) {
    const std::span arguments(argv, static_cast<std::size_t>(argc));
    const double factor = arguments.size() > 1 ? std::stod(arguments[1]) : 1;
    const auto begin = arguments.size() > 2 ? std::optional(Instant(Seconds(std::stod(arguments[2])))) : std::nullopt;
    Hand hand(factor, begin);
    return runProgram(argv, hand, [&hand] { hand.cyclePreset(); });
}
