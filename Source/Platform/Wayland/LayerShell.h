#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct wl_compositor;
struct wl_display;
struct wl_registry;
struct wl_shm;
struct wp_viewporter;
struct zwlr_layer_shell_v1;

namespace nocta {

/// What places this program's windows on a Wayland desktop: the compositor's layer shell, on the connection of Qt's
/// platform plug-in "wayland".
class LayerShell {
  public:
    /// Something of which a compositor may have several.
    struct Global {
        std::uint32_t name;
        std::string interface;
        std::uint32_t version;
    };

    /// Needs Qt's application, and waits for the compositor.
    LayerShell();
    LayerShell(const LayerShell&) = delete;
    LayerShell& operator=(const LayerShell&) = delete;
    ~LayerShell();

    /// Each is null where the compositor has none.
    [[nodiscard]] zwlr_layer_shell_v1* get() const { return shell; }
    [[nodiscard]] wl_compositor* compositor() const { return surfaces; }
    [[nodiscard]] wl_shm* sharedMemory() const { return memory; }
    [[nodiscard]] wp_viewporter* viewporter() const { return scaling; }

    [[nodiscard]] const std::vector<Global>& seats() const { return allSeats; }
    [[nodiscard]] wl_registry* registry() const { return registryOfGlobals; }

    /// Sends what was asked for.
    void flush() const;

  private:
    void add(const Global& global);
    void remove(std::uint32_t name);

    wl_display* display = nullptr;
    wl_registry* registryOfGlobals = nullptr;
    zwlr_layer_shell_v1* shell = nullptr;
    wl_compositor* surfaces = nullptr;
    wl_shm* memory = nullptr;
    wp_viewporter* scaling = nullptr;
    std::vector<Global> allSeats;
};

} // namespace nocta
