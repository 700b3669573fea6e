#include "DisplayBench.h"

#include "Platform/Mutter/MutterDisplayService.h"
#include "Platform/Simulated/SimulatedDisplayService.h"
#include "Platform/Wayland/WlrGammaDisplayService.h"
#include "Platform/X11/RandrDisplayService.h"
#include "Support/DrivenDisplays.h"
#include "Support/Mutter.h"
#include "Support/Process.h"
#include "Support/SessionBus.h"
#include "Support/Sway.h"
#include "Support/XServer.h"

#include <cmath>
#include <map>

namespace nocta::test {

namespace {

class SimulatedBench final : public DisplayBench {
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
                        const double limited = level > 0.0F ? std::min(level, 1.0F) : 0.0F;
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

class RandrBench final : public DisplayBench {
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

class WlrBench final : public DisplayBench {
  public:
    explicit WlrBench(std::size_t size) : sway(size), entries(size) { appear(); }
    std::unique_ptr<DisplayService> makeService(RunLoop& loop) override {
        return std::make_unique<WlrGammaDisplayService>(loop, [] {});
    }
    [[nodiscard]] std::size_t size() const override { return entries; }
    [[nodiscard]] std::vector<Shown> shown() const override {
        std::vector<Shown> all;
        for (const auto& output : sway.outputs()) {
            all.push_back(sway.table(output).value_or(Shown()));
        }
        return all;
    }
    void appear() override { [[maybe_unused]] const auto name = sway.plug(); }
    void disappear() override { sway.unplug(); }

  private:
    Sway sway;
    std::size_t entries;
};

/// What mutter is told over the bus is read from the X server whose window manager it is.
class MutterBench final : public DisplayBench {
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

} // namespace

BenchKind simulatedBench() {
    return {.name = "Simulated", .make = [] { return std::make_unique<SimulatedBench>(); }};
}

BenchKind randrBench() {
    return {.name = "Randr", .make = [] { return std::make_unique<RandrBench>(); }};
}

BenchKind mutterBench() {
    return {.name = "Mutter", .make = [] { return std::make_unique<MutterBench>(); }};
}

BenchKind wlrBench(std::size_t size) {
    return {.name = "Wlr" + std::to_string(size), .make = [size] { return std::make_unique<WlrBench>(size); }};
}

} // namespace nocta::test
