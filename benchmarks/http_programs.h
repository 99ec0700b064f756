#pragma once

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <iostream>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <spawn.h>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

/// What the benchmarks of the real programs share: starting them, and asking them over keep-alive HTTP.
namespace kestrane::benchmarks {

using Time = std::chrono::steady_clock::time_point;
inline Time Now() {
    return std::chrono::steady_clock::now();
}
inline double Microseconds(Time from, Time to) {
    return std::chrono::duration<double, std::micro>(to - from).count();
}

[[noreturn]] inline void Fail(const std::string& what) {
    throw std::runtime_error(what + ": " + std::strerror(errno));
}

/// A program started for the measurement, ended with it.
class Child {
public:
    explicit Child(std::vector<std::string> arguments, std::string* firstLine = nullptr) {
        int ends[2];
        if (pipe(ends) != 0) {
            Fail("pipe");
        }
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
        posix_spawn_file_actions_addclose(&actions, ends[0]);
        std::vector<char*> argv;
        for (std::string& argument : arguments) {
            argv.push_back(argument.data());
        }
        argv.push_back(nullptr);
        if (posix_spawn(&pid_, argv[0], &actions, nullptr, argv.data(), environ) != 0) {
            Fail("start of " + arguments[0]);
        }
        posix_spawn_file_actions_destroy(&actions);
        close(ends[1]);
        output_ = ends[0];
        std::string line;
        char byte = 0;
        while (read(output_, &byte, 1) == 1 && byte != '\n') {
            line += byte;
        }
        if (firstLine) {
            *firstLine = line;
        }
    }
    ~Child() {
        kill(pid_, SIGTERM);
        waitpid(pid_, nullptr, 0);
        close(output_);
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    pid_t Pid() const { return pid_; }

private:
    pid_t pid_ = 0;
    int output_ = -1;
};

/// One keep-alive connection.
class Connection {
public:
    explicit Connection(std::uint16_t port) : socket_(socket(AF_INET, SOCK_STREAM, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
            Fail("connect");
        }
        const int on = 1;
        setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    }
    ~Connection() { close(socket_); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    std::string Ask(const std::string& request) {
        if (send(socket_, request.data(), request.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(request.size())) {
            Fail("send");
        }
        std::string answer;
        std::size_t wanted = std::string::npos;
        char buffer[4096];
        while (answer.size() < wanted) {
            const ssize_t got = recv(socket_, buffer, sizeof buffer, 0);
            if (got <= 0) {
                Fail("the driver closed the connection");
            }
            answer.append(buffer, static_cast<std::size_t>(got));
            wanted = Wanted(answer);
        }
        return answer;
    }

private:
    static std::size_t Wanted(const std::string& answer) {
        const std::size_t head = answer.find("\r\n\r\n");
        const std::size_t length = answer.find("Content-Length: ");
        if (head == std::string::npos || length == std::string::npos) {
            return std::string::npos;
        }
        return head + 4 + static_cast<std::size_t>(std::atoi(answer.c_str() + length + 16));
    }

    int socket_;
};

inline std::string Get(const std::string& member, int client) {
    return "GET /api/v1/telescope/0/" + member + "?ClientID=" + std::to_string(client) +
           "&ClientTransactionID=1 HTTP/1.1\r\nHost: localhost\r\n\r\n";
}

inline std::string Put(const std::string& member, const std::string& body) {
    return "PUT /api/v1/telescope/0/" + member +
           " HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/x-www-form-urlencoded\r\nContent-Length: " +
           std::to_string(body.size()) + "\r\n\r\n" + body;
}

inline void RequireSuccess(const std::string& answer) {
    if (answer.find("\"ErrorNumber\":0") == std::string::npos) {
        throw std::runtime_error("the driver did not do as it was asked: " + answer);
    }
}

/// The value that `share` (0 to 1) of all does not exceed.
inline double Percentile(std::vector<double> all, double share) {
    std::ranges::sort(all);
    return all.at(static_cast<std::size_t>(share * static_cast<double>(all.size() - 1)));
}

/// A fresh data folder with a place for COM1, which the programs started from now on take for theirs.
inline void UseDataFolder(const std::filesystem::path& data) {
    std::filesystem::remove_all(data);
    std::filesystem::create_directories(data / "Kestrane" / "Ports");
    for (const char* name : {"KESTRANE_COMMON_APPDATA", "KESTRANE_USER_CONFIG", "KESTRANE_DOCUMENTS"}) {
        setenv(name, data.c_str(), 1);
    }
}

/// The port in a line such as "Alpaca: http://127.0.0.1:11111/".
inline std::uint16_t PortOf(const std::string& address) {
    return static_cast<std::uint16_t>(std::atoi(address.c_str() + address.rfind(':') + 1));
}

/// The `main` of such a benchmark, whose arguments are the folder of the programs and one for their data.
inline int RunOnFolders(const char* name, int argc, char** argv,
                        void (*run)(const std::filesystem::path& programs, const std::filesystem::path& data)) {
    if (argc != 3) {
        std::cerr << "usage: " << name << " BIN_DIR DATA_DIR\n";
        return 2;
    }
    try {
        run(argv[1], argv[2]);
        return 0;
    } catch (const std::exception& error) {
        std::cerr << error.what() << "\n";
        return 1;
    }
}

}  // namespace kestrane::benchmarks
