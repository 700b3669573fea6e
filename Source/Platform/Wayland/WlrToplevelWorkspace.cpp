#include "Platform/Wayland/WlrToplevelWorkspace.h"

#include <algorithm>
#include <span>
#include <utility>

#include <wayland-client.h>
#include <wlr-foreign-toplevel-management-unstable-v1.h>

namespace nocta {

const zwlr_foreign_toplevel_handle_v1_listener WlrToplevelWorkspace::toplevelListener{
    .title = [](void*, zwlr_foreign_toplevel_handle_v1*, const char*) {},
    .app_id = [](void* data, zwlr_foreign_toplevel_handle_v1*,
                 const char* id) { static_cast<Toplevel*>(data)->announced.applicationId = id; },
    .output_enter = [](void*, zwlr_foreign_toplevel_handle_v1*, wl_output*) {},
    .output_leave = [](void*, zwlr_foreign_toplevel_handle_v1*, wl_output*) {},
    .state =
        [](void* data, zwlr_foreign_toplevel_handle_v1*, wl_array* array) {
            const std::span states(static_cast<const std::uint32_t*>(array->data), array->size / sizeof(std::uint32_t));
            static_cast<Toplevel*>(data)->announced.isActivated =
                std::ranges::find(states, std::uint32_t{ZWLR_FOREIGN_TOPLEVEL_HANDLE_V1_STATE_ACTIVATED}) !=
                states.end();
        },
    .done =
        [](void* data, zwlr_foreign_toplevel_handle_v1*) {
            auto& toplevel = *static_cast<Toplevel*>(data);
            toplevel.workspace->done(toplevel);
        },
    .closed =
        [](void* data, zwlr_foreign_toplevel_handle_v1*) {
            auto& toplevel = *static_cast<Toplevel*>(data);
            toplevel.workspace->close(toplevel);
        },
    .parent = [](void*, zwlr_foreign_toplevel_handle_v1*, zwlr_foreign_toplevel_handle_v1*) {}};

const zwlr_foreign_toplevel_manager_v1_listener WlrToplevelWorkspace::managerListener{
    .toplevel =
        [](void* data, zwlr_foreign_toplevel_manager_v1*, zwlr_foreign_toplevel_handle_v1* handle) {
            auto& workspace = *static_cast<WlrToplevelWorkspace*>(data);
            auto& toplevel = workspace.toplevels.emplace_back(
                Toplevel{.workspace = &workspace, .handle = handle, .announced = {}, .inForce = {}});
            zwlr_foreign_toplevel_handle_v1_add_listener(handle, &toplevelListener, &toplevel);
        },
    .finished = [](void*, zwlr_foreign_toplevel_manager_v1*) {}};

WlrToplevelWorkspace::WlrToplevelWorkspace(RunLoop& loop, std::vector<std::filesystem::path> desktopFileFolders)
    : front(loop, std::move(desktopFileFolders),
            {.onFirstObserver = [this] { begin(); }, .onLastObserver = [this] { stop(); }}),
      client(loop, zwlr_foreign_toplevel_manager_v1_interface.name,
             {.onGlobal =
                  [this](const WaylandGlobal& global) {
                      if (global.interface == zwlr_foreign_toplevel_manager_v1_interface.name) {
                          manager = Global{.name = global.name, .version = global.version};
                      }
                  },
              .onGlobalRemoved = [](std::uint32_t /*name*/) {},
              // With the compositor the program ends. Where that ends this connection alone, the last application stays
              // in front.
              .onLost = [] {}}) {
    if (!client.start()) {
        manager.reset();
    }
}

WlrToplevelWorkspace::~WlrToplevelWorkspace() {
    stop();
}

std::unique_ptr<WorkspaceObserver> WlrToplevelWorkspace::addActivationObserver(ActivationHandler handler) {
    return front.addObserver(std::move(handler));
}

void WlrToplevelWorkspace::begin() {
    if (!manager) {
        return;
    }
    constexpr std::uint32_t newestKnown = 3;
    bound = static_cast<zwlr_foreign_toplevel_manager_v1*>(wl_registry_bind(client.registry(), manager->name,
                                                                            &zwlr_foreign_toplevel_manager_v1_interface,
                                                                            std::min(manager->version, newestKnown)));
    zwlr_foreign_toplevel_manager_v1_add_listener(bound, &managerListener, this);
    isBeginning = true;
    client.synchronize();
    isBeginning = false;
}

void WlrToplevelWorkspace::stop() {
    if (bound == nullptr) {
        return;
    }
    for (const auto& toplevel : toplevels) {
        zwlr_foreign_toplevel_handle_v1_destroy(toplevel.handle);
    }
    toplevels.clear();
    zwlr_foreign_toplevel_manager_v1_stop(bound);
    zwlr_foreign_toplevel_manager_v1_destroy(std::exchange(bound, nullptr));
    client.send();
}

void WlrToplevelWorkspace::done(Toplevel& toplevel) {
    const auto before = std::exchange(toplevel.inForce, toplevel.announced);
    // With none activated, between two windows or while a surface that is no window has the keyboard, the last one
    // stays in front.
    if (toplevel.inForce.isActivated && toplevel.inForce != before) {
        front.cameToFront({.application = toplevel.inForce.applicationId, .instance = {}, .className = {}},
                          !isBeginning);
    }
}

void WlrToplevelWorkspace::close(Toplevel& toplevel) {
    zwlr_foreign_toplevel_handle_v1_destroy(toplevel.handle);
    toplevels.remove_if([&toplevel](const Toplevel& each) { return &each == &toplevel; });
}

} // namespace nocta
