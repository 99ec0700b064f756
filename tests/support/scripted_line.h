#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "support/virtual_clock.h"
#include "support/virtual_serial_ports.h"

namespace kestrane {

/// The far end of a serial line: it sends the given bytes at the given times, and keeps what was written to it.
class ScriptedLine final : public LineEnd {
public:
    explicit ScriptedLine(VirtualClock& clock) : clock_(clock) {}

    /// Bytes that arrive at a time, in milliseconds since the start of the clock, after those of earlier calls.
    void Schedule(std::int64_t elapsedMs, std::string_view bytes);
    /// Bytes that nobody has read yet, also those that are still to come.
    std::string Unread() const;

    std::size_t bytesPerRead = 4096;  ///< 1 gives every reader one byte at a time
    bool full = false;                ///< every look finds as many bytes "." as it accepts, without any time passing
    std::int64_t floodEveryMs = 0;    ///< above 0: one more byte "." each time so many milliseconds have passed

    std::string written;
    std::function<void(std::string_view bytes)> onWrite;
    std::function<void(std::int32_t waitedMs)> onSilence;

    void Write(std::string_view bytes) override;
    std::string Read(std::size_t maxCount) override;
    std::optional<std::int32_t> NextByteIn() override;
    void Silence(std::int32_t waitedMs) override;

private:
    struct ArrivingByte {
        std::int64_t elapsedMs;
        char byte;
    };

    std::optional<std::int64_t> NextFlood() const;
    std::optional<std::int64_t> NextArrival() const;
    char TakeByte();

    VirtualClock& clock_;
    std::deque<ArrivingByte> arriving_;
    std::int64_t flooded_ = 0;  ///< bytes of the flood that were read
};

}  // namespace kestrane
