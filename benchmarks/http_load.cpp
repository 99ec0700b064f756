// Loads a driver over keep-alive HTTP the way clients do: starts the simulated mount and the activator, measures the
// time from the first request to its answer and what the driver takes of a core while its one client is silent, then
// reads a cached property over 1 and 8 connections.
//
//     bench_http BIN_DIR DATA_DIR

#include <cstdio>
#include <fstream>
#include <iterator>
#include <sstream>
#include <thread>

#include "http_programs.h"

namespace {

using namespace kestrane::benchmarks;

constexpr int kRequestsPerConnection = 20000;

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

void MeasureReads(std::uint16_t port, int connections) {
    std::vector<std::vector<double>> times(static_cast<std::size_t>(connections));
    const Time start = Now();
    std::vector<std::thread> threads;
    threads.reserve(times.size());
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
    std::printf("cached property read, %d connection(s): p50 %.0f us, p99 %.0f us, %.0f requests per second\n",
                connections, Percentile(all, 0.50), Percentile(all, 0.99), static_cast<double>(all.size()) / seconds);
}

/// The time from the first request to its answer, of a driver that is not running yet.
void MeasureStart(std::uint16_t port) {
    const Time before = Now();
    Connection connection(port);
    connection.Ask(Get("interfaceversion", 99));
    std::printf("start, from the first request to its answer: %.1f ms\n", Microseconds(before, Now()) / 1000.0);
}

void Run(const std::filesystem::path& bin, const std::filesystem::path& data) {
    UseDataFolder(data);
    const Child mount({bin / "kestrane-mount-simulator", "--link", data / "Kestrane" / "Ports" / "COM1", "--unparked"});
    std::string address;
    const Child activator({bin / "kestrane-activate", "--port", "0", "--discovery-port", "0"}, &address);
    const std::uint16_t port = PortOf(address);
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
    return RunOnFolders("bench_http", argc, argv, Run);
}
