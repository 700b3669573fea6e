#include "Platform/Wayland/WlrGammaDisplayService.h"

#include <algorithm>
#include <utility>

#include <sys/mman.h>
#include <unistd.h>
#include <wayland-client.h>
#include <wlr-gamma-control-unstable-v1.h>

namespace nocta {

namespace {

constexpr Seconds firstRetry{1.0};
/// Every attempt that fails wakes the program, and with compositors that let the newest client win it ends the control
/// of another program.
constexpr Seconds rarestRetry{60.0};

Seconds after(Seconds delay) {
    return std::min(2 * delay, rarestRetry);
}

/// Entries a channel of the largest table that is taken for one: hardware has up to 4096.
constexpr std::uint32_t largestSize = 65536;

/// A client that sends more than a stopped compositor takes is ended by its own library: requests and descriptors wait
/// in buffers of fixed size. So no more tables than this are on their way, and each time half of that is, the
/// compositor is asked for a receipt.
constexpr std::size_t mostUnderWay = 16;

/// Closes what it holds.
class Descriptor {
  public:
    explicit Descriptor(int number) : number(number) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (number >= 0) {
            close(number);
        }
    }

    [[nodiscard]] int get() const { return number; }

  private:
    int number;
};

/// Since version 3 the compositor is told that an output is not used any more.
void release(wl_output* output) {
    if (wl_output_get_version(output) >= WL_OUTPUT_RELEASE_SINCE_VERSION) {
        wl_output_release(output);
    } else {
        wl_output_destroy(output);
    }
}

} // namespace

struct WlrGammaDisplayService::Output {
    WlrGammaDisplayService* service;
    std::uint32_t id;
    std::unique_ptr<wl_output, void (*)(wl_output*)> proxy{nullptr, &release}; ///< null while there is no connection
    std::string name{}; ///< empty where the compositor keeps it to itself
    bool hasMode = false;
    Control control{nullptr, &zwlr_gamma_control_v1_destroy}; ///< asked for, or granted
    std::size_t size = 0;                                     ///< entries a channel; 0 until the control is granted
    GammaTables tables{};                                     ///< what it shows; empty when it has its own
    bool isOutdated = false;                                  ///< the compositor has other tables
    Seconds retryDelay = firstRetry;
    /// Without a control: asks again. With one: forgets the refusals before it.
    std::unique_ptr<Timer> timer{};

    [[nodiscard]] bool isTinted() const { return !tables[0].empty(); }
};

const zwlr_gamma_control_v1_listener WlrGammaDisplayService::controlListener{
    .gamma_size =
        [](void* data, zwlr_gamma_control_v1*, std::uint32_t size) {
            auto& output = *static_cast<Output*>(data);
            output.service->grant(output, size);
        },
    .failed =
        [](void* data, zwlr_gamma_control_v1*) {
            auto& output = *static_cast<Output*>(data);
            output.service->refuse(output);
        }};

const wl_output_listener WlrGammaDisplayService::outputListener{
    .geometry = [](void*, wl_output*, std::int32_t, std::int32_t, std::int32_t, std::int32_t, std::int32_t, const char*,
                   const char*, std::int32_t) {},
    .mode =
        [](void* data, wl_output*, std::uint32_t flags, std::int32_t, std::int32_t, std::int32_t) {
            auto& output = *static_cast<Output*>(data);
            // The first tells what the mode is.
            if ((flags & WL_OUTPUT_MODE_CURRENT) != 0 && std::exchange(output.hasMode, true)) {
                output.service->modeChanged(output);
            }
        },
    .done = [](void*, wl_output*) {},
    .scale = [](void*, wl_output*, std::int32_t) {},
    .name = [](void* data, wl_output*, const char* name) { static_cast<Output*>(data)->name = name; },
    .description = [](void*, wl_output*, const char*) {}};

WlrGammaDisplayService::WlrGammaDisplayService(RunLoop& loop, std::function<void()> onServerLost)
    : loop(loop),
      onServerLost(std::move(onServerLost)),
      manager(nullptr, &zwlr_gamma_control_manager_v1_destroy),
      reconnectDelay(firstRetry),
      available(connect() && manager) {}

