// wayland-window APPLICATION [fullscreen]: a window of one colour on the compositor that WAYLAND_DISPLAY names, for
// tests of what stands above it and beside it. Tells on standard error what becomes of it, one word a line: "shown",
// "active", "inactive", and "key NUMBER" (the kernel's) for every key that it is given. Ends when it is closed.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <span>
#include <string>
#include <string_view>

#include <sys/mman.h>
#include <unistd.h>
#include <wayland-client.h>
#include <xdg-shell.h>

namespace {

constexpr std::uint32_t color = 0xFF2E8B57; // like nothing of Nocta's

class Window {
  public:
    Window(wl_display* display, const char* application, bool isFullScreen) {
        static const wl_registry_listener registryListener{
            .global = [](void* data, wl_registry* registry, std::uint32_t name, const char* interface,
                         std::uint32_t) { static_cast<Window*>(data)->bind(registry, name, interface); },
            .global_remove = [](void*, wl_registry*, std::uint32_t) {}};
        auto* const registry = wl_display_get_registry(display);
        wl_registry_add_listener(registry, &registryListener, this);
        wl_display_roundtrip(display);
        if (compositor == nullptr || memory == nullptr || shell == nullptr || seat == nullptr) {
            std::cerr << "this compositor shows no windows" << std::endl;
            std::exit(EXIT_FAILURE); // NOLINT(concurrency-mt-unsafe)
        }
        surface = wl_compositor_create_surface(compositor);
        auto* const xdgSurface = xdg_wm_base_get_xdg_surface(shell, surface);
        static const xdg_surface_listener surfaceListener{
            .configure = [](void* data, xdg_surface* configured, std::uint32_t serial) {
                xdg_surface_ack_configure(configured, serial);
                static_cast<Window*>(data)->draw();
            }};
        xdg_surface_add_listener(xdgSurface, &surfaceListener, this);
        auto* const toplevel = xdg_surface_get_toplevel(xdgSurface);
        // Newer libraries know more events than the shell here is asked for.
        static const xdg_toplevel_listener toplevelListener = [] {
            xdg_toplevel_listener listener{};
            listener.configure = [](void* data, xdg_toplevel*, std::int32_t width, std::int32_t height,
                                    wl_array* states) {
                static_cast<Window*>(data)->configure(
                    width, height,
                    {static_cast<const std::uint32_t*>(states->data), states->size / sizeof(std::uint32_t)});
            };
            listener.close = [](void* data, xdg_toplevel*) { static_cast<Window*>(data)->isOpen = false; };
            return listener;
        }();
        xdg_toplevel_add_listener(toplevel, &toplevelListener, this);
        xdg_toplevel_set_app_id(toplevel, application);
        xdg_toplevel_set_title(toplevel, application);
        if (isFullScreen) {
            xdg_toplevel_set_fullscreen(toplevel, nullptr);
        }
        wl_surface_commit(surface);
    }

    bool isOpen = true;

  private:
    void bind(wl_registry* registry, std::uint32_t name, std::string_view interface) {
        const auto take = [&](auto*& object, const wl_interface& wanted) {
            if (interface == wanted.name) {
                object = static_cast<std::remove_reference_t<decltype(object)>>(
                    wl_registry_bind(registry, name, &wanted, 1));
            }
        };
        take(compositor, wl_compositor_interface);
        take(memory, wl_shm_interface);
        take(shell, xdg_wm_base_interface);
        take(seat, wl_seat_interface);
        if (interface == xdg_wm_base_interface.name) {
            static const xdg_wm_base_listener listener{
                .ping = [](void*, xdg_wm_base* base, std::uint32_t serial) { xdg_wm_base_pong(base, serial); }};
            xdg_wm_base_add_listener(shell, &listener, nullptr);
        } else if (interface == wl_seat_interface.name) {
            static const wl_seat_listener listener{
                .capabilities = [](void* data, wl_seat*,
                                   std::uint32_t capabilities) { static_cast<Window*>(data)->listen(capabilities); },
                .name = [](void*, wl_seat*, const char*) {}};
            wl_seat_add_listener(seat, &listener, this);
        }
    }

