#include "DisplayBench.h"

#include "ColoursOfKWin.h"
#include "Platform/KWin/NightColorDisplayService.h"
#include "Platform/Mutter/MutterDisplayService.h"
#include "Platform/Simulated/SimulatedDisplayService.h"
#include "Platform/Wayland/WlrGammaDisplayService.h"
#include "Platform/X11/RandrDisplayService.h"
#include "Support/DrivenDisplays.h"
#include "Support/Eventually.h"
#include "Support/KWin.h"
#include "Support/KWinOutputs.h"
#include "Support/Mutter.h"
#include "Support/Process.h"
#include "Support/SessionBus.h"
#include "Support/WlrCompositor.h"
#include "Support/XServer.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <stdexcept>

namespace nocta::test {

namespace {

/// Whether a display shows the straight tables that end there: a line through as many entries as it has. Rounding may
/// go either way.
bool isShown(const TableBench::Shown& shown, const Tint& tint, std::size_t size) {
    if (tint == own) {
        return shown.empty();
    }
    if (shown.size() != 3 * size) {
        return false;
    }
    std::size_t entry = 0;
    for (const double top : {tint.red, tint.green, tint.blue}) {
        for (std::size_t i = 0; i < size; ++i, ++entry) {
            const double level = 65535.0 * top * static_cast<double>(i) / static_cast<double>(size - 1);
            if (std::abs(shown[entry] - level) > 1.0) {
                return false;
            }
        }
    }
    return true;
}

class SimulatedBench final : public TableBench {
  public:
    std::unique_ptr<DisplayService> makeService(RunLoop& /*loop*/) override {
        auto made = std::make_unique<SimulatedDisplayService>();
        made->displays = displays;
        service = made.get();
        return made;
    }
    [[nodiscard]] std::size_t size() const override { return 256; }
    [[nodiscard]] std::vector<Shown> shown() const override {
        std::vector<Shown> all;
        for (const auto display : displays) {
            Shown values;
            if (const auto* load = service->shown(display)) {
                for (const auto* table : {&load->red, &load->green, &load->blue}) {
                    for (const float level : *table) {
                        // The simulated displays show what they are given; these limits are those of the contract.
                        const auto limited = static_cast<double>(level > 0.0F ? std::min(level, 1.0F) : 0.0F);
                        values.push_back(static_cast<std::uint16_t>(std::lround(65535.0 * limited)));
                    }
                }
            }
            all.push_back(std::move(values));
        }
        return all;
    }
    void appear() override {
        displays.push_back(displays.back() + 7);
        service->displays = displays;
    }
    void disappear() override {
        displays.pop_back();
        service->displays = displays;
    }

  private:
    std::vector<DisplayID> displays{3, 10, 17};
    SimulatedDisplayService* service = nullptr;
};

class RandrBench final : public TableBench {
  public:
    RandrBench() {
        driven.plug(4);
        calibration = driven.allRamps();
        driven.setMode(3, std::nullopt);
    }
    std::unique_ptr<DisplayService> makeService(RunLoop& loop) override {
        return std::make_unique<RandrDisplayService>(
            loop, RandrDisplayService::Options{.guardProgram = programFolder() / "nocta-guard", .onServerLost = [] {}});
    }
    [[nodiscard]] std::size_t size() const override { return 256; }
    [[nodiscard]] std::vector<Shown> shown() const override {
        std::vector<Shown> all;
        for (const auto display : driven.active()) {
            auto ramps = driven.ramps(display);
            const auto own = calibration.find(display);
            all.push_back(own != calibration.end() && own->second == ramps ? Shown() : std::move(ramps));
        }
        return all;
    }
    void appear() override { driven.setMode(active++, 0); }
    void disappear() override { driven.setMode(--active, std::nullopt); }

  private:
    XServer server;
    DrivenDisplays driven;
    std::map<xcb_randr_crtc_t, Ramps> calibration;
    std::size_t active = 3;
};

class WlrBench final : public TableBench {
  public:
    WlrBench(const WlrCompositorKind& kind, std::size_t size) : compositor(kind.make(size)), entries(size) { appear(); }
    std::unique_ptr<DisplayService> makeService(RunLoop& loop) override {
        return std::make_unique<WlrGammaDisplayService>(loop, [] {});
    }
    [[nodiscard]] std::size_t size() const override { return entries; }
    [[nodiscard]] std::vector<Shown> shown() const override {
        std::vector<Shown> all;
        for (const auto& output : compositor->outputs()) {
            all.push_back(compositor->table(output).value_or(Shown()));
        }
        return all;
    }
    void appear() override { [[maybe_unused]] const auto name = compositor->plug(); }
    void disappear() override { compositor->unplug(); }

