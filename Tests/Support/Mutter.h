#pragma once

#include "Support/Process.h"
#include "Support/TemporaryFolder.h"

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>

namespace nocta::test {

/// A private mutter as the window manager of the X server that DISPLAY names, on the session bus that the environment
/// names: it offers that server's displays on the bus. While it lives, XDG_RUNTIME_DIR is a folder of its own.
class Mutter {
  public:
    /// Throws where it does not start.
    Mutter();
    Mutter(const Mutter&) = delete;
    Mutter& operator=(const Mutter&) = delete;
    ~Mutter();

    /// Waits until it knows of `count` displays that are on: at its start it switches on whatever is connected.
    void waitForDisplays(std::size_t count) const;

    void signal(int number) const { process->signal(number); }
    /// Ends it as a crash does. The X server keeps what it shows.
    void end();
    /// The same, unless that is done, and starts another one.
    void restart();

    [[nodiscard]] std::filesystem::path runtimeFolder() const { return folder.path() / "runtime"; }
    /// The file that Nocta leaves for its successor.
    [[nodiscard]] std::filesystem::path calibrationFile() const { return runtimeFolder() / "nocta-calibration"; }

  private:
    void start();
    /// What `org.gnome.Mutter.DisplayConfig` tells of its resources, as text; empty where it does not answer.
    [[nodiscard]] std::string resources() const;

    TemporaryFolder folder;
    std::unique_ptr<Process> process;
};

} // namespace nocta::test
