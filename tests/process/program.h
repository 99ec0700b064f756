#pragma once

#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

#include "process/waiting.h"

namespace kestrane::process {

/// How a program ended.
struct Ending {
    bool bySignal = false;
    int code = 0;  ///< exit status, or the signal's number
};

/// One of the programs of this build, started with the test's environment; killed with this object if it still runs.
/// What it prints is kept in files of their own in the system's folder for such.
class Program {
public:
    /// `name` of a program beside the driver.
    Program(const std::string& name, std::vector<std::string> arguments);
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    pid_t Pid() const { return pid_; }
    void Signal(int number) const;
    /// How it ended; nothing when it still runs at the limit.
    std::optional<Ending> WaitForEnd(Seconds limit);
    bool Runs() { return !WaitForEnd(Seconds(0)); }

    /// All that it printed so far.
    std::string Output() const { return TextOf(output_); }
    std::string Errors() const { return TextOf(errors_); }
    /// The first line on standard output, once it is whole; empty at the limit.
    std::string FirstLine(Seconds limit);

private:
    static std::string TextOf(int file);

    pid_t pid_ = 0;
    int output_ = -1;
    int errors_ = -1;
    std::optional<Ending> ending_;
};

/// The one child of a process; 0 when it has none.
pid_t ChildOf(pid_t parent);
/// Whether such a process still runs.
bool Exists(pid_t process);
/// Files that a process has open.
std::size_t OpenFilesOf(pid_t process);

}  // namespace kestrane::process
