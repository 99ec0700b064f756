#pragma once

#include <ostream>
#include <string>

namespace kestrane::client {

/// Shows the progress of something that takes long: one bar that is redrawn on a terminal, plain lines elsewhere.
class Progress {
public:
    /// `seconds`: time between two plain lines.
    Progress(std::ostream& out, bool isTerminal, double seconds = 2.0)
        : out_(out), isTerminal_(isTerminal), lineEvery_(seconds) {}
    ~Progress() { Finish(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// `fraction` from 0 to 1, below 0 when it is not known; one that is smaller than an earlier one shows the earlier
    /// one; `now` in seconds from any start, never decreasing.
    void Show(double fraction, const std::string& words, double now);
    /// Ends the line of the bar. The next `Show` begins a new one.
    void Finish();

private:
    std::ostream& out_;
    bool isTerminal_;
    double lineEvery_;
    double nextLine_ = 0.0;
    double farthest_ = 0.0;
    bool anyShown_ = false;
    bool isLineOpen_ = false;
};

}  // namespace kestrane::client
