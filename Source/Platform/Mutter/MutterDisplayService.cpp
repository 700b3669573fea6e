#include "Platform/Mutter/MutterDisplayService.h"

#include <algorithm>
#include <utility>

#include <poll.h>

namespace nocta {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;
using namespace std::chrono_literals;

/// At the start, while the desktop may still be busy with its own.
constexpr milliseconds startPatience = 5s;
constexpr milliseconds restorePatience = 2s;
constexpr milliseconds answerPatience = 1s;
/// For another process of Nocta to let go of the file.
constexpr milliseconds lockPatience = 1s;

milliseconds until(steady_clock::time_point end) {
    return std::max(std::chrono::duration_cast<milliseconds>(end - steady_clock::now()), 1ms);
}

} // namespace

MutterDisplayService::MutterDisplayService(RunLoop& loop, std::string guardProgram)
    : loop(loop),
      guard(loop, std::move(guardProgram)),
      config([this] { displaysChanged(); }, [this](const std::string& name) { becomeSession(name); }),
      owner(CalibrationRecord::randomOwner()) {
    const auto name = config.sessionName(startPatience);
    const auto end = steady_clock::now() + startPatience;
    while (name && !available && steady_clock::now() < end) {
        const auto resources = config.resources(until(end));
        if (!resources) {
            return;
        }
        const auto answer = hasGammaRamp(*resources, until(end));
        if (answer == false) {
            return;
        }
        if (answer) {
            available = true;
            session = *name;
            take(*resources);
            removeLeftTint();
        }
    }
}

std::size_t MutterDisplayService::activeDisplays(std::span<DisplayID> buffer) {
    std::size_t count = 0;
    for (const auto& crtc : crtcs) {
        if (crtc.isActive) {
            if (count < buffer.size()) {
                buffer[count] = displayOf(crtc);
            }
            ++count;
        }
    }
    return count;
}

void MutterDisplayService::load(DisplayID display, std::span<const float> red, std::span<const float> green,
                                std::span<const float> blue) {
    const auto crtc = std::ranges::find(crtcs, display, &displayOf);
    if (crtc == crtcs.end() || !crtc->isActive || (crtc->isKnown && crtc->calibration.empty()) || red.empty()) {
        return;
    }
    loadNewcomers(red, green, blue);
    crtc->wanted = tables;
    crtc->isDirty = true;
}

void MutterDisplayService::loadNewcomers(std::span<const float> red, std::span<const float> green,
                                         std::span<const float> blue) {
    assign(tables, red, green, blue);
}

void MutterDisplayService::flush() {
    send();
}

void MutterDisplayService::reload() {
    if (!tables[0].empty()) {
        refresh();
    }
}

void MutterDisplayService::restoreCalibration() {
    tables = {};
    // Those on their way tell of a screen that may be tinted.
    ++questionRound;
    questions = 0;
    std::vector<CrtcRamps> kept;
    for (auto& crtc : crtcs) {
        crtc.wanted = {};
        crtc.isDirty = false;
        // Also one that only a Nocta before this one has tinted.
        if (!crtc.calibration.empty()) {
            kept.push_back({.crtc = crtc.id, .values = crtc.calibration});
        } else {
            crtc.isKnown = false;
        }
    }
    if (kept.empty()) {
        return;
    }
    const auto left = putBack(std::move(kept));
    for (auto& crtc : crtcs) {
        if (std::ranges::find(left, crtc.id, &CrtcRamps::crtc) == left.end()) {
            crtc.isKnown = false;
            crtc.isSafe = false;
            crtc.calibration.clear();
        }
    }
    if (!left.empty()) {
        return;
    }
    const auto lock = file.lock(lockPatience);
    file.remove();
    // Only now: until mutter has carried it out, a death of this process is still the guard's business.
    guard.withdraw(CalibrationRecord{.owner = owner, .client = 0, .displays = {}}.encode());
}

std::vector<DisplayDescription> MutterDisplayService::describe() {
    std::vector<DisplayDescription> descriptions;
    for (const auto& crtc : crtcs) {
        if (!crtc.isActive) {
            continue;
        }
        const auto ramps =
            crtc.isKnown ? crtc.calibration : config.ramps(serial, crtc.id, answerPatience).value_or(Ramps());
        descriptions.push_back({.id = displayOf(crtc),
                                .name = crtc.name,
                                .tableSize = ramps.size() / 3,
                                .hasTemperature = !ramps.empty(),
                                .hasBrightness = !ramps.empty()});
    }
    return descriptions;
}

