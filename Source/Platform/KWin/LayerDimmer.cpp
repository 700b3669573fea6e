#include "Platform/KWin/LayerDimmer.h"

#include "Platform/WaylandClient/LayerShellProtocol.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include <sys/mman.h>
#include <unistd.h>
#include <viewporter.h>
#include <wayland-client.h>

namespace nocta {

namespace {

/// Until a surface that the compositor has closed is asked for again, and a connection that it has ended.
constexpr Seconds firstRetry{1.0};
constexpr Seconds rarestRetry{60.0};

constexpr std::size_t pixelSize = 4; // bytes

/// Since version 3 the compositor is told that an output is not used any more.
void release(wl_output* output) {
    if (wl_output_get_version(output) >= WL_OUTPUT_RELEASE_SINCE_VERSION) {
        wl_output_release(output);
    } else {
        wl_output_destroy(output);
    }
}

void destroy(zwlr_layer_shell_v1* shell) {
    if (zwlr_layer_shell_v1_get_version(shell) >= ZWLR_LAYER_SHELL_V1_DESTROY_SINCE_VERSION) {
        zwlr_layer_shell_v1_destroy(shell);
    } else {
        wl_proxy_destroy(reinterpret_cast<wl_proxy*>(shell)); // NOLINT(cppcoreguidelines-pro-type-reinterpret-cast)
    }
}

std::uint8_t opacity(double brightness) {
    return static_cast<std::uint8_t>(std::lround(255.0 * (1.0 - brightness)));
}

} // namespace

struct LayerDimmer::Cover {
    /// One that lies on the output.
    struct Veil {
        // Destroyed in the reverse order, as the protocols want it.
        Bound<wl_surface> surface{nullptr, &wl_surface_destroy};
        Bound<wp_viewport> viewport{nullptr, &wp_viewport_destroy};
        Bound<zwlr_layer_surface_v1> layer{nullptr, &zwlr_layer_surface_v1_destroy};
        bool isConfigured = false;
        std::uint8_t shown = 0; ///< opacity

        void close() {
            layer.reset();
            viewport.reset();
            surface.reset();
            isConfigured = false;
            shown = 0;
        }
    };

    LayerDimmer* dimmer;
    std::uint32_t id;
    Bound<wl_output> output{nullptr, &release}; ///< null while there is no connection
    std::string name{};
    double brightness = 1.0;
    Veil veil{};
    Veil former{};                     ///< until the newer one is drawn
    std::unique_ptr<Timer> retrying{}; ///< after the compositor has closed the surface

