#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestrane::simulator {

/// Cuts the bytes from the driver into commands. A command is what comes between ":" and "#"; one that begins with "$"
/// needs no colon. Bytes outside are counted and dropped, and so is a command that grows without end.
class CommandParser {
public:
    static constexpr std::size_t kLongestCommand = 64;

    /// The commands that this byte completes: none or one, without frame. A lone "#" gives "#".
    std::optional<std::string> Feed(char byte);
    /// Forgets a partial command.
    void Reset();
    std::size_t GarbageBytes() const { return garbageBytes_; }

private:
    bool inside_ = false;
    std::string partial_;
    std::size_t garbageBytes_ = 0;
};

/// The bytes on their way to the driver, each with the moment at which it arrives; in order, one at a time. Times in
/// microseconds of the mount's running time.
class OutgoingLine {
public:
    static constexpr std::size_t kMostWaiting = 65536;  ///< bytes beyond this that nobody reads are lost, oldest first

    /// A byte takes at least one microsecond.
    explicit OutgoingLine(std::int64_t byteTimeUs) : byteTimeUs_(std::max<std::int64_t>(byteTimeUs, 1)) {}

    /// Time that a full line takes to empty.
    std::int64_t CapacityUs() const { return byteTimeUs_ * static_cast<std::int64_t>(kMostWaiting); }

    /// Sends after all that was sent before, not earlier than `notBeforeUs`.
    void Send(std::string_view bytes, std::int64_t notBeforeUs);
    std::string Take(std::size_t maxCount, std::int64_t nowUs);
    /// Moment of the next byte.
    std::optional<std::int64_t> NextAtUs() const;
    /// Whether a byte arrives after `nowUs`.
    bool BusyAfter(std::int64_t nowUs) const { return !waiting_.empty() && waiting_.back().atUs > nowUs; }
    /// Moment from which the line is free.
    std::int64_t FreeAtUs() const { return freeAtUs_; }
    void Clear(std::int64_t nowUs);

private:
    struct Byte {
        std::int64_t atUs;
        char value;
    };
    std::int64_t byteTimeUs_;
    std::int64_t freeAtUs_ = 0;
    std::deque<Byte> waiting_;
};

}  // namespace kestrane::simulator
