#include "link/transcript.h"

#include <algorithm>
#include <array>
#include <random>
#include <sstream>

#include "kernel/base/text.h"

namespace kestrane::link_test {
namespace {

std::string Unescape(std::string_view text) {
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text.substr(i).starts_with("\\x") && i + 3 < text.size()) {
            bytes += static_cast<char>(std::stoi(std::string(text.substr(i + 2, 2)), nullptr, 16));
            i += 3;
        } else {
            bytes += text[i];
        }
    }
    return bytes;
}

/// Takes the text up to the next blank off `text`.
std::string TakeWord(std::string_view& text) {
    const std::size_t end = std::min(text.find(' '), text.size());
    std::string word(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
    return word;
}

std::string Render(std::int32_t elapsed, char mark, std::string_view text) {
    return std::to_string(elapsed) + " " + mark + (text.empty() ? "" : " ") + std::string(text);
}

std::string LevelName(int level) {
    constexpr std::array<std::string_view, 5> kNames{"Info", "Warning", "Error", "Fatal", "Exception"};
    return std::string(kNames.at(static_cast<std::size_t>(level)));
}

}  // namespace

TemporaryFolders::TemporaryFolders() {
    std::random_device random;
    // In memory where the system has such a folder: the settings file is flushed at each write.
    const std::filesystem::path inMemory = "/dev/shm";
    std::error_code ignored;
    const bool hasMemory = std::filesystem::is_directory(inMemory, ignored);
    path_ =
        (hasMemory ? inMemory : std::filesystem::temp_directory_path()) / ("kestrane-link-" + std::to_string(random()));
    std::filesystem::create_directories(path_);
}

TemporaryFolders::~TemporaryFolders() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

/// A transcript in lines.
class LinkFixture::Script {
public:
    struct Line {
        std::int32_t elapsed;
        char mark;
        std::string text;
    };

    explicit Script(std::string_view script) {
        std::istringstream stream{std::string(script)};
        for (std::string raw; std::getline(stream, raw);) {
            AddLine(raw);
        }
    }

    const std::vector<Line>& Lines() const { return lines_; }
    bool Has(char mark) const {
        return std::any_of(lines_.begin(), lines_.end(), [mark](const Line& l) { return l.mark == mark; });
    }

private:
    void AddLine(std::string_view text) {
        text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
        if (text.empty() || text.starts_with("--")) {
            return;
        }
        const std::int32_t elapsed = std::stoi(TakeWord(text));
        text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
        const char mark = text.empty() ? '?' : text.front();
        text.remove_prefix(std::min<std::size_t>(2, text.size()));
        lines_.push_back({elapsed, mark, std::string(text)});
    }

    std::vector<Line> lines_;
};

LinkFixture::LinkFixture() {
    state.g_bDebugLog = true;
    state.g_nReceiveTimeoutMS = 500;
    persist_.emplace(PersistNeeds{state, log, clock, folders_, messageBoxes_, ledger});
    log.SetListener([this](std::string_view origin, int level, std::string_view message) {
        const std::string text = std::string(origin) + " " + LevelName(level) + " " + std::string(message);
        logLines_.push_back(text);
        Note('L', text);
        if (onLog) {
            onLog(text);
        }
    });
    line.onWrite = [this](std::string_view bytes) { Note('>', bytes); };
    line.onSilence = [this](std::int32_t waited) { Note('~', std::to_string(waited)); };
    exchange.emplace(ExchangeNeeds{state, link, log, counters, waits, clock, ledger,
                                   [this](std::string_view text) {
                                       driverCommands.emplace_back(text);
                                       return driverReply ? driverReply(text) : std::string("1");
                                   },
                                   [this] { ++querySuccesses; }});
    MakeLink();
    OpenLink();
}

LinkFixture::~LinkFixture() {
    link.reset();
}

void LinkFixture::MakeLink() {
    link.reset();
    link = std::make_unique<classSerial>(SerialNeeds{ports_, clock, log, counters, alarmFilter, ledger, *persist_});
}

void LinkFixture::SetAscomObject(std::string_view value) {
    persist_->Write(setting::chkUseASCOMSerialObject, value);
}

void LinkFixture::UseAscomObject() {
    SetAscomObject("1");
    MakeLink();
    OpenLink();
}

void LinkFixture::OpenLink() {
    link->Port(1);
    link->Speed(9600);
    link->ReceiveTimeoutMS(500);
    link->Connected(true);
    ASSERT_TRUE(link->Connected());
    logLines_.clear();
    happened_.clear();
}

