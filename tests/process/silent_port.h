#pragma once

#include <filesystem>
#include <string_view>

#include "process/waiting.h"

namespace kestrane::process {

/// A serial line at whose other end nobody answers of itself, for as long as this object lives.
class SilentPort {
public:
    /// Makes `link` a symbolic link to the line.
    explicit SilentPort(const std::filesystem::path& link);
    ~SilentPort();
    SilentPort(const SilentPort&) = delete;
    SilentPort& operator=(const SilentPort&) = delete;

    /// Whether anything was sent on the line within the limit.
    bool HearsSomething(Seconds limit) const;
    /// Speaks once after all: takes what was sent so far, and sends `reply`.
    void Answer(std::string_view reply) const;

private:
    int master_;
};

}  // namespace kestrane::process
