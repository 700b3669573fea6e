#include "Support/Labwc.h"
#include "Support/PhysicalKey.h"
#include "WaylandPerson.h"

#include <memory>
#include <string>

namespace nocta::test {
namespace {

/// A person who has written the shortcut into labwc's configuration, as README says it.
class PersonsLabwcDay : public WaylandPerson {
  protected:
    PersonsLabwcDay()
        : WaylandPerson([] {
              return std::make_unique<Labwc>(1024, "<keybind key=\"W-S-i\">\n"
                                                   "  <action name=\"Execute\" command=\"noctactl cycle\" />\n"
                                                   "</keybind>\n");
          }) {}
};

TEST_F(PersonsLabwcDay, TheShortcutGoesToTheNextPresetAndSaysWhichOneItIs) {
    constexpr std::uint32_t ground = 0x285577; // of this daemon's messages
    Process notifications({"mako"}, environment());
    launch();
    ASSERT_TRUE(escapeClosesThePopover());
    ASSERT_EQ(picture().count(ground), 0U);
    pressPhysicalI({"logo", "shift"});
    EXPECT_TRUE(eventually([this] { return settingsHave("activePresetID=focus"); }));
    EXPECT_TRUE(everyDisplayBecomes(warmTint(5000, 0.9)));
    EXPECT_TRUE(eventually([&] { return picture().count(ground) > 1000; })) << notifications.errors();
    pressPhysicalI({"logo", "shift"});
    EXPECT_TRUE(eventually([this] { return settingsHave("activePresetID=dusk"); }));
    EXPECT_TRUE(everyDisplayBecomes(warmTint(3400, 0.8)));
}

TEST_F(PersonsLabwcDay, TheKeyWithFewerModifiersIsNotTheShortcut) {
    launch();
    ASSERT_TRUE(escapeClosesThePopover());
    pressPhysicalI({"logo"});
    pressPhysicalI({"shift"});
    pressPhysicalI({"logo", "shift"});
    // Each of the others would have gone one further.
    EXPECT_TRUE(eventually([this] { return settingsHave("activePresetID=focus"); }));
    EXPECT_TRUE(everyDisplayBecomes(warmTint(5000, 0.9)));
    EXPECT_TRUE(settingsHave("activePresetID=focus"));
}

} // namespace
} // namespace nocta::test
