#pragma once

#include "Platform/RunLoop.h"
#include "Platform/WaylandClient/WaylandClient.h"

#include <array>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <span>
#include <string>

struct wl_buffer;
struct wl_compositor;
struct wl_interface;
struct wl_output;
struct wl_output_listener;
struct wl_shm;
struct wl_shm_pool;
struct wp_viewporter;
struct zwlr_layer_shell_v1;
struct zwlr_layer_surface_v1_listener;

namespace nocta {

/// Darkens the outputs of a Wayland compositor by a black surface over each, as opaque as light is to be missing. It
/// lies above all windows and panels, in the layer "overlay", where only what is put there later is above it. It takes
/// no input, and goes with the connection, also when the program dies.
class LayerDimmer {
  public:
    /// Connects to the compositor that WAYLAND_DISPLAY names, and waits for it. `onServerLost` is called once, from the
    /// run loop, when it has gone. `loop` outlives the dimmer.
    LayerDimmer(RunLoop& loop, std::function<void()> onServerLost);
    LayerDimmer(const LayerDimmer&) = delete;
    LayerDimmer& operator=(const LayerDimmer&) = delete;
    ~LayerDimmer();

    /// Whether the compositor can.
    [[nodiscard]] bool isAvailable() const { return available; }

    /// Writes the numbers of the outputs, which are the compositor's and never zero, into `buffer` as far as it
    /// reaches, in its order, and returns how many there are.
    [[nodiscard]] std::size_t outputs(std::span<std::uint32_t> buffer) const;
    /// Empty where the compositor keeps it to itself.
    [[nodiscard]] std::string nameOf(std::uint32_t output) const;

    /// A factor in [0, 1], with the next `flush`, for that output and for each that appears from now on. At 1 there is
    /// no surface. False, and nothing done, where there is no such output.
    bool setBrightness(std::uint32_t output, double brightness);
    /// The same for those only that appear from now on.
    void setBrightnessOfNewcomers(double brightness) { newest = brightness; }
    /// Sends what has changed as far as the compositor keeps up, without waiting.
    void flush();
    /// Puts the surfaces above all that has been put into their layer since.
    void raise();
    /// Makes every output as bright as it is. On return no surface is left, unless the compositor does not answer.
    void clear();

  private:
    struct Cover;
    template <class Proxy>
    using Bound = std::unique_ptr<Proxy, void (*)(Proxy*)>;

    static const wl_output_listener outputListener;
    static const zwlr_layer_surface_v1_listener surfaceListener;

    bool connect();
    void reconnect();
    void disconnect();
    void addGlobal(const WaylandGlobal& global);
    void removeGlobal(std::uint32_t name);
    template <class Proxy>
    void bind(Bound<Proxy>& proxy, const WaylandGlobal& global, const wl_interface& interface,
              std::uint32_t newestKnown);

    void makePool();
    [[nodiscard]] wl_buffer* pixel(std::uint8_t opacity);
    void update(Cover& cover);
    void map(Cover& cover);
    void draw(Cover& cover);

    RunLoop& loop;
    std::function<void()> onServerLost;
    std::unique_ptr<WaylandClient> client;
    Bound<wl_compositor> compositor;
    Bound<wl_shm> memory;
    Bound<wp_viewporter> viewporter;
    Bound<zwlr_layer_shell_v1> shell;
    Bound<wl_shm_pool> pool; ///< a black pixel of each opacity
    std::array<wl_buffer*, 256> pixels{};
    std::list<Cover> covers;
    double newest = 1.0;     ///< brightness of an output that appears
    bool isUnderWay = false; ///< sent, and not known to be taken by the compositor
    Seconds reconnectDelay;
    std::unique_ptr<Timer> reconnecting;
    bool available;
};

} // namespace nocta
