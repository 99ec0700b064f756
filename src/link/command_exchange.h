#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "kernel/base/counters.h"
#include "kernel/base/errors.h"
#include "kernel/base/log.h"
#include "kernel/base/waits.h"
#include "link/mount_link.h"
#include "state/driver_state.h"
#include "state/essentials.h"
#include "state/mount_commands.h"

namespace kestrane {

/// What an exchange needs from its surroundings. All of it outlives the exchange.
struct ExchangeNeeds {
    Essentials driver;
    const std::unique_ptr<MountLink>& link;  ///< may be empty: every call then fails silently
    /// Runs the text after "RAW," and returns its reply.
    std::function<std::string(std::string_view)> executeDriverCommand;
    /// Called when the mount answered well.
    std::function<void()> noteQuerySuccess;
    /// Called with each text that goes out, framed as the mount gets it, before it does; each attempt counts.
    std::function<void(std::string_view)> noteSent = [](std::string_view) {};
    /// Called between two tries of one exchange, when no reply is awaited. May send what the mount does not answer.
    std::function<void()> betweenTries = [] {};
    /// The same before the next try, when the line has been cleared. May send anything, and may raise: then there is
    /// no further try, and what it raises goes to the caller.
    std::function<void()> beforeNextTry = [] {};
    /// Waits so many milliseconds after a command that the mount does not answer. May send such commands meanwhile.
    std::function<void(std::int32_t)> pause = [&waits = driver.waits](std::int32_t milliseconds) {
        waits.WaitForMilliseconds(milliseconds);
    };
};

/// Sends commands to the mount and checks their replies: framing, retries, the clear after a reply out of sequence, the
/// companion wrap, counters and the log of each exchange. One per `Telescope` object, since the number of retries
/// belongs to the object: a client's texts have the retries of its object, and all that the driver sends by itself goes
/// through the exchange of the internal instance. An exchange never pumps; it is entered a second time only between
/// two tries, when no reply is awaited. Nothing here raises but `ExchangeNeeds::beforeNextTry`.
///
/// Each method has a twin for the driver's own use, which differs in its log origin, and for `CommandBool` in what
/// counts as success.
class CommandExchange final : public MountCommands {
public:
    explicit CommandExchange(ExchangeNeeds needs) : needs_(std::move(needs)), driver_(needs_.driver) {}

    /// Retries after the first try, 0 to 5; a value outside becomes the nearer bound. 0 at creation.
    std::int16_t MaxSerialRetries() const { return maxSerialRetries_; }
    void MaxSerialRetries(std::int16_t retries);

    // A client's own texts: `raw` unchanged, else framed as ":", text, "#".
    void CommandBlind(std::string_view command, bool raw);
    void CommandBlindInternal(std::string_view command, bool raw);

    /// Frames and sends, and does nothing else: for guide pulses and focuser runs.
    void CommandBlindLight(std::string_view command);

    /// Ends an input that the mount has read in part, and drops what waits on the line; clears `g_bResync`.
    void CommandClear() override;
    void CommandClearInternal() override;

    /// True when the mount answered "1"; this method, but not its twin, also accepts "0" when the row of the text says
    /// so.
    bool CommandBool(std::string_view command, bool raw);
    bool CommandBoolInternal(std::string_view command, bool raw);

    /// Whether a text for `CommandString` goes to the driver command channel: a raw one that begins with "RAW,".
    static bool IsForDriver(std::string_view command, bool raw);
    /// The reply without its terminator; empty when none came.
    std::string CommandString(std::string_view command, bool raw);
    std::string CommandStringInternal(std::string_view command, bool raw);

private:
    // MountCommands: the rows of the catalogue
    void CommandBlind(const OutgoingCommand<ReplyForm::None>& command) override;
    void CommandBlindInternal(const OutgoingCommand<ReplyForm::None>& command) override;
    void CommandBlindLight(const OutgoingCommand<ReplyForm::None>& command) override;
    bool CommandBoolInternal(const OutgoingCommand<ReplyForm::Character>& command) override;
    CharacterReply CommandCharacterInternal(const OutgoingCommand<ReplyForm::Character>& command) override;
    std::string CommandString(const OutgoingCommand<ReplyForm::Text>& command) override;
    std::string CommandStringInternal(const OutgoingCommand<ReplyForm::Text>& command) override;
    std::string CommandStringOnce(const OutgoingCommand<ReplyForm::Text>& command) override;
    std::string DriverCommandInternal(std::string_view verb) override;

    /// How a method differs from its twin.
    struct Caller {
        std::string_view origin;     ///< of the log lines
        bool zeroMayBeGood = false;  ///< "0" is a good reply when the row of the text says so
    };
    /// One exchange through the companion.
    struct Wrapped {
        std::string_view command;  ///< as the caller gave it
        std::string text;          ///< as it is sent
        std::string_view origin;
    };

    void Clear(std::string_view origin);
    void Blind(const OutgoingCommand<ReplyForm::None>& command, std::string_view origin);
    CharacterReply Character(const OutgoingCommand<ReplyForm::Character>& command, Caller caller);
    bool Bool(const OutgoingCommand<ReplyForm::Character>& command, Caller caller);
    bool TryBool(const std::string& text, std::string& reply, Caller caller, ResumeNext& errors);
    std::string String(const OutgoingCommand<ReplyForm::Text>& command, std::string_view origin, std::int16_t retries);
    bool TryString(const std::string& text, std::string& reply, std::string_view origin, ResumeNext& errors);
    void PrepareStringRetry(std::string& reply, const std::string& fault, std::string_view origin, ResumeNext& errors);
    std::string DriverCommand(const std::string& text, std::string_view origin, ResumeNext& errors);
    std::string ThroughCompanion(const Wrapped& wrapped, ResumeNext& errors);
    void DropWhatNothingCompletes();
    std::string CompanionResult(std::string reply, const Wrapped& wrapped, ResumeNext& errors);
    std::int64_t CompanionLag(const std::string& result, std::int32_t received, const Wrapped& wrapped);

    void GetInStep();
    void DropInputIfOutOfStep(ResumeNext& errors);
    /// Reads off what waits before a command goes out: the late end of an earlier exchange, which would be taken for
    /// the reply to this one.
    void DropLateBytes(std::string_view origin, ResumeNext& errors);
    void EndLongReadLimit(ResumeNext& errors);
    void PauseAfterGoodReply(const std::string& text);
    void Info(std::string_view origin, std::string_view message);
    void Error(std::string_view origin, std::string_view message);
    /// Raises run-time error 91 when there is no link.
    MountLink& Link();

    ExchangeNeeds needs_;
    Essentials driver_;
    std::int16_t maxSerialRetries_ = 0;
};

}  // namespace kestrane
