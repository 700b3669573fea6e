#include "Platform/Mutter/CalibrationFile.h"

#include "Support/Eventually.h"
#include "Support/Process.h"
#include "Support/TemporaryFolder.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace nocta {
namespace {

using namespace std::chrono_literals;

class CalibrationFileTest : public testing::Test {
  protected:
    CalibrationFileTest() { setenv("XDG_RUNTIME_DIR", folder.path().c_str(), 1); }

    [[nodiscard]] std::filesystem::path path() const { return folder.path() / "nocta-calibration"; }

    static CalibrationRecord record(std::uint64_t owner) {
        return {
            .owner = owner, .displays = {{.crtc = 0, .values = {1, 2, 3}}}, .session = "session", .clientName = ":1.7"};
    }

    test::TemporaryFolder folder;
};

TEST_F(CalibrationFileTest, GivesBackTheNewestRecordUntilItIsRemoved) {
    const CalibrationFile file;
    EXPECT_EQ(file.read(), std::nullopt);
    file.write(record(1).encode());
    EXPECT_EQ(file.read(), record(1));
    file.write(record(2).encode());
    EXPECT_EQ(CalibrationFile().read(), record(2));
    file.remove();
    EXPECT_EQ(file.read(), std::nullopt);
    EXPECT_FALSE(std::filesystem::exists(path()));
}

TEST_F(CalibrationFileTest, IsItsOwnersAloneWhateverTheUmask) {
    const auto before = umask(0);
    CalibrationFile().write(record(1).encode());
    umask(before);
    EXPECT_EQ(std::filesystem::status(path()).permissions(),
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

TEST_F(CalibrationFileTest, WhatIsDamagedIsNoRecord) {
    const CalibrationFile file;
    for (const std::string content : {"", "Nothing of ours.", "NCTACAL2"}) {
        std::ofstream(path(), std::ios::binary) << content;
        EXPECT_EQ(file.read(), std::nullopt) << content;
    }
    file.write(record(1).encode());
    std::filesystem::resize_file(path(), std::filesystem::file_size(path()) - 1);
    EXPECT_EQ(file.read(), std::nullopt) << "cut off";
    std::filesystem::resize_file(path(), CalibrationRecord::largestEncoding + 1);
    EXPECT_EQ(file.read(), std::nullopt) << "too large";
}

TEST_F(CalibrationFileTest, WhatIsNoFileIsNoRecordAndIsReplaced) {
    const CalibrationFile file;
    const auto other = folder.path() / "other";
    std::ofstream(other) << "untouched";
    std::filesystem::create_symlink(other, path());
    EXPECT_EQ(file.read(), std::nullopt) << "a link";
    file.write(record(1).encode());
    EXPECT_EQ(file.read(), record(1));
    std::string content;
    std::ifstream(other) >> content;
    EXPECT_EQ(content, "untouched");
    file.remove();
    ASSERT_EQ(mkfifo(path().c_str(), 0600), 0);
    EXPECT_EQ(file.read(), std::nullopt) << "a pipe, which nobody writes to";
    file.write(record(2).encode());
    EXPECT_EQ(file.read(), record(2));
}

TEST_F(CalibrationFileTest, AWriteThatFailsLeavesNoOlderRecord) {
    const CalibrationFile file;
    file.write(record(1).encode());
    // Cannot be unlinked, nor opened as a new file.
    std::filesystem::create_directories(path().string() + ".new/taken");
    file.write(record(2).encode());
    EXPECT_EQ(file.read(), std::nullopt);
}

TEST_F(CalibrationFileTest, WithoutARuntimeFolderNothingIsKeptAndNothingIsLocked) {
    for (const char* folder : {"", "relative", "/nonexistent/folder"}) {
        setenv("XDG_RUNTIME_DIR", folder, 1);
        const CalibrationFile file;
        EXPECT_TRUE(file.lock(0ms).isHeld()) << folder;
        file.write(record(1).encode());
        EXPECT_EQ(file.read(), std::nullopt) << folder;
        file.remove();
    }
    unsetenv("XDG_RUNTIME_DIR");
    EXPECT_EQ(CalibrationFile().read(), std::nullopt);
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST_F(CalibrationFileTest, TheLockKeepsOthersOutWhileItLives) {
    const CalibrationFile file;
    {
        const auto ours = file.lock(0ms);
        EXPECT_TRUE(ours.isHeld());
        EXPECT_FALSE(file.lock(1ms).isHeld());
    }
    EXPECT_TRUE(file.lock(0ms).isHeld());
    // What another process locks.
    test::Process other({"flock", path().string() + ".lock", "-c", "echo >&2; read nothing"});
    ASSERT_TRUE(test::eventually([&] { return !other.errors().empty(); }));
    EXPECT_FALSE(file.lock(1ms).isHeld());
    other.closeInput();
    EXPECT_TRUE(file.lock(10s).isHeld());
}

} // namespace
} // namespace nocta
