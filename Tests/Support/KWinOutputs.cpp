#include "Support/KWinOutputs.h"

#include <algorithm>
#include <list>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <kde-output-device-v2.h>
#include <kde-output-management-v2.h>
#include <wayland-client.h>

namespace nocta::test {

namespace {

struct Device {
    kde_output_device_v2* proxy;
    std::string name{};
    std::vector<kde_output_device_mode_v2*> modes{};
};

struct Outputs {
    kde_output_management_v2* management = nullptr;
    std::list<Device> devices{};
};

/// For what version 2 tells; descriptions of newer ones have more, which KWin does not send to it.
kde_output_device_v2_listener listenerOfVersion2() {
    kde_output_device_v2_listener listener{};
    listener.geometry = [](void*, kde_output_device_v2*, std::int32_t, std::int32_t, std::int32_t, std::int32_t,
                           std::int32_t, const char*, const char*, std::int32_t) {};
    listener.current_mode = [](void*, kde_output_device_v2*, kde_output_device_mode_v2*) {};
    listener.mode = [](void* data, kde_output_device_v2*, kde_output_device_mode_v2* mode) {
        static_cast<Device*>(data)->modes.push_back(mode);
    };
    listener.done = [](void*, kde_output_device_v2*) {};
    listener.scale = [](void*, kde_output_device_v2*, wl_fixed_t) {};
    listener.edid = [](void*, kde_output_device_v2*, const char*) {};
    listener.enabled = [](void*, kde_output_device_v2*, std::int32_t) {};
    listener.uuid = [](void*, kde_output_device_v2*, const char*) {};
    listener.serial_number = [](void*, kde_output_device_v2*, const char*) {};
    listener.eisa_id = [](void*, kde_output_device_v2*, const char*) {};
    listener.capabilities = [](void*, kde_output_device_v2*, std::uint32_t) {};
    listener.overscan = [](void*, kde_output_device_v2*, std::uint32_t) {};
    listener.vrr_policy = [](void*, kde_output_device_v2*, std::uint32_t) {};
    listener.rgb_range = [](void*, kde_output_device_v2*, std::uint32_t) {};
    listener.name = [](void* data, kde_output_device_v2*, const char* name) {
        static_cast<Device*>(data)->name = name;
    };
    return listener;
}

const kde_output_device_v2_listener deviceListener = listenerOfVersion2();

const wl_registry_listener registryListener{
    .global =
        [](void* data, wl_registry* registry, std::uint32_t name, const char* interface, std::uint32_t /*version*/) {
            auto& outputs = *static_cast<Outputs*>(data);
            if (std::string_view(interface) == kde_output_management_v2_interface.name) {
                outputs.management = static_cast<kde_output_management_v2*>(
                    wl_registry_bind(registry, name, &kde_output_management_v2_interface, 1));
            } else if (std::string_view(interface) == kde_output_device_v2_interface.name) {
                auto& device = outputs.devices.emplace_back(Device{static_cast<kde_output_device_v2*>(
                    wl_registry_bind(registry, name, &kde_output_device_v2_interface, 2))});
                kde_output_device_v2_add_listener(device.proxy, &deviceListener, &device);
            }
        },
    .global_remove = [](void*, wl_registry*, std::uint32_t) {}};

/// Whether a configuration took effect; nothing until it is known.
using Outcome = std::optional<bool>;

/// For what version 1 tells.
kde_output_configuration_v2_listener configurationListenerOfVersion1() {
    kde_output_configuration_v2_listener listener{};
    listener.applied = [](void* data, kde_output_configuration_v2*) { *static_cast<Outcome*>(data) = true; };
    listener.failed = [](void* data, kde_output_configuration_v2*) { *static_cast<Outcome*>(data) = false; };
    return listener;
}

const kde_output_configuration_v2_listener configurationListener = configurationListenerOfVersion1();

} // namespace

void switchOutput(const std::filesystem::path& socket, std::size_t number, bool isOn) {
    const std::unique_ptr<wl_display, void (*)(wl_display*)> display(wl_display_connect(socket.c_str()),
                                                                     &wl_display_disconnect);
    if (!display) {
        throw std::runtime_error("no KWin");
    }
    auto* const registry = wl_display_get_registry(display.get());
    Outputs outputs;
    wl_registry_add_listener(registry, &registryListener, &outputs);
    wl_display_roundtrip(display.get());
    wl_display_roundtrip(display.get());
    const auto device =
        std::ranges::find_if(outputs.devices, [ending = "-" + std::to_string(number)](const Device& each) {
            return each.name.ends_with(ending);
        });
    Outcome outcome;
    if (outputs.management != nullptr && device != outputs.devices.end()) {
        auto* const configuration = kde_output_management_v2_create_configuration(outputs.management);
        kde_output_configuration_v2_add_listener(configuration, &configurationListener, &outcome);
        kde_output_configuration_v2_enable(configuration, device->proxy, isOn ? 1 : 0);
        kde_output_configuration_v2_apply(configuration);
        while (!outcome && wl_display_dispatch(display.get()) >= 0) {
        }
        kde_output_configuration_v2_destroy(configuration);
        // What has become of the outputs; their modes come as objects.
        wl_display_roundtrip(display.get());
        wl_display_dispatch_pending(display.get());
    }
    for (const auto& each : outputs.devices) {
        for (auto* const mode : each.modes) {
            kde_output_device_mode_v2_destroy(mode);
        }
        kde_output_device_v2_destroy(each.proxy);
    }
    if (outputs.management != nullptr) {
        kde_output_management_v2_destroy(outputs.management);
    }
    wl_registry_destroy(registry);
    if (!outcome.value_or(false)) {
        throw std::runtime_error("KWin does not switch an output");
    }
}

} // namespace nocta::test
