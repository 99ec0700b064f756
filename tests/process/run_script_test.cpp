// The script ./run as a person starts it, with the programs of this build in place of those that it would build.

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "process/process_fixture.h"
#include "process/silent_port.h"

namespace kestrane::process {
namespace {

namespace fs = std::filesystem;

class RunScript : public ProcessFixture {
protected:
    RunScript() {
        fs::copy_file(fs::path(KESTRANE_SOURCES) / "run", place / "run");
        fs::create_directories(place / "build" / "release");
        fs::create_directory_symlink(KESTRANE_PROGRAMS, place / "build" / "release" / "bin");
        WriteScript(place / "tools" / "setup");
        WriteScript(place / "stubs" / "cmake");
        WriteScript(place / "stubs" / "ninja");
        const char* path = std::getenv("PATH");
        ::setenv("PATH", ((place / "stubs").string() + ":" + path).c_str(), 1);
    }
    void TearDown() override {
        EXPECT_TRUE(WaitUntil(Seconds(10), [this] { return Children() == 0; }));
    }

    static void WriteScript(const fs::path& path, const std::string& commands = "exit 0") {
        fs::create_directories(path.parent_path());
        std::ofstream(path) << "#!/bin/sh\n" << commands << "\n";
        fs::permissions(path, fs::perms::owner_all);
    }

    std::unique_ptr<Program> Start(std::vector<std::string> options) const {
        return std::make_unique<Program>((place / "run").string(), std::move(options));
    }

    /// Processes with the folders of this run in their environment, without the script itself.
    int Children() const {
        int count = 0;
        std::error_code error;
        for (fs::directory_iterator entry("/proc", error), end; entry != end; entry.increment(error)) {
            std::ifstream stream(entry->path() / "environ");
            const std::string text{std::istreambuf_iterator<char>(stream), {}};
            count += text.find("=" + (place / "build" / "run").string()) != std::string::npos ? 1 : 0;
        }
        return count;
    }

    static bool Says(const Program& run, std::string_view text) {
        return (run.Output() + run.Errors()).find(text) != std::string::npos;
    }