WlrGammaDisplayService::~WlrGammaDisplayService() = default;

std::size_t WlrGammaDisplayService::activeDisplays(std::span<DisplayID> buffer) {
    const auto count = std::min(buffer.size(), outputs.size());
    std::transform(outputs.begin(), std::next(outputs.begin(), static_cast<std::ptrdiff_t>(count)), buffer.begin(),
                   [](const Output& output) { return output.id; });
    return outputs.size();
}

void WlrGammaDisplayService::load(DisplayID display, std::span<const float> red, std::span<const float> green,
                                  std::span<const float> blue) {
    const auto output = std::ranges::find(outputs, display, &Output::id);
    if (output == outputs.end() || red.empty()) {
        return;
    }
    loadNewcomers(red, green, blue);
    show(*output, tables);
}

void WlrGammaDisplayService::loadNewcomers(std::span<const float> red, std::span<const float> green,
                                           std::span<const float> blue) {
    assign(tables, red, green, blue);
}

void WlrGammaDisplayService::flush() {
    sendTables();
    client->send();
}

void WlrGammaDisplayService::reload() {
    for (auto& output : outputs) {
        if (output.isTinted()) {
            output.isOutdated = true;
            askAtOnce(output);
        }
    }
    flush();
}

void WlrGammaDisplayService::restoreCalibration() {
    if (tables[0].empty()) {
        return;
    }
    tables = {};
    for (auto& output : outputs) {
        output.tables = {};
        output.isOutdated = false;
        output.control.reset();
        output.size = 0;
        output.timer.reset();
        output.retryDelay = firstRetry;
    }
    client->synchronize();
}

std::vector<DisplayDescription> WlrGammaDisplayService::describe() {
    std::vector<DisplayDescription> descriptions;
    for (const auto& output : outputs) {
        // What was never asked for was never refused.
        const bool isServed = output.size > 0 || !output.isTinted();
        descriptions.push_back({.id = output.id,
                                .name = output.name,
                                .tableSize = output.size,
                                .hasTemperature = isServed,
                                .hasBrightness = isServed});
    }
    return descriptions;
}

bool WlrGammaDisplayService::connect() {
    // The destructions are requests of the connection that is given up.
    for (auto& output : outputs) {
        output.control.reset();
        output.size = 0;
        output.timer.reset();
        output.proxy.reset();
        output.hasMode = false;
    }
    manager.reset();
    client = std::make_unique<WaylandClient>(
        loop, zwlr_gamma_control_manager_v1_interface.name,
        WaylandClient::Handlers{
            .onGlobal = [this](const WaylandGlobal& global) { addGlobal(global); },
            .onGlobalRemoved = [this](std::uint32_t name) { removeGlobal(name); },
            .onLost = [this] { reconnecting = loop.oneShot(Seconds(0), [this] { reconnect(); }); }});
    tablesUnderWay = 0;
    isWaitingForReceipt = false;
    const bool hasAnswered = client->start();
    outputs.remove_if([](const Output& output) { return !output.proxy; });
    return hasAnswered;
}

void WlrGammaDisplayService::reconnect() {
    if (!connect()) {
        onServerLost();
        return;
    }
    // A compositor that is alive ends a client for reasons of its own, and may do so again.
    for (auto& output : outputs) {
        if (output.isTinted()) {
            output.retryDelay = std::max(output.retryDelay, reconnectDelay);
            refuse(output);
        }
    }
    reconnectDelay = after(reconnectDelay);
}

void WlrGammaDisplayService::addGlobal(const WaylandGlobal& global) {
    if (global.interface == zwlr_gamma_control_manager_v1_interface.name) {
        manager.reset(static_cast<zwlr_gamma_control_manager_v1*>(
            wl_registry_bind(client->registry(), global.name, &zwlr_gamma_control_manager_v1_interface, 1)));
    } else if (global.interface == wl_output_interface.name) {
        constexpr std::uint32_t newestKnown = 4;
        auto known = std::ranges::find(outputs, global.name, &Output::id);
        if (known == outputs.end()) {
            known = outputs.insert(known, Output{.service = this, .id = global.name});
        }
        known->proxy.reset(static_cast<wl_output*>(wl_registry_bind(
            client->registry(), global.name, &wl_output_interface, std::min(global.version, newestKnown))));
        wl_output_add_listener(known->proxy.get(), &outputListener, &*known);
        if (!tables[0].empty() && !known->isTinted()) {
            show(*known, tables);
            flush();
        }
    }
}

