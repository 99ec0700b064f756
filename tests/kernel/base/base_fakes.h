#pragma once

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <unistd.h>
#include <vector>

#include "kernel/base/log.h"
#include "platform/clock.h"
#include "platform/message_pump.h"
#include "platform/system_services.h"

namespace kestrane {

/// Stands still unless somebody sleeps; records the sleeps.
class StandingClock final : public Clock {
public:
    Tick GetTickCount() override { return now; }
    DateTime GetLocalTime() override { return local; }
    void Sleep(std::int32_t milliseconds) override {
        sleeps.push_back(milliseconds);
        now = now + milliseconds;
    }
    double TimeZoneOffset() override { return 0.0; }
    DateTime DateLocalToUTC(const DateTime& date) override { return date; }
    DateTime DateUTCToLocal(const DateTime& date) override { return date; }

    Tick now{1000};
    DateTime local{2024, 3, 7, 9, 5, 2, 8};
    std::vector<std::int32_t> sleeps;
};

/// A folder of its own that goes with its owner.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "kestrane-XXXXXX").string();
        path_ = ::mkdtemp(name.data());
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& Path() const { return path_; }

private:
    std::filesystem::path path_;
};

inline std::string ContentOf(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// One message as the log's listener sees it.
struct Logged {
    std::string origin;
    int level = 0;
    std::string message;

    friend bool operator==(const Logged&, const Logged&) = default;
};

/// A log without a file whose messages are kept.
struct KeptLog {
    KeptLog() {
        state.g_bDebugLog = true;
        log.SetListener([this](std::string_view origin, int level, std::string_view message) {
            messages.push_back({std::string(origin), level, std::string(message)});
        });
    }

    StandingClock clock;
    LogState state;
    Log log{state, clock};
    std::vector<Logged> messages;
};

/// Runs the C library under a locale with a decimal comma while it lives. A build that could make none fails the test.
class CommaLocale {
public:
    CommaLocale() : before_(std::setlocale(LC_ALL, nullptr)) {
        ::setenv("LOCPATH", KESTRANE_LOCALE_FOLDER, 1);
        EXPECT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr) << "no comma locale; run: tools/setup test";
        EXPECT_STREQ(std::localeconv()->decimal_point, ",");
    }
    ~CommaLocale() {
        std::setlocale(LC_ALL, before_.c_str());
        ::unsetenv("LOCPATH");
    }
    CommaLocale(const CommaLocale&) = delete;
    CommaLocale& operator=(const CommaLocale&) = delete;

private:
    std::string before_;
};

}  // namespace kestrane