    TemporaryFolder scripts{TemporaryFolder::Place::Disk};
    fs::path place = scripts.Path();
};

TEST_F(RunScript, GetsSigtermInTheFirstSlew_EndsAtOnceWithItsChildren) {
    const auto run = Start({});
    ASSERT_TRUE(WaitUntil(kPatience, [&] { return Says(*run, "slewing to "); })) << run->Errors();
    EXPECT_GE(Children(), 3);
    run->Signal(SIGTERM);
    EXPECT_TRUE(run->WaitForEnd(Seconds(3)));
}

TEST_F(RunScript, IsKilled_LeavesNoChildBehind) {
    const auto run = Start({});
    ASSERT_TRUE(WaitUntil(kPatience, [&] { return Says(*run, "slewing to "); })) << run->Errors();
    run->Signal(SIGKILL);
    EXPECT_TRUE(WaitUntil(Seconds(5), [this] { return Children() == 0; }));
}

TEST_F(RunScript, IsEndedWhileItBuilds_LeavesNoBuildBehind) {
    for (const std::string tool : {"cmake", "ninja"}) {
        const fs::path note = place / (tool + ".pid");
        WriteScript(place / "stubs" / tool, "echo $$ > " + note.string() + "\nexec sleep 30");
        for (const int signal : {SIGTERM, SIGKILL}) {
            fs::remove(note);
            const auto run = Start({});
            pid_t process = 0;
            ASSERT_TRUE(WaitUntil(kPatience, [&] { return (std::ifstream(note) >> process) && process > 0; }));
            run->Signal(signal);
            EXPECT_TRUE(run->WaitForEnd(Seconds(2))) << tool << " " << signal;
            EXPECT_TRUE(WaitUntil(Seconds(2), [&] { return !Exists(process); })) << tool << " " << signal;
            if (Exists(process)) {
                ::kill(process, SIGKILL);  // nobody else would
            }
        }
        WriteScript(place / "stubs" / tool);
    }
}

TEST_F(RunScript, WithAPipeThatClosesWhileItServes_EndsWithItsChildren) {
    const SilentPort line(place / "silent");
    WriteScript(place / "piped",
                (place / "run").string() + " --port " + (place / "silent").string() + " 2>&1 | sed '/settings  /q'");
    Program piped((place / "piped").string(), {});
    ASSERT_TRUE(WaitUntil(kPatience, [&] { return Says(piped, "settings  "); }));
    EXPECT_TRUE(piped.WaitForEnd(Seconds(10)));
    EXPECT_TRUE(WaitUntil(Seconds(5), [this] { return Children() == 0; }));
}

TEST_F(RunScript, SaysThatDiscoveryIsTaken) {
    const int taken = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(32227);
    if (::bind(taken, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
        ::close(taken);
        GTEST_SKIP() << "another program answers discovery here, and may share its port";
    }
    const SilentPort line(place / "silent");
    const auto run = Start({"--port", (place / "silent").string()});
    EXPECT_TRUE(WaitUntil(kPatience, [&] { return Says(*run, "Discovery is taken by another program"); }))
        << run->Errors();
    run->Signal(SIGTERM);
    EXPECT_TRUE(run->WaitForEnd(Seconds(10)));
    ::close(taken);
}

TEST_F(RunScript, WithAClosedPipe_LeavesNoChildBehind) {
    WriteScript(place / "piped", (place / "run").string() + " 2>&1 | head -n 1");
    Program piped((place / "piped").string(), {});
    EXPECT_TRUE(piped.WaitForEnd(Seconds(40)));
    EXPECT_TRUE(WaitUntil(Seconds(5), [this] { return Children() == 0; }));
}

TEST_F(RunScript, SaysThatItTakesAnotherPort) {
    const int taken = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int on = 1;  // connections that another test has just closed do not count
    ::setsockopt(taken, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(11111);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    // Another test may have it for a moment. A program that has it for long does as well.
    WaitUntil(kPatience, [&] {
        return ::bind(taken, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0 &&
               ::listen(taken, 1) == 0;
    });
    const auto run = Start({});
    EXPECT_TRUE(WaitUntil(kPatience, [&] {
        return Says(*run, "Port 11111 is taken by another program: this one is served at port ");
    })) << run->Errors();
    run->Signal(SIGTERM);
    EXPECT_TRUE(run->WaitForEnd(Seconds(5)));
    ::close(taken);
}

TEST_F(RunScript, WithARealPort_ShowsTheVersionOfItsMountOrWhyThereIsNone) {
    StartMount({"--verbose"});
    {
        const auto run = Start({"--port", portLink.string()});
        EXPECT_TRUE(WaitUntil(kPatience, [&] { return Says(*run, "Serving until"); })) << run->Errors();
        EXPECT_TRUE(Says(*run, ", version VKC")) << run->Output();
        EXPECT_EQ(mount->Errors().find(" > :U#"), std::string::npos);  // it was asked for nothing else
        run->Signal(SIGTERM);
        EXPECT_TRUE(run->WaitForEnd(Seconds(10)));
    }
    mount.reset();
    const SilentPort line(place / "silent");
    const auto run = Start({"--port", (place / "silent").string()});
    EXPECT_TRUE(WaitUntil(kPatience, [&] { return Says(*run, "but nothing answered in "); })) << run->Output();
    run->Signal(SIGTERM);
    EXPECT_TRUE(run->WaitForEnd(Seconds(10)));
}

TEST_F(RunScript, WithEachRoadToTheSimulatedMount_ConnectsAndSlews) {
    const std::vector<std::pair<std::vector<std::string>, std::string>> roads{
        {{"--ip"}, "ip"}, {{"--quay"}, "quay"}, {{"--ip", "--quay"}, "ip-quay"}};
    for (const auto& [options, name] : roads) {
        const auto run = Start(options);
        EXPECT_TRUE(WaitUntil(kPatience, [&] { return Says(*run, "slewing to "); })) << run->Errors();
        EXPECT_TRUE(fs::exists(place / "build" / "run" / name / "data" / "Kestrane" / "Settings.ksdb"));
        run->Signal(SIGTERM);
        EXPECT_TRUE(run->WaitForEnd(Seconds(5)));
    }
}

TEST_F(RunScript, RefusesARoadOfTheSimulatedMountForARealOne) {
    for (const std::string road : {"--ip", "--quay"}) {
        const auto run = Start({road, "--port", "/dev/null"});
        const auto ending = run->WaitForEnd(kPatience);
        ASSERT_TRUE(ending);
        EXPECT_EQ(ending->code, 2);
        EXPECT_TRUE(Says(*run, "they do not go together"));
    }
}

TEST_F(RunScript, RefusesAnEmptyDeviceName) {
    for (const std::vector<std::string>& words : {std::vector<std::string>{"--port", ""}, {"--port="}}) {
        const auto run = Start(words);
        const auto ending = run->WaitForEnd(kPatience);
        ASSERT_TRUE(ending);
        EXPECT_EQ(ending->code, 2);
        EXPECT_TRUE(Says(*run, "--port wants the name of a device"));
    }
}

}  // namespace
}  // namespace kestrane::process
