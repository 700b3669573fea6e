#pragma once

#include "Support/Process.h"
#include "Support/TemporaryFolder.h"

#include <memory>
#include <string>

namespace nocta::test {

/// A private Xorg with the dummy driver: real CRTCs (16 of them), real RandR, gamma ramps of 256 entries, nothing to
/// look at. While it lives, this process's DISPLAY names it, and WAYLAND_DISPLAY nothing.
class XServer {
  public:
    /// Throws where it does not start.
    XServer();
    XServer(const XServer&) = delete;
    XServer& operator=(const XServer&) = delete;
    ~XServer();

    [[nodiscard]] const std::string& display() const { return name; }
    [[nodiscard]] pid_t id() const { return server->id(); }
    void kill();

  private:
    TemporaryFolder folder;
    std::unique_ptr<Process> server;
    std::string name;
};

} // namespace nocta::test
