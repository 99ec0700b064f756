#include "support/wire_transcript.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <charconv>
#include <gtest/gtest.h>
#include <sstream>
#include <stdexcept>

#include "kernel/base/errors.h"

namespace kestrane {
namespace {

/// Milliseconds that time goes on after the last time in a script while lines are still to come.
constexpr std::int64_t kLongestWaitMs = 60'000;

constexpr std::string_view kHexDigits = "0123456789abcdef";

std::string Unescape(std::string_view text) {
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const std::string_view rest = text.substr(i);
        if (rest.starts_with("\\\\")) {
            bytes += '\\';
            i += 1;
        } else if (rest.starts_with("\\x") && rest.size() >= 4) {
            unsigned value = 0;
            const auto end = std::from_chars(rest.data() + 2, rest.data() + 4, value, 16);
            if (end.ptr != rest.data() + 4) {
                throw std::invalid_argument("no such byte");
            }
            bytes += static_cast<char>(value);
            i += 3;
        } else if (rest.front() == '\\') {
            throw std::invalid_argument("a backslash alone");
        } else {
            bytes += rest.front();
        }
    }
    return bytes;
}

std::string Escape(std::string_view bytes) {
    std::string text;
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        if (value < 0x20 || value > 0x7e) {
            text += std::string("\\x") + kHexDigits[value >> 4] + kHexDigits[value & 15];
        } else {
            text += byte == '\\' ? std::string("\\\\") : std::string(1, byte);
        }
    }
    return text;
}

std::string_view Trim(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t\r");
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

std::string ErrorText(const DriverError& error) {
    std::ostringstream text;
    if (error.Number() > 0xffff) {
        text << "0x" << std::hex;
    }
    text << error.Number() << ' ' << error.Message();
    return text.str();
}

}  // namespace

WireTranscript::WireTranscript(VirtualClock& clock, VirtualPump& pump, std::string_view script)
    : WireTranscript(clock, pump, script, ownLine_) {}

WireTranscript::WireTranscript(VirtualClock& clock, VirtualPump& pump, std::string_view script, ScriptedLine& line)
    : clock_(clock), pump_(pump), ownLine_(clock), line_(line) {
    Parse(script);
    line_.onWrite = [this](std::string_view bytes) { Happened('>', std::string(bytes)); };
    line_.onSilence = [this](std::int32_t waitedMs) { Happened('~', std::to_string(waitedMs)); };
}

WireTranscript::~WireTranscript() {
    line_.onWrite = {};
    line_.onSilence = {};
}

void WireTranscript::Parse(std::string_view script) {
    std::istringstream stream{std::string(script)};
    int number = 0;
    std::int64_t latestMs = 0;
    for (std::string raw; std::getline(stream, raw);) {
        ++number;
        const std::string_view text = Trim(raw);
        if (text.empty() || text.front() == '#') {
            continue;
        }
        lines_.push_back(ParseLine(number, text));
        const std::int64_t ms = lines_.back().ms.value_or(latestMs);
        if (ms < latestMs) {
            throw std::invalid_argument("line " + std::to_string(number) + ": earlier than the line before");
        }
        latestMs = ms;
    }
}

WireTranscript::ScriptLine WireTranscript::ParseLine(int number, std::string_view text) {
    const auto refuse = [&](const std::string& why) {
        throw std::invalid_argument("line " + std::to_string(number) + ": " + why + ": " + std::string(text));
    };
    const std::size_t timeEnd = std::min(text.find(' '), text.size());
    const std::string_view time = text.substr(0, timeEnd);
    const std::string_view rest = Trim(text.substr(timeEnd));

    ScriptLine line;
    line.number = number;
    if (time != "*") {
        std::int64_t ms = 0;
        const auto end = std::from_chars(time.data(), time.data() + time.size(), ms);
        if (end.ec != std::errc() || end.ptr != time.data() + time.size() || ms < 0) {
            refuse("no time");
        }
        line.ms = ms;
    }
    if (rest.empty() || std::string_view("=!><~L").find(rest.front()) == std::string_view::npos ||
        (rest.size() > 1 && rest[1] != ' ')) {
        refuse("no mark");
    }
    line.mark = rest.front();
    std::string_view content = Trim(rest.substr(1));
    if (line.mark == '~' && content.find_first_not_of("0123456789") != std::string_view::npos) {
        refuse("no time waited");
    }
    if (content.empty() && line.mark != '~') {
        refuse("no text");
    }
    if (line.mark == '=' && !content.starts_with("->")) {
        if (const std::size_t arrow = content.find("->"); arrow != std::string_view::npos) {
            line.result = Unescape(Trim(content.substr(arrow + 2)));
            content = Trim(content.substr(0, arrow));
        }
    }
    line.text = Unescape(content);
    return line;
}

std::string WireTranscript::Words(std::optional<std::int64_t> ms, char mark, std::string_view text) {
    std::string words = (ms ? std::to_string(*ms) : std::string("*")) + " " + mark;
    return text.empty() ? words : words + " " + Escape(text);
}

std::string WireTranscript::LogText(std::string_view origin, int level, std::string_view message) {
    constexpr std::array<std::string_view, 5> kLevels{"Info", "Warning", "Error", "Fatal", "Exception"};
    const bool named = level >= 0 && static_cast<std::size_t>(level) < kLevels.size();
    const std::string levelText(named ? kLevels[static_cast<std::size_t>(level)] : std::to_string(level));
    return std::string(origin) + " " + levelText + " " + std::string(message);
}

