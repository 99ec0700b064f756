#include <array>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <netinet/in.h>
#include <poll.h>
#include <spawn.h>
#include <string>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "support/temporary_folder.h"

namespace kestrane {
namespace {

constexpr int kPatienceMs = 20'000;

/// A running kestrane-mount-simulator with its standard output and error.
class Program {
public:
    explicit Program(std::vector<std::string> words) {
        words.insert(words.begin(), KESTRANE_MOUNT_SIMULATOR);
        std::vector<char*> arguments;
        for (std::string& word : words) {
            arguments.push_back(word.data());
        }
        arguments.push_back(nullptr);
        std::array<int, 2> pipe{};
        EXPECT_EQ(pipe2(pipe.data(), O_CLOEXEC), 0);
        output_ = pipe[0];
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, pipe[1], STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&actions, pipe[1], STDERR_FILENO);
        EXPECT_EQ(posix_spawn(&process_, arguments[0], &actions, nullptr, arguments.data(), environ), 0);
        posix_spawn_file_actions_destroy(&actions);
        close(pipe[1]);
    }
    ~Program() {
        if (process_ > 0) {
            Signal(SIGKILL);
            ExitStatus();
        }
        close(output_);
    }
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    int Output() const { return output_; }
    void Signal(int number) const { kill(process_, number); }
    int ExitStatus() {
        int status = 0;
        waitpid(process_, &status, 0);
        process_ = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }

private:
    pid_t process_ = -1;
    int output_ = -1;
};

/// Reads up to and with `end`; what came when that never does.
std::string ReadUntil(int descriptor, char end) {
    std::string text;
    pollfd waiting{descriptor, POLLIN, 0};
    while ((text.empty() || text.back() != end) && poll(&waiting, 1, kPatienceMs) == 1) {
        char byte = 0;
        if (read(descriptor, &byte, 1) != 1) {
            break;
        }
        text += byte;
    }
    return text;
}

std::string Ask(const std::string& terminal, const std::string& command) {
    const int line = open(terminal.c_str(), O_RDWR | O_NOCTTY);
    EXPECT_GE(line, 0) << terminal;
    EXPECT_EQ(write(line, command.data(), command.size()), static_cast<ssize_t>(command.size()));
    std::string reply = ReadUntil(line, '#');
    close(line);
    return reply;
}

/// A connection to the HTTP side of the program, by its line on standard output.
class Browser {
public:
    explicit Browser(const std::string& address) : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        const std::size_t colon = address.find(':');
        EXPECT_EQ(address.substr(0, colon), "127.0.0.1");
        sockaddr_in place{};
        place.sin_family = AF_INET;
        place.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        place.sin_port = htons(static_cast<std::uint16_t>(std::stoi(address.substr(colon + 1))));
        EXPECT_EQ(connect(socket_, reinterpret_cast<const sockaddr*>(&place), sizeof place), 0) << address;
    }
    ~Browser() { close(socket_); }
    Browser(const Browser&) = delete;
    Browser& operator=(const Browser&) = delete;

    void Send(const std::string& bytes) const {
        EXPECT_EQ(send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
    }
    /// The status line and the body of the next answer; empty at the end of the connection.
    std::string Answer() const {
        std::string head;
        while (!head.ends_with("\r\n\r\n")) {
            const std::string line = ReadUntil(socket_, '\n');
            if (line.empty()) {
                return {};
            }
            head += line;
        }
        const std::size_t length = std::stoul(head.substr(head.find("Content-Length: ") + 16));
        std::string body;
        pollfd waiting{socket_, POLLIN, 0};
        char byte = 0;
        while (body.size() < length && poll(&waiting, 1, kPatienceMs) == 1 && read(socket_, &byte, 1) == 1) {
            body += byte;
        }
        return head.substr(9, 3) + " " + body;
    }
    std::string Get(const std::string& target) const {
        Send("GET " + target + " HTTP/1.1\r\nHost: mount\r\n\r\n");
        return Answer();
    }
    std::string Post(const std::string& body) const {
        Send("POST /api/mount/sendcmd HTTP/1.1\r\nHost: mount\r\nContent-Length: " + std::to_string(body.size()) +
             "\r\n\r\n" + body);
        return Answer();
    }

private:
    int socket_;
};

class ProgramTest : public testing::Test {
protected:
    TemporaryFolder folder;
    std::filesystem::path link = folder.Path() / "COM1";
};

TEST_F(ProgramTest, Mount_AnswersOverItsLinkToClientAfterClient) {
    std::filesystem::create_symlink("/nowhere", link);
    Program program({"--link", link.string(), "--firmware=U", "--latitude", "-33.5", "--longitude", "151"});
    const std::string terminal = ReadUntil(program.Output(), '\n');
    EXPECT_EQ(std::filesystem::read_symlink(link).string() + '\n', terminal);
    EXPECT_EQ(Ask(link, "#:V#"), "U#");
    EXPECT_EQ(Ask(link, ":Gt#"), "-33*30:00#");
    EXPECT_EQ(Ask(link, ":Gg#"), "209*00:00#");
    EXPECT_EQ(Ask(link, ":GR#"), "00:00:00.0#");
    program.Signal(SIGTERM);
    EXPECT_EQ(program.ExitStatus(), 0);
    EXPECT_FALSE(std::filesystem::exists(std::filesystem::symlink_status(link)));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path()), {}), 0);
}

