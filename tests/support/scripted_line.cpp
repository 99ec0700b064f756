#include "support/scripted_line.h"

#include <algorithm>
#include <limits>

namespace kestrane {

void ScriptedLine::Schedule(std::int64_t elapsedMs, std::string_view bytes) {
    for (const char byte : bytes) {
        arriving_.push_back({elapsedMs, byte});
    }
}

std::string ScriptedLine::Unread() const {
    std::string bytes;
    for (const ArrivingByte& each : arriving_) {
        bytes += each.byte;
    }
    return bytes;
}

void ScriptedLine::Write(std::string_view bytes) {
    written += bytes;
    if (onWrite) {
        onWrite(bytes);
    }
}

std::string ScriptedLine::Read(std::size_t maxCount) {
    if (full) {
        return std::string(maxCount, '.');
    }
    std::string bytes;
    while (bytes.size() < std::min(maxCount, bytesPerRead) && NextArrival() && *NextArrival() <= clock_.Elapsed()) {
        bytes += TakeByte();
    }
    return bytes;
}

std::optional<std::int32_t> ScriptedLine::NextByteIn() {
    if (full) {
        return 0;
    }
    const std::optional<std::int64_t> arrival = NextArrival();
    if (!arrival) {
        return std::nullopt;
    }
    constexpr std::int64_t kLongest = std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(*arrival - clock_.Elapsed(), 0, kLongest));
}

void ScriptedLine::Silence(std::int32_t waitedMs) {
    if (onSilence) {
        onSilence(waitedMs);
    }
}

std::optional<std::int64_t> ScriptedLine::NextFlood() const {
    return floodEveryMs > 0 ? std::optional((flooded_ + 1) * floodEveryMs) : std::nullopt;
}

std::optional<std::int64_t> ScriptedLine::NextArrival() const {
    const std::optional<std::int64_t> flood = NextFlood();
    if (arriving_.empty()) {
        return flood;
    }
    const std::int64_t told = arriving_.front().elapsedMs;
    return flood ? std::min(told, *flood) : told;
}

char ScriptedLine::TakeByte() {
    const std::optional<std::int64_t> flood = NextFlood();
    if (!arriving_.empty() && (!flood || arriving_.front().elapsedMs <= *flood)) {
        const char byte = arriving_.front().byte;
        arriving_.pop_front();
        return byte;
    }
    ++flooded_;
    return '.';
}

}  // namespace kestrane
