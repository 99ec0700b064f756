#include "link/command_exchange.h"

#include <algorithm>
#include <limits>

#include "kernel/base/conversions.h"
#include "kernel/base/errors.h"
#include "kernel/base/text.h"
#include "kernel/base/utf8.h"
#include "link/companion_wrap.h"

namespace kestrane {
namespace {

constexpr std::string_view kAscom = "ASCOM";
constexpr std::string_view kDriver = "Driver";
constexpr std::string_view kTelescope = "Telescope";

constexpr std::int16_t kMostRetries = 5;
constexpr std::int32_t kPauseAfterBlindMs = 10;
constexpr std::int32_t kPauseBeforeDrainMs = 20;
constexpr std::int32_t kPauseBeforeRetryMs = 40;
/// The read limit that a check of the port sets and may leave set.
constexpr std::int32_t kPortCheckReadLimitMs = 5000;
/// Further reads after a stale reply; one more stale reply counts as a wrong one.
constexpr int kMostStaleReads = 2;

/// A text of a client. The client chooses the method, and so the form of the reply.
template <ReplyForm form>
OutgoingCommand<form> OwnText(std::string_view command, bool raw) {
    return {std::string(command), raw ? Framing::Raw : Framing::Framed};
}

/// `head`, text, "', Response='", reply.
std::string Exchanged(std::string_view head, std::string_view text, std::string_view reply) {
    return std::string(head) + std::string(text) + "', Response='" + std::string(reply);
}

std::string Received(std::string_view method, std::string_view text, std::string_view reply) {
    return std::string(method) + " Reply Received (TX='" + std::string(text) + "'), RX='" + std::string(reply) + "'";
}

}  // namespace

void CommandExchange::MaxSerialRetries(std::int16_t retries) {
    maxSerialRetries_ = std::clamp(retries, std::int16_t{0}, kMostRetries);
}

void CommandExchange::CommandBlind(std::string_view command, bool raw) {
    CommandBlind(OwnText<ReplyForm::None>(command, raw));
}
void CommandExchange::CommandBlindInternal(std::string_view command, bool raw) {
    CommandBlindInternal(OwnText<ReplyForm::None>(command, raw));
}
void CommandExchange::CommandBlind(const OutgoingCommand<ReplyForm::None>& command) {
    Blind(command, kAscom);
}
void CommandExchange::CommandBlindInternal(const OutgoingCommand<ReplyForm::None>& command) {
    Blind(command, kDriver);
}

void CommandExchange::CommandClear() {
    Clear(kAscom);
}
void CommandExchange::CommandClearInternal() {
    Clear(kDriver);
}

bool CommandExchange::CommandBool(std::string_view command, bool raw) {
    return Bool(OwnText<ReplyForm::Character>(command, raw), {.origin = kTelescope, .zeroMayBeGood = true});
}
bool CommandExchange::CommandBoolInternal(std::string_view command, bool raw) {
    return CommandBoolInternal(OwnText<ReplyForm::Character>(command, raw));
}
bool CommandExchange::CommandBoolInternal(const OutgoingCommand<ReplyForm::Character>& command) {
    return Bool(command, {.origin = kDriver});
}
CharacterReply CommandExchange::CommandCharacterInternal(const OutgoingCommand<ReplyForm::Character>& command) {
    return Character(command, {.origin = kDriver});
}

std::string CommandExchange::CommandString(std::string_view command, bool raw) {
    return CommandString(OwnText<ReplyForm::Text>(command, raw));
}
std::string CommandExchange::CommandStringInternal(std::string_view command, bool raw) {
    return CommandStringInternal(OwnText<ReplyForm::Text>(command, raw));
}
std::string CommandExchange::CommandString(const OutgoingCommand<ReplyForm::Text>& command) {
    return String(command, kTelescope, maxSerialRetries_);
}
std::string CommandExchange::CommandStringOnce(const OutgoingCommand<ReplyForm::Text>& command) {
    return String(command, kTelescope, 0);
}
std::string CommandExchange::CommandStringInternal(const OutgoingCommand<ReplyForm::Text>& command) {
    return String(command, kDriver, maxSerialRetries_);
}
bool CommandExchange::IsForDriver(std::string_view command, bool raw) {
    return raw && command.starts_with(kDriverCommandHead);
}
std::string CommandExchange::DriverCommandInternal(std::string_view verb) {
    return CommandStringInternal(std::string(kDriverCommandHead) + std::string(verb), true);
}

void CommandExchange::CommandBlindLight(std::string_view command) {
    CommandBlindLight(OwnText<ReplyForm::None>(command, false));
}
void CommandExchange::CommandBlindLight(const OutgoingCommand<ReplyForm::None>& command) {
    ResumeNext errors{driver_.ledger, "CommandBlindLight"};
    const std::string text = command.OnTheWire();
    Info(kAscom, "TX: " + text);
    needs_.noteSent(text);
    errors.Step([&] { Link().Transmit(text); });
}

void CommandExchange::Clear(std::string_view origin) {
    ResumeNext errors{driver_.ledger, "CommandClear"};
    Info(origin, "CommandClear()");
    errors.Step([&] { Link().Transmit(wire::EndInput.With("").OnTheWire()); });
    driver_.waits.WaitForMilliseconds(kPauseBeforeDrainMs);
    errors.Step([&] { Link().ClearBuffers(); });
    driver_.state.g_bResync = false;
}

void CommandExchange::Blind(const OutgoingCommand<ReplyForm::None>& command, std::string_view origin) {
    GetInStep();
    if (command.text.empty()) {
        Info(origin, "CommandBlind (no chars to send)");
        return;
    }
    const std::string text = command.OnTheWire();
    ResumeNext errors{driver_.ledger, "CommandBlind"};
    Info(origin, "CommandBlind TX='" + text + "'");
    needs_.noteSent(text);
    DropInputIfOutOfStep(errors);
    DropLateBytes(origin, errors);
    errors.Step([&] { Link().Transmit(text); });
    if (wire::CareOf(text).zeroIsGood) {
        driver_.waits.WaitForMilliseconds(kPauseAfterBlindMs);  // what a tick sends would drop the answer to the slew
    } else {
        needs_.pause(kPauseAfterBlindMs);
    }
}

bool CommandExchange::Bool(const OutgoingCommand<ReplyForm::Character>& command, Caller caller) {
    return Character(command, caller) == CharacterReply::Good;
}

CharacterReply CommandExchange::Character(const OutgoingCommand<ReplyForm::Character>& command, Caller caller) {
    GetInStep();
    if (command.text.empty()) {
        Info(caller.origin, "CommandBool TX (no Chars to send)");
        return CharacterReply::Good;
    }
    const std::string text = command.OnTheWire();
    ResumeNext errors{driver_.ledger, "CommandBool"};
    std::string reply;
    bool answered = false;
    for (int retriesLeft = maxSerialRetries_; retriesLeft >= 0; --retriesLeft) {
        if (TryBool(text, reply, caller, errors)) {
            return CharacterReply::Good;
        }
        answered = answered || !reply.empty();
        driver_.counters.CountRetransmit();
        if (retriesLeft > 0) {
            Error(caller.origin,
                  Exchanged("CommandBool: NO Response or bad response to '", text, reply) + "' -> Retrying!");
            CommandClearInternal();
            needs_.beforeNextTry();
        } else {
            Error(caller.origin,
                  Exchanged("CommandBool: NO Response or bad response: '", text, reply) + "' -> Giving up!");
        }
    }
    driver_.counters.CountReceiveCountedError();
    CommandClearInternal();
    return answered ? CharacterReply::Refused : CharacterReply::None;
}

bool CommandExchange::TryBool(const std::string& text, std::string& reply, Caller caller, ResumeNext& errors) {
    Info(caller.origin, "CommandBool TX='" + text + "'");
    needs_.noteSent(text);
    DropInputIfOutOfStep(errors);
    DropLateBytes(caller.origin, errors);
    errors.Step([&] { Link().Transmit(text); });
    const bool startsSlew = wire::CareOf(text).zeroIsGood;  // an alarm letter must not hide whether it begins
    errors.Assign(reply, [&] { return startsSlew ? Link().ReceiveCharacter().reply : Link().ReceiveCounted(1); });
    const bool isGoodZero = reply == "0" && caller.zeroMayBeGood && startsSlew;
    if (reply != "1" && !isGoodZero) {
        return false;
    }
    Info(caller.origin, Received("CommandBool", text, reply));
    PauseAfterGoodReply(text);
    errors.Step(needs_.noteQuerySuccess);
    return true;
}

std::string CommandExchange::String(const OutgoingCommand<ReplyForm::Text>& command, std::string_view origin,
                                    std::int16_t retries) {
    GetInStep();
    if (command.Raw() && command.text.empty()) {
        Info(origin, "CommandString TX (no Chars to send)");
        return {};
    }
    const std::string text = command.OnTheWire();
    ResumeNext errors{driver_.ledger, "CommandString"};
    if (IsForDriver(command.text, command.Raw())) {
        return DriverCommand(text, origin, errors);
    }
    // The reply is kept from one attempt to the next: on a line where a silent read fails, it still holds what the
    // recovery of the attempt before has read, and such a late reply is accepted.
    std::string reply;
    const bool toCompanion = driver_.state.g_bQuayLink;
    for (int retriesLeft = retries; retriesLeft >= 0; --retriesLeft) {
        Info(origin, "CommandString TX='" + text + "'");
        needs_.noteSent(toCompanion ? wire::InFrame(command.text) : text);  // the companion frames also what is raw
        DropInputIfOutOfStep(errors);
        if (toCompanion) {
            const auto wrap = command.Raw() ? WrapRawForCompanion : WrapForCompanion;
            return ThroughCompanion({command.text, wrap(command.text, driver_.state.g_nQuaySeq), origin}, errors);
        }
        EndLongReadLimit(errors);
        DropLateBytes(origin, errors);
        if (TryString(text, reply, origin, errors)) {
            DropLastCharacter(reply);
            return reply;
        }
        driver_.counters.CountRetransmit();
        const std::string fault = Exchanged("CommandString: NO Response or bad response: '", text, reply);
        if (retriesLeft > 0) {
            PrepareStringRetry(reply, fault, origin, errors);
        } else {
            Error(origin, fault + "' -> Giving up!");
        }
    }
    driver_.counters.CountReceiveTerminatedError();
    CommandClearInternal();
    return {};
}

bool CommandExchange::TryString(const std::string& text, std::string& reply, std::string_view origin,
                                ResumeNext& errors) {
    errors.Step([&] { Link().Transmit(text); });
    errors.Assign(reply, [&] { return Link().ReceiveTerminated(wire::kReplyEnd); });
    if (reply.empty()) {
        return false;
    }
    Info(origin, Received("CommandString", text, reply));
    PauseAfterGoodReply(text);
    return true;
}

void CommandExchange::PrepareStringRetry(std::string& reply, const std::string& fault, std::string_view origin,
                                         ResumeNext& errors) {
    std::int32_t total = 0;
    std::int32_t multiplier = 0;
    std::int32_t interval = 0;
    needs_.betweenTries();
    errors.Step([&] { Link().GetReadTimeouts(total, multiplier, interval); });
    Error(origin, fault + "' -> Retrying!");
    driver_.waits.WaitForMilliseconds(kPauseBeforeRetryMs);
    CommandClearInternal();
    errors.Assign(reply, [&] { return Link().Receive(); });
    needs_.beforeNextTry();
}

std::string CommandExchange::DriverCommand(const std::string& text, std::string_view origin, ResumeNext& errors) {
    Info(origin, "CommandString Extended Command TX='" + text + "'");
    std::string result;
    errors.Assign(
        result, [&] { return needs_.executeDriverCommand(std::string_view(text).substr(kDriverCommandHead.size())); });
    Info(origin, "CommandString Extended Command RX='" + result + "'");
    return result;
}

std::string CommandExchange::ThroughCompanion(const Wrapped& wrapped, ResumeNext& errors) {
    errors.Step([&] { Link().Transmit(wrapped.text); });
    std::string reply;
    errors.Assign(reply, [&] { return Link().ReceiveTerminated(wire::kReplyEnd); });
    std::string result = CompanionResult(std::move(reply), wrapped, errors);
    DropLastCharacter(result);
    if (result.empty()) {
        errors.Step([&] { DropWhatNothingCompletes(); });
    }
    if (driver_.state.g_nQuaySeq < std::numeric_limits<std::int32_t>::max()) {
        ++driver_.state.g_nQuaySeq;
    }
    return result;
}

/// What is left over IP without its end would stand before the next reply.
void CommandExchange::DropWhatNothingCompletes() {
    if (Link().IsOverIp()) {
        Link().TakeLateBytes();
    }
}

std::string CommandExchange::CompanionResult(std::string reply, const Wrapped& wrapped, ResumeNext& errors) {
    for (int staleReads = 0;; ++staleReads) {
        const CompanionReply parts = SplitCompanionReply(reply);
        if (!parts.fromCompanion) {
            Error(kTelescope,
                  Exchanged("CommandString: NO Response or bad QUAY response: '", wrapped.text, wrapped.command) +
                      "' -> Giving up!");
            return parts.result;
        }
        std::int32_t received = -1;
        if (parts.hasNumber) {
            errors.Assign(received, [&] { return RoundHalfEven(Val_Global(parts.number, driver_.log)); });
        }
        if (received == driver_.state.g_nQuaySeq) {
            Info(wrapped.origin, Exchanged("CommandString: QUAY response: '", wrapped.text, parts.result) + "'");
            return parts.result;
        }
        const std::int64_t lag = CompanionLag(parts.result, received, wrapped);
        if ((lag != 1 && lag != 2) || staleReads == kMostStaleReads) {
            driver_.log.LogMessage(kTelescope, LogLevel::Warning,
                                   "CommandString: Sequence number is behind by " + std::to_string(lag));
            errors.Step([&] { Link().ClearBuffers(); });
            return std::string(wire::kReplyEnd);
        }
        reply.clear();  // a silent read must not leave the stale reply in place
        errors.Assign(reply, [&] { return Link().ReceiveTerminated(wire::kReplyEnd); });
    }
}

std::int64_t CommandExchange::CompanionLag(const std::string& result, std::int32_t received, const Wrapped& wrapped) {
    const std::int32_t expected = driver_.state.g_nQuaySeq;
    Error(wrapped.origin, std::to_string(received));
    Error(wrapped.origin, Exchanged("CommandString: QUAY response: '", wrapped.text, result) +
                              "', SeqNum Mismatch=" + std::to_string(expected) + " " + std::to_string(received));
    driver_.counters.CountReceiveTerminatedError();
    return std::int64_t{expected} - received;
}

void CommandExchange::GetInStep() {
    if (driver_.state.g_bResync) {
        CommandClearInternal();
    }
}

void CommandExchange::DropInputIfOutOfStep(ResumeNext& errors) {
    if (driver_.state.g_bResync) {
        errors.Step([&] { Link().ClearBuffers(); });
    }
}

void CommandExchange::DropLateBytes(std::string_view origin, ResumeNext& errors) {
    std::string late;
    if (needs_.link) {
        errors.Step([&] { late = needs_.link->TakeLateBytes(); });
    }
    if (!late.empty()) {
        driver_.counters.CountRetransmit();
        driver_.log.LogMessage(origin, LogLevel::Warning,
                               "Dropped a late reply before the next command: '" + late + "'");
    }
}

void CommandExchange::EndLongReadLimit(ResumeNext& errors) {
    errors.Step([&] {
        const bool wasOpened = driver_.state.g_nReceiveTimeoutMS > 0;  // else there is no limit to go back to
        if (wasOpened && Link().ReceiveTimeoutMS() == kPortCheckReadLimitMs) {
            Link().ReceiveTimeoutMS(driver_.state.g_nReceiveTimeoutMS);
        }
    });
}

void CommandExchange::PauseAfterGoodReply(const std::string& text) {
    driver_.waits.WaitForMilliseconds(wire::CareOf(text).pauseMs);
}

void CommandExchange::Info(std::string_view origin, std::string_view message) {
    driver_.log.LogMessage(origin, LogLevel::Info, message);
}

void CommandExchange::Error(std::string_view origin, std::string_view message) {
    driver_.log.LogMessage(origin, LogLevel::Error, message);
}

MountLink& CommandExchange::Link() {
    if (!needs_.link) {
        throw RunTimeError(RunTimeError::kObjectNotSet, "Object variable not set");
    }
    return *needs_.link;
}

}  // namespace kestrane