TEST_F(ProgramTest, Interrupt_EndsItWell_AndLeavesALinkThatIsNoLongerItsOwn) {
    Program program({"--link", link.string(), "--unparked"});
    ReadUntil(program.Output(), '\n');
    EXPECT_NE(Ask(link, ":GD#"), "+90*00:00.0#");
    std::filesystem::remove(link);
    std::filesystem::create_symlink("/elsewhere", link);
    program.Signal(SIGINT);
    EXPECT_EQ(program.ExitStatus(), 0);
    EXPECT_EQ(std::filesystem::read_symlink(link), "/elsewhere");
}

TEST_F(ProgramTest, Start_IsWhereItIsAskedFor) {
    Program program({"--link", link.string(), "--hour-angle", "2.5", "--declination", "-10.5", "--side", "west"});
    ReadUntil(program.Output(), '\n');
    EXPECT_EQ(Ask(link, ":GD#"), "-10*30:00.0#");
    EXPECT_EQ(Ask(link, ":pS#"), "West#");
}

TEST_F(ProgramTest, Verbose_LogsTheLine) {
    Program program({"--verbose"});
    const std::string first = ReadUntil(program.Output(), '\n');
    Ask(first.substr(0, first.size() - 1), ":V#");
    EXPECT_EQ(ReadUntil(program.Output(), '\n').substr(12), " > :V#\n");
    EXPECT_EQ(ReadUntil(program.Output(), '\n').substr(12), " < VKC4-P02-08#\n");
}

TEST_F(ProgramTest, Http_ServesTheAdapterBesideTheTerminal) {
    Program program({"--http", "0", "--link", link.string(), "--verbose"});
    ReadUntil(program.Output(), '\n');
    const std::string address = ReadUntil(program.Output(), '\n');
    const Browser browser(address);
    EXPECT_EQ(browser.Get("/cmd.cgi?CMD=%3AV%23"), "200 VKC4-P02-08#");
    EXPECT_EQ(ReadUntil(program.Output(), '\n').substr(12), " > :V#\n");
    EXPECT_EQ(ReadUntil(program.Output(), '\n').substr(12), " < VKC4-P02-08#\n");
    EXPECT_EQ(Ask(link, ":pS#"), "East#");
    EXPECT_EQ(browser.Get("/cmd.cgi?CMD=%3AQ%23"), "200 ");
    EXPECT_EQ(browser.Get("/"), "404 ");
    EXPECT_EQ(browser.Post("{}"), "405 ");
    const Browser second(address);
    second.Send("GET /cmd.cgi?CMD=%3ApS%23 HTTP/1.1\r\nConnection: close\r\n\r\n");
    EXPECT_EQ(second.Answer(), "200 East#");
    EXPECT_EQ(second.Answer(), "") << "closed, as it was asked";
    browser.Send("GET /cmd.cgi?CMD=%3ApS%23 HTTP/1.1\r\n\r\nGET /cmd.cgi?CMD=%3AV%23 HTTP/1.1\r\n\r\n");
    EXPECT_EQ(browser.Answer(), "200 East#");
    EXPECT_EQ(browser.Answer(), "200 VKC4-P02-08#") << "two requests at once";
    browser.Send("nonsense\r\n\r\n");
    EXPECT_EQ(browser.Answer(), "");
    program.Signal(SIGTERM);
    EXPECT_EQ(program.ExitStatus(), 0);
}

