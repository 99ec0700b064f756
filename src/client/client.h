#pragma once

#include <functional>
#include <ostream>
#include <span>
#include <string>

namespace kestrane::client {

/// What the client program needs from its surroundings.
struct Surroundings {
    std::ostream& out;       ///< results
    std::ostream& progress;  ///< bars, notes and errors
    bool isTerminal;         ///< whether `progress` is a terminal
    std::function<double()> unixSeconds;
    std::function<void(double)> waitSeconds;
    std::function<void()> watchInterrupts;  ///< from now on the first Ctrl-C does not end the program
    std::function<bool()> interrupted;      ///< whether there was a Ctrl-C
};

enum class ExitCode : int { Done = 0, DeviceError = 1, Usage = 2, Unreachable = 3 };

/// The whole program without its process: reads the words (without the program's name), does what they ask, reports
/// failures.
ExitCode RunClient(std::span<const std::string> words, const Surroundings& surroundings);

}  // namespace kestrane::client
