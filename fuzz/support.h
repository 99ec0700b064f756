#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "kernel/base/log.h"
#include "platform/clock.h"

/// What the fuzz targets share.
namespace kestrane::fuzz {

/// Ends the run, which keeps the input, and says what did not hold.
inline void Require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "does not hold: %s\n", what);
        std::abort();
    }
}

inline std::string_view TextOf(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

/// A clock that stands; for logs whose times nobody reads.
class NoTime final : public Clock {
public:
    Tick GetTickCount() override { return {}; }
    DateTime GetLocalTime() override { return {2024, 3, 7, 9, 5, 2, 8}; }
    void Sleep(std::int32_t) override {}
    void SleepWithReads(std::int32_t) override {}
    double TimeZoneOffset() override { return 0.0; }
    DateTime DateLocalToUTC(const DateTime& local) override { return local; }
    DateTime DateUTCToLocal(const DateTime& utc) override { return utc; }
};

/// A log without a file that keeps the messages of one level.
class KeptLog {
public:
    explicit KeptLog(LogLevel kept = LogLevel::Error) {
        state_.g_bDebugLog = true;
        log.SetListener([this, kept](std::string_view, int level, std::string_view message) {
            if (level == static_cast<int>(kept)) {
                messages.emplace_back(message);
            }
        });
    }
    KeptLog(const KeptLog&) = delete;
    KeptLog& operator=(const KeptLog&) = delete;

private:
    NoTime clock_;
    LogState state_;

public:
    Log log{state_, clock_};
    std::vector<std::string> messages;
};

}  // namespace kestrane::fuzz
