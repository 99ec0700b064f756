#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "support/scripted_line.h"
#include "support/virtual_clock.h"
#include "support/virtual_pump.h"

namespace kestrane {

/// A short text that is both script and expectation of a test: what clients call, what goes over the wire, and when. A
/// line is a time in virtual milliseconds from the start of playing (or "*" for any time), a mark, and a text:
///
///     =  a client calls: "= Slewing". Its result may follow on the same line, for any time: "= Slewing -> False"; or
///        on a line of its own, for the time when it comes: "= -> False"
///     !  the error with which a call ended: number, message. An error without such a line fails
///     >  a write to the mount
///     <  bytes that arrive from the mount, after all lines before it have happened
///     ~  a read that ended at its limit without a byte; its waiting time in milliseconds may follow
///     L  a logged line: origin, level, message
///
/// Calls are made, and bytes arrive, when the script says so; everything else must happen in the order and at the times
/// of the script. A line that does not come, a write that is not in the script, and a byte that nobody reads each fail.
/// Results, silences and log lines that the script does not name are ignored, unless `CountAllThatIsNamed` was called;
/// of two calls, one inside the other, only the results show which one has ended. Bytes that do not print are written
/// as \x05, and a backslash as \\. Blanks at the end of a line do not count. "#" begins a line that is a comment.
///
///     WireTranscript transcript(machine.clock, machine.pump, R"(
///         # A client asks; the mount answers after 20 ms.
///         0    = CommandString GR
///         0    > :GR#
///         20   < 12:34:56#
///         30   = -> 12:34:56
///         1000 = Slew
///         1000 > :MS#
///         1020 < 1
///         *    ! 0x80040413 Target below the minimum elevation
///     )");
///     machine.serialPorts.Connect(1, transcript.Line());
///     transcript.Call("Slew", [&] { telescope.SlewToTarget(); });
///     transcript.Dispatcher([&](std::string_view call) { return exchange.CommandString(...); });
///     log.SetListener(transcript.LogListener());
///     transcript.Play();
///
/// Time passes as in the outermost loop, so that timers run and a call is made inside another one that pumps. It passes
/// up to the last time in the script, and up to a minute longer if lines are still to come. A second script on a port
/// that is open uses `machine.serialPorts.Splice` in place of `Connect`.
class WireTranscript {
public:
    using TextCall = std::function<std::string()>;
    using CallByText = std::function<std::string(std::string_view call)>;
    using Listener = std::function<void(std::string_view origin, int level, std::string_view message)>;

    /// A line that cannot be read is a mistake in the test: `std::invalid_argument` with its number.
    WireTranscript(VirtualClock& clock, VirtualPump& pump, std::string_view script);
    /// Plays on a line that outlives the transcript, in place of its own line; sets the two functions of that line.
    WireTranscript(VirtualClock& clock, VirtualPump& pump, std::string_view script, ScriptedLine& line);
    ~WireTranscript();
    WireTranscript(const WireTranscript&) = delete;
    WireTranscript& operator=(const WireTranscript&) = delete;

    /// The far end of the line to the mount.
    ScriptedLine& Line() { return line_; }
    /// Sets what a call with that text does; its result is a text, or nothing.
    template <class Function>
    void Call(std::string_view text, Function function);
    /// Sets what all other calls do.
    void Dispatcher(CallByText dispatcher) { dispatcher_ = std::move(dispatcher); }
    Listener LogListener();
    /// A logged line in the form of a script.
    static std::string LogText(std::string_view origin, int level, std::string_view message);
    /// Results, silences and log lines are no longer ignored if the script names any line of their kind.
    void CountAllThatIsNamed() { countsAll_ = true; }

    /// Plays the script, once. Empty when everything happened as written, else the first difference in words, beginning
    /// with "line " and its number in the script.
    std::string FirstDifference();
    /// The same as a test expectation.
    void Play();

private:
    struct ScriptLine {
        int number = 0;                  ///< in the script, from 1
        std::optional<std::int64_t> ms;  ///< nothing: any time
        char mark = ' ';
        std::string text;                   ///< bytes
        std::optional<std::string> result;  ///< of a call, when it is on the same line
        bool IsCall() const { return mark == '=' && !text.starts_with("->"); }
    };

    static ScriptLine ParseLine(int number, std::string_view text);
    void Parse(std::string_view script);
    static std::string Words(std::optional<std::int64_t> ms, char mark, std::string_view text);

    void Happened(char mark, std::string text);
    bool IsPassedOver(char mark, std::string_view text) const;
    void Differs(const ScriptLine* expected, const std::string& happened);
    void Settle();
    void MakeCall(const ScriptLine& line);
    std::string ResultOf(const std::string& call);
    std::string Unread() const;
    bool Done() const { return next_ == lines_.size() || !difference_.empty(); }

    VirtualClock& clock_;
    VirtualPump& pump_;
    ScriptedLine ownLine_;
    ScriptedLine& line_;
    std::vector<ScriptLine> lines_;
    std::map<std::string, TextCall, std::less<>> calls_;
    CallByText dispatcher_;

    std::int64_t startMs_ = 0;
    bool playing_ = false;
    bool countsAll_ = false;
    std::size_t next_ = 0;  ///< the line that must happen next
    int runningCalls_ = 0;  ///< one inside the other
    std::string difference_;
};

template <class Function>
void WireTranscript::Call(std::string_view text, Function function) {
    if constexpr (std::is_void_v<std::invoke_result_t<Function&>>) {
        calls_[std::string(text)] = [function]() mutable {
            function();
            return std::string();
        };
    } else {
        calls_[std::string(text)] = function;
    }
}

}  // namespace kestrane
