#include "Support/MessageBus.h"

#include "Support/Eventually.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace nocta::test {

MessageBus::MessageBus(const std::string& type, std::string variable)
    : variable(std::move(variable)), busAddress("unix:path=" + (folder.path() / "bus").string()) {
    // A compositor that refuses to be root's, and its programs, pass through it as somebody else.
    using std::filesystem::perms;
    std::filesystem::permissions(folder.path(), perms::owner_all | perms::group_exec | perms::others_exec);
    const auto configuration = folder.path() / "bus.conf";
    std::ofstream(configuration) << R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
  "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>)" << type << R"(</type>
  <listen>)" << busAddress << R"(</listen>
  <policy context="default">
    <allow user="*"/>
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";
    start();
    setenv(this->variable.c_str(), busAddress.c_str(), 1);
}

MessageBus::~MessageBus() {
    unsetenv(variable.c_str());
}

void MessageBus::start() {
    daemon = std::make_unique<Process>(
        std::vector<std::string>{"dbus-daemon", "--nofork", "--config-file=" + (folder.path() / "bus.conf").string()});
    // Its socket is there some time before it listens at it.
    if (!eventually([this] { return answers("org.freedesktop.DBus"); })) {
        throw std::runtime_error("no bus: " + daemon->errors());
    }
}

void MessageBus::kill() {
    daemon->signal(SIGKILL);
    daemon->waitForEnd();
}

void MessageBus::restart() {
    kill();
    start();
}

bool MessageBus::answers(const std::string& service) const {
    Process ping({"dbus-send", "--bus=" + busAddress, "--print-reply=literal", "--dest=" + service, "/",
                  "org.freedesktop.DBus.Peer.Ping"});
    return ping.waitForEnd() == Ending{.exitStatus = 0};
}

} // namespace nocta::test
