#include "Platform/DesktopFiles/SandboxedApplication.h"

#include "Support/TemporaryFolder.h"

#include <fstream>

#include <gtest/gtest.h>

namespace nocta {
namespace {

constexpr const char* uuid = "1b4e28ba-2fa1-11d2-883f-0016d3cca427";

TEST(SandboxedApplicationTest, AFlatpakIsNamedInItsInfo) {
    EXPECT_EQ(flatpakApplication("[Application]\nname=org.gimp.GIMP\nruntime=runtime/org.gnome.Platform\n"),
              "org.gimp.GIMP");
    EXPECT_EQ(flatpakApplication("[Runtime]\nname=org.gnome.Platform\n"), std::nullopt);
    EXPECT_EQ(flatpakApplication("[Application]\nname=\n"), std::nullopt);
    EXPECT_EQ(flatpakApplication(""), std::nullopt);
}

TEST(SandboxedApplicationTest, ASnapsApplicationIsNamedByItsControlGroup) {
    const std::string slice = "0::/user.slice/user-1000.slice/user@1000.service/app.slice/";
    EXPECT_EQ(snapApplication(slice + "snap.firefox.firefox-" + uuid + ".scope\n"), "firefox_firefox");
    EXPECT_EQ(snapApplication(slice + "snap.firefox.firefox." + uuid + ".scope\n"), "firefox_firefox");
    EXPECT_EQ(snapApplication(slice + "snap.my-tool_second.run-it-" + uuid + ".scope\n"), "my-tool_second_run-it");
    EXPECT_EQ(snapApplication("0::/system.slice/snap.lxd.daemon.service\n"), "lxd_daemon");
    EXPECT_EQ(snapApplication(std::string("12:pids:/\n1:name=systemd:/snap.code.code-") + uuid + ".scope/sub\n0::/\n"),
              "code_code");
}

TEST(SandboxedApplicationTest, OtherControlGroupsNameNone) {
    for (const auto* groups :
         {"", "0::/\n", "0::/user.slice/app-org.gnome.Terminal.slice/vte-spawn.scope\n", "0::/snap.\n",
          "0::/snap..scope\n", "0::/snap.firefox.scope\n", "0::/snap.firefox.hook.configure.scope\n",
          "0::/snap.firefox.firefox\n", "0::/snapd.service\n", "0::/snap.firefox..scope\n"}) {
        EXPECT_EQ(snapApplication(groups), std::nullopt) << groups;
    }
}

TEST(SandboxedApplicationTest, LooksIntoTheProcess) {
    const test::TemporaryFolder processes;
    const auto write = [&](const std::string& name, const std::string& text) {
        const auto file = processes.path() / name;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file) << text;
    };
    write("10/root/.flatpak-info", "[Application]\nname=org.gimp.GIMP\n");
    write("10/cgroup", "0::/app-flatpak-org.gimp.GIMP-10.scope\n");
    write("11/cgroup", std::string("0::/snap.code.code-") + uuid + ".scope\n");
    write("12/cgroup", "0::/init.scope\n");
    EXPECT_EQ(sandboxedApplication(10, processes.path()), "org.gimp.GIMP");
    EXPECT_EQ(sandboxedApplication(11, processes.path()), "code_code");
    EXPECT_EQ(sandboxedApplication(12, processes.path()), std::nullopt);
    EXPECT_EQ(sandboxedApplication(13, processes.path()), std::nullopt);
}

} // namespace
} // namespace nocta
