#pragma once

#include <string>
#include <string_view>

namespace kestrane {

/// The driver command that gives the mount the PC's time, date and zone; to be sent raw.
inline constexpr std::string_view kInitTimeCommand = "RAW,InitTime";

/// The driver's own commands to the mount, as its queries and its poll need them. `raw` false frames the text as
/// ":", text, "#". None of these raises or pumps; a failed exchange shows as an empty text or false.
class MountCommands {
public:
    virtual ~MountCommands() = default;

    virtual void CommandBlindInternal(std::string_view command, bool raw) = 0;
    virtual void CommandClearInternal() = 0;
    virtual bool CommandBoolInternal(std::string_view command, bool raw) = 0;
    virtual std::string CommandStringInternal(std::string_view command, bool raw) = 0;
    /// The client's form of the same: it may raise, and it may pump.
    virtual std::string CommandString(std::string_view command, bool raw) = 0;
};

}  // namespace kestrane
