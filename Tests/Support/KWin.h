#pragma once

#include "Support/Process.h"
#include "Support/ScreenPicture.h"
#include "Support/SessionBus.h"
#include "Support/TemporaryFolder.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>

namespace nocta::test {

/// A private kwin_wayland, the compositor of KDE Plasma, on outputs of 1280x800 beside each other, with a session bus
/// of its own and none of anybody's settings. While it lives, this process's WAYLAND_DISPLAY and
/// DBUS_SESSION_BUS_ADDRESS name them, and DISPLAY nothing.
class KWin {
  public:
    /// Where its outputs are.
    enum class Drawing {
        simple,  ///< nowhere but in its memory
        pictured ///< windows on an X server of its own, of which pictures can be taken
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
    /// Asks its night light for a temperature in kelvin, as other programs do. Throws where it does not take it.
    void preview(std::uint32_t kelvin) const;

    /// What the person before the screen sees at that place, red, green and blue; the outputs are beside each other in
    /// the order of their names, also while one of them is off. Nothing where there is none. Only for KWins that are
    /// pictured; what the graphics card does to colours is not in it.
    using Colour = std::array<std::uint8_t, 3>;
    [[nodiscard]] std::optional<Colour> colourAt(int x, int y) const;
    /// The same of the whole desktop, of up to three outputs.
    [[nodiscard]] ScreenPicture picture() const;

  private:
    struct Screens;

    void start();

    TemporaryFolder folder;
    SessionBus sessionBus;
    std::size_t outputs;
    std::unique_ptr<Screens> screens; ///< of a KWin that is pictured
    std::filesystem::path waylandSocket;
    std::unique_ptr<Process> process;
};

} // namespace nocta::test
