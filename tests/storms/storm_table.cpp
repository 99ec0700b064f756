// Runs nights on lines with faults and prints what went wrong, as a table and then one by one:
//
//     storm_table [SEEDS [HOURS]]                20 seeds of 10 hours when not given
//     storm_table --night FIRMWARE SEED PERCENT  one night, with what went over the line before anything went wrong
//     storm_table --ip [SEEDS [HOURS]]           nights over a network adapter, and its faults
//     storm_table --ip-night FIRMWARE SEED PERCENT
//     storm_table --ip-waits                     how long clients wait while the adapter has a fault
//
// and then the same for a cable that is out for a while, or an adapter that fails for a while, at moments of a slew.
// Exit status 1 when anything went wrong.
#include <array>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <mutex>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "storms/ip_waits.h"
#include "storms/storm_night.h"

namespace {

using kestrane::AdapterFault;
using kestrane::StormNight;
using kestrane::StormReport;

constexpr int kSeeds = 20;
constexpr int kHours = 10;
constexpr std::array kFirmwares{"D", "S", "VKC4-P02-08", "VKC5-P03-01"};

struct Row {
    std::string head;  ///< the first cells
    int nights = 0;
    std::function<StormReport(int night)> run;
    StormReport report = {};
};

/// A night of the table: every second one calibrates on its first slew.
StormNight::Plan StormPlan(const std::string& firmware, int seed, double probability, int hours, bool overIp) {
    return {.firmware = firmware,
            .seed = static_cast<std::uint32_t>(seed),
            .probability = probability,
            .lengthMs = std::int64_t{hours} * 3'600'000,
            .calibrates = seed % 2 == 0,
            .overIp = overIp};
}

std::vector<Row> StormRows(int seeds, int hours, bool overIp) {
    std::vector<Row> rows;
    for (const double probability : {0.001, 0.005, 0.02}) {
        for (const std::string firmware : kFirmwares) {
            const auto run = [=](int night) {
                return StormNight(StormPlan(firmware, night + 1, probability, hours, overIp)).Run();
            };
            std::ostringstream head;
            head << probability * 100 << " % | " << firmware;
            rows.push_back({head.str(), seeds, run});
        }
    }
    return rows;
}

StormNight::Moment After(std::int64_t milliseconds) {
    return [=](const StormNight::Progress& slew) { return slew.sinceMs >= milliseconds; };
}

/// Each phase of a slew: while its commands go out, in and between its legs, at and after its end.
std::vector<StormNight::Moment> MomentsOfASlew() {
    using Progress = StormNight::Progress;
    const auto ends = [](const Progress& slew) {
        return slew.legsTaken > 0 && !slew.state.g_bSafeSlewPending && !slew.mount.slewing;
    };
    return {
        After(5),
        After(30),
        After(80),
        After(200),
        After(500),
        After(3'000),
        After(10'000),
        [](const Progress& slew) { return slew.state.g_bSafeSlewPending && slew.legsTaken > 0 && !slew.mount.slewing; },
        [](const Progress& slew) { return slew.legsTaken == 2; },
        [=](const Progress& slew) { return ends(slew) && slew.state.g_bSlewing; },
        [=](const Progress& slew) { return ends(slew) && !slew.state.g_bSlewing; }};
}

/// A cable that is out; each night has another phase of the slew and another target.
std::vector<Row> CableRows() {
    const std::vector<StormNight::Moment> moments = MomentsOfASlew();
    std::vector<Row> rows;
    for (const std::int64_t outSeconds : {1, 5, 10, 600}) {
        for (const std::string firmware : kFirmwares) {
            const auto run = [=](int night) {
                const auto moment = static_cast<std::size_t>(night) % moments.size();
                return StormNight({.firmware = firmware, .seed = static_cast<std::uint32_t>(night + 1)})
                    .RunCableOut(moments[moment], outSeconds * 1'000);
            };
            rows.push_back({"cable out " + std::to_string(outSeconds) + " s | " + firmware,
                            4 * static_cast<int>(moments.size()), run});
        }
    }
    return rows;
}

struct NamedFault {
    AdapterFault fault;
    const char* name;
};

constexpr std::array kAdapterFaults{NamedFault{AdapterFault::Slow, "slow"},
                                    NamedFault{AdapterFault::TooSlow, "too slow"},
                                    NamedFault{AdapterFault::Silent, "silent"},
                                    NamedFault{AdapterFault::Unplugged, "unplugged"},
                                    NamedFault{AdapterFault::Reboots, "rebooting"},
                                    NamedFault{AdapterFault::AnswersForAnother, "answers for another request"}};

/// An adapter that fails, as the cable above.
std::vector<Row> AdapterRows() {
    const std::vector<StormNight::Moment> moments = MomentsOfASlew();
    std::vector<Row> rows;
    for (const NamedFault& fault : kAdapterFaults) {
        for (const std::int64_t outSeconds : {5, 60}) {
            for (const std::string firmware : kFirmwares) {
                const auto run = [=](int night) {
                    const auto moment = static_cast<std::size_t>(night) % moments.size();
                    return StormNight(
                               {.firmware = firmware, .seed = static_cast<std::uint32_t>(night + 1), .overIp = true})
                        .RunAdapterFault(moments[moment], fault.fault, outSeconds * 1'000);
                };
                rows.push_back({std::string(fault.name) + " for " + std::to_string(outSeconds) + " s | " + firmware,
                                2 * static_cast<int>(moments.size()), run});
            }
        }
    }
    return rows;
}

/// Runs all nights of all rows, one on each core.
void Run(std::vector<Row>& rows) {
    std::mutex mutex;
    std::size_t row = 0;
    int night = 0;
    const auto work = [&] {
        for (;;) {
            std::unique_lock lock(mutex);
            while (row < rows.size() && night == rows[row].nights) {
                ++row;
                night = 0;
            }
            if (row == rows.size()) {
                return;
            }
            Row& mine = rows[row];
            const int number = night++;
            lock.unlock();
            const StormReport report = mine.run(number);
            lock.lock();
            mine.report.Add(report);
        }
    };
    std::vector<std::thread> workers;
    for (unsigned i = 1; i < std::thread::hardware_concurrency(); ++i) {
        workers.emplace_back(work);
    }
    work();
    for (std::thread& worker : workers) {
        worker.join();
    }
}

/// Whether nothing went wrong.
bool Print(const std::vector<Row>& rows) {
    std::cout << "| faults | firmware | nights | slews | faults of the line | stuck flags | motions nobody asked for | "
                 "wrong values written | wrong coordinates that outlived a good reply |\n"
                 "|---|---|---|---|---|---|---|---|---|\n";
    bool clean = true;
    for (const Row& row : rows) {
        const StormReport& report = row.report;
        std::cout << "| " << row.head << " | " << row.nights << " | " << report.slews << " | " << report.faults << " | "
                  << report.stuckFlags << " | " << report.unaskedMotions << " | " << report.wrongWrites << " | "
                  << report.outlivedReadings << " |\n";
        clean = clean && report.Clean();
    }
    for (const Row& row : rows) {
        for (const std::string& note : row.report.notes) {
            std::cout << row.head << ": " << note << "\n";
        }
    }
    return clean;
}

void PrintIpWaits() {
    std::cout
        << "| adapter | a read of what is known waits | a stop waits | a connect | takes |\n|---|---|---|---|---|\n";
    const auto print = [](const NamedFault& fault) {
        const kestrane::IpWaits waits = kestrane::MeasureIpWaits(fault.fault);
        std::cout << "| " << fault.name << " | " << waits.readMs << " ms | " << waits.stopMs << " ms | "
                  << (waits.connects ? "succeeds" : "fails") << " | " << waits.connectMs << " ms |\n";
    };
    print({AdapterFault::None, "healthy"});
    for (const NamedFault& fault : kAdapterFaults) {
        print(fault);
    }
}

}  // namespace

int main(int argc, char** argv) {
    const std::string_view option = argc > 1 ? argv[1] : "";
    if (option == "--ip-waits") {
        PrintIpWaits();
        return 0;
    }
    const bool overIp = option == "--ip" || option == "--ip-night";
    if (argc == 5 && option.ends_with("-night")) {
        StormNight::Plan night = StormPlan(argv[2], std::atoi(argv[3]), std::atof(argv[4]) / 100, kHours, overIp);
        night.tail = &std::cout;
        return StormNight(night).Run().Clean() ? 0 : 1;
    }
    const int first = overIp ? 2 : 1;
    const int seeds = argc > first ? std::atoi(argv[first]) : kSeeds;
    const int hours = argc > first + 1 ? std::atoi(argv[first + 1]) : kHours;
    std::vector<Row> rows = StormRows(seeds, hours, overIp);
    for (Row& row : overIp ? AdapterRows() : CableRows()) {
        rows.push_back(std::move(row));
    }
    Run(rows);
    return Print(rows) ? 0 : 1;
}
