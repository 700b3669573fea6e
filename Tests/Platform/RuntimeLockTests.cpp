#include "Platform/Posix/RuntimeLock.h"

#include "Support/TemporaryFolder.h"

#include <cstdlib>
#include <optional>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace nocta {
namespace {

class RuntimeLockTest : public testing::Test {
  protected:
    RuntimeLockTest() { setenv("XDG_RUNTIME_DIR", folder.path().c_str(), 1); }

    test::TemporaryFolder folder;
};

TEST_F(RuntimeLockTest, CanBeHeldOnceAtATime) {
    std::optional<RuntimeLock> first(std::in_place);
    RuntimeLock second;
    EXPECT_EQ(first->acquire("name.lock"), RuntimeLock::Result::acquired);
    EXPECT_EQ(second.acquire("name.lock"), RuntimeLock::Result::heldByAnother);
    first.reset();
    EXPECT_EQ(second.acquire("name.lock"), RuntimeLock::Result::acquired);
}

TEST_F(RuntimeLockTest, OtherNamesAreOtherLocks) {
    RuntimeLock first;
    RuntimeLock second;
    EXPECT_EQ(first.acquire("one.lock"), RuntimeLock::Result::acquired);
    EXPECT_EQ(second.acquire("two.lock"), RuntimeLock::Result::acquired);
}

TEST_F(RuntimeLockTest, AKilledHolderHoldsNothing) {
    const pid_t child = fork();
    if (child == 0) {
        RuntimeLock lock;
        const bool isHeld = lock.acquire("name.lock") == RuntimeLock::Result::acquired;
        kill(getpid(), isHeld ? SIGKILL : SIGTERM);
    }
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_EQ(WTERMSIG(status), SIGKILL);
    RuntimeLock lock;
    EXPECT_EQ(lock.acquire("name.lock"), RuntimeLock::Result::acquired);
}

TEST_F(RuntimeLockTest, ANameCannotLeaveTheFolder) {
    RuntimeLock lock;
    EXPECT_EQ(lock.acquire("../../escape/name.lock"), RuntimeLock::Result::acquired);
    EXPECT_TRUE(std::filesystem::exists(folder.path() / ".._.._escape_name.lock"));
}

TEST_F(RuntimeLockTest, WithoutAUsableRuntimeFolderTwoProcessesOfAUserStillMeet) {
    const std::string name = "test-" + std::to_string(getpid()) + ".lock";
    RuntimeLock first;
    RuntimeLock second;
    unsetenv("XDG_RUNTIME_DIR");
    EXPECT_EQ(first.acquire(name), RuntimeLock::Result::acquired);
    EXPECT_EQ(second.acquire(name), RuntimeLock::Result::heldByAnother);
    setenv("XDG_RUNTIME_DIR", (folder.path() / "missing").c_str(), 1);
    EXPECT_EQ(second.acquire(name), RuntimeLock::Result::heldByAnother);
    std::filesystem::remove("/tmp/nocta-" + std::to_string(getuid()) + "/" + name);
}

} // namespace
} // namespace nocta
