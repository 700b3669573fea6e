#pragma once

struct wl_display;
struct wl_registry;
struct zwlr_layer_shell_v1;

namespace nocta {

/// What places this program's windows on a Wayland desktop: the compositor's layer shell, on the connection of Qt's
/// platform plug-in "wayland".
class LayerShell {
  public:
    /// Needs Qt's application, and waits for the compositor.
    LayerShell();
    LayerShell(const LayerShell&) = delete;
    LayerShell& operator=(const LayerShell&) = delete;
    ~LayerShell();

    /// Null where the compositor has none.
    [[nodiscard]] zwlr_layer_shell_v1* get() const { return shell; }

    /// Sends what was asked for.
    void flush() const;

  private:
    wl_display* display = nullptr;
    wl_registry* registry = nullptr;
    zwlr_layer_shell_v1* shell = nullptr;
};

} // namespace nocta
