#pragma once

#include "Support/Process.h"
#include "Support/TemporaryFolder.h"

#include <memory>
#include <string>
#include <vector>

namespace nocta::test {

/// A notification as the daemon took it.
struct Notification {
    std::string application;
    std::string title;
    std::string body;
    std::string seen;     ///< the body as it is drawn, in the daemon's own markup
    std::string category; ///< "ours" where the desktop entry is Nocta's
    std::string icon;     ///< the file that was found for it
    int id = 0;
};

/// A notification daemon on the session bus and the X server of this process's environment.
class NotificationDaemon {
  public:
    enum class Markup { full, none };

    /// Throws where it does not start.
    explicit NotificationDaemon(Markup markup = Markup::full);

    /// Every notification so far, the oldest first. Takes them off the screen.
    [[nodiscard]] std::vector<Notification> notifications() const;

    void signal(int number) const { daemon->signal(number); }
    /// Ends it as a crash does.
    void kill();

  private:
    TemporaryFolder folder;
    std::unique_ptr<Process> daemon;
};

} // namespace nocta::test
