#include "views/local/local_socket.h"

#include <chrono>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "platform/posix/posix_message_pump.h"
#include "support/line_client.h"
#include "support/temporary_folder.h"
#include "views/local/private_socket.h"

namespace kestrane::local {
namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

class LocalSocketTest : public testing::Test {
protected:
    /// Runs the logic thread until `done`, for 5 s at most.
    template <class Condition>
    void Until(Condition done) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
        while (!done() && std::chrono::steady_clock::now() < end) {
            pump.PumpBriefly(10);
        }
        EXPECT_TRUE(done());
    }
    void UntilHeard(std::size_t count) {
        Until([&] { return heard.size() >= count; });
    }

    PosixMessagePump pump{[](const std::exception_ptr&) { ADD_FAILURE() << "a call failed"; }};
    TemporaryFolder folder;
    Texts heard;
    int ticks = 0;
    LocalSocket socket{{
        .pump = pump,
        .opened = [this](ViewId view) { heard.push_back("opened " + std::to_string(view)); },
        .received = [this](ViewId view,
                           const std::string& text) { heard.push_back(std::to_string(view) + " " + text); },
        .closed = [this](ViewId view) { heard.push_back("closed " + std::to_string(view)); },
        .tick = [this] { ++ticks; },
    }};
};

class PairedTest : public LocalSocketTest {
protected:
    void SetUp() override {
        int ends[2];
        ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
        socket.Adopt(ends[0]);
        program = std::make_unique<LineClient>(ends[1]);
    }
    std::unique_ptr<LineClient> program;
};

TEST_F(PairedTest, CarriesLinesBothWays) {
    program->SendBytes("one\ntw");
    program->SendBytes("o\n\n");
    UntilHeard(4);
    EXPECT_EQ(heard, (Texts{"opened 1", "1 one", "1 two", "1 "}));
    socket.Send(1, "a");
    socket.Send(1, R"({"b":1})");
    EXPECT_EQ(program->Read(), "a");
    EXPECT_EQ(program->Read(), R"({"b":1})");
    Until([&] { return socket.Unsent(1) == 0; });
}

TEST_F(PairedTest, TicksWhileAViewIsThere) {
    Until([&] { return ticks > 2; });
    program->Close();
    UntilHeard(2);
    EXPECT_EQ(heard, (Texts{"opened 1", "closed 1"}));
    pump.PumpBriefly(2 * LocalSocket::kTickMs);  // one may have been under way
    const int before = ticks;
    pump.PumpBriefly(3 * LocalSocket::kTickMs);
    EXPECT_EQ(ticks, before);
}

TEST_F(PairedTest, AProgramThatSendsWithoutAnEnd_IsClosed) {
    UntilHeard(1);
    program->SendBytes(std::string(LocalSocket::kMostReceived + 1, 'x'));
    UntilHeard(2);
    EXPECT_EQ(heard.back(), "closed 1");
    EXPECT_EQ(program->Read(), std::nullopt);
}

TEST_F(PairedTest, TheLongestMessage_IsTaken) {
    program->Send(std::string(LocalSocket::kMostReceived, 'x'));
    UntilHeard(2);
    EXPECT_EQ(heard.back().size(), LocalSocket::kMostReceived + 2);
}

TEST_F(PairedTest, AProgramThatTakesNothing_IsClosedBeyondTheLimit) {
    UntilHeard(1);
    const std::string text(LocalSocket::kMostUnsent / 4, 'x');
    for (int i = 0; i < 3; ++i) {
        socket.Send(1, text);
    }
    pump.PumpBriefly(100);
    EXPECT_GT(socket.Unsent(1), LocalSocket::kMostUnsent / 4);
    EXPECT_EQ(heard, (Texts{"opened 1"}));
    for (int i = 0; i < 4; ++i) {
        socket.Send(1, text);
    }
    UntilHeard(2);
    EXPECT_EQ(heard.back(), "closed 1");
    EXPECT_EQ(socket.Unsent(1), 0U);
}

TEST_F(PairedTest, Close_SendsWhatIsThereFirst) {
    UntilHeard(1);
    socket.Send(1, "last");
    socket.Close(1);
    UntilHeard(2);
    EXPECT_EQ(program->Read(), "last");
    EXPECT_EQ(program->Read(), std::nullopt);
    socket.Send(1, "nobody");
    socket.Close(1);
    EXPECT_EQ(socket.Unsent(1), 0U);
}

