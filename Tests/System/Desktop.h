#pragma once

#include "Home.h"
#include "Support/DrivenDisplays.h"
#include "Support/Eventually.h"
#include "Support/Process.h"
#include "Support/SessionBus.h"
#include "Support/XServer.h"

#include <algorithm>
#include <cmath>
#include <csignal>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace nocta::test {

/// What every display shows at these factors: straight ramps, scaled and rounded to 16 bits. Written anew here, from
/// what the tables mean, so that it can disagree with the program.
inline Ramps straightRamps(double r, double g, double b, double brightness) {
    Ramps values;
    for (const double factor : {r, g, b}) {
        for (int i = 0; i < 256; ++i) {
            const auto level =
                static_cast<float>(static_cast<double>(static_cast<float>(i) / 255.0F) * factor * brightness);
            values.push_back(static_cast<std::uint16_t>(std::lround(static_cast<double>(level) * 65535.0)));
        }
    }
    return values;
}

/// The ramps of a colour temperature below 6600 K, where red is full.
inline Ramps warmRamps(double kelvin, double brightness) {
    const double t = kelvin / 100;
    const double green = (99.4708025861 * std::log(t) - 161.1195681661) / 255;
    const double blue = t <= 19 ? 0.0 : (138.5177312231 * std::log(t - 10) - 305.0447927307) / 255;
    return straightRamps(1.0, green, blue, brightness);
}

/// Those of presets.
inline const Ramps natural = warmRamps(6500, 1.0);
inline const Ramps focus = warmRamps(5000, 0.9);
inline const Ramps dusk = warmRamps(3400, 0.8);
inline const Ramps evening = warmRamps(2700, 0.7);
inline const Ramps sleep = warmRamps(1900, 0.5);

/// A person's session: an X server with three monitors of peculiar calibration, a bus, a home; and Nocta in it.
class Desktop : public Home {
  protected:
    Desktop() {
        displays.plug(3);
        calibration = displays.allRamps();
    }

    using Home::startDrivenNocta;
    /// And whose timers run that many times as fast.
    [[nodiscard]] std::unique_ptr<Process> startDrivenNocta(int factor) const {
        return start("driven-nocta", {std::to_string(factor)});
    }

    /// Waits for the popover that a launch shows, and closes it by its key: it has the keyboard.
    static void closePopover() {
        const auto isShown = [] {
            Process search({"xdotool", "search", "--onlyvisible", "--name", "^Nocta$"});
            return search.waitForEnd() == Ending{.exitStatus = 0};
        };
        EXPECT_TRUE(eventually(isShown));
        EXPECT_TRUE(eventually([&] {
            Process({"xdotool", "key", "Escape"}).waitForEnd();
            return !isShown();
        }));
    }

    /// Kills both, so that neither sees the other's end: Nocta is stopped first.
    static void killWithItsGuard(Process& nocta) {
        nocta.signal(SIGSTOP);
        for (const auto guard : nocta.children("nocta-guard")) {
            kill(guard, SIGKILL);
        }
        nocta.signal(SIGKILL);
        nocta.waitForEnd();
    }

    [[nodiscard]] bool everyDisplayShows(const Ramps& ramps) const {
        const auto all = displays.allRamps();
        return std::ranges::all_of(all, [&](const auto& entry) { return entry.second == ramps; });
    }

    [[nodiscard]] bool everyDisplayBecomes(const Ramps& ramps) const {
        return eventually([&] { return everyDisplayShows(ramps); });
    }

    [[nodiscard]] bool isCalibrated() const { return displays.allRamps() == calibration; }
    [[nodiscard]] bool becomesCalibrated(std::chrono::milliseconds patience = std::chrono::seconds(10)) const {
        return eventually([this] { return isCalibrated(); }, patience);
    }

    XServer xServer;
    SessionBus bus;
    DrivenDisplays displays;
    std::map<xcb_randr_crtc_t, Ramps> calibration;
};

/// Ten times what may pass between an end, or a change of displays, and its answer on the screen: room for a machine
/// that is busy, none for a program that waits.
inline constexpr std::chrono::milliseconds promptly{1000};

inline constexpr Ending cleanExit{.exitStatus = 0};
inline constexpr Ending failedStart{.exitStatus = 1};

} // namespace nocta::test
