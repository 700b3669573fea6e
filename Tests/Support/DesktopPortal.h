#pragma once

#include "Support/Process.h"
#include "Support/TemporaryFolder.h"

#include <memory>
#include <string>

namespace nocta::test {

/// The desktop portal and its GTK back end on the session bus and the X server of this process's environment, with
/// settings of their own.
class DesktopPortal {
  public:
    /// Throws where it does not start.
    DesktopPortal();

    /// Sets a key of `org.gnome.desktop.interface`, as the desktop's control centre does.
    void set(const std::string& key, const std::string& value) const;

    /// Ends the portal as a crash does; its back end and the settings stay.
    void kill();
    void restart();

  private:
    [[nodiscard]] Process::Environment environment() const;
    void start();

    TemporaryFolder folder;
    std::unique_ptr<Process> backEnd;
    std::unique_ptr<Process> portal;
};

} // namespace nocta::test
