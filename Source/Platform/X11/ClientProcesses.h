#pragma once

#include "Platform/X11/XClient.h"

#include <functional>
#include <optional>

#include <sys/types.h>

namespace nocta {

/// Which process of this machine a window belongs to. The server tells it (XRes) from the other end of the connection
/// that made the window, so it also holds for windows that name no process, and for processes of a sandbox, which do
/// not know their own number.
class ClientProcesses {
  public:
    /// Waits for the server. `client` outlives it.
    explicit ClientProcesses(XClient& client);

    /// Calls `onAnswer` with the process that made `window`; with nothing where there is no such window, it is another
    /// machine's, or the server cannot tell. Calls from the run loop, or at once where the server cannot tell.
    void ask(xcb_window_t window, std::function<void(std::optional<pid_t>)> onAnswer) const;

    /// Whether it is this process. All of its connections are, whoever in it made them.
    [[nodiscard]] bool isOwn(std::optional<pid_t> process) const { return process && process == own; }

  private:
    XClient& client;
    bool isSupported = false;
    std::optional<pid_t> own; ///< as the server sees it, which may live among other processes
};

} // namespace nocta