  private:
    std::unique_ptr<WlrCompositor> compositor;
    std::size_t entries;
};

/// What mutter is told over the bus is read from the X server whose window manager it is.
class MutterBench final : public TableBench {
  public:
    MutterBench() {
        displays.plug(4);
        calibration = displays.allRamps();
        mutter = std::make_unique<Mutter>();
        displays.setMode(3, std::nullopt);
        mutter->waitForDisplays(3);
    }
    std::unique_ptr<DisplayService> makeService(RunLoop& loop) override {
        return std::make_unique<MutterDisplayService>(loop, programFolder() / "nocta-mutter-guard");
    }
    [[nodiscard]] std::size_t size() const override { return 256; }
    [[nodiscard]] std::vector<Shown> shown() const override {
        std::vector<Shown> all;
        for (const auto display : displays.active()) {
            auto ramps = displays.ramps(display);
            all.push_back(calibration.at(display) == ramps ? Shown() : std::move(ramps));
        }
        return all;
    }
    void appear() override { displays.setMode(active++, 0); }
    void disappear() override { displays.setMode(--active, std::nullopt); }

  private:
    XServer server;
    SessionBus bus;
    DrivenDisplays displays;
    std::map<xcb_randr_crtc_t, Ramps> calibration;
    std::unique_ptr<Mutter> mutter;
    std::size_t active = 3;
};

/// White screens, so that a picture tells how much of the light is left.
class KWinBench final : public DisplayBench {
  public:
    KWinBench() {
        disappear();
        if (!eventually([this] { return show({own, own, own}); }, std::chrono::seconds(30))) {
            throw std::runtime_error("no wallpaper: " + wallpaper.errors());
        }
    }
    std::unique_ptr<DisplayService> makeService(RunLoop& loop) override {
        return std::make_unique<NightColorDisplayService>(loop, [] {});
    }
    [[nodiscard]] std::size_t size() const override { return 0; }
    [[nodiscard]] bool isSlow() const override { return true; }
    [[nodiscard]] bool show(const std::vector<Tint>& tints) const override {
        return tints.size() == active && isAt(tints) && areDimmed(tints);
    }
    void appear() override { switchOutput(kwin.socket(), active++, true); }
    void disappear() override { switchOutput(kwin.socket(), --active, false); }

  private:
    static double brightness(const Tint& tint) {
        return tint == own ? 1.0 : std::max({tint.red, tint.green, tint.blue});
    }

    [[nodiscard]] bool isAt(const std::vector<Tint>& tints) const {
        const auto shown = kwin.temperature();
        const auto hasTemperature = [&](const Tint& tint) {
            if (tint == own) {
                return false;
            }
            const double full = brightness(tint);
            const double nearest =
                colours.nearest({.red = tint.red / full, .green = tint.green / full, .blue = tint.blue / full});
            // KWin stays where it is for 50 K, and its colours are known to the third of that.
            constexpr double tolerance = 50 + 50.0 / 3;
            return std::abs(*shown - nearest) <= tolerance;
        };
        return shown &&
               (std::ranges::count(tints, own) == std::ssize(tints) ? *shown == NightTint::neutral
                                                                    : std::ranges::any_of(tints, hasTemperature));
    }

    [[nodiscard]] bool areDimmed(const std::vector<Tint>& tints) const {
        for (std::size_t i = 0; i < tints.size(); ++i) {
            const auto colour = kwin.colourAt(1280 * static_cast<int>(i) + 640, 400);
            const auto isAsBright = [&](std::uint8_t level) {
                return std::abs(level - 255.0 * brightness(tints[i])) <= 1.0;
            };
            if (!colour || !std::ranges::all_of(*colour, isAsBright)) {
                return false;
            }
        }
        return true;
    }

    KWin kwin{4, KWin::Drawing::pictured};
    Process wallpaper{{"swaybg", "--color", "#ffffff"}};
    ColoursOfKWin colours;
    std::size_t active = 4;
};

} // namespace

bool TableBench::show(const std::vector<Tint>& tints) const {
    return std::ranges::equal(
        shown(), tints, [this](const Shown& display, const Tint& tint) { return isShown(display, tint, size()); });
}

BenchKind simulatedBench() {
    return {.name = "Simulated", .make = [] { return std::make_unique<SimulatedBench>(); }};
}

BenchKind randrBench() {
    return {.name = "Randr", .make = [] { return std::make_unique<RandrBench>(); }};
}

BenchKind mutterBench() {
    return {.name = "Mutter", .make = [] { return std::make_unique<MutterBench>(); }};
}

std::vector<BenchKind> wlrBenches(const std::vector<std::size_t>& sizes) {
    std::vector<BenchKind> benches;
    for (const auto& compositor : installedWlrCompositors()) {
        for (const auto size : sizes) {
            benches.push_back({.name = "WlrOn" + compositor.name + std::to_string(size),
                               .make = [compositor, size] { return std::make_unique<WlrBench>(compositor, size); }});
        }
    }
    return benches;
}

BenchKind kwinBench() {
    return {.name = "KWin", .make = [] { return std::make_unique<KWinBench>(); }};
}

} // namespace nocta::test
