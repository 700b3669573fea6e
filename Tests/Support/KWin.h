#pragma once

#include "Support/Process.h"
#include "Support/SessionBus.h"
#include "Support/TemporaryFolder.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>

namespace nocta::test {

/// A private kwin_wayland, the compositor of KDE Plasma, on outputs of 1280x800 beside each other that are nowhere but
/// in its memory, with a session bus of its own and none of anybody's settings. While it lives, this process's
/// WAYLAND_DISPLAY and DBUS_SESSION_BUS_ADDRESS name them, and DISPLAY nothing.
class KWin {
  public:
    /// How it puts together what an output shows.
    enum class Drawing {
        simple,  ///< at the least cost
        pictured ///< by OpenGL, which its way to take pictures needs
    };

    /// Throws where it does not start.
    explicit KWin(std::size_t outputs = 2, Drawing drawing = Drawing::simple);
    KWin(const KWin&) = delete;
    KWin& operator=(const KWin&) = delete;
    ~KWin();

    [[nodiscard]] pid_t id() const { return process->id(); }
    void signal(int number) const { process->signal(number); }
    /// Ends it as a crash does; the bus stays.
    void kill();
    /// The same, and another one takes its place on the bus and its socket.
    void restart();
    [[nodiscard]] const std::filesystem::path& socket() const { return waylandSocket; }
    /// The file of its settings, which it reads when it starts.
    [[nodiscard]] std::filesystem::path configuration() const { return folder.path() / "home/.config/kwinrc"; }
    [[nodiscard]] SessionBus& bus() { return sessionBus; }

    /// The colour temperature that it says it shows, in kelvin; nothing where it does not say.
    [[nodiscard]] std::optional<std::uint32_t> temperature() const;

    /// What the person before the screen sees at that place, red, green and blue, from a picture that KWin takes; the
    /// outputs are beside each other in the order of their names, also while one of them is off. Nothing where there is
    /// none. Only for KWins that are pictured; what the graphics card does to colours is not in it.
    using Colour = std::array<std::uint8_t, 3>;
    [[nodiscard]] std::optional<Colour> colourAt(int x, int y) const;

  private:
    void start();

    TemporaryFolder folder;
    SessionBus sessionBus;
    std::size_t outputs;
    Drawing drawing;
    std::filesystem::path waylandSocket;
    std::unique_ptr<Process> process;
};

} // namespace nocta::test
