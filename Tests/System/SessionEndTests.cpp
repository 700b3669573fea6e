#include "Desktop.h"
#include "Support/XfceSettings.h"

#include <chrono>
#include <fstream>
#include <memory>
#include <string>

namespace nocta::test {
namespace {

constexpr const char* sessionConfiguration = R"(<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-session" version="1.0">
  <property name="general" type="empty">
    <property name="FailsafeSessionName" type="string" value="Failsafe"/>
  </property>
  <property name="startup" type="empty">
    <property name="ssh-agent" type="empty"><property name="enabled" type="bool" value="false"/></property>
    <property name="gpg-agent" type="empty"><property name="enabled" type="bool" value="false"/></property>
  </property>
  <property name="sessions" type="empty">
    <property name="Failsafe" type="empty">
      <property name="IsFailsafe" type="bool" value="true"/>
      <property name="Count" type="int" value="1"/>
      <property name="Client0_Command" type="array"><value type="string" value="xfwm4"/></property>
      <property name="Client0_Priority" type="int" value="15"/>
    </property>
  </property>
</channel>
)";

/// A session that its manager begins and ends, Nocta started by it.
class ManagedSession : public Desktop {
  protected:
    ManagedSession() {
        const auto config = home.path() / "config";
        write(config / "xfce4/xfconf/xfce-perchannel-xml/xfce4-session.xml", sessionConfiguration);
        write(config / "autostart/org.nocta.Nocta.desktop",
              "[Desktop Entry]\nType=Application\nName=Nocta\nExec=" + (programFolder() / "nocta").string() + "\n");
        settingsKeeper = std::make_unique<Process>(std::vector<std::string>{xfceSettingsProgram()}, environment());
    }

    static void write(const std::filesystem::path& file, const std::string& text) {
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file) << text;
    }

    [[nodiscard]] std::unique_ptr<Process> logIn() const {
        auto variables = environment();
        // Nothing that this machine would start in any session.
        variables.insert(variables.end(), {{"XDG_CONFIG_DIRS", home.path() / "no-config"},
                                           {"XDG_CACHE_HOME", home.path() / "cache"},
                                           {"XDG_DATA_HOME", home.path() / "data"},
                                           {"SESSION_MANAGER", ""},
                                           {"NO_AT_BRIDGE", "1"}});
        return std::make_unique<Process>(std::vector<std::string>{"xfce4-session"}, variables);
    }

    /// As soon as the manager has done with the login. It is not to remember what ran: it would start Nocta twice.
    void logOut() const {
        EXPECT_TRUE(eventually([this] {
            Process call({"gdbus", "call", "--session", "--dest", "org.xfce.SessionManager", "--object-path",
                          "/org/xfce/SessionManager", "--method", "org.xfce.Session.Manager.Logout", "false", "false"},
                         environment());
            return call.waitForEnd() == cleanExit;
        }));
    }

    [[nodiscard]] bool noctaRuns() const {
        Process control({programFolder() / "noctactl", "get", "filterEnabled"}, environment());
        return control.waitForEnd() == cleanExit;
    }

    std::unique_ptr<Process> settingsKeeper;
};

TEST_F(ManagedSession, LoggingOutGivesTheScreenBackAndLoggingInTintsItAgain) {
    writeSettings("[General]\nactivePresetID=dusk\nbreaksEnabled=true\n");
    const auto before = settings();
    for (int session = 0; session < 2; ++session) {
        const auto manager = logIn();
        ASSERT_TRUE(everyDisplayBecomes(warmRamps(3400, 0.8))) << session << manager->errors();
        ASSERT_TRUE(eventually([this] { return noctaRuns(); }));
        logOut();
        EXPECT_TRUE(becomesCalibrated()) << session;
        EXPECT_TRUE(manager->waitForEnd()) << session;
        EXPECT_FALSE(noctaRuns());
        EXPECT_TRUE(isCalibrated());
        EXPECT_EQ(settings(), before);
    }
}

} // namespace
} // namespace nocta::test
