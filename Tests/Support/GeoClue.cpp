#include "Support/GeoClue.h"

#include "Support/Eventually.h"

#include <csignal>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace nocta::test {

GeoClue::GeoClue(Policy policy) {
    lookup = std::make_unique<Process>(std::vector<std::string>{NOCTA_TEST_SUPPORT_FOLDER "/position-lookup"});
    if (!eventually([this] { return lookup->errors().ends_with('\n'); }, std::chrono::seconds(60))) {
        throw std::runtime_error("no position lookup: " + lookup->errors());
    }
    const std::string port = lookup->errors().substr(0, lookup->errors().find('\n'));
    std::ofstream(folder.path() / "geoclue.conf") << R"([agent]
whitelist=geoclue-demo-agent
[network-nmea]
enable=false
[3g]
enable=false
[cdma]
enable=false
[modem-gps]
enable=false
[compass]
enable=false
[wifi]
enable=true
submit-data=false
url=http://127.0.0.1:)" << port << R"(/v1/geolocate
[org.nocta.Nocta]
system=true
users=
allowed=)" << (policy == Policy::allowed ? "true" : "false")
                                                  << '\n';
    start();
}

void GeoClue::place(double latitude, double longitude) const {
    std::ostringstream line;
    line << latitude << ' ' << longitude << '\n';
    lookup->write(line.str());
}

void GeoClue::startAgent() {
    agent = std::make_unique<Process>(std::vector<std::string>{"/usr/libexec/geoclue-2.0/demos/agent"});
}

void GeoClue::kill() {
    agent.reset(); // it would come back to the next one by itself, beside another agent
    service->signal(SIGKILL);
    service->waitForEnd();
    if (!eventually([this] { return !bus.answers("org.freedesktop.GeoClue2"); })) {
        throw std::runtime_error("GeoClue does not end");
    }
}

void GeoClue::start() {
    // The service reads its configuration from one place only.
    service = std::make_unique<Process>(std::vector<std::string>{"bwrap", "--die-with-parent", "--dev-bind", "/", "/",
                                                                 "--bind", folder.path() / "geoclue.conf",
                                                                 "/etc/geoclue/geoclue.conf", "/usr/libexec/geoclue"});
    if (!eventually([this] { return bus.answers("org.freedesktop.GeoClue2"); }, std::chrono::seconds(60))) {
        throw std::runtime_error("no GeoClue: " + service->errors());
    }
}

} // namespace nocta::test