    void listen(std::uint32_t capabilities) {
        if ((capabilities & WL_SEAT_CAPABILITY_KEYBOARD) == 0 || keyboard != nullptr) {
            return;
        }
        keyboard = wl_seat_get_keyboard(seat);
        static const wl_keyboard_listener listener{
            .keymap = [](void*, wl_keyboard*, std::uint32_t, std::int32_t file, std::uint32_t) { close(file); },
            .enter = [](void*, wl_keyboard*, std::uint32_t, wl_surface*, wl_array*) {},
            .leave = [](void*, wl_keyboard*, std::uint32_t, wl_surface*) {},
            .key =
                [](void*, wl_keyboard*, std::uint32_t, std::uint32_t, std::uint32_t key, std::uint32_t state) {
                    if (state == WL_KEYBOARD_KEY_STATE_PRESSED) {
                        std::cerr << "key " << key << std::endl;
                    }
                },
            .modifiers = [](void*, wl_keyboard*, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t,
                            std::uint32_t) {},
            .repeat_info = [](void*, wl_keyboard*, std::int32_t, std::int32_t) {}};
        wl_keyboard_add_listener(keyboard, &listener, nullptr);
    }

    void configure(std::int32_t newWidth, std::int32_t newHeight, std::span<const std::uint32_t> states) {
        // Nothing, where the size is the window's own choice.
        width = newWidth > 0 ? newWidth : width;
        height = newHeight > 0 ? newHeight : height;
        const bool isActiveNow = std::ranges::find(states, std::uint32_t{XDG_TOPLEVEL_STATE_ACTIVATED}) != states.end();
        if (isActiveNow != isActive) {
            isActive = isActiveNow;
            std::cerr << (isActive ? "active" : "inactive") << std::endl;
        }
    }

    void draw() {
        const auto count = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
        const auto size = count * sizeof(std::uint32_t);
        const int file = memfd_create("window", MFD_CLOEXEC);
        if (file < 0 || ftruncate(file, static_cast<off_t>(size)) != 0) {
            std::exit(EXIT_FAILURE); // NOLINT(concurrency-mt-unsafe)
        }
        void* const memoryOfFile = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
        std::fill_n(static_cast<std::uint32_t*>(memoryOfFile), count, color);
        munmap(memoryOfFile, size);
        constexpr int bytesPerPixel = sizeof(std::uint32_t);
        auto* const pool = wl_shm_create_pool(memory, file, static_cast<std::int32_t>(size));
        auto* const buffer =
            wl_shm_pool_create_buffer(pool, 0, width, height, width * bytesPerPixel, WL_SHM_FORMAT_XRGB8888);
        wl_shm_pool_destroy(pool);
        close(file);
        wl_surface_attach(surface, buffer, 0, 0);
        wl_surface_damage(surface, 0, 0, width, height);
        wl_surface_commit(surface);
        if (!isShown) {
            isShown = true;
            std::cerr << "shown" << std::endl;
        }
    }

    wl_compositor* compositor = nullptr;
    wl_shm* memory = nullptr;
    xdg_wm_base* shell = nullptr;
    wl_seat* seat = nullptr;
    wl_keyboard* keyboard = nullptr;
    wl_surface* surface = nullptr;
    std::int32_t width = 400;
    std::int32_t height = 300;
    bool isActive = false;
    bool isShown = false;
};

} // namespace

int main(int argc, char** argv) {
    const std::span arguments(argv, static_cast<std::size_t>(argc));
    wl_display* const display = wl_display_connect(nullptr);
    if (display == nullptr || arguments.size() < 2) {
        std::cerr << "no compositor, or no application" << std::endl;
        return EXIT_FAILURE;
    }
    // What it has on the connection ends with it.
    Window window(display, arguments[1], arguments.size() > 2 && std::string_view(arguments[2]) == "fullscreen");
    while (window.isOpen && wl_display_dispatch(display) >= 0) {
    }
    wl_display_disconnect(display);
    return EXIT_SUCCESS;
}
