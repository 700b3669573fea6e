#include "Support/Panel.h"

#include "Support/Eventually.h"
#include "Support/XfceSettings.h"

#include <csignal>
#include <filesystem>
#include <fstream>

namespace nocta::test {

namespace {

constexpr const char* xfceConfiguration = R"(<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-panel" version="1.0">
  <property name="configver" type="int" value="2"/>
  <property name="panels" type="array">
    <value type="int" value="1"/>
    <property name="panel-1" type="empty">
      <property name="position" type="string" value="p=6;x=0;y=0"/>
      <property name="length" type="uint" value="100"/>
      <property name="position-locked" type="bool" value="true"/>
      <property name="icon-size" type="uint" value="22"/>
      <property name="size" type="uint" value="30"/>
      <property name="plugin-ids" type="array">
        <value type="int" value="1"/>
        <value type="int" value="2"/>
      </property>
    </property>
  </property>
  <property name="plugins" type="empty">
    <property name="plugin-1" type="string" value="separator">
      <property name="expand" type="bool" value="true"/>
      <property name="style" type="uint" value="0"/>
    </property>
    <property name="plugin-2" type="string" value="systray"/>
  </property>
</channel>
)";

constexpr const char* lxqtConfiguration = R"([General]
__userfile__=true
panels=panel1
[panel1]
plugins=statusnotifier
position=Bottom
panelSize=32
iconSize=22
[statusnotifier]
alignment=Right
type=statusnotifier
)";

constexpr const char* tint2Configuration = R"(panel_items = FS
panel_size = 100% 32
panel_position = bottom center horizontal
rounded = 0
border_width = 0
background_color = #23272e 100
panel_background_id = 1
systray_icon_size = 22
systray_background_id = 0
)";

std::string waybarConfiguration(const std::string& position) {
    return R"({
    "output": ["HEADLESS-1", "Virtual-0", "X11-0"],
    "layer": "top",
    "position": ")" +
           position + R"(",
    "height": 30,
    "modules-right": ["tray"],
    "tray": {"icon-size": 22}
})";
}

constexpr const char* waybarStyle = R"(* { border: none; min-height: 0; }
window#waybar { background: #23272e; }
)";

void write(const std::filesystem::path& file, const std::string& text) {
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file) << text;
}

} // namespace

Panel::Panel(PanelKind kind)
    : kind(kind),
      environment{{"HOME", folder.path()},
                  {"XDG_CONFIG_HOME", folder.path() / "config"},
                  {"XDG_CACHE_HOME", folder.path() / "cache"},
                  {"XDG_RUNTIME_DIR", folder.path() / "runtime"},
                  {"NO_AT_BRIDGE", "1"}} {
    const auto runtime = folder.path() / "runtime";
    std::filesystem::create_directory(runtime);
    std::filesystem::permissions(runtime, std::filesystem::perms::owner_all);
    writeConfiguration();
    start();
}

Panel::~Panel() {
    // Asked first: it takes the processes of its plugins along.
    if (panel && panel->isRunning()) {
        panel->signal(SIGTERM);
        panel->waitForEnd();
    }
}

void Panel::kill() {
    // The plugin that shows the items is a process of its own, and would go a little later.
    for (const auto plugin : panel->children("wrapper-2.0")) {
        ::kill(plugin, SIGKILL);
    }
    panel->signal(SIGKILL);
    panel->waitForEnd();
}

void Panel::start() {
    switch (kind) {
    case PanelKind::xfce:
        if (!settings) {
            settings = std::make_unique<Process>(std::vector<std::string>{xfceSettingsProgram()}, environment);
        }
        panel = std::make_unique<Process>(std::vector<std::string>{"xfce4-panel", "--disable-wm-check"}, environment);
        break;
    case PanelKind::lxqt:
        panel = std::make_unique<Process>(std::vector<std::string>{"lxqt-panel"}, environment);
        break;
    case PanelKind::tint2:
        panel = std::make_unique<Process>(
            std::vector<std::string>{"tint2", "-c", (folder.path() / "config/tint2rc").string()}, environment);
        break;
    case PanelKind::waybar:
    case PanelKind::waybarBelow:
        panel = std::make_unique<Process>(std::vector<std::string>{"waybar", "-l", "off"}, environment);
        break;
    }
}

bool Panel::hasHost() const {
    return eventually(
        [this] {
            Process question({"sh", "-c",
                              "gdbus call --session --dest org.kde.StatusNotifierWatcher --object-path "
                              "/StatusNotifierWatcher --method org.freedesktop.DBus.Properties.Get "
                              "org.kde.StatusNotifierWatcher IsStatusNotifierHostRegistered | grep -q true"},
                             environment);
            return question.waitForEnd() == Ending{.exitStatus = 0};
        },
        std::chrono::seconds(30));
}

void Panel::writeConfiguration() const {
    const auto config = folder.path() / "config";
    switch (kind) {
    case PanelKind::xfce:
        write(config / "xfce4/xfconf/xfce-perchannel-xml/xfce4-panel.xml", xfceConfiguration);
        break;
    case PanelKind::lxqt:
        write(config / "lxqt/panel.conf", lxqtConfiguration);
        break;
    case PanelKind::tint2:
        write(config / "tint2rc", tint2Configuration);
        break;
    case PanelKind::waybar:
    case PanelKind::waybarBelow:
        write(config / "waybar/config", waybarConfiguration(kind == PanelKind::waybar ? "top" : "bottom"));
        write(config / "waybar/style.css", waybarStyle);
        break;
    }
}

} // namespace nocta::test
