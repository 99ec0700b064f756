#pragma once

#include <algorithm>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/clock.h"
#include "platform/message_pump.h"
#include "platform/serial_port.h"
#include "platform/system_services.h"

namespace kestrane::link_test {

/// A clock that stands still until someone waits. It runs in milliseconds from `firstTick`.
class ManualClock final : public Clock {
public:
    Tick firstTick;

    std::int32_t Elapsed() const { return elapsed_; }
    void AdvanceTo(std::int32_t elapsed) { elapsed_ = std::max(elapsed_, elapsed); }

    Tick GetTickCount() override { return firstTick + elapsed_; }
    DateTime GetLocalTime() override { return {.year = 2024, .month = 3, .day = 5}; }
    void Sleep(std::int32_t milliseconds) override { elapsed_ += std::max(milliseconds, 0); }
    double TimeZoneOffset() override { return 0.0; }
    DateTime DateLocalToUTC(const DateTime& local) override { return local; }
    DateTime DateUTCToLocal(const DateTime& utc) override { return utc; }

private:
    std::int32_t elapsed_ = 0;
};

/// Counts pumps; nothing of the link may ever pump.
class CountingPump final : public MessagePump {
public:
    int pumps = 0;

    void Post(CallKind, std::function<void()>) override {}
    void PumpMessages() override { ++pumps; }
    void PumpStops() override {}
    bool OvertakenByStop() const override { return false; }
    std::unique_ptr<PumpTimer> CreateTimer(std::function<void()>) override { return nullptr; }
};

/// The far end of a serial line: bytes that arrive at set times, and a record of what was done to the near end.
class ScriptedLine {
public:
    explicit ScriptedLine(ManualClock& manualClock) : clock(manualClock) {}

    ManualClock& clock;

    bool open = false;
    std::int32_t port = 0;
    std::int32_t speed = 0;
    int openError = 0;  ///< what the next openings give
    int openings = 0;
    int closings = 0;
    std::string written;
    std::vector<std::pair<std::int32_t, std::string>> reads;  ///< waiting time and outcome of each read
    std::function<void(std::string_view)> onWrite;
    std::function<void(std::int32_t)> onSilence;  ///< a read ended empty after so many milliseconds

    std::size_t bytesPerRead = 4096;  ///< 1 feeds every reader byte by byte
    bool full = false;                ///< every look finds as many bytes "." as it takes, at no time
    std::int32_t floodEveryMs = 0;    ///< above 0: one more byte "." each so many milliseconds, without end

    void Schedule(std::int32_t elapsed, std::string_view bytes) {
        for (const char byte : bytes) {
            arriving.emplace_back(elapsed, byte);
        }
    }

    /// Bytes that nobody has read yet.
    std::string Unread() const {
        std::string text;
        for (const auto& [time, byte] : arriving) {
            text += byte;
        }
        return text;
    }

    std::string Read(std::size_t maxCount, std::int32_t timeoutMs) {
        if (full) {
            reads.emplace_back(timeoutMs, std::string(maxCount, '.'));
            return reads.back().second;
        }
        const std::int32_t start = clock.Elapsed();
        const std::int32_t limit = start + std::max(timeoutMs, 0);
        clock.AdvanceTo(std::min(NextArrival(), limit));
        std::string bytes;
        while (bytes.size() < std::min(maxCount, bytesPerRead) && NextArrival() <= clock.Elapsed()) {
            bytes += TakeByte();
        }
        reads.emplace_back(timeoutMs, bytes);
        if (bytes.empty() && onSilence) {
            onSilence(clock.Elapsed() - start);
        }
        return bytes;
    }

private:
    static constexpr std::int32_t kNever = INT32_MAX;

    std::int32_t NextFlood() const { return floodEveryMs > 0 ? (flooded + 1) * floodEveryMs : kNever; }
    std::int32_t NextArrival() const {
        return std::min(arriving.empty() ? kNever : arriving.front().first, NextFlood());
    }
    char TakeByte() {
        if (!arriving.empty() && arriving.front().first <= NextFlood()) {
            const char byte = arriving.front().second;
            arriving.pop_front();
            return byte;
        }
        ++flooded;
        return '.';
    }

    std::deque<std::pair<std::int32_t, char>> arriving;
    std::int32_t flooded = 0;
};

class ScriptedPort final : public SerialPort {
public:
    explicit ScriptedPort(ScriptedLine& line) : line_(line) {}

    int Open(std::int32_t port, std::int32_t speed) override {
        ++line_.openings;
        line_.port = port;
        line_.speed = speed;
        line_.open = line_.openError == 0;
        return line_.openError;
    }
    void Close() override {
        ++line_.closings;
        line_.open = false;
    }
    bool IsOpen() override { return line_.open; }
    void Write(std::string_view bytes) override {
        line_.written += bytes;
        if (line_.onWrite) {
            line_.onWrite(bytes);
        }
    }
    std::string Read(std::size_t maxCount, std::int32_t timeoutMs) override { return line_.Read(maxCount, timeoutMs); }

private:
    ScriptedLine& line_;
};

class ScriptedPorts final : public SerialPorts {
public:
    explicit ScriptedPorts(ScriptedLine& line) : line_(line) {}
    SerialPortList ListPorts() override { return {}; }
    std::unique_ptr<SerialPort> CreatePort() override { return std::make_unique<ScriptedPort>(line_); }

private:
    ScriptedLine& line_;
};

class SilentMessageBoxes final : public MessageBoxes {
public:
    MessageAnswer Show(std::string_view, std::string_view, MessageIcon) override { return MessageAnswer::Ok; }
};

}  // namespace kestrane::link_test