TEST_F(LocalSocketTest, TakesProgramsThatConnect) {
    std::string why;
    const fs::path path = folder.Path() / "kestrane" / "handbox";
    std::optional<PrivateSocket> door = PrivateSocket::Listen(path, why);
    ASSERT_TRUE(door) << why;
    socket.Listen(door->Take());
    LineClient first(path);
    LineClient second(path);
    UntilHeard(2);
    second.Send("hello");
    UntilHeard(3);
    EXPECT_EQ(heard.back(), "2 hello");
    first.Close();
    UntilHeard(4);
    EXPECT_EQ(heard.back(), "closed 1");
    LineClient third(path);
    UntilHeard(5);
    EXPECT_EQ(heard.back(), "opened 3");
}

TEST_F(LocalSocketTest, TakesNoMoreThanItsNumber) {
    std::string why;
    const fs::path path = folder.Path() / "s" / "handbox";
    std::optional<PrivateSocket> door = PrivateSocket::Listen(path, why);
    ASSERT_TRUE(door) << why;
    socket.Listen(door->Take());
    std::vector<std::unique_ptr<LineClient>> programs;
    for (std::size_t i = 0; i < LocalSocket::kMostViews; ++i) {
        programs.push_back(std::make_unique<LineClient>(path));
    }
    UntilHeard(LocalSocket::kMostViews);
    LineClient last(path);
    EXPECT_EQ(last.Read(), std::nullopt);
    EXPECT_EQ(heard.size(), LocalSocket::kMostViews);
}

// --- the door

class PrivateSocketTest : public testing::Test {
protected:
    TemporaryFolder folder;
    fs::path path = folder.Path() / "kestrane" / "handbox";
    std::string why;
};

TEST_F(PrivateSocketTest, StandsInAFolderForThisUserAlone_AndGoesWithItsOwner) {
    {
        const std::optional<PrivateSocket> door = PrivateSocket::Listen(path, why);
        ASSERT_TRUE(door) << why;
        struct stat found {};
        ASSERT_EQ(::stat(path.parent_path().c_str(), &found), 0);
        EXPECT_EQ(found.st_mode & 0777U, 0700U);
        EXPECT_TRUE(LineClient(path).IsConnected());
    }
    EXPECT_FALSE(fs::exists(path));
}

TEST_F(PrivateSocketTest, IsNotTakenFromALivingOwner) {
    const std::optional<PrivateSocket> door = PrivateSocket::Listen(path, why);
    ASSERT_TRUE(door) << why;
    EXPECT_FALSE(PrivateSocket::Listen(path, why));
    EXPECT_EQ(why, "another process serves at " + path.string());
    EXPECT_TRUE(LineClient(path).IsConnected());
}

TEST_F(PrivateSocketTest, ReplacesTheFileThatAKilledProcessLeft) {
    ASSERT_TRUE(fs::create_directory(path.parent_path()));
    fs::permissions(path.parent_path(), fs::perms::owner_all);
    const int left = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.native().copy(address.sun_path, sizeof(address.sun_path) - 1);
    ASSERT_EQ(::bind(left, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    ::close(left);
    ASSERT_FALSE(LineClient(path).IsConnected());
    const std::optional<PrivateSocket> door = PrivateSocket::Listen(path, why);
    ASSERT_TRUE(door) << why;
    EXPECT_TRUE(LineClient(path).IsConnected());
}

TEST_F(PrivateSocketTest, WantsAFolderThatOthersCannotEnter) {
    ASSERT_TRUE(fs::create_directory(path.parent_path()));
    fs::permissions(path.parent_path(), fs::perms::owner_all | fs::perms::group_read);
    EXPECT_FALSE(PrivateSocket::Listen(path, why));
    EXPECT_EQ(why, path.parent_path().string() + " is not a folder of this user alone");
}

TEST_F(PrivateSocketTest, WantsAPathThatASocketCanHave) {
    path = folder.Path() / std::string(200, 'x') / "handbox";
    EXPECT_FALSE(PrivateSocket::Listen(path, why));
    EXPECT_EQ(why, path.string() + " is too long for the name of a socket");
}

TEST_F(PrivateSocketTest, SaysWhyAFolderCannotBeMade) {
    path = folder.Path() / "missing" / "kestrane" / "handbox";
    EXPECT_FALSE(PrivateSocket::Listen(path, why));
    EXPECT_EQ(why, path.parent_path().string() + ": No such file or directory");
}

TEST(PeerIsThisUser, OfAPair) {
    int ends[2];
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    EXPECT_TRUE(PeerIsThisUser(ends[0]));
    EXPECT_FALSE(PeerIsThisUser(-1));
    ::close(ends[0]);
    ::close(ends[1]);
}

}  // namespace
}  // namespace kestrane::local