TEST_F(ProgramTest, Http_StaysOpenToNewClients_HoweverManyOldOnesThereAre) {
    Program program({"--http=0"});
    ReadUntil(program.Output(), '\n');
    const std::string address = ReadUntil(program.Output(), '\n');
    std::vector<std::unique_ptr<Browser>> browsers;
    for (int i = 0; i < 17; ++i) {
        browsers.push_back(std::make_unique<Browser>(address));
        EXPECT_EQ(browsers.back()->Get("/cmd.cgi?CMD=%3ApS%23"), "200 East#");
    }
    EXPECT_EQ(browsers.front()->Answer(), "") << "the oldest one made room";
    EXPECT_EQ(browsers[1]->Get("/cmd.cgi?CMD=%3ApS%23"), "200 East#");
}

TEST_F(ProgramTest, Http_AtAPortThatIsTaken_EndsItWithWords) {
    Program first({"--http", "0"});
    ReadUntil(first.Output(), '\n');
    const std::string address = ReadUntil(first.Output(), '\n');
    const std::string port = address.substr(10, address.size() - 11);
    Program second({"--http", port});
    EXPECT_EQ(ReadUntil(second.Output(), '\n'),
              "kestrane-mount-simulator: cannot listen at port " + port + ": Address already in use\n");
    EXPECT_EQ(second.ExitStatus(), 1);
}

TEST_F(ProgramTest, Companion_IsOnTheTerminalAndAtTheRestInterface) {
    Program program({"--companion", "--http", "0", "--link", link.string(), "--unparked"});
    ReadUntil(program.Output(), '\n');
    const Browser browser(ReadUntil(program.Output(), '\n'));
    EXPECT_EQ(Ask(link, ":QUAY,7,pS#"), "QUAY,pS,7,East#");
    EXPECT_EQ(Ask(link, ":V#"), "VKC4-P02-08#");
    EXPECT_EQ(browser.Post(R"({  "Command": ":QUAY,8,pS#"})"),
              R"(200 {"ResponseString": "QUAY,pS,8,East#", "Result": "OK", "Success": true})");
    EXPECT_EQ(browser.Get("/cmd.cgi?CMD=%3AV%23"), "405 ");
    EXPECT_EQ(Ask(link, ":QUAY,9,*PARK,0#"), "QUAY,*PARK,9,1#");
    EXPECT_NE(Ask(link, ":GOS#").find('P'), std::string::npos) << "parked";
}

struct Refusal {
    std::vector<std::string> words;
    int status;
    std::string message;
};

TEST_F(ProgramTest, Arguments_ThatCannotBe_EndItWithWords) {
    std::filesystem::create_directory(folder.Path() / "plain");
    const std::vector<Refusal> refusals{
        {{"--link"}, 2, "--link needs a value"},
        {{"--verbose=1"}, 2, "--verbose takes no value"},
        {{"--firmware", "Z9"}, 2, "no firmware is called 'Z9'; --help names those there are"},
        {{"--latitude", "91"}, 2, "--latitude takes a number from -90 to 90, not '91'"},
        {{"--slew-speed", "0"}, 2, "--slew-speed takes a number from 0.01 to 1000, not '0'"},
        {{"--acceleration", "0"}, 2, "--acceleration takes a number from 0.01 to 1000, not '0'"},
        {{"--longitude", "1O"}, 2, "--longitude takes a number from -180 to 360, not '1O'"},
        {{"--hour-angle", "12.5"}, 2, "--hour-angle takes a number from -12 to 12, not '12.5'"},
        {{"--declination=-91"}, 2, "--declination takes a number from -90 to 90, not '-91'"},
        {{"--side", "left"}, 2, "--side takes east or west, not 'left'"},
        {{"--http", "65536"}, 2, "--http takes a port from 0 to 65535, not '65536'"},
        {{"--http=a"}, 2, "--http takes a port from 0 to 65535, not 'a'"},
        {{"--colour"}, 2, "unknown option '--colour'"},
        {{"--link", (folder.Path() / "plain").string()},
         1,
         (folder.Path() / "plain").string() + " is in the way: it is no symbolic link"},
        {{"--link", (folder.Path() / "none/x").string()},
         1,
         "cannot make the link " + (folder.Path() / "none/x").string()},
    };
    for (const Refusal& refusal : refusals) {
        Program program(refusal.words);
        const std::string said = ReadUntil(program.Output(), '\n');
        EXPECT_EQ(said.rfind("kestrane-mount-simulator: " + refusal.message, 0), 0U) << said;
        EXPECT_EQ(program.ExitStatus(), refusal.status);
    }
}

TEST_F(ProgramTest, Help_IsGivenOnStandardOutput) {
    Program program({"--help"});
    EXPECT_EQ(ReadUntil(program.Output(), '\n'), "Usage: kestrane-mount-simulator [OPTION...]\n");
    EXPECT_EQ(program.ExitStatus(), 0);
}

}  // namespace
}  // namespace kestrane