MutterDisplayService::Crtc* MutterDisplayService::find(std::uint32_t id) {
    const auto found = std::ranges::find(crtcs, id, &Crtc::id);
    return found == crtcs.end() ? nullptr : &*found;
}

std::optional<bool> MutterDisplayService::hasGammaRamp(const DisplayConfig::Resources& resources,
                                                       milliseconds patience) const {
    for (const auto& crtc : resources.crtcs) {
        const auto ramps = config.ramps(resources.serial, crtc.id, patience);
        if (!ramps) {
            return std::nullopt;
        }
        if (!ramps->empty()) {
            return true;
        }
    }
    return false;
}

void MutterDisplayService::removeLeftTint() {
    const auto lock = file.lock(lockPatience);
    const auto left = file.read();
    if (!left || left->session != session) {
        // Of another session, which went with its ramps.
        file.remove();
        return;
    }
    // A process that has died may still have sent a frame that the bus has not come to. It does before it forgets it.
    constexpr int pauseMilliseconds = 5;
    const auto end = steady_clock::now() + answerPatience;
    while (config.isConnected(left->clientName, until(end)) && steady_clock::now() < end) {
        poll(nullptr, 0, pauseMilliseconds);
    }
    const auto notPutBack = putBack(left->displays);
    for (const auto& display : notPutBack) {
        // It is our tint from now on.
        if (auto* crtc = find(display.crtc)) {
            crtc->isKnown = true;
            crtc->calibration = display.values;
        }
    }
    if (notPutBack.empty()) {
        file.remove();
    }
}

std::vector<CrtcRamps> MutterDisplayService::putBack(std::vector<CrtcRamps> displays) {
    const auto end = steady_clock::now() + restorePatience;
    while (!displays.empty()) {
        std::erase_if(displays, [&](const CrtcRamps& display) {
            const auto present = config.ramps(serial, display.crtc, until(end));
            // Where it is gone, or another one has its number by now, there is nothing to put back.
            return present &&
                   (present->size() != display.values.size() ||
                    config.setRamps(serial, display.crtc, display.values, until(end)) == DisplayConfig::Outcome::done);
        });
        if (displays.empty() || steady_clock::now() >= end) {
            break;
        }
        // The displays have changed meanwhile, or mutter hangs.
        const auto resources = config.resources(until(end));
        if (!resources) {
            break;
        }
        if (resources->serial == serial) {
            std::erase_if(displays, [&](const CrtcRamps& display) {
                return std::ranges::find(resources->crtcs, display.crtc, &DisplayConfig::Crtc::id) ==
                       resources->crtcs.end();
            });
            break;
        }
        take(*resources);
    }
    return displays;
}

void MutterDisplayService::displaysChanged() {
    refresh();
    // mutter itself sets ramps, of a profile or of its night light, when it has found out what belongs to a display.
    constexpr Seconds settling(2);
    settlingTimer = loop.oneShot(settling, [this] { reload(); });
}

void MutterDisplayService::refresh() {
    refreshTimer.reset();
    if (isRefreshing) {
        mustRefreshAgain = true;
        return;
    }
    isRefreshing = true;
    config.askResources([this](const std::optional<DisplayConfig::Resources>& resources) {
        isRefreshing = false;
        if (resources) {
            refreshDelay = Seconds(0);
            take(*resources);
        } else if (!mustRefreshAgain) {
            refreshLater();
        }
        if (std::exchange(mustRefreshAgain, false)) {
            refresh();
        }
    });
}

void MutterDisplayService::take(const DisplayConfig::Resources& resources) {
    serial = resources.serial;
    std::vector<Crtc> present;
    for (const auto& told : resources.crtcs) {
        Crtc crtc;
        crtc.id = told.id;
        if (auto* known = find(told.id)) {
            crtc = *known;
        }
        crtc.name = told.name;
        if (told.isActive && !crtc.isActive) {
            crtc.wanted = {};
        }
        crtc.isActive = told.isActive;
        if (crtc.isActive && !tables[0].empty()) {
            if (crtc.wanted[0].empty()) {
                crtc.wanted = tables;
            }
            // Whatever has changed may have reset its ramp.
            crtc.isDirty = true;
        }
        present.push_back(std::move(crtc));
    }
    for (auto& crtc : crtcs) {
        // One that is not there at the moment still has its calibration, should it come back.
        if (!crtc.calibration.empty() && std::ranges::find(present, crtc.id, &Crtc::id) == present.end()) {
            crtc.isActive = false;
            present.push_back(std::move(crtc));
        }
    }
    std::ranges::sort(present, {}, &Crtc::id);
    crtcs = std::move(present);
    send();
}

