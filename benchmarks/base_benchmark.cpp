// What the rest leans on, on the machine's real files and clock: a line of the log, a setting read and written, a reply
// of the mount taken apart.

#include <benchmark/benchmark.h>
#include <exception>
#include <string>

#include "data_folder.h"
#include "kernel/base/conversions.h"
#include "platform/posix/posix_platform.h"
#include "settings/persist.h"

namespace kestrane {
namespace {

/// A process's log and settings in a folder of its own; the settings file is there already.
struct Process {
    Process() {
        logState.g_sLogDir = data.Path().string();
        persist.WriteIniValue("Port", "COM1");
    }

    /// Skips the benchmark when what it measured did not work.
    void Judge(benchmark::State& state, bool worked) {
        if (!worked || !ledger.Entries().empty()) {
            state.SkipWithError(ledger.Entries().empty() ? "a wrong answer" : ledger.Entries().front().message.c_str());
        }
    }

    DataFolder data;
    PosixPlatform platform{[](const std::exception_ptr&) {}};
    LogState logState;
    Log log{logState, platform.clock};
    SwallowLedger ledger;
    Persist persist{{logState, log, platform.clock, platform.folders, platform.messageBoxes, ledger}};
};

void LogMessageToFile(benchmark::State& state) {
    Process process;
    process.logState.g_bDebugLog = true;
    process.log.OpenLog();
    const std::int32_t before = process.logState.g_nLogLine;
    for (auto _ : state) {
        process.log.LogMessage("CommandString", LogLevel::Info, "Driver TX=:GR#, RX=12:34:56.7#");
    }
    const bool counted = process.logState.g_nLogLine - before == static_cast<std::int32_t>(state.iterations());
    const auto size = std::filesystem::file_size(process.log.FileName());
    process.Judge(state, counted && size > static_cast<std::uintmax_t>(state.iterations()) * 80U);
}
BENCHMARK(LogMessageToFile)->UseRealTime();

void ReadIniValueOfAnExistingKey(benchmark::State& state) {
    Process process;
    bool right = true;
    for (auto _ : state) {
        right = right && process.persist.ReadIniValue("Port", "COM2") == "COM1";
    }
    process.Judge(state, right);
}
BENCHMARK(ReadIniValueOfAnExistingKey)->UseRealTime();

void WriteIniValueOfAnEqualValue(benchmark::State& state) {
    Process process;
    for (auto _ : state) {
        process.persist.WriteIniValue("Port", "COM1");
    }
    process.Judge(state, process.persist.ReadIniValue("Port", "none") == "COM1");
}
BENCHMARK(WriteIniValueOfAnEqualValue)->UseRealTime();

/// The row and its audit row.
void WriteIniValueOfANewValue(benchmark::State& state) {
    Process process;
    std::int64_t number = 0;
    for (auto _ : state) {
        process.persist.WriteIniValue("Port", std::to_string(++number));
    }
    process.Judge(state, process.persist.ReadIniValue("Port", "none") == std::to_string(number));
}
BENCHMARK(WriteIniValueOfANewValue)->UseRealTime();

/// A parser with the log off, as in the normal run.
void Parse(benchmark::State& state, bool (*parse)(std::string_view, double&, Log&), std::string_view text) {
    PosixClock clock;
    LogState logState;
    Log log(logState, clock);
    double value = 0.0;
    bool right = true;
    for (auto _ : state) {
        benchmark::DoNotOptimize(text);
        right = parse(text, value, log) && right;
        benchmark::DoNotOptimize(value);
    }
    if (!right) {
        state.SkipWithError("a wrong answer");
    }
}
BENCHMARK_CAPTURE(Parse, ProtocolHours, ParseProtocolHours, "12:34:56.7");
BENCHMARK_CAPTURE(Parse, ProtocolDegrees, ParseProtocolDegrees, "+45*30:15");

}  // namespace
}  // namespace kestrane
