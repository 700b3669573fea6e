#include "Platform/DesktopFiles/DesktopFileIndex.h"

#include "Support/TemporaryFolder.h"

#include <chrono>
#include <cstdlib>
#include <fstream>

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace nocta {
namespace {

namespace fs = std::filesystem;

class DesktopFileIndexTest : public testing::Test {
  protected:
    DesktopFileIndexTest() {
        fs::create_directories(own);
        fs::create_directories(system);
    }

    static void write(const fs::path& file, const std::string& lines = "") {
        fs::create_directories(file.parent_path());
        std::ofstream(file) << "[Desktop Entry]\nType=Application\nName=Some\n" << lines;
    }

    std::string find(const std::string& instance, const std::string& className) {
        if (!index.isCurrent()) {
            while (!index.readOn(1)) {
            }
        }
        return index.idOfWindowClass(instance, className).value_or("(none)");
    }
    std::string find(const std::string& name) { return find(name, name); }

    /// Long ago, so that a further change shows in the folder's time.
    static void age(const fs::path& folder) {
        fs::last_write_time(folder, fs::file_time_type::clock::now() - std::chrono::hours(1));
    }

    test::TemporaryFolder home;
    fs::path own = home.path() / "own/applications";
    fs::path system = home.path() / "system/applications";
    DesktopFileIndex index{{own, system}};
};

TEST_F(DesktopFileIndexTest, FindsByStartupWindowClassWhateverTheCase) {
    write(system / "debian-xterm.desktop", "StartupWMClass=XTerm\n");
    EXPECT_EQ(find("other", "XTerm"), "debian-xterm");
    EXPECT_EQ(find("xterm", "Other"), "debian-xterm");
    EXPECT_EQ(find("other"), "(none)");
}

TEST_F(DesktopFileIndexTest, FindsByTheFilesNameWhateverTheCase) {
    write(system / "featherpad.desktop");
    write(system / "org.example.Editor.desktop");
    EXPECT_EQ(find("featherpad", "FeatherPad"), "featherpad");
    EXPECT_EQ(find("org.example.editor"), "org.example.Editor");
    EXPECT_EQ(find("editor"), "(none)");
}

TEST_F(DesktopFileIndexTest, ABlankInTheClassIsADashInTheName) {
    write(system / "some-viewer.desktop");
    EXPECT_EQ(find("Some Viewer"), "some-viewer");
}

TEST_F(DesktopFileIndexTest, TheInstanceTellsApplicationsOfOneProgramApart) {
    write(system / "browser.desktop", "StartupWMClass=Browser\n");
    write(own / "browser-mail.desktop", "StartupWMClass=crx_mail\n");
    EXPECT_EQ(find("crx_mail", "Browser"), "browser-mail");
    EXPECT_EQ(find("browser", "Browser"), "browser");
}

TEST_F(DesktopFileIndexTest, StartupWindowClassCountsMoreThanAName) {
    write(system / "terminal.desktop");
    write(system / "better.desktop", "StartupWMClass=terminal\n");
    EXPECT_EQ(find("terminal"), "better");
}

TEST_F(DesktopFileIndexTest, SubfoldersArePartOfTheId) {
    write(system / "kde/foo.desktop");
    write(system / "wine/Programs/Bar.desktop");
    EXPECT_EQ(find("kde-foo"), "kde-foo");
    EXPECT_EQ(find("wine-programs-bar"), "wine-Programs-Bar");
    EXPECT_EQ(find("foo"), "(none)");
}

TEST_F(DesktopFileIndexTest, OfOneIdTheMoreImportantFolderCounts) {
    write(system / "editor.desktop", "StartupWMClass=Old\n");
    write(own / "editor.desktop", "StartupWMClass=New\n");
    EXPECT_EQ(find("New"), "editor");
    EXPECT_EQ(find("Old"), "(none)");
}

TEST_F(DesktopFileIndexTest, HiddenMeansThatThereIsNoSuchApplication) {
    write(system / "editor.desktop", "StartupWMClass=Editor\n");
    write(own / "editor.desktop", "Hidden=true\n");
    EXPECT_EQ(find("editor"), "(none)");
}

TEST_F(DesktopFileIndexTest, WhatMenusDoNotShowIsFoundButComesLast) {
    write(system / "a-handler.desktop", "StartupWMClass=Editor\nNoDisplay=true\n");
    EXPECT_EQ(find("Editor"), "a-handler");
    write(system / "z-shown.desktop", "StartupWMClass=Editor\n");
    EXPECT_EQ(find("Editor"), "z-shown");
}

TEST_F(DesktopFileIndexTest, OfSeveralWithOneClassTheOneOfThatNameCountsThenTheMoreImportantFolder) {
    write(own / "editor-new-window.desktop", "StartupWMClass=Editor\n");
    write(system / "editor.desktop", "StartupWMClass=Editor\n");
    write(system / "b.desktop", "StartupWMClass=Viewer\n");
    write(system / "a.desktop", "StartupWMClass=Viewer\n");
    write(own / "z.desktop", "StartupWMClass=Viewer\n");
    EXPECT_EQ(find("Editor"), "editor");
    EXPECT_EQ(find("Viewer"), "z");
}

TEST_F(DesktopFileIndexTest, LinksAndFoldersAreNoApplications) {
    std::ofstream(system / "link.desktop") << "[Desktop Entry]\nType=Link\nStartupWMClass=Link\n";
    std::ofstream(system / "other.txt") << "[Desktop Entry]\nType=Application\n";
    EXPECT_EQ(find("link"), "(none)");
    EXPECT_EQ(find("other"), "(none)");
}

TEST_F(DesktopFileIndexTest, OnlyTheEntryItselfCountsNotItsActions) {
    write(system / "editor.desktop", "[Desktop Action new]\nStartupWMClass=Action\nHidden=true\nNoDisplay=true\n");
    EXPECT_EQ(find("editor"), "editor");
    EXPECT_EQ(find("Action"), "(none)");
}

TEST_F(DesktopFileIndexTest, BlanksCommentsAndEscapesAreReadAsTheFormatSays) {
    std::ofstream(system / "editor.desktop")
        << "# Comment\r\n\r\n[Desktop Entry]\r\nType = Application\r\nStartupWMClassName=No\r\n"
           "StartupWMClass[de]=Auch nicht\r\nStartupWMClass =\tTwo\\sWords \r\n";
    EXPECT_EQ(find("Two Words"), "editor");
    EXPECT_EQ(find("No"), "(none)");
}

TEST_F(DesktopFileIndexTest, WhatCannotBeReadIsLeftOut) {
    ASSERT_EQ(mkfifo((system / "pipe.desktop").c_str(), 0600), 0);
    fs::create_directory(system / "folder.desktop");
    fs::create_symlink(system / "nowhere", system / "broken.desktop");
    fs::create_directory_symlink(system, system / "loop");
    std::ofstream(system / "empty.desktop") << "";
    std::ofstream(system / "noise.desktop", std::ios::binary) << std::string(100000, '[') << '\0';
    write(system / "good.desktop");
    EXPECT_EQ(find("good"), "good");
    for (const auto* name : {"pipe", "folder", "broken", "loop-good", "empty", "noise"}) {
        EXPECT_EQ(find(name), "(none)");
    }
}

TEST_F(DesktopFileIndexTest, ReadsAgainWhenAFolderChangesAndOnlyThen) {
    write(system / "kde/foo.desktop");
    age(own);
    age(system / "kde");
    age(system);
    EXPECT_EQ(find("kde-foo"), "kde-foo");
    EXPECT_TRUE(index.isCurrent());

    write(system / "kde/bar.desktop");
    EXPECT_FALSE(index.isCurrent());
    EXPECT_EQ(find("kde-bar"), "kde-bar");
    fs::remove(system / "kde/foo.desktop");
    EXPECT_EQ(find("kde-foo"), "(none)");
}

TEST_F(DesktopFileIndexTest, NoticesChangesThatFollowAtOnce) {
    // Within one tick of the file system's clock, the folder's time stays the same.
    for (int i = 0; i < 50; ++i) {
        const std::string id = "editor" + std::to_string(i);
        write(system / (id + ".desktop"));
        ASSERT_EQ(find(id), id);
    }
}

TEST_F(DesktopFileIndexTest, AFolderMayAppearAndGo) {
    fs::remove_all(own);
    age(system);
    EXPECT_EQ(find("mine"), "(none)");
    EXPECT_TRUE(index.isCurrent());
    write(own / "mine.desktop");
    EXPECT_EQ(find("mine"), "mine");
    fs::remove_all(own);
    EXPECT_EQ(find("mine"), "(none)");
}

TEST_F(DesktopFileIndexTest, WhatItKnewHoldsUntilItHasReadEverythingAnew) {
    write(system / "first.desktop");
    EXPECT_EQ(find("first"), "first");
    write(system / "second.desktop");
    EXPECT_FALSE(index.readOn(1));
    EXPECT_EQ(index.idOfWindowClass("first", ""), "first");
    EXPECT_EQ(index.idOfWindowClass("second", ""), std::nullopt);
    EXPECT_TRUE(index.readOn(1));
    EXPECT_EQ(index.idOfWindowClass("second", ""), "second");
}

TEST_F(DesktopFileIndexTest, KnowsNothingBeforeItWasToldToRead) {
    write(system / "editor.desktop");
    EXPECT_FALSE(index.isCurrent());
    EXPECT_EQ(index.idOfWindowClass("editor", "editor"), std::nullopt);
}

TEST_F(DesktopFileIndexTest, TenThousandFilesAreReadInShortTurns) {
    for (int i = 0; i < 10000; ++i) {
        write(system / ("application" + std::to_string(i) + ".desktop"),
              "StartupWMClass=Class" + std::to_string(i) + "\n");
    }
    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    int turns = 1;
    while (!index.readOn(50)) {
        ++turns;
    }
    EXPECT_EQ(turns, 200);
    // Ten times what it takes on a busy machine.
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(20));
    EXPECT_EQ(index.idOfWindowClass("other", "Class9999"), "application9999");
}

TEST(DesktopFileFolders, FollowTheirVariables) {
    setenv("HOME", "/home/someone", 1);
    setenv("XDG_DATA_HOME", "", 1);
    unsetenv("XDG_DATA_DIRS");
    EXPECT_EQ(DesktopFileIndex::userFolders(),
              (std::vector<fs::path>{"/home/someone/.local/share/applications", "/usr/local/share/applications",
                                     "/usr/share/applications"}));
    setenv("XDG_DATA_HOME", "/data", 1);
    setenv("XDG_DATA_DIRS", "/one/::relative:/two", 1);
    EXPECT_EQ(DesktopFileIndex::userFolders(),
              (std::vector<fs::path>{"/data/applications", "/one/applications", "/two/applications"}));
}

} // namespace
} // namespace nocta