void MutterDisplayService::refreshLater() {
    refreshDelay = std::clamp(refreshDelay * 2, Seconds(1), Seconds(60));
    refreshTimer = loop.oneShot(refreshDelay, [this] { refresh(); });
}

void MutterDisplayService::becomeSession(const std::string& name) {
    if (!available) {
        return;
    }
    session = name;
    for (auto& crtc : crtcs) {
        // The same calibration, but a display of another size may have its number.
        crtc.isKnown = false;
        crtc.isSafe = false;
        crtc.refusedSerial.reset();
    }
    ++questionRound;
    questions = 0;
    refreshDelay = Seconds(0);
    refresh();
}

void MutterDisplayService::send() {
    if (tables[0].empty()) {
        return;
    }
    askForCalibration();
    makeSafe();
    for (auto& crtc : crtcs) {
        if (crtc.isActive && crtc.isDirty && crtc.isSafe && !crtc.isUnderWay && crtc.refusedSerial != serial) {
            send(crtc);
        }
    }
}

void MutterDisplayService::askForCalibration() {
    const auto isAskedFor = [this](const Crtc& crtc) {
        return crtc.isActive && !crtc.isKnown && crtc.refusedSerial != serial;
    };
    if (questions > 0 || std::ranges::none_of(crtcs, isAskedFor)) {
        return;
    }
    for (const auto& crtc : crtcs) {
        if (isAskedFor(crtc)) {
            ++questions;
            config.askRamps(serial, crtc.id,
                            [this, id = crtc.id, round = questionRound, asked = serial](DisplayConfig::Outcome outcome,
                                                                                        Ramps ramps) {
                                if (round == questionRound) {
                                    takeCalibration(id, asked, outcome, std::move(ramps));
                                }
                            });
        }
    }
}

void MutterDisplayService::takeCalibration(std::uint32_t id, std::uint32_t askedSerial, DisplayConfig::Outcome outcome,
                                           Ramps ramps) {
    --questions;
    auto* crtc = find(id);
    if (outcome != DisplayConfig::Outcome::done) {
        if (crtc != nullptr && outcome == DisplayConfig::Outcome::refused) {
            crtc->refusedSerial = askedSerial;
        }
        refresh();
    } else if (crtc != nullptr) {
        crtc->isKnown = true;
        // One that was kept before is the true one: mutter may have found our tint on the screen.
        if (crtc->calibration.size() != ramps.size()) {
            crtc->calibration = std::move(ramps);
        }
    }
    if (questions == 0 && !isRefreshing) {
        send();
    }
}

void MutterDisplayService::makeSafe() {
    const auto isUnsafe = [](const Crtc& crtc) { return crtc.isKnown && !crtc.isSafe && !crtc.calibration.empty(); };
    if (questions > 0 || std::ranges::none_of(crtcs, isUnsafe)) {
        return;
    }
    CalibrationRecord record{
        .owner = owner, .client = 0, .displays = {}, .session = session, .clientName = config.clientName()};
    for (const auto& crtc : crtcs) {
        if (crtc.isKnown && !crtc.calibration.empty()) {
            record.displays.push_back({.crtc = crtc.id, .values = crtc.calibration});
        }
    }
    const auto lock = file.lock(lockPatience);
    if (!lock.isHeld()) {
        // The guard of a Nocta before us is at work. What could not be put back is not tinted.
        refreshLater();
        return;
    }
    auto encoded = record.encode();
    file.write(encoded);
    guard.publish(std::move(encoded));
    for (auto& crtc : crtcs) {
        crtc.isSafe = crtc.isKnown && !crtc.calibration.empty();
    }
}

void MutterDisplayService::send(Crtc& crtc) {
    Ramps ramps(crtc.calibration.size());
    fillRamps(crtc.wanted, ramps);
    crtc.isDirty = false;
    crtc.isUnderWay = true;
    config.sendRamps(serial, crtc.id, ramps,
                     [this, id = crtc.id, used = serial](DisplayConfig::Outcome outcome) { sent(id, used, outcome); });
}

void MutterDisplayService::sent(std::uint32_t id, std::uint32_t usedSerial, DisplayConfig::Outcome outcome) {
    auto* crtc = find(id);
    if (crtc == nullptr) {
        return;
    }
    crtc->isUnderWay = false;
    if (outcome == DisplayConfig::Outcome::done) {
        send();
        return;
    }
    if (outcome == DisplayConfig::Outcome::refused) {
        crtc->refusedSerial = usedSerial;
    }
    crtc->isDirty = !crtc->wanted[0].empty();
    refresh();
}

} // namespace nocta
