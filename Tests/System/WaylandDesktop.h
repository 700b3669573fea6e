#pragma once

#include "ExpectedRamps.h"
#include "Home.h"
#include "Support/Eventually.h"
#include "Support/Process.h"
#include "Support/SessionBus.h"
#include "Support/Sway.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <optional>
#include <string>

namespace nocta::test {

/// A person's session on sway: a compositor with two screens and gamma tables, a bus, a home.
class WaylandDesktop : public Home {
  protected:
    /// With gamma tables of that size, or a compositor without any.
    explicit WaylandDesktop(std::optional<std::size_t> gammaSize = 1024) : sway(gammaSize) {}

    [[nodiscard]] Process::Environment environment() const override {
        auto variables = Home::environment();
        variables.emplace_back("SWAYSOCK", sway.commandSocket());
        return variables;
    }

    /// Nothing: their own calibration.
    [[nodiscard]] bool everyDisplayShows(const std::optional<Tint>& tint) const {
        const auto outputs = sway.outputs();
        return std::ranges::all_of(outputs, [&](const std::string& output) {
            const auto table = sway.table(output);
            return tint && table ? isTable(*table, *tint) : !tint && !table;
        });
    }
    [[nodiscard]] bool everyDisplayBecomes(const std::optional<Tint>& tint) const {
        // Fades take seconds, and the programs between them where others are busy too.
        return eventually([&] { return everyDisplayShows(tint); }, std::chrono::seconds(30));
    }

    Sway sway;
    SessionBus bus;
};

} // namespace nocta::test
