#include "platform/posix/posix_processes.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <functional>
#include <future>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/posix/posix_clock.h"
#include "platform/posix/posix_platform.h"
#include "platform/posix/test_world.h"
#include "support/temporary_folder.h"

namespace kestrane {
namespace {

constexpr std::uint32_t kChange = 1536;
constexpr std::uint32_t kLook = 1024;
constexpr int kPatienceMs = 10000;

std::uint32_t IdOf(pid_t process) {
    return static_cast<std::uint32_t>(process);
}

/// A process that does nothing until the end of the scope.
class IdleChild {
public:
    IdleChild() : process_(fork()) {
        if (process_ == 0) {
            for (;;) {
                pause();
            }
        }
    }
    ~IdleChild() {
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
    }
    IdleChild(const IdleChild&) = delete;
    IdleChild& operator=(const IdleChild&) = delete;

    std::uint32_t Id() const { return IdOf(process_); }

private:
    pid_t process_;
};

class ProcessesTest : public testing::Test {
protected:
    int ends_ = 0;
    std::promise<void> posted_;
    PosixProcesses processes_{[this] { ++ends_; },
                              [this](const std::function<void()>& call) {
                                  call();
                                  posted_.set_value();
                              }};
};

TEST_F(ProcessesTest, List_HoldsThisProgramUnderTheNameOfItsFile) {
    const std::string own = std::filesystem::read_symlink("/proc/self/exe").filename();
    const auto names = processes_.List();
    EXPECT_NE(std::ranges::find(names, own), names.end());
    EXPECT_EQ(std::ranges::find(names, std::string()), names.end());
}

TEST_F(ProcessesTest, CurrentProcess_HasItsIdAndWindowsHaveNone) {
    EXPECT_EQ(processes_.CurrentProcessId(), IdOf(getpid()));
    EXPECT_EQ(processes_.ProcessOfWindow(12345), 0U);
}

TEST_F(ProcessesTest, Open_OfNoProcess_IsRefused) {
    std::uint32_t ended = 0;
    {
        const IdleChild child;
        ended = child.Id();
        const auto handle = processes_.Open(ended, kChange);
        ASSERT_TRUE(handle);
        processes_.Close(*handle);
    }
    EXPECT_FALSE(processes_.Open(ended, kLook));
    EXPECT_FALSE(processes_.Open(0, kLook));
}

TEST_F(ProcessesTest, PriorityClass_IsSetAndReadBack) {
    const IdleChild child;
    const auto handle = processes_.Open(child.Id(), kChange);
    ASSERT_TRUE(handle);
    processes_.SetPriorityClass(*handle, 16384);
    EXPECT_EQ(processes_.GetPriorityClass(*handle), 16384U);
    processes_.SetPriorityClass(*handle, 64);
    EXPECT_EQ(processes_.GetPriorityClass(*handle), 64U);
    processes_.Close(*handle);
}

TEST_F(ProcessesTest, PriorityClass_ThatIsNone_ChangesNothing) {
    const IdleChild child;
    const auto handle = processes_.Open(child.Id(), kChange);
    ASSERT_TRUE(handle);
    processes_.SetPriorityClass(*handle, 16384);
    for (const std::uint32_t value : {527U, 0U, 1U, 256U}) {
        processes_.SetPriorityClass(*handle, value);
        EXPECT_EQ(processes_.GetPriorityClass(*handle), 16384U) << value;
    }
    processes_.Close(*handle);
}

TEST_F(ProcessesTest, PriorityClass_OfAnEndedProcess_IsZero) {
    std::optional<ProcessHandle> handle;
    {
        const IdleChild child;
        handle = processes_.Open(child.Id(), kChange);
        ASSERT_TRUE(handle);
    }
    processes_.SetPriorityClass(*handle, 16384);
    EXPECT_EQ(processes_.GetPriorityClass(*handle), 0U);
    processes_.Close(*handle);
}

/// Starts a script that tells about itself through a FIFO.
class StartTest : public ProcessesTest {
protected:
    void SetUp() override {
        ASSERT_EQ(mkfifo(fifo_.c_str(), 0600), 0);
        reader_ = ::open(fifo_.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    }
    void TearDown() override { ::close(reader_); }

    std::string StartScript(const std::string& tells, std::string_view arguments) {
        const auto script = folder_.Write("a program", "#!/bin/sh\necho \"" + tells + "\" > " + fifo_.string() + "\n");
        std::filesystem::permissions(script, std::filesystem::perms::owner_all);
        processes_.Start(script.string(), arguments);
        return Line();
    }
    std::string Line() const {
        std::string line;
        pollfd descriptor{reader_, POLLIN, 0};
        while (!line.ends_with('\n') && poll(&descriptor, 1, kPatienceMs) > 0) {
            char letter = 0;
            if (::read(reader_, &letter, 1) == 1) {
                line += letter;
            }
        }
        return line;
    }

    TemporaryFolder folder_{TemporaryFolder::Place::Disk};
    std::filesystem::path fifo_ = folder_.Path() / "fifo";
    int reader_ = -1;
};

TEST_F(StartTest, Start_SplitsTheArgumentsAtBlanks) {
    EXPECT_EQ(StartScript("$#:$1:$2", " -c  \"quoted "), "2:-c:\"quoted\n");
}

TEST_F(StartTest, Start_KeepsAQuotedArgumentWhole) {
    EXPECT_EQ(StartScript("$#:$1:$2", "-c \"/my logs\""), "2:-c:/my logs\n");
}

TEST_F(StartTest, Start_WithoutArguments_PassesNone) {
    EXPECT_EQ(StartScript("$#", " "), "0\n");
}

TEST_F(StartTest, StartedProgram_HasASessionOfItsOwnAndNoneOfOurFiles) {
    const int ours = ::open("/dev/null", O_RDONLY);
    const std::string probe = "$(cut -d' ' -f6 /proc/$$/stat) $$ $(test -e /proc/$$/fd/" + std::to_string(ours) +
                              " && echo leaked) $(readlink /proc/$$/fd/0)";
    std::istringstream told(StartScript(probe, ""));
    ::close(ours);
    std::string session;
    std::string process;
    std::string input;
    told >> session >> process >> input;
    EXPECT_FALSE(process.empty());
    EXPECT_EQ(session, process);
    EXPECT_EQ(input, "/dev/null");
}

TEST_F(StartTest, StartedProgram_GetsTheUmaskThatItIsGiven) {
    const mode_t before = ::umask(S_IRWXG | S_IRWXO);
    EXPECT_EQ(StartScript("$(umask)", ""), "0077\n");
    processes_.UmaskOfChildren(S_IWGRP | S_IWOTH);
    EXPECT_EQ(StartScript("$(umask)", ""), "0022\n");
    EXPECT_EQ(::umask(before), mode_t{S_IRWXG | S_IRWXO});  // ours is as it was
}

TEST_F(StartTest, StartedProgram_LeavesNoZombie) {
    const pid_t process = std::stoi(StartScript("$$", ""));
    PosixClock clock;
    const Tick start = clock.GetTickCount();
    while (kill(process, 0) == 0 && clock.GetTickCount() - start < kPatienceMs) {
        clock.Sleep(1);
    }
    EXPECT_EQ(kill(process, 0), -1);
    EXPECT_EQ(errno, ESRCH);
}

TEST_F(StartTest, Start_OfAMissingProgram_IsPassedOver) {
    EXPECT_FALSE(processes_.Start((folder_.Path() / "missing").string(), " -c"));
    EXPECT_FALSE(processes_.Start("", ""));
    EXPECT_EQ(StartScript("still here", ""), "still here\n");
}

/// A folder of programs in place of the machine's own, with an "xdg-open" of ours in it.
class DesktopTest : public StartTest {
protected:
    void SetUp() override {
        StartTest::SetUp();
        ::setenv("PATH", folder_.Path().c_str(), 1);
    }
    void TearDown() override {
        ::setenv("PATH", path_.c_str(), 1);
        StartTest::TearDown();
    }
    void Install(const std::string& script, const char* name = "xdg-open") {
        const auto program = folder_.Write(name, "#!/bin/sh\n" + script + "\n");
        std::filesystem::permissions(program, std::filesystem::perms::owner_all);
    }
    const std::string path_ = std::getenv("PATH");
    int failures_ = 0;
};

TEST_F(DesktopTest, Open_PassesTheTextAsOneWord) {
    Install("echo \"$#:$1\" > " + fifo_.string());
    processes_.OpenWithDesktop("/my \"logs\"\t1", [this] { ++failures_; });
    EXPECT_EQ(Line(), "1:/my \"logs\"\t1\n");
    EXPECT_EQ(failures_, 0);
}

TEST_F(DesktopTest, Open_WhereNoProgramIsMeantForIt_IsReportedByTheLogicThread) {
    Install("exit 3");
    processes_.OpenWithDesktop("/logs", [this] { ++failures_; });
    const auto reported = posted_.get_future().wait_for(std::chrono::milliseconds(kPatienceMs));
    EXPECT_EQ(reported, std::future_status::ready);
    EXPECT_EQ(failures_, 1);
}

TEST_F(DesktopTest, Open_WithoutADesktop_OrOfAnOption_FailsAtOnce) {
    processes_.OpenWithDesktop("/logs", [this] { ++failures_; });
    EXPECT_EQ(failures_, 1);
    Install("exit 0");
    processes_.OpenWithDesktop("--help", [this] { ++failures_; });
    EXPECT_EQ(failures_, 2);
}

/// A driver that the user's service manager has started.
class UnitTest : public DesktopTest {
protected:
    void SetUp() override {
        DesktopTest::SetUp();
        ::setenv("INVOCATION_ID", "0123", 1);
        ::setenv("XDG_RUNTIME_DIR", folder_.Path().c_str(), 1);
        Install("echo \"$*\" > " + fifo_.string(), "systemd-run");
        Install("echo by itself > " + fifo_.string());
    }
    void TearDown() override {
        ::unsetenv("INVOCATION_ID");
        ::unsetenv("XDG_RUNTIME_DIR");
        DesktopTest::TearDown();
    }
    void StartManager() { folder_.Write("systemd/private", ""); }
};

TEST_F(UnitTest, StartsWhatItOpens_ByTheServiceManager) {
    StartManager();
    processes_.OpenWithDesktop("/logs", [this] { ++failures_; });
    EXPECT_EQ(Line(), "--user --quiet --collect --wait -- xdg-open /logs\n");
    Install("exit 0", "tool");
    EXPECT_TRUE(processes_.Start((folder_.Path() / "tool").string(), " -a \"b c\""));
    EXPECT_EQ(Line(), "--user --quiet --collect --wait -- " + (folder_.Path() / "tool").string() + " -a b c\n");
}

TEST_F(UnitTest, StartsThemItself_WhereThereIsNoServiceManager) {
    processes_.OpenWithDesktop("/logs", [this] { ++failures_; });
    EXPECT_EQ(Line(), "by itself\n");
}

TEST_F(UnitTest, MissingProgram_IsToldAsWithoutAServiceManager) {
    StartManager();
    EXPECT_FALSE(processes_.Start((folder_.Path() / "missing").string(), ""));
}

TEST_F(StartTest, ProgramAtASocket_GetsItAsItsFile3_AndItsEndIsTold) {
    const auto script = folder_.Write("speaks", "#!/bin/sh\necho \"$1\" >&3\n");
    std::filesystem::permissions(script, std::filesystem::perms::owner_all);
    std::array<int, 2> ends{};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
    bool well = false;
    ASSERT_TRUE(processes_.StartWithSocket(script.string(), {"hello"}, ends[1], [&well](bool how) { well = how; }));
    ::close(ends[1]);
    std::array<char, 16> text{};
    EXPECT_EQ(::read(ends[0], text.data(), text.size()), 6);
    EXPECT_STREQ(text.data(), "hello\n");
    EXPECT_EQ(posted_.get_future().wait_for(std::chrono::milliseconds(kPatienceMs)), std::future_status::ready);
    EXPECT_TRUE(well);
    ::close(ends[0]);
}

TEST_F(ProcessesTest, EndThisProcess_TellsTheOwner) {
    processes_.EndThisProcess();
    EXPECT_EQ(ends_, 1);
}

TEST(PosixPlatform, EndThisProcess_EndsTheLoopAfterTheRunningCall) {
    PosixPlatform machine([](std::exception_ptr) { ADD_FAILURE() << "a call raised"; });
    Platform services = machine.Services();
    bool finished = false;
    services.pump.Post(CallKind::Brief, [&] {
        services.processes.EndThisProcess();
        services.processes.EndThisProcess();
        finished = true;
    });
    machine.pump.Run();
    EXPECT_TRUE(finished);
}

TEST(PosixPlatform, SmallServices_AnswerForThisKindOfMachine) {
    std::vector<std::string> logged;
    PosixPlatform machine([](std::exception_ptr) {}, [&](std::string_view line) { logged.emplace_back(line); });
    Platform services = machine.Services();
    EXPECT_FALSE(services.systemInfo.GetVersion());
    EXPECT_FALSE(services.systemInfo.TokenElevationType());
    EXPECT_EQ(services.systemInfo.ShellAdminTest(), geteuid() == 0);
    EXPECT_NE(services.systemInfo.Name().find("Linux "), std::string::npos) << services.systemInfo.Name();
    EXPECT_TRUE(services.utility.Available());

    testing::internal::CaptureStderr();
    EXPECT_EQ(services.messageBoxes.Show("cannot be run", "Driver", MessageIcon::Critical), MessageAnswer::Ok);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Driver: cannot be run\n");
    EXPECT_EQ(logged, (std::vector<std::string>{"Driver: cannot be run"}));
}

TEST(PosixPlatform, Astronomy_UsesTheSystemsUtcTime) {
    const test::ScopedVariable zone("TZ", "EST5EDT,M3.2.0,M11.1.0");
    PosixPlatform machine([](std::exception_ptr) {});
    const double before = ErfaAstronomy(PosixClock::GetUtcTime).NowLst(0.0);
    const double lst = machine.Services().astronomy.NowLst(0.0);
    const double passed = lst >= before ? lst - before : lst - before + 24.0;
    EXPECT_LT(passed, 10.0 / 3600.0);
}

}  // namespace
}  // namespace kestrane
