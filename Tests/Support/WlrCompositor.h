#pragma once

#include "Support/Process.h"
#include "Support/TemporaryFolder.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace nocta::test {

/// A private compositor built on wlroots, a real one, on two headless outputs of 1280x800 beside each other, HEADLESS-1
/// and HEADLESS-2. What they lack, a gamma table, a library loaded into it gives them (HeadlessGamma.c). While it
/// lives, this process's WAYLAND_DISPLAY names it, and DISPLAY nothing.
class WlrCompositor {
  public:
    WlrCompositor(const WlrCompositor&) = delete;
    WlrCompositor& operator=(const WlrCompositor&) = delete;
    virtual ~WlrCompositor();

    [[nodiscard]] pid_t id() const { return process->id(); }
    void signal(int number) const { process->signal(number); }
    void kill();
    [[nodiscard]] const std::filesystem::path& socket() const { return waylandSocket; }
    /// A folder to which programs that it starts may write.
    [[nodiscard]] std::filesystem::path runtimeFolder() const { return folder.path() / "runtime"; }
    /// What a program of its session has in its environment besides.
    [[nodiscard]] virtual Process::Environment environment() const { return {}; }

    /// The names of the outputs that are on, in the order in which the compositor names them to programs.
    [[nodiscard]] std::vector<std::string> outputs() const;
    /// Plugs in one more, and returns its name.
    [[nodiscard]] std::string plug() const;
    /// Pulls out the one that was plugged in last.
    void unplug() const;
    virtual void switchOutput(const std::string& output, bool isOn) const = 0;
    virtual void setMode(const std::string& output, int width, int height) const = 0;
    virtual void setScale(const std::string& output, int scale) const = 0;

    /// How many windows of programs there are.
    [[nodiscard]] std::size_t windowCount() const;
    /// Brings the window with that application id to the front, as a task bar does.
    void focus(const std::string& applicationId) const;

    /// The table that an output shows: all of red, then green, then blue; nothing while it shows its own.
    [[nodiscard]] std::optional<std::vector<std::uint16_t>> table(const std::string& output) const;
    /// Gives tables another size; 0 takes them from the outputs. Clients are told nothing.
    void setGammaSize(std::size_t size) const;
    /// Ends the connections of the clients that have the control of a table, as at a violation of the protocol.
    void endGammaClients() const;

  protected:
    /// With gamma tables of so many entries a channel; with nothing, as a compositor that lets no client change
    /// colours.
    explicit WlrCompositor(std::optional<std::size_t> gammaSize);

    /// Starts it with these arguments, the program first. `isReady` says whether it takes what the derived class asks
    /// of it. Throws where it does not start.
    void start(std::vector<std::string> arguments, const Process::Environment& environment,
               const std::function<bool()>& isReady);

    /// A file that it may read, of that name and content; returns where it is.
    [[nodiscard]] std::filesystem::path write(const std::string& name, const std::string& content) const;

  private:
    /// The socket that it has made, if it has.
    [[nodiscard]] std::optional<std::filesystem::path> findSocket() const;

    TemporaryFolder folder;
    std::filesystem::path waylandSocket;
    std::unique_ptr<Process> process;
};

/// A compositor that is installed; named for the tests that run on it.
struct WlrCompositorKind {
    std::string name;
    std::function<std::unique_ptr<WlrCompositor>(std::optional<std::size_t> gammaSize)> make;

    friend std::ostream& operator<<(std::ostream& stream, const WlrCompositorKind& kind) { return stream << kind.name; }
};

/// All that are installed.
[[nodiscard]] std::vector<WlrCompositorKind> installedWlrCompositors();

} // namespace nocta::test
