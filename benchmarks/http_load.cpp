// Loads a driver over keep-alive HTTP the way clients do: starts the simulated mount and the activator, measures the
// time from the first request to its answer and what the driver takes of a core while its one client is silent, then
// reads a cached property over 1 and 8 connections.
//
//     bench_http BIN_DIR DATA_DIR

#include <algorithm>
#include <arpa/inet.h>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <spawn.h>
#include <sstream>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using Time = std::chrono::steady_clock::time_point;
Time Now() {
    return std::chrono::steady_clock::now();
}
double Microseconds(Time from, Time to) {
    return std::chrono::duration<double, std::micro>(to - from).count();
}

constexpr int kRequestsPerConnection = 20000;

[[noreturn]] void Fail(const std::string& what) {
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

std::string Get(const std::string& member, int client) {
    return "GET /api/v1/telescope/0/" + member + "?ClientID=" + std::to_string(client) +
           "&ClientTransactionID=1 HTTP/1.1\r\nHost: localhost\r\n\r\n";
}

std::string Put(const std::string& member, const std::string& body) {
    return "PUT /api/v1/telescope/0/" + member +
           " HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/x-www-form-urlencoded\r\nContent-Length: " +
           std::to_string(body.size()) + "\r\n\r\n" + body;
}

/// Where /proc tells of the one child of `parent`.
std::string DriverOf(pid_t parent) {
    std::ifstream children("/proc/" + std::to_string(parent) + "/task/" + std::to_string(parent) + "/children");
    std::string child;
    children >> child;
    return "/proc/" + child;
}

/// Resident kilobytes.
long ResidentOf(const std::string& process) {
    std::ifstream status(process + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmRSS:")) {
            return std::atol(line.c_str() + 6);
        }
    }
    return -1;
}

/// Processor seconds so far, of all threads.
double ProcessorTimeOf(const std::string& process) {
    std::ifstream file(process + "/stat");
    std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    std::istringstream fields(text.substr(text.rfind(')') + 1));  // the name before it may hold blanks
    constexpr int kFieldsBefore = 11;
    std::string skipped;
    for (int i = 0; i < kFieldsBefore; ++i) {
        fields >> skipped;
    }
    long user = 0;
    long system = 0;
    if (!(fields >> user >> system)) {
        throw std::runtime_error("no processor time in " + process + "/stat");
    }
    return static_cast<double>(user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

void MeasureIdle(const std::string& process) {
    constexpr std::chrono::seconds kTime{20};
    const double before = ProcessorTimeOf(process);
    const Time start = Now();
    std::this_thread::sleep_for(kTime);
    const double share = (ProcessorTimeOf(process) - before) / (Microseconds(start, Now()) / 1e6);
    std::printf("processor time with one connected, silent client: %.2f %% of one core\n", share * 100.0);
}

void RequireSuccess(const std::string& answer) {
    if (answer.find("\"ErrorNumber\":0") == std::string::npos) {
        throw std::runtime_error("the driver did not do as it was asked: " + answer);
    }
}

void MeasureReads(std::uint16_t port, int connections) {
    std::vector<std::vector<double>> times(static_cast<std::size_t>(connections));
    const Time start = Now();
    std::vector<std::thread> threads;
    for (int i = 0; i < connections; ++i) {
        threads.emplace_back([port, i, &mine = times[static_cast<std::size_t>(i)]] {
            Connection connection(port);
            const std::string request = Get("declination", i + 1);
            mine.reserve(kRequestsPerConnection);
            RequireSuccess(connection.Ask(request));
            for (int n = 0; n < kRequestsPerConnection; ++n) {
                const Time before = Now();
                connection.Ask(request);
                mine.push_back(Microseconds(before, Now()));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const double seconds = Microseconds(start, Now()) / 1e6;
    std::vector<double> all;
    for (const auto& mine : times) {
        all.insert(all.end(), mine.begin(), mine.end());
    }
    std::ranges::sort(all);
    const auto percentile = [&](double p) {
        return all[static_cast<std::size_t>(p * static_cast<double>(all.size() - 1))];
    };
    std::printf("cached property read, %d connection(s): p50 %.0f us, p99 %.0f us, %.0f requests per second\n",
                connections, percentile(0.50), percentile(0.99), static_cast<double>(all.size()) / seconds);
}

/// The time from the first request to its answer, of a driver that is not running yet.
void MeasureStart(std::uint16_t port) {
    const Time before = Now();
    Connection connection(port);
    connection.Ask(Get("interfaceversion", 99));
    std::printf("start, from the first request to its answer: %.1f ms\n", Microseconds(before, Now()) / 1000.0);
}

void Run(const std::filesystem::path& bin, const std::filesystem::path& data) {
    std::filesystem::remove_all(data);
    std::filesystem::create_directories(data / "Kestrane" / "Ports");
    for (const char* name : {"KESTRANE_COMMON_APPDATA", "KESTRANE_USER_CONFIG", "KESTRANE_DOCUMENTS"}) {
        setenv(name, data.c_str(), 1);
    }
    const Child mount({bin / "kestrane-mount-simulator", "--link", data / "Kestrane" / "Ports" / "COM1", "--unparked"});
    std::string address;
    const Child activator({bin / "kestrane-activate", "--port", "0", "--discovery-port", "0"}, &address);
    const auto port = static_cast<std::uint16_t>(std::atoi(address.c_str() + address.rfind(':') + 1));
    MeasureStart(port);
    Connection keeper(port);
    RequireSuccess(keeper.Ask(Put("connected", "Connected=True&ClientID=1&ClientTransactionID=1")));
    MeasureIdle(DriverOf(activator.Pid()));
    for (const int connections : {1, 8}) {
        MeasureReads(port, connections);
    }
    std::printf("resident memory: %.1f MB\n", static_cast<double>(ResidentOf(DriverOf(activator.Pid()))) / 1024.0);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: bench_http BIN_DIR DATA_DIR\n";
        return 2;
    }
    try {
        Run(argv[1], argv[2]);
        return 0;
    } catch (const std::exception& error) {
        std::cerr << error.what() << "\n";
        return 1;
    }
}
