#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace kestrane::process {

/// A line of the driver's log, taken apart.
struct LogLine {
    bool isHead = false;  ///< of the head of a file, which has a text alone
    int time = 0;         ///< millisecond of the day
    std::string origin;
    std::string level;
    std::string message;
};

/// What a line must begin with: its origin, and its message.
struct LogMark {
    std::string_view origin;
    std::string_view message;

    bool Fits(const LogLine& line) const { return line.origin == origin && line.message.starts_with(message); }
};

/// The log of one driver, read line by line.
class NightLog {
public:
    explicit NightLog(const std::filesystem::path& file);

    const std::vector<LogLine>& Lines() const { return lines_; }
    /// Lines that have no line's form, or not the number that is next.
    const std::vector<std::string>& Malformed() const { return malformed_; }

    /// All that was sent to the mount, byte after byte.
    std::string SentToMount() const;
    /// Questions to the mount that have no reply before whatever is sent next.
    std::vector<std::string> Unanswered() const;
    /// The messages of these beginnings, in the order of the log.
    std::vector<std::string> Messages(const LogMark& mark) const;
    /// Of the first line that fits, or -1.
    int TimeOf(const LogMark& mark) const;
    /// The first of the marks that does not stand after those before it; empty when all of them stand in this order.
    std::string FirstMissing(const std::vector<LogMark>& marks) const;

private:
    void Take(const std::string& text);

    std::vector<LogLine> lines_;
    std::vector<std::string> malformed_;
};

/// Of a time as HH:MM:SS.mmm.
int MillisecondOfDay(const std::string& time);
/// The commands of a text that went over the line: each with its frame, a "#" outside one alone.
std::vector<std::string> CommandsIn(std::string_view wire);

}  // namespace kestrane::process