void WlrGammaDisplayService::removeGlobal(std::uint32_t name) {
    outputs.remove_if([name](const Output& output) { return output.id == name; });
    client->send();
}

void WlrGammaDisplayService::ask(Output& output) {
    if (output.control || output.timer || !manager) {
        return;
    }
    output.control.reset(zwlr_gamma_control_manager_v1_get_gamma_control(manager.get(), output.proxy.get()));
    zwlr_gamma_control_v1_add_listener(output.control.get(), &controlListener, &output);
    // The size is announced at once. Some compositors tell a client nothing at all when they refuse.
    client->notifyWhenDone([this, id = output.id, asked = output.control.get()] {
        const auto answered = std::ranges::find(outputs, id, &Output::id);
        if (answered != outputs.end() && answered->control.get() == asked && answered->size == 0) {
            refuse(*answered);
        }
    });
}

void WlrGammaDisplayService::askAtOnce(Output& output) {
    if (!output.control) {
        output.timer.reset();
        output.retryDelay = firstRetry;
        ask(output);
    }
}

void WlrGammaDisplayService::grant(Output& output, std::size_t size) {
    if (size < 2 || size > largestSize) {
        refuse(output);
        return;
    }
    output.size = size;
    output.isOutdated = true;
    // One that is taken away soon after has not been worth asking for.
    output.timer = loop.oneShot(output.retryDelay, [&output] {
        output.timer.reset();
        output.retryDelay = firstRetry;
    });
    flush();
}

void WlrGammaDisplayService::refuse(Output& output) {
    output.control.reset();
    output.size = 0;
    output.timer = loop.oneShot(std::exchange(output.retryDelay, after(output.retryDelay)), [this, &output] {
        output.timer.reset();
        ask(output);
        client->send();
    });
    client->send();
}

void WlrGammaDisplayService::show(Output& output, const GammaTables& shown) {
    output.tables = shown;
    output.isOutdated = true;
    ask(output);
}

void WlrGammaDisplayService::modeChanged(Output& output) {
    if (output.isTinted()) {
        output.isOutdated = true;
        askAtOnce(output);
        flush();
    }
}

void WlrGammaDisplayService::sendTables() {
    for (auto& output : outputs) {
        if (tablesUnderWay == mostUnderWay) {
            break;
        }
        if (output.isOutdated && output.size > 0 && sendTable(output)) {
            output.isOutdated = false;
            ++tablesUnderWay;
        }
    }
    if (tablesUnderWay >= mostUnderWay / 2 && !isWaitingForReceipt) {
        isWaitingForReceipt = true;
        client->notifyWhenDone([this, received = tablesUnderWay] {
            tablesUnderWay -= received;
            isWaitingForReceipt = false;
            flush();
        });
    }
}

bool WlrGammaDisplayService::sendTable(Output& output) {
    // Most often every output has the same size and shows the same.
    if (ramps.size() != 3 * output.size || tablesInRamps != output.tables) {
        ramps.resize(3 * output.size);
        tablesInRamps = output.tables;
        fillRamps(output.tables, ramps);
    }
    // A file of its own for each table: the compositor reads it when it gets to it, and from where its last reader
    // ended.
    const auto bytes = std::as_bytes(std::span(ramps));
    const Descriptor file(memfd_create("nocta-ramps", MFD_CLOEXEC));
    // Written without moving the place that it is read from.
    if (file.get() < 0 || pwrite(file.get(), bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) {
        return false;
    }
    zwlr_gamma_control_v1_set_gamma(output.control.get(), file.get());
    return true;
}

} // namespace nocta
