#include "Support/SessionBus.h"

#include "Support/Eventually.h"

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace nocta::test {

SessionBus::SessionBus() : busAddress("unix:path=" + (folder.path() / "bus").string()) {
    const auto configuration = folder.path() / "bus.conf";
    std::ofstream(configuration) << R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
  "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>)" << busAddress << R"(</listen>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";
    daemon = std::make_unique<Process>(
        std::vector<std::string>{"dbus-daemon", "--nofork", "--config-file=" + configuration.string()});
    if (!eventually([this] { return std::filesystem::exists(folder.path() / "bus"); })) {
        throw std::runtime_error("no session bus: " + daemon->errors());
    }
    setenv("DBUS_SESSION_BUS_ADDRESS", busAddress.c_str(), 1);
}

SessionBus::~SessionBus() {
    unsetenv("DBUS_SESSION_BUS_ADDRESS");
}

void SessionBus::kill() {
    daemon->signal(SIGKILL);
    daemon->waitForEnd();
}

} // namespace nocta::test
