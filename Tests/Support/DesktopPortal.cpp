#include "Support/DesktopPortal.h"

#include "Support/Eventually.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <vector>

namespace nocta::test {

namespace {

bool answers(const std::string& service) {
    Process ping({"dbus-send", "--session", "--print-reply=literal", "--dest=" + service, "/",
                  "org.freedesktop.DBus.Peer.Ping"});
    return ping.waitForEnd() == Ending{.exitStatus = 0};
}

void waitFor(const std::string& service, Process& process) {
    if (!eventually([&] { return answers(service); })) {
        throw std::runtime_error("no " + service + ": " + process.errors());
    }
}

} // namespace

DesktopPortal::DesktopPortal() {
    for (const auto* name : {"config", "runtime"}) {
        std::filesystem::create_directory(folder.path() / name);
    }
    std::filesystem::permissions(folder.path() / "runtime", std::filesystem::perms::owner_all);
    // The bus starts no services: the back end is there before the portal looks for it.
    backEnd = std::make_unique<Process>(std::vector<std::string>{"/usr/libexec/xdg-desktop-portal-gtk"}, environment());
    waitFor("org.freedesktop.impl.portal.desktop.gtk", *backEnd);
    start();
}

Process::Environment DesktopPortal::environment() const {
    return {{"HOME", folder.path()},
            {"XDG_CONFIG_HOME", folder.path() / "config"},
            {"XDG_RUNTIME_DIR", folder.path() / "runtime"},
            {"GSETTINGS_BACKEND", "keyfile"}};
}

void DesktopPortal::start() {
    portal = std::make_unique<Process>(std::vector<std::string>{"/usr/libexec/xdg-desktop-portal"}, environment());
    waitFor("org.freedesktop.portal.Desktop", *portal);
}

void DesktopPortal::set(const std::string& key, const std::string& value) const {
    Process setting({"gsettings", "set", "org.gnome.desktop.interface", key, value}, environment());
    if (setting.waitForEnd() != Ending{.exitStatus = 0}) {
        throw std::runtime_error("setting not made: " + setting.errors());
    }
}

void DesktopPortal::kill() {
    portal->signal(SIGKILL);
    portal->waitForEnd();
}

void DesktopPortal::restart() {
    kill();
    start();
}

} // namespace nocta::test
