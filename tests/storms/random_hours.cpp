// Runs random hours and prints what went wrong:
//
//     random_hours [HOURS [FIRST SEED [PERCENT]]]   5,000 hours when not given, from seed 1, 0.5 % of faults
//     random_hours --hour SEED [PERCENT]            one hour, with what went over the line before anything went wrong
//
// Exit status 1 when anything went wrong.
#include <atomic>
#include <cstdlib>
#include <iostream>
#include <mutex>
#include <string_view>
#include <thread>
#include <vector>

#include "storms/random_hour.h"

namespace {

using kestrane::RandomHour;

constexpr int kHours = 5'000;
constexpr double kPercent = 0.5;

int RunOne(std::uint32_t seed, double percent) {
    RandomHour hour({.seed = seed, .probability = percent / 100, .tail = &std::cout});
    return hour.Run().empty() ? 0 : 1;
}

int RunAll(int hours, int first, double percent) {
    std::atomic<int> next = first;
    std::atomic<int> wrong = 0;
    std::mutex mutex;
    int calls = 0;
    int stops = 0;
    int parks = 0;
    const auto work = [&] {
        for (int seed = next++; seed < first + hours; seed = next++) {
            RandomHour hour({.seed = static_cast<std::uint32_t>(seed), .probability = percent / 100});
            const auto notes = hour.Run();
            const std::lock_guard lock(mutex);
            calls += hour.Calls();
            stops += hour.Stops();
            parks += hour.Parks();
            wrong += notes.empty() ? 0 : 1;
            for (const std::string& note : notes) {
                std::cout << note << std::endl;
            }
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
    std::cout << hours << " hours from seed " << first << ": " << calls << " calls, " << stops << " stops, " << parks
              << " times parked, " << wrong << " hours with a fault\n";
    return wrong == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    const auto number = [&](int index, double otherwise) { return argc > index ? std::atof(argv[index]) : otherwise; };
    if (argc > 2 && std::string_view(argv[1]) == "--hour") {
        return RunOne(static_cast<std::uint32_t>(number(2, 1)), number(3, kPercent));
    }
    return RunAll(static_cast<int>(number(1, kHours)), static_cast<int>(number(2, 1)), number(3, kPercent));
}
