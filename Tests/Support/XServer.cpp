#include "Support/XServer.h"

#include "Support/Eventually.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <random>
#include <stdexcept>

#include <fcntl.h>
#include <unistd.h>

namespace nocta::test {

namespace {

constexpr const char* serverConfiguration = R"(
Section "ServerFlags"
    Option "DontVTSwitch" "true"
    Option "AllowMouseOpenFail" "true"
    Option "AutoAddDevices" "false"
    Option "AutoEnableDevices" "false"
    Option "AutoAddGPU" "false"
    Option "BlankTime" "0"
    Option "StandbyTime" "0"
EndSection
Section "Monitor"
    Identifier "Monitor"
    HorizSync 5.0-1000.0
    VertRefresh 5.0-200.0
    Modeline "1280x800" 83.50 1280 1352 1480 1680 800 803 809 831
    Modeline "1024x768" 65.00 1024 1048 1184 1344 768 771 777 806
EndSection
Section "Device"
    Identifier "Device"
    Driver "dummy"
    VideoRam 256000
EndSection
Section "Screen"
    Identifier "Screen"
    Device "Device"
    Monitor "Monitor"
    DefaultDepth 24
    SubSection "Display"
        Depth 24
        Modes "1280x800" "1024x768"
        Virtual 3840 2160
    EndSubSection
EndSection
)";

/// Past a wrapper that lets only console users start a server.
std::string serverProgram() {
    constexpr const char* direct = "/usr/lib/xorg/Xorg";
    return std::filesystem::exists(direct) ? direct : "Xorg";
}

/// An authority file of one random cookie, for every address and every display number.
std::string authority() {
    std::random_device random;
    std::string cookie;
    for (int i = 0; i < 16; ++i) {
        cookie += static_cast<char>(random());
    }
    const auto counted = [](const std::string& text) {
        return std::string{'\0', static_cast<char>(text.size())} + text;
    };
    const std::string everyAddress = "\xff\xff";
    return everyAddress + counted("") + counted("") + counted("MIT-MAGIC-COOKIE-1") + counted(cookie);
}

} // namespace

XServer::XServer() {
    const auto configurationFile = folder.path() / "xorg.conf";
    std::ofstream(configurationFile) << serverConfiguration;
    const auto emptyFolder = folder.path() / "conf.d";
    std::filesystem::create_directory(emptyFolder);
    // Keeps out what still runs for a server that had this one's number before.
    const auto authorityFile = folder.path() / "authority";
    std::ofstream(authorityFile, std::ios::binary) << authority();
    setenv("XAUTHORITY", authorityFile.c_str(), 1);
    std::array<int, 2> ready{-1, -1};
    if (pipe(ready.data()) != 0) {
        throw std::runtime_error("no pipe");
    }
    fcntl(ready[0], F_SETFD, FD_CLOEXEC);
    // The server writes the number of the display that it found free.
    server = std::make_unique<Process>(std::vector<std::string>{
        serverProgram(), "-displayfd", std::to_string(ready[1]), "-config", configurationFile.string(), "-configdir",
        emptyFolder.string(), "-auth", authorityFile.string(), "-logfile", (folder.path() / "log").string(), "-noreset",
        "-novtswitch", "-sharevts", "-nolisten", "tcp"});
    close(ready[1]);
    std::string number;
    for (char c = 0; read(ready[0], &c, 1) == 1 && c != '\n';) {
        number += c;
    }
    close(ready[0]);
    if (number.empty()) {
        throw std::runtime_error("no X server: " + server->errors());
    }
    name = ":" + number;
    setenv("DISPLAY", name.c_str(), 1);
    unsetenv("WAYLAND_DISPLAY"); // of the session that the tests run in
}

XServer::~XServer() {
    unsetenv("DISPLAY");
    unsetenv("XAUTHORITY");
    // Asked first, so that it takes its socket and lock file along.
    server->signal(SIGTERM);
    server->waitForEnd();
}

void XServer::kill() {
    server->signal(SIGKILL);
    server->waitForEnd();
}

} // namespace nocta::test