WireTranscript::Listener WireTranscript::LogListener() {
    return [this](std::string_view origin, int level, std::string_view message) {
        Happened('L', LogText(origin, level, message));
    };
}

void WireTranscript::Play() {
    const std::string difference = FirstDifference();
    EXPECT_TRUE(difference.empty()) << difference;
}

std::string WireTranscript::FirstDifference() {
    assert(!playing_ && next_ == 0 && "a script is played once");
    playing_ = true;
    startMs_ = clock_.Elapsed();
    std::int64_t lastMs = 0;
    for (const ScriptLine& line : lines_) {
        lastMs = std::max(lastMs, line.ms.value_or(0));
        if (line.IsCall() && line.ms) {
            pump_.PostAt(startMs_ + *line.ms, CallKind::WaitsLong, [this, &line] { MakeCall(line); });
        }
    }
    Settle();
    pump_.AdvanceTime(lastMs);
    const std::int64_t end = startMs_ + lastMs + kLongestWaitMs;
    while (!Done() && clock_.Elapsed() < end) {
        pump_.AdvanceTime(1);
    }
    if (!Done()) {
        Differs(&lines_[next_], "nothing came");
    } else if (difference_.empty()) {
        difference_ = Unread();
    }
    playing_ = false;
    return difference_;
}

/// Something came to pass: it is the next line, it is passed over, or it is the difference.
void WireTranscript::Happened(char mark, std::string text) {
    if (!playing_ || !difference_.empty()) {
        return;
    }
    const std::int64_t now = clock_.Elapsed() - startMs_;
    const ScriptLine* expected = next_ < lines_.size() ? &lines_[next_] : nullptr;
    const bool anySilence = mark == '~' && expected && expected->text.empty();
    const bool sameText = expected && expected->mark == mark && (expected->text == text || anySilence);
    if (sameText && (!expected->ms || *expected->ms == now)) {
        ++next_;
        Settle();
        return;
    }
    const bool tooLate = sameText && now > *expected->ms;
    // While other calls run the result may still come from one of them.
    const bool otherResult =
        expected && mark == '=' && expected->mark == '=' && !expected->IsCall() && runningCalls_ == 0;
    if (!IsPassedOver(mark, text) || tooLate || otherResult) {
        Differs(expected, "'" + Words(now, mark, text) + "' came");
    }
}

/// Whether this need not stand in the script.
bool WireTranscript::IsPassedOver(char mark, std::string_view text) const {
    const bool isResult = mark == '=' && text.starts_with("->");
    if (mark != 'L' && mark != '~' && !isResult) {
        return false;
    }
    return !countsAll_ || std::none_of(lines_.begin(), lines_.end(),
                                       [mark](const ScriptLine& line) { return line.mark == mark && !line.IsCall(); });
}

void WireTranscript::Differs(const ScriptLine* expected, const std::string& happened) {
    if (expected) {
        difference_ = "line " + std::to_string(expected->number) + ": expected '" +
                      Words(expected->ms, expected->mark, expected->text) + "', " + happened;
    } else {
        difference_ =
            "line " + std::to_string(lines_.empty() ? 0 : lines_.back().number) + " was the last, but then " + happened;
    }
}

/// Sends what the mount says next on its way, and makes a call whose time is any.
void WireTranscript::Settle() {
    for (; next_ < lines_.size() && lines_[next_].mark == '<'; ++next_) {
        const ScriptLine& line = lines_[next_];
        line_.Schedule(std::max(clock_.Elapsed(), startMs_ + line.ms.value_or(0)), line.text);
    }
    if (next_ < lines_.size() && lines_[next_].IsCall() && !lines_[next_].ms) {
        pump_.Post(CallKind::WaitsLong, [this, &line = lines_[next_]] { MakeCall(line); });
    }
}

void WireTranscript::MakeCall(const ScriptLine& line) {
    Happened('=', line.text);
    if (!difference_.empty()) {
        return;
    }
    ++runningCalls_;
    try {
        const std::string result = ResultOf(line.text);
        --runningCalls_;
        if (line.result && *line.result != result && difference_.empty()) {
            difference_ = "line " + std::to_string(line.number) + ": expected '" +
                          Words(line.ms, '=', line.text + " -> " + *line.result) + "', its result was '" +
                          Escape(result) + "'";
        } else if (!line.result) {
            Happened('=', result.empty() ? "->" : "-> " + result);
        }
    } catch (const DriverError& error) {
        --runningCalls_;
        Happened('!', ErrorText(error));
    }
}

std::string WireTranscript::ResultOf(const std::string& call) {
    if (const auto found = calls_.find(call); found != calls_.end()) {
        return found->second();
    }
    if (!dispatcher_) {
        throw std::invalid_argument("The test has no call '" + call + "'");
    }
    return dispatcher_(call);
}

/// The bytes that nobody read, as a difference; empty without any.
std::string WireTranscript::Unread() const {
    const std::string unread = line_.Unread();
    if (unread.empty()) {
        return {};
    }
    // The first of them stands in the line that is so many bytes from the end.
    int number = 0;
    std::size_t behind = 0;
    for (auto line = lines_.rbegin(); line != lines_.rend() && behind < unread.size(); ++line) {
        if (line->mark == '<') {
            number = line->number;
            behind += line->text.size();
        }
    }
    return "line " + std::to_string(number) + ": nobody read '" + Escape(unread) + "'";
}

}  // namespace kestrane
