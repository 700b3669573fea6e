#include "Platform/X11/WindowIdentity.h"

#include <gtest/gtest.h>

namespace nocta {
namespace {

using namespace std::string_view_literals;

TEST(WindowIdentityTest, TakesInstanceAndClass) {
    WindowIdentity identity;
    identity.setWindowClass("xterm\0XTerm\0"sv);
    EXPECT_EQ(identity.instance, "xterm");
    EXPECT_EQ(identity.className, "XTerm");
}

TEST(WindowIdentityTest, ForgivesAClassThatIsCutOff) {
    for (const auto& [value, instance, className] :
         {std::tuple("xterm\0XTerm"sv, "xterm", "XTerm"), std::tuple("xterm\0"sv, "xterm", ""),
          std::tuple("xterm"sv, "xterm", ""), std::tuple("\0XTerm\0"sv, "", "XTerm"), std::tuple(""sv, "", ""),
          std::tuple("a\0b\0c\0"sv, "a", "b")}) {
        WindowIdentity identity;
        identity.setWindowClass(value);
        EXPECT_EQ(identity.instance, instance);
        EXPECT_EQ(identity.className, className);
    }
}

TEST(WindowIdentityTest, StatesTheIdOfItsToolkit) {
    WindowIdentity identity;
    EXPECT_TRUE(identity.isEmpty());
    identity.instance = identity.className = "XTerm";
    EXPECT_FALSE(identity.isEmpty());
    EXPECT_EQ(identity.statedId(), std::nullopt);
    identity.kdeDesktopFile = "other";
    EXPECT_EQ(identity.statedId(), "other");
    identity.gtkApplicationId = "org.gnome.Maps";
    EXPECT_EQ(identity.statedId(), "org.gnome.Maps");
}

TEST(WindowIdentityTest, TheDesktopFileOfKdeMayBeAnIdAFileNameOrAPath) {
    const auto stated = [](const std::string& file) {
        WindowIdentity identity;
        identity.kdeDesktopFile = file;
        return identity.statedId();
    };
    EXPECT_EQ(stated("org.kde.okular"), "org.kde.okular");
    EXPECT_EQ(stated("org.kde.okular.desktop"), "org.kde.okular");
    EXPECT_EQ(stated("/usr/share/applications/org.kde.okular.desktop"), "org.kde.okular");
    EXPECT_EQ(stated("/usr/share/applications/kde4/kate.desktop"), "kde4-kate");
    EXPECT_EQ(stated("/opt/tool/tool.desktop"), "tool");
    EXPECT_EQ(stated(".desktop"), std::nullopt);
}

} // namespace
} // namespace nocta
