#include "link/link_fixture.h"

#include <algorithm>
#include <array>

#include "kernel/base/text.h"
#include "support/wire_transcript.h"

namespace kestrane {
namespace {

/// What lead to the line: the port of most tests, and another.
constexpr std::array<std::int32_t, 2> kPorts{1, 12};

/// Takes the text up to the next blank off `text`.
std::string TakeWord(std::string_view& text) {
    const std::size_t end = std::min(text.find(' '), text.size());
    std::string word(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
    return word;
}

}  // namespace

LinkFixture::LinkFixture() {
    state.g_bDebugLog = true;
    state.g_nReceiveTimeoutMS = 500;
    for (const std::int32_t port : kPorts) {
        machine.serialPorts.Connect(port, line);
    }
    log.SetListener(
        [this](std::string_view origin, int level, std::string_view message) { KeepLogLine(origin, level, message); });
    exchange.emplace(ExchangeNeeds{essentials, link,
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
    for (const std::int32_t port : kPorts) {
        machine.serialPorts.Disconnect(port);
    }
}

void LinkFixture::KeepLogLine(std::string_view origin, int level, std::string_view message) {
    logLines_.push_back(WireTranscript::LogText(origin, level, message));
    if (transcriptLog_) {
        transcriptLog_(origin, level, message);
    }
    if (onLog) {
        onLog(logLines_.back());
    }
}

void LinkFixture::MakeLink() {
    link.reset();
    link = std::make_unique<classSerial>(
        SerialNeeds{machine.serialPorts, clock, log, counters, alarmFilter, ledger, persist});
}

void LinkFixture::SetAscomObject(std::string_view value) {
    persist.Write(setting::chkUseASCOMSerialObject, value);
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
}

void LinkFixture::TakeLinkAway() {
    link.reset();
    logLines_.clear();
}

void LinkFixture::FallOutOfStepAt(const std::string& logged) {
    onLog = [this, logged](std::string_view now) { state.g_bResync = state.g_bResync || now == logged; };
}

void LinkFixture::ExpectSwallowedForWantOfALink() const {
    for (const SwallowedError& error : ledger.Entries()) {
        EXPECT_EQ(error.number, RunTimeError::kObjectNotSet);
    }
}

void LinkFixture::TearDown() {
    EXPECT_EQ(machine.pump.Pumps(), 0) << "The link pumped messages";
    if (!swallowsExpected) {
        for (const SwallowedError& error : ledger.Entries()) {
            ADD_FAILURE() << "Swallowed in " << error.procedure << ": " << error.number << " " << error.message;
        }
    }
}

void LinkFixture::Play(std::string_view script) {
    WireTranscript transcript(clock, machine.pump, script, line);
    transcript.CountAllThatIsNamed();
    transcript.Dispatcher([this](std::string_view call) { return Result(call); });
    transcriptLog_ = transcript.LogListener();
    transcript.Play();
    transcriptLog_ = {};
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
    if (std::optional<std::string> result = ExchangeResult(method, rest, raw)) {
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

}  // namespace kestrane
