#include "simulator/serial_line.h"

#include <algorithm>
#include <utility>

namespace kestrane::simulator {

std::optional<std::string> CommandParser::Feed(char byte) {
    if (!inside_) {
        if (byte == '#') {
            return "#";
        }
        inside_ = byte == ':' || byte == '$';
        partial_ = byte == '$' ? "$" : "";
        garbageBytes_ += inside_ ? 0 : 1;
        return std::nullopt;
    }
    if (byte == '#') {
        inside_ = false;
        return std::exchange(partial_, {});
    }
    partial_ += byte;
    if (partial_.size() > kLongestCommand) {
        garbageBytes_ += partial_.size();
        Reset();
    }
    return std::nullopt;
}

void CommandParser::Reset() {
    inside_ = false;
    partial_.clear();
}

void OutgoingLine::Send(std::string_view bytes, std::int64_t notBeforeUs) {
    std::int64_t at = std::max(notBeforeUs, freeAtUs_);
    for (const char byte : bytes) {
        waiting_.push_back({at, byte});
        at += byteTimeUs_;
    }
    freeAtUs_ = at;
    while (waiting_.size() > kMostWaiting) {
        waiting_.pop_front();
    }
}

std::string OutgoingLine::Take(std::size_t maxCount, std::int64_t nowUs) {
    std::string bytes;
    while (bytes.size() < maxCount && !waiting_.empty() && waiting_.front().atUs <= nowUs) {
        bytes += waiting_.front().value;
        waiting_.pop_front();
    }
    return bytes;
}

std::optional<std::int64_t> OutgoingLine::NextAtUs() const {
    return waiting_.empty() ? std::nullopt : std::optional(waiting_.front().atUs);
}

void OutgoingLine::Clear(std::int64_t nowUs) {
    waiting_.clear();
    freeAtUs_ = nowUs;
}

}  // namespace kestrane::simulator
