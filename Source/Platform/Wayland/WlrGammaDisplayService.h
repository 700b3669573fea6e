#pragma once

#include "Platform/DisplayService.h"
#include "Platform/Gamma/GammaRamp.h"
#include "Platform/RunLoop.h"
#include "Platform/WaylandClient/WaylandClient.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <vector>

struct wl_output;
struct wl_output_listener;
struct zwlr_gamma_control_manager_v1;
struct zwlr_gamma_control_v1;
struct zwlr_gamma_control_v1_listener;

namespace nocta {

/// Gamma tables of a Wayland compositor that speaks wlr-gamma-control, one output a display.
///
/// The compositor grants one client at a time the control of an output, and gives the output its own table back as soon
/// as that client lets go of it or dies. So the control is asked for with the first table and given up with the last.
/// Where it is refused, or taken away, this service asks again: soon at first, then ever more rarely, and when the
/// output changes.
class WlrGammaDisplayService final : public DisplayService {
  public:
    /// Connects to the compositor that WAYLAND_DISPLAY names. `onServerLost` is called once, from the run loop, when it
    /// has gone. `loop` outlives the service.
    WlrGammaDisplayService(RunLoop& loop, std::function<void()> onServerLost);
    WlrGammaDisplayService(const WlrGammaDisplayService&) = delete;
    WlrGammaDisplayService& operator=(const WlrGammaDisplayService&) = delete;
    ~WlrGammaDisplayService() override;

    [[nodiscard]] bool isAvailable() const override { return available; }
    std::size_t activeDisplays(std::span<DisplayID> buffer) override;
    void load(DisplayID display, std::span<const float> red, std::span<const float> green,
              std::span<const float> blue) override;
    void loadNewcomers(std::span<const float> red, std::span<const float> green, std::span<const float> blue) override;
    void flush() override;
    void reload() override;
    /// The displays have their own tables again with the compositor's next frame.
    void restoreCalibration() override;
    [[nodiscard]] std::string_view mechanism() const override { return "wlr-gamma-control"; }
    /// The size of an output's table is known while it is tinted.
    [[nodiscard]] std::vector<DisplayDescription> describe() override;

  private:
    using Manager = std::unique_ptr<zwlr_gamma_control_manager_v1, void (*)(zwlr_gamma_control_manager_v1*)>;
    using Control = std::unique_ptr<zwlr_gamma_control_v1, void (*)(zwlr_gamma_control_v1*)>;
    struct Output;

    static const zwlr_gamma_control_v1_listener controlListener;
    static const wl_output_listener outputListener;

    /// Makes a new connection and learns which displays there are. Waits for the compositor; false where none answers.
    bool connect();
    void reconnect();
    void addGlobal(const WaylandGlobal& global);
    void removeGlobal(std::uint32_t name);

    /// Asks for the control of an output that has none, unless an answer or a new attempt is on its way.
    void ask(Output& output);
    void askAtOnce(Output& output);
    void grant(Output& output, std::size_t size);
    /// Gives up the control and asks again some time later.
    void refuse(Output& output);
    void show(Output& output, const GammaTables& shown);
    void modeChanged(Output& output);
    /// Sends what is not sent yet, as far as the compositor keeps up.
    void sendTables();
    bool sendTable(Output& output);

    RunLoop& loop;
    std::function<void()> onServerLost;
    std::unique_ptr<WaylandClient> client;
    Manager manager;
    std::list<Output> outputs; ///< in the order in which the compositor named them
    /// As last handed over for any display, for one that appears; empty when nothing is to be loaded.
    GammaTables tables;
    std::size_t tablesUnderWay = 0; ///< sent, and not known to be taken by the compositor
    bool isWaitingForReceipt = false;
    Seconds reconnectDelay;
    std::unique_ptr<Timer> reconnecting;
    std::vector<std::uint16_t> ramps; ///< as last sent to any display
    GammaTables tablesInRamps;
    bool available;
};

} // namespace nocta
