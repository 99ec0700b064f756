#pragma once

#include <filesystem>
#include <utility>

#include "kernel/base/log.h"

namespace kestrane {

/// What moves that nothing but this driver would end. Slews and parks have an end of their own.
struct OpenMotion {
    bool mount = false;    ///< an axis, or a move or a guide pulse whose stop the driver is to send
    bool focuser = false;  ///< a run of the focus motor

    bool Any() const { return mount || focuser; }
    friend bool operator==(const OpenMotion&, const OpenMotion&) = default;
};

/// A small file that exists as long as something moves that only the driver would end. A driver that is killed leaves
/// it behind: the next one finds it and stops what still moves. The file goes after the end of a motion with the next
/// command to the mount, about a second later at most. Raises nothing; a file that cannot be written is logged once.
/// Logic thread only.
class OpenMotionFile {
public:
    OpenMotionFile(std::filesystem::path file, Log& log) : file_(std::move(file)), log_(log) {}

    /// What an earlier process has left, read from the file.
    OpenMotion Left() const;
    /// To be called before each command that may begin a motion, and after its end.
    void Note(OpenMotion open);

private:
    std::filesystem::path file_;
    Log& log_;
    OpenMotion noted_;
    bool failureLogged_ = false;
};

}  // namespace kestrane
