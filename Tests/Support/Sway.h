#pragma once

#include "Support/Process.h"
#include "Support/TemporaryFolder.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace nocta::test {

/// A private sway, a real Wayland compositor, on two headless outputs of 1280x800 beside each other. What they lack, a
/// gamma table, a library loaded into sway gives them (HeadlessGamma.c). While it lives, this process's
/// WAYLAND_DISPLAY names it, and DISPLAY nothing.
class Sway {
  public:
    /// With gamma tables of so many entries a channel; with nothing, as a compositor that lets no client change
    /// colours. Throws where it does not start.
    explicit Sway(std::optional<std::size_t> gammaSize = 1024);
    Sway(const Sway&) = delete;
    Sway& operator=(const Sway&) = delete;
    ~Sway();

    [[nodiscard]] pid_t id() const { return process->id(); }
    void signal(int number) const { process->signal(number); }
    void kill();
    [[nodiscard]] const std::filesystem::path& socket() const { return waylandSocket; }
    /// Where sway takes commands.
    [[nodiscard]] const std::filesystem::path& commandSocket() const { return ipcSocket; }

    /// Has sway carry out what a person could write into its configuration. Throws where it does not succeed.
    void command(const std::string& text) const;

    /// The names of the outputs that are on, in the order of their appearance.
    [[nodiscard]] std::vector<std::string> outputs() const;
    /// Plugs in one more, and returns its name.
    [[nodiscard]] std::string plug() const;
    /// Pulls out the one that was plugged in last.
    void unplug() const;

    /// How many windows of programs there are, on all workspaces.
    [[nodiscard]] std::size_t windowCount() const;

    /// The table that an output shows: all of red, then green, then blue; nothing while it shows its own.
    [[nodiscard]] std::optional<std::vector<std::uint16_t>> table(const std::string& output) const;
    /// Gives tables another size; 0 takes them from the outputs. Clients are told nothing.
    void setGammaSize(std::size_t size) const;

  private:
    /// One message to sway and the answer, in the format of i3.
    [[nodiscard]] std::string ask(std::uint32_t type, const std::string& payload) const;

    TemporaryFolder folder;
    std::filesystem::path waylandSocket;
    std::filesystem::path ipcSocket;
    std::unique_ptr<Process> process;
};

} // namespace nocta::test
