#pragma once

#include "ExpectedRamps.h"
#include "Home.h"
#include "Support/Eventually.h"
#include "Support/Process.h"
#include "Support/SessionBus.h"
#include "Support/WlrCompositor.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace nocta::test {

/// Those of presets.
inline const Tint natural = warmTint(6500, 1.0);
inline const Tint focus = warmTint(5000, 0.9);
inline const Tint dusk = warmTint(3400, 0.8);
inline const Tint evening = warmTint(2700, 0.7);

/// A person's session on a compositor with two screens and gamma tables, a bus, a home.
class WaylandSession : public Home {
  protected:
    using MakeCompositor = std::function<std::unique_ptr<WlrCompositor>()>;

    explicit WaylandSession(const MakeCompositor& makeCompositor) : compositor(makeCompositor()) {}

    [[nodiscard]] Process::Environment environment() const override {
        auto variables = Home::environment();
        const auto more = compositor->environment();
        variables.insert(variables.end(), more.begin(), more.end());
        return variables;
    }

    /// Nothing: their own calibration.
    [[nodiscard]] bool everyDisplayShows(const std::optional<Tint>& tint) const {
        const auto outputs = compositor->outputs();
        return std::ranges::all_of(outputs, [&](const std::string& output) {
            const auto table = compositor->table(output);
            return tint && table ? isTable(*table, *tint) : !tint && !table;
        });
    }
    [[nodiscard]] bool everyDisplayBecomes(const std::optional<Tint>& tint) const {
        // Fades take seconds, and the programs between them where others are busy too.
        return eventually([&] { return everyDisplayShows(tint); }, std::chrono::seconds(30));
    }

    SessionBus bus; ///< before the compositor, whose programs find it
    std::unique_ptr<WlrCompositor> compositor;
};

/// On each compositor that is installed.
class WaylandDesktop : public WaylandSession, public testing::WithParamInterface<WlrCompositorKind> {
  protected:
    WaylandDesktop() : WaylandSession([] { return GetParam().make(1024); }) {}
};

} // namespace nocta::test
