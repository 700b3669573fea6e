#pragma once

#include "Support/ScreenPicture.h"

#include <cstdint>
#include <initializer_list>

struct org_kde_kwin_fake_input;
struct wl_display;
struct wl_registry;

namespace nocta::test {

/// The hands at a keyboard and a mouse of the KWin that WAYLAND_DISPLAY names, plugged in as long as this lives. Keys
/// are the kernel's.
class KWinInput {
  public:
    /// Throws where the compositor takes none.
    KWinInput();
    KWinInput(const KWinInput&) = delete;
    KWinInput& operator=(const KWinInput&) = delete;
    ~KWinInput();

    void press(std::uint32_t key) { send(key, true); }
    void release(std::uint32_t key) { send(key, false); }
    /// Presses the keys in this order and releases them in the reverse one.
    void type(std::initializer_list<std::uint32_t> keys);

    /// To that place of the desktop, in logical pixels.
    void move(const Point& point);
    /// Presses and releases the left button.
    void click();

  private:
    void send(std::uint32_t key, bool isDown);

    wl_display* display;
    wl_registry* registry = nullptr;
    org_kde_kwin_fake_input* devices = nullptr;
};

} // namespace nocta::test
