#include "alpaca/inherited_sockets.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "http/raw_client.h"

namespace kestrane::alpaca {
namespace {

struct Case {
    std::string name;
    std::map<std::string, std::string> environment;  ///< LISTEN_PID "own" stands for the process
    std::size_t http;                                ///< 0: nothing is taken
    std::size_t discovery;
};

/// Runs in a process of its own, whose descriptors 3 to 5 are a listening socket, a datagram socket and a pipe.
int TakeInChild(const Case& row) {
    const int listening = ::fcntl(http::ListenOnLoopback(), F_DUPFD, 100);
    const int datagram = ::fcntl(::socket(AF_INET, SOCK_DGRAM, 0), F_DUPFD, 100);
    int pipe[2]{};
    if (::pipe(pipe) != 0) {
        return 10;
    }
    const int plain = ::fcntl(pipe[0], F_DUPFD, 100);
    ::dup2(listening, 3);
    ::dup2(datagram, 4);
    ::dup2(plain, 5);
    const int self = ::getpid();
    std::map<std::string, std::string> environment = row.environment;
    if (environment["LISTEN_PID"] == "own") {
        environment["LISTEN_PID"] = std::to_string(self);
    }
    const auto sockets = TakeInheritedSockets(
        [&environment](const char* name) -> const char* {
            const auto variable = environment.find(name);
            return variable == environment.end() ? nullptr : variable->second.c_str();
        },
        self);
    const std::size_t http = sockets ? sockets->http.size() : 0;
    const std::size_t discovery = sockets ? sockets->discovery.size() : 0;
    const bool closesOnExec = !sockets || (::fcntl(sockets->http.front(), F_GETFD) & FD_CLOEXEC) != 0;
    return (http == row.http ? 0 : 1) + (discovery == row.discovery ? 0 : 2) + (closesOnExec ? 0 : 4);
}

TEST(InheritedSockets, AreTakenByNameAndKindOnlyWhenTheyAreMeantForThisProcess) {
    for (const Case& row : {
             Case{"both", {{"LISTEN_PID", "own"}, {"LISTEN_FDS", "2"}, {"LISTEN_FDNAMES", "alpaca:discovery"}}, 1, 1},
             Case{"one", {{"LISTEN_PID", "own"}, {"LISTEN_FDS", "1"}, {"LISTEN_FDNAMES", "alpaca"}}, 1, 0},
             Case{"a stranger between",
                  {{"LISTEN_PID", "own"}, {"LISTEN_FDS", "3"}, {"LISTEN_FDNAMES", "alpaca:x:discovery"}},
                  1,
                  0},
             Case{"wrong kinds",
                  {{"LISTEN_PID", "own"}, {"LISTEN_FDS", "2"}, {"LISTEN_FDNAMES", "discovery:alpaca"}},
                  0,
                  0},
             Case{"no listening one",
                  {{"LISTEN_PID", "own"}, {"LISTEN_FDS", "3"}, {"LISTEN_FDNAMES", "x:discovery:alpaca"}},
                  0,
                  0},
             Case{"fewer names", {{"LISTEN_PID", "own"}, {"LISTEN_FDS", "3"}, {"LISTEN_FDNAMES", "alpaca"}}, 1, 0},
             Case{"more names",
                  {{"LISTEN_PID", "own"}, {"LISTEN_FDS", "1"}, {"LISTEN_FDNAMES", "alpaca:discovery"}},
                  1,
                  0},
             Case{"other process",
                  {{"LISTEN_PID", "1"}, {"LISTEN_FDS", "2"}, {"LISTEN_FDNAMES", "alpaca:discovery"}},
                  0,
                  0},
             Case{"no process", {{"LISTEN_FDS", "2"}, {"LISTEN_FDNAMES", "alpaca:discovery"}}, 0, 0},
             Case{"no count", {{"LISTEN_PID", "own"}, {"LISTEN_FDNAMES", "alpaca:discovery"}}, 0, 0},
             Case{"no names", {{"LISTEN_PID", "own"}, {"LISTEN_FDS", "2"}}, 0, 0},
             Case{"wordy count", {{"LISTEN_PID", "own"}, {"LISTEN_FDS", "two"}, {"LISTEN_FDNAMES", "alpaca"}}, 0, 0},
             Case{"negative count", {{"LISTEN_PID", "own"}, {"LISTEN_FDS", "-1"}, {"LISTEN_FDNAMES", "alpaca"}}, 0, 0},
             Case{"huge count",
                  {{"LISTEN_PID", "own"}, {"LISTEN_FDS", "2000000000"}, {"LISTEN_FDNAMES", "alpaca"}},
                  1,
                  0},
             Case{"nothing", {}, 0, 0},
         }) {
        const pid_t child = ::fork();
        if (child == 0) {
            ::_exit(TakeInChild(row));
        }
        int status = 0;
        ::waitpid(child, &status, 0);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << row.name << ": " << WEXITSTATUS(status);
    }
}

}  // namespace
}  // namespace kestrane::alpaca
