#include "link/serial_reader.h"

#include <algorithm>
#include <cassert>

namespace kestrane {
namespace {

/// Longer than any reply of the mount; one look at a flooded line stays short.
constexpr std::size_t kChunk = 1024;

}  // namespace

std::string SerialReader::Waiting(std::int32_t limitMs) {
    const Tick start = clock_.GetTickCount();
    ReadMore(start, kept_.empty() ? limitMs : 0);
    if (limitMs >= kQuietMs) {
        while (!kept_.empty() && ReadMore(start, limitMs, kQuietMs)) {
        }
    }
    return Take(kept_.size());
}

std::string SerialReader::Counted(std::size_t count, std::int32_t limitMs) {
    const Tick start = clock_.GetTickCount();
    while (kept_.size() < count && ReadMore(start, limitMs)) {
    }
    return Take(std::min(count, kept_.size()));
}

std::string SerialReader::Terminated(std::string_view terminator, std::int32_t limitMs) {
    assert(!terminator.empty());
    const Tick start = clock_.GetTickCount();
    std::size_t searched = 0;
    for (;;) {
        const std::size_t found = kept_.find(terminator, searched);
        if (found != std::string::npos) {
            return Take(found + terminator.size());
        }
        // The terminator may begin in the bytes already read and end in those still to come.
        searched = kept_.size() - std::min(kept_.size(), terminator.size() - 1);
        if (!ReadMore(start, limitMs)) {
            return Take(kept_.size());
        }
    }
}

bool SerialReader::ReadMore(Tick start, std::int32_t limitMs, std::int32_t mostMs) {
    const std::int32_t left = std::max(limitMs, 0) - (clock_.GetTickCount() - start);
    if (left < 0 || kept_.size() >= kMostBytes) {
        return false;
    }
    const std::string bytes = port_.Read(std::min(kChunk, kMostBytes - kept_.size()), std::min(left, mostMs));
    kept_ += bytes;
    return !bytes.empty();
}

std::string SerialReader::Take(std::size_t count) {
    std::string taken = kept_.substr(0, count);
    kept_.erase(0, count);
    return taken;
}

}  // namespace kestrane
