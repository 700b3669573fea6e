#pragma once

#include "Platform/DisplayService.h"
#include "Platform/RunLoop.h"
#include "Tint.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace nocta::test {

/// Displays of one kind and the service for them: what a test needs to hold every back end to the same contract. Three
/// displays are active at first.
class DisplayBench {
  public:
    DisplayBench() = default;
    DisplayBench(const DisplayBench&) = delete;
    DisplayBench& operator=(const DisplayBench&) = delete;
    virtual ~DisplayBench() = default;

    [[nodiscard]] virtual std::unique_ptr<DisplayService> makeService(RunLoop& loop) = 0;

    /// Entries a channel; 0 where the displays have no gamma tables.
    [[nodiscard]] virtual std::size_t size() const = 0;
    /// Whether it takes seconds until they show what they were loaded with.
    [[nodiscard]] virtual bool isSlow() const { return false; }
    /// Whether the active displays, in the service's order, show that, as nearly as displays of this kind can.
    [[nodiscard]] virtual bool show(const std::vector<Tint>& tints) const = 0;
    /// One more display becomes active, as the last one; or the last one ceases to be.
    virtual void appear() = 0;
    virtual void disappear() = 0;
};

/// Displays with gamma tables.
class TableBench : public DisplayBench {
  public:
    /// All entries of a table: red, then green, then blue. Empty: the display's own calibration.
    using Shown = std::vector<std::uint16_t>;

    /// What each active display shows, in the service's order.
    [[nodiscard]] virtual std::vector<Shown> shown() const = 0;
    [[nodiscard]] bool show(const std::vector<Tint>& tints) const final;
};

/// How a bench is made; named for the tests that run on it.
struct BenchKind {
    std::string name;
    std::function<std::unique_ptr<DisplayBench>()> make;

    friend std::ostream& operator<<(std::ostream& stream, const BenchKind& kind) { return stream << kind.name; }
};

[[nodiscard]] BenchKind simulatedBench();
[[nodiscard]] BenchKind randrBench();
[[nodiscard]] BenchKind mutterBench();
/// On every compositor that is installed, with tables of each of these sizes.
[[nodiscard]] std::vector<BenchKind> wlrBenches(const std::vector<std::size_t>& sizes);
/// Has one colour temperature for all displays: of several tints that of any one is taken for it.
[[nodiscard]] BenchKind kwinBench();

} // namespace nocta::test
