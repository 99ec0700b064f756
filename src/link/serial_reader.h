#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

#include "platform/clock.h"
#include "platform/serial_port.h"

namespace kestrane {

/// Timed reads of one serial line. Every limit is for the whole read, in milliseconds from its start, however slowly
/// bytes come in: a line that never stops sending holds a read for its limit and at most one byte more. A limit of 0 or
/// below takes what is there. A read that has `kMostBytes` ends as at its limit, so that a flood takes no more memory
/// than that. Nothing is lost between reads: bytes that came after a terminator come first in the next read. Nothing
/// raises, nothing pumps.
class SerialReader {
public:
    /// Both outlive the reader.
    SerialReader(SerialPort& port, Clock& clock) : port_(port), clock_(clock) {}

    /// Many times the longest text that a mount sends.
    static constexpr std::size_t kMostBytes = 4096;
    /// Bytes with gaps of at most this belong to one text; at 9600 baud a byte takes about 1 ms.
    static constexpr std::int32_t kQuietMs = 10;

    /// The bytes that wait; when there are none, those that come within the limit. Empty when nothing came. Bytes still
    /// on their way are read too, until the line is quiet for `kQuietMs` or the limit is over; with a limit below
    /// `kQuietMs` the line is looked at only once.
    std::string Waiting(std::int32_t limitMs);
    /// `count` bytes, or what came of them within the limit.
    std::string Counted(std::size_t count, std::int32_t limitMs);
    /// Everything up to and with `terminator`, or what came within the limit.
    std::string Terminated(std::string_view terminator, std::int32_t limitMs);

    /// Drops what was kept for the next read; for a line that is closed or opened again.
    void Forget() { kept_.clear(); }

private:
    /// Adds what the line brings to the kept bytes. Waits no longer than what is left of the limit, and no longer than
    /// `mostMs`; false when nothing came, no time is left, or `kMostBytes` are there.
    bool ReadMore(Tick start, std::int32_t limitMs, std::int32_t mostMs = std::numeric_limits<std::int32_t>::max());
    std::string Take(std::size_t count);

    SerialPort& port_;
    Clock& clock_;
    std::string kept_;
};

}  // namespace kestrane