    void close() {
        veil.close();
        former.close();
    }
};

const wl_output_listener LayerDimmer::outputListener{
    .geometry = [](void*, wl_output*, std::int32_t, std::int32_t, std::int32_t, std::int32_t, std::int32_t, const char*,
                   const char*, std::int32_t) {},
    .mode = [](void*, wl_output*, std::uint32_t, std::int32_t, std::int32_t, std::int32_t) {},
    .done = [](void*, wl_output*) {},
    .scale = [](void*, wl_output*, std::int32_t) {},
    .name = [](void* data, wl_output*, const char* name) { static_cast<Cover*>(data)->name = name; },
    .description = [](void*, wl_output*, const char*) {}};

const zwlr_layer_surface_v1_listener LayerDimmer::surfaceListener{
    .configure =
        [](void* data, zwlr_layer_surface_v1* layer, std::uint32_t serial, std::uint32_t width, std::uint32_t height) {
            auto& cover = *static_cast<Cover*>(data);
            zwlr_layer_surface_v1_ack_configure(layer, serial);
            if (layer == cover.veil.layer.get() && width > 0 && height > 0) {
                wp_viewport_set_destination(cover.veil.viewport.get(), static_cast<std::int32_t>(width),
                                            static_cast<std::int32_t>(height));
                cover.veil.isConfigured = true;
                cover.dimmer->draw(cover);
            }
            cover.dimmer->client->send();
        },
    .closed =
        [](void* data, zwlr_layer_surface_v1*) {
            auto& cover = *static_cast<Cover*>(data);
            auto& dimmer = *cover.dimmer;
            cover.close();
            // Most often its output goes, and this with it.
            cover.retrying = dimmer.loop.oneShot(firstRetry, [&cover, &dimmer] {
                cover.retrying.reset();
                dimmer.flush();
            });
            dimmer.client->send();
        }};

LayerDimmer::LayerDimmer(RunLoop& loop, std::function<void()> onServerLost)
    : loop(loop),
      onServerLost(std::move(onServerLost)),
      compositor(nullptr, &wl_compositor_destroy),
      memory(nullptr, &wl_shm_destroy),
      viewporter(nullptr, &wp_viewporter_destroy),
      shell(nullptr, &destroy),
      pool(nullptr, &wl_shm_pool_destroy),
      reconnectDelay(firstRetry),
      available(connect()) {}

LayerDimmer::~LayerDimmer() {
    disconnect();
}

std::size_t LayerDimmer::outputs(std::span<std::uint32_t> buffer) const {
    const auto count = std::min(buffer.size(), covers.size());
    std::transform(covers.begin(), std::next(covers.begin(), static_cast<std::ptrdiff_t>(count)), buffer.begin(),
                   [](const Cover& cover) { return cover.id; });
    return covers.size();
}

std::string LayerDimmer::nameOf(std::uint32_t output) const {
    const auto cover = std::ranges::find(covers, output, &Cover::id);
    return cover == covers.end() ? std::string() : cover->name;
}

bool LayerDimmer::setBrightness(std::uint32_t output, double brightness) {
    const auto cover = std::ranges::find(covers, output, &Cover::id);
    if (cover == covers.end()) {
        return false;
    }
    newest = cover->brightness = brightness;
    return true;
}

void LayerDimmer::flush() {
    // A client that sends more than a stopped compositor takes is ended by its own library.
    if (!isUnderWay) {
        for (auto& cover : covers) {
            update(cover);
        }
    }
    client->send();
}

void LayerDimmer::raise() {
    // A layer surface cannot be put above another one but by being made after it.
    for (auto& cover : covers) {
        if (cover.veil.shown != 0) {
            cover.former = std::exchange(cover.veil, Cover::Veil());
            map(cover);
        }
    }
    client->send();
}

void LayerDimmer::clear() {
    newest = 1.0;
    bool wasCovered = false;
    for (auto& cover : covers) {
        cover.brightness = 1.0;
        cover.retrying.reset();
        wasCovered = wasCovered || cover.veil.layer || cover.former.layer;
        cover.close();
    }
    if (wasCovered) {
        client->synchronize();
    }
}

bool LayerDimmer::connect() {
    disconnect();
    client = std::make_unique<WaylandClient>(
        loop, zwlr_layer_shell_v1_interface.name,
        WaylandClient::Handlers{
            .onGlobal = [this](const WaylandGlobal& global) { addGlobal(global); },
            .onGlobalRemoved = [this](std::uint32_t name) { removeGlobal(name); },
            .onLost = [this] { reconnecting = loop.oneShot(Seconds(0), [this] { reconnect(); }); }});
    isUnderWay = false;
    const bool hasAnswered = client->start();
    covers.remove_if([](const Cover& cover) { return !cover.output; });
    if (hasAnswered && memory) {
        makePool();
    }
    // The names of the outputs come with the second answer.
    return hasAnswered && compositor && viewporter && shell && pool && client->synchronize();
}

/// All proxies belong to the connection, and go before it.
void LayerDimmer::disconnect() {
    for (auto& cover : covers) {
        cover.close();
        cover.retrying.reset();
        cover.output.reset();
    }
    for (auto*& buffer : pixels) {
        if (buffer != nullptr) {
            wl_buffer_destroy(std::exchange(buffer, nullptr));
        }
    }
    pool.reset();
    shell.reset();
    viewporter.reset();
    memory.reset();
    compositor.reset();
}

void LayerDimmer::reconnect() {
    if (!connect()) {
        onServerLost();
        return;
    }
    // A compositor that is alive ends a client for reasons of its own, and may do so again.
    reconnecting =
        loop.oneShot(std::exchange(reconnectDelay, std::min(2 * reconnectDelay, rarestRetry)), [this] { flush(); });
}

void LayerDimmer::addGlobal(const WaylandGlobal& global) {
    bind(compositor, global, wl_compositor_interface, 1);
    bind(memory, global, wl_shm_interface, 1);
    bind(viewporter, global, wp_viewporter_interface, 1);
    bind(shell, global, zwlr_layer_shell_v1_interface, 3);
    if (global.interface == wl_output_interface.name) {
        constexpr std::uint32_t newestKnown = 4;
        auto known = std::ranges::find(covers, global.name, &Cover::id);
        if (known == covers.end()) {
            known = covers.insert(known, Cover{.dimmer = this, .id = global.name, .brightness = newest});
        }
        known->output.reset(static_cast<wl_output*>(wl_registry_bind(
            client->registry(), global.name, &wl_output_interface, std::min(global.version, newestKnown))));
        wl_output_add_listener(known->output.get(), &outputListener, &*known);
        // Not while all are being named.
        if (pool) {
            flush();
        }
    }
}

void LayerDimmer::removeGlobal(std::uint32_t name) {
    covers.remove_if([name](const Cover& cover) { return cover.id == name; });
    client->send();
}

void LayerDimmer::update(Cover& cover) {
    const auto wanted = opacity(cover.brightness);
    if (wanted == 0) {
        cover.close();
    } else if (cover.veil.layer) {
        if (wanted != cover.veil.shown) {
            draw(cover);
        }
    } else if (!cover.retrying) {
        map(cover);
    }
}

void LayerDimmer::map(Cover& cover) {
    auto& veil = cover.veil;
    veil.surface.reset(wl_compositor_create_surface(compositor.get()));
    veil.viewport.reset(wp_viewporter_get_viewport(viewporter.get(), veil.surface.get()));
    veil.layer.reset(zwlr_layer_shell_v1_get_layer_surface(shell.get(), veil.surface.get(), cover.output.get(),
                                                           ZWLR_LAYER_SHELL_V1_LAYER_OVERLAY, "nocta-dimming"));
    zwlr_layer_surface_v1_add_listener(veil.layer.get(), &surfaceListener, &cover);
    zwlr_layer_surface_v1_set_anchor(veil.layer.get(),
                                     ZWLR_LAYER_SURFACE_V1_ANCHOR_TOP | ZWLR_LAYER_SURFACE_V1_ANCHOR_BOTTOM |
                                         ZWLR_LAYER_SURFACE_V1_ANCHOR_LEFT | ZWLR_LAYER_SURFACE_V1_ANCHOR_RIGHT);
    // Over the panels too.
    zwlr_layer_surface_v1_set_exclusive_zone(veil.layer.get(), -1);
    const std::unique_ptr<wl_region, void (*)(wl_region*)> nowhere(wl_compositor_create_region(compositor.get()),
                                                                   &wl_region_destroy);
    wl_surface_set_input_region(veil.surface.get(), nowhere.get());
    wl_surface_commit(veil.surface.get());
}

void LayerDimmer::draw(Cover& cover) {
    auto& veil = cover.veil;
    const auto wanted = opacity(cover.brightness);
    if (!veil.isConfigured || wanted == 0) {
        return;
    }
    wl_surface_attach(veil.surface.get(), pixel(wanted), 0, 0);
    constexpr auto all = std::numeric_limits<std::int32_t>::max();
    wl_surface_damage(veil.surface.get(), 0, 0, all, all);
    wl_surface_commit(veil.surface.get());
    veil.shown = wanted;
    cover.former.close();
    if (!std::exchange(isUnderWay, true)) {
        client->notifyWhenDone([this] {
            isUnderWay = false;
            flush();
        });
    }
}

void LayerDimmer::makePool() {
    constexpr std::size_t size = 256 * pixelSize;
    const int file = memfd_create("nocta-dimming", MFD_CLOEXEC);
    if (file < 0) {
        return;
    }
    // Black of every opacity.
    std::array<std::uint32_t, 256> colours{};
    for (std::uint32_t opacity = 0; opacity < colours.size(); ++opacity) {
        colours[opacity] = opacity << 24U;
    }
    if (write(file, colours.data(), size) == static_cast<ssize_t>(size)) {
        pool.reset(wl_shm_create_pool(memory.get(), file, static_cast<std::int32_t>(size)));
    }
    ::close(file);
}

wl_buffer* LayerDimmer::pixel(std::uint8_t opacity) {
    auto*& buffer = pixels[opacity];
    if (buffer == nullptr) {
        buffer = wl_shm_pool_create_buffer(pool.get(), static_cast<std::int32_t>(opacity * pixelSize), 1, 1, pixelSize,
                                           WL_SHM_FORMAT_ARGB8888);
    }
    return buffer;
}

template <class Proxy>
void LayerDimmer::bind(Bound<Proxy>& proxy, const WaylandGlobal& global, const wl_interface& interface,
                       std::uint32_t newestKnown) {
    if (global.interface == interface.name) {
        proxy.reset(static_cast<Proxy*>(
            wl_registry_bind(client->registry(), global.name, &interface, std::min(global.version, newestKnown))));
    }
}

} // namespace nocta