void LinkFixture::TakeLinkAway() {
    link.reset();
    logLines_.clear();
}

void LinkFixture::TearDown() {
    EXPECT_EQ(pump.pumps, 0) << "The link pumped messages";
    if (!swallowsExpected) {
        for (const SwallowedError& error : ledger.Entries()) {
            ADD_FAILURE() << "Swallowed in " << error.procedure << ": " << error.number << " " << error.message;
        }
    }
}

void LinkFixture::Play(std::string_view text) {
    const Script script(text);
    for (const Script::Line& l : script.Lines()) {
        if (l.mark == '<') {
            line.Schedule(l.elapsed, Unescape(l.text));
        }
    }
    happened_.clear();
    std::vector<std::string> expected;
    for (const Script::Line& l : script.Lines()) {
        if (l.mark == '?') {
            EXPECT_LE(clock.Elapsed(), l.elapsed) << "Too late for the call: " << l.text;
            clock.AdvanceTo(l.elapsed);
            Call(l.text);
        } else if (l.mark != '<') {
            expected.push_back(Render(l.elapsed, l.mark, Unescape(l.text)));
        }
    }
    std::vector<std::string> seen;
    for (const std::string& event : happened_) {
        const char mark = event[event.find(' ') + 1];
        if ((mark != 'L' && mark != '~') || script.Has(mark)) {
            seen.push_back(event);
        }
    }
    EXPECT_EQ(seen, expected);
    EXPECT_EQ(line.Unread(), "") << "Bytes that nobody read";
}

void LinkFixture::Note(char mark, std::string_view text) {
    happened_.push_back(Render(clock.Elapsed(), mark, text));
}

void LinkFixture::Call(std::string_view text) {
    try {
        Note('=', Result(text));
    } catch (const DriverError& error) {
        Note('!', std::to_string(error.Number()) + " " + error.Message());
    }
}

std::string LinkFixture::Result(std::string_view call) {
    std::string_view rest = call;
    const std::string method = TakeWord(rest);
    if (std::optional<std::string> result = LinkResult(method, rest)) {
        return *result;
    }
    const bool raw = rest == "raw" || rest.starts_with("raw ");
    if (raw) {
        TakeWord(rest);
    }
    if (std::optional<std::string> result = ExchangeResult(method, Unescape(rest), raw)) {
        return *result;
    }
    ADD_FAILURE() << "No such method: " << method;
    return {};
}

std::optional<std::string> LinkFixture::ExchangeResult(std::string_view method, std::string_view command, bool raw) {
    if (method == "CommandString") {
        return exchange->CommandString(command, raw);
    }
    if (method == "CommandStringInternal") {
        return exchange->CommandStringInternal(command, raw);
    }
    if (method == "CommandBool") {
        return std::string(TrueFalse(exchange->CommandBool(command, raw)));
    }
    if (method == "CommandBoolInternal") {
        return std::string(TrueFalse(exchange->CommandBoolInternal(command, raw)));
    }
    if (method == "CommandBlind") {
        exchange->CommandBlind(command, raw);
    } else if (method == "CommandBlindInternal") {
        exchange->CommandBlindInternal(command, raw);
    } else if (method == "CommandBlindLight") {
        exchange->CommandBlindLight(command);
    } else if (method == "CommandClear") {
        exchange->CommandClear();
    } else if (method == "CommandClearInternal") {
        exchange->CommandClearInternal();
    } else {
        return std::nullopt;
    }
    return std::string();
}

std::optional<std::string> LinkFixture::LinkResult(std::string_view member, std::string_view argument) {
    if (member == "Receive") {
        return link->Receive();
    }
    if (member == "ReceiveCounted") {
        return link->ReceiveCounted(std::stoi(std::string(argument)));
    }
    if (member == "ReceiveTerminated") {
        return link->ReceiveTerminated(argument);
    }
    if (member == "ClearBuffers") {
        link->ClearBuffers();
    } else if (member == "Transmit") {
        link->Transmit(argument);
    } else if (member == "Connected") {
        link->Connected(argument == "True");
    } else if (member == "ReceiveTimeoutMS") {
        link->ReceiveTimeoutMS(std::stoi(std::string(argument)));
    } else if (member == "ReceiveTimeout") {
        link->ReceiveTimeout(std::stoi(std::string(argument)));
    } else {
        return std::nullopt;
    }
    return std::string();
}

}  // namespace kestrane::link_test
