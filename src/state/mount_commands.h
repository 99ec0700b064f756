#pragma once

#include <string>
#include <string_view>

#include "catalogue/wire_commands.h"

namespace kestrane {

/// What became of a command that is answered by one character.
enum class CharacterReply {
    Good,
    Refused,  ///< another character than the good one, in one attempt at least
    None,     ///< no answer in any attempt
};

/// The exchange with the mount, as the driver's own procedures use it: always through a `Sequence`, which lets stops
/// in. None of these raises or pumps, except where it says so; a failed exchange gives an empty text or false. The
/// twins without "Internal" log as a client's command does.
class MountCommands {
public:
    virtual ~MountCommands() = default;

private:
    friend class Sequence;

    virtual void CommandBlind(const OutgoingCommand<ReplyForm::None>& command) = 0;
    virtual void CommandBlindInternal(const OutgoingCommand<ReplyForm::None>& command) = 0;
    /// Frames and sends, and does nothing else: for guide pulses and focuser runs.
    virtual void CommandBlindLight(const OutgoingCommand<ReplyForm::None>& command) = 0;
    virtual void CommandClear() = 0;
    virtual void CommandClearInternal() = 0;
    virtual bool CommandBoolInternal(const OutgoingCommand<ReplyForm::Character>& command) = 0;
    /// The same exchange as above, for callers to whom a refusal and silence are two things.
    virtual CharacterReply CommandCharacterInternal(const OutgoingCommand<ReplyForm::Character>& command) = 0;
    virtual std::string CommandString(const OutgoingCommand<ReplyForm::Text>& command) = 0;
    virtual std::string CommandStringInternal(const OutgoingCommand<ReplyForm::Text>& command) = 0;
    /// `CommandString` with a single try.
    virtual std::string CommandStringOnce(const OutgoingCommand<ReplyForm::Text>& command) = 0;
    /// Runs a verb of the driver itself; the verb may raise and pump.
    virtual std::string DriverCommandInternal(std::string_view verb) = 0;
};

}  // namespace kestrane
