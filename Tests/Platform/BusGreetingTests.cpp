#include "Platform/DBus/BusGreeting.h"

#include "QtLoop.h"
#include "Support/SystemBus.h"
#include "Support/TemporaryFolder.h"

#include <chrono>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace nocta {
namespace {

using std::chrono::milliseconds;

class BusGreetingTest : public testing::Test {
  protected:
    void greet(const std::string& address) {
        answers = 0;
        greeting = std::make_unique<BusGreeting>(address, [this] {
            ++answers;
            greeting.reset(); // as its owner does
        });
        EXPECT_EQ(answers, 0) << "called inside the constructor";
    }

    [[nodiscard]] bool isAnswered() {
        return loop.runUntil([this] { return answers == 1; });
    }

    test::QtLoop loop;
    std::unique_ptr<BusGreeting> greeting;
    int answers = 0;
};

TEST_F(BusGreetingTest, ABusAnswersOnce) {
    const test::SystemBus bus;
    greet(bus.address());
    EXPECT_TRUE(isAnswered());
    loop.runFor(milliseconds(20));
    EXPECT_EQ(answers, 1);
}

TEST_F(BusGreetingTest, ABusThatHangsAnswersWhenItIsThereAgainOrGone) {
    test::SystemBus bus;
    bus.freeze();
    greet(bus.address());
    loop.runFor(milliseconds(50));
    EXPECT_EQ(answers, 0);
    bus.thaw();
    EXPECT_TRUE(isAnswered());

    bus.freeze();
    greet(bus.address());
    loop.runFor(milliseconds(50));
    EXPECT_EQ(answers, 0);
    bus.kill();
    EXPECT_TRUE(isAnswered());
}

TEST_F(BusGreetingTest, ItsEndIsTheEndOfTheWait) {
    const test::SystemBus bus;
    greet(bus.address());
    greeting.reset();
    loop.runFor(milliseconds(50));
    EXPECT_EQ(answers, 0);
}

TEST_F(BusGreetingTest, WhereNobodyCanBeWaitedForTheAnswerComesAtTheNextTurn) {
    for (const std::string address :
         {"", "nonsense", "unix:", "unix:path=", "unix:path=/nonexistent/bus", "unix:abstract=nocta-nobody-is-here",
          "tcp:host=localhost,port=1", "unix:tmpdir=/tmp", ";;,;=", "unix:,,;unix:path"}) {
        greet(address);
        EXPECT_TRUE(isAnswered()) << address;
    }
    greet("unix:path=/" + std::string(200, 'x'));
    EXPECT_TRUE(isAnswered()) << "longer than any socket's name";
}

/// A socket that hangs like a bus: whoever comes is kept waiting.
class Deaf {
  public:
    /// `path` as the kernel takes it. At most `places` and one may wait.
    Deaf(const std::string& path, int places) : descriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        const auto [place, size] = addressOf(path);
        EXPECT_EQ(bind(descriptor, reinterpret_cast<const sockaddr*>(&place), size), 0); // NOLINT
        EXPECT_EQ(listen(descriptor, places), 0);
    }
    Deaf(const Deaf&) = delete;
    Deaf& operator=(const Deaf&) = delete;
    ~Deaf() { close(descriptor); }

    /// Whether somebody waits, who is then sent away.
    [[nodiscard]] bool takesOne() const {
        fcntl(descriptor, F_SETFL, O_NONBLOCK);
        const int visitor = accept4(descriptor, nullptr, nullptr, SOCK_CLOEXEC);
        if (visitor >= 0) {
            close(visitor);
        }
        return visitor >= 0;
    }

  private:
    static std::pair<sockaddr_un, socklen_t> addressOf(const std::string& path) {
        sockaddr_un place{};
        place.sun_family = AF_UNIX;
        std::memcpy(place.sun_path, path.data(), path.size());
        const std::size_t end = path.front() == '\0' ? 0 : 1;
        return {place, static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + path.size() + end)};
    }

    int descriptor;
};

TEST_F(BusGreetingTest, FindsTheFirstSocketThatAnAddressNames) {
    const test::TemporaryFolder folder;
    const auto path = (folder.path() / "a b").string();
    const auto abstract = "nocta-greeting-" + std::to_string(getpid());
    const Deaf withPath(path, 5);
    const Deaf withName(std::string(1, '\0') + abstract, 5);
    const auto escaped = (folder.path() / "a%20b").string();
    for (const auto& address :
         {"unix:path=" + escaped, "tcp:host=x,port=1;unix:guid=1,path=" + escaped + ",runtime=no"}) {
        greet(address);
        EXPECT_TRUE(withPath.takesOne()) << address;
        EXPECT_TRUE(isAnswered()) << address;
    }
    greet("unix:abstract=" + abstract + ";unix:path=" + escaped);
    EXPECT_TRUE(withName.takesOne());
    EXPECT_FALSE(withPath.takesOne());
    EXPECT_TRUE(isAnswered());
}

TEST_F(BusGreetingTest, WhereNobodyMoreIsLetInItWaitsForEver) {
    const test::TemporaryFolder folder;
    const auto path = (folder.path() / "bus").string();
    const Deaf deaf(path, 0);
    greet("unix:path=" + path);
    const auto first = std::move(greeting);
    greet("unix:path=" + path);
    loop.runFor(milliseconds(50));
    EXPECT_EQ(answers, 0);
}

} // namespace
} // namespace nocta
