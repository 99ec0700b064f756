#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

/// The command line of `kestrane-client`.
namespace kestrane::client {

/// The user asked for something that does not exist; the message says what, and what to write instead.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

enum class Command {
    Discover,
    Status,
    Connect,
    Disconnect,
    Slew,
    Sync,
    Stars,
    Abort,
    Track,
    Guide,
    Park,
    Unpark,
    SetPark,
    Focus,
    Init,
    Get,
    Put,
    Text,
    Log
};

struct CommandRow {
    Command command;
    std::string_view name;
    std::string_view operands;  ///< as shown in the usage
    std::size_t fewest;         ///< number of operands
    std::size_t most;
    std::string_view what;
    bool mayWait = false;  ///< whether --wait goes with it
};

/// All commands, in the order of the usage.
std::span<const CommandRow> Commands();

struct Arguments {
    const CommandRow* row = nullptr;  ///< null only when `help` is asked for
    std::vector<std::string> operands;

    std::string host = "127.0.0.1";
    bool hostGiven = false;
    std::uint16_t port = 11111;
    std::uint16_t discoveryPort = 32227;
    std::uint32_t device = 0;
    std::uint32_t clientId = 7823;
    std::string deviceType = "telescope";
    std::optional<double> timeout;    ///< seconds, above 0
    std::optional<double> latitude;   ///< degrees, north positive: in place of the device's
    std::optional<double> longitude;  ///< degrees, east positive: the sidereal time is computed from it
    bool json = false;
    bool wait = false;
    bool brightStar = false;
    bool help = false;
};

/// `words` without the program's name. Options may be anywhere, as "--name value" or "--name=value"; a word that begins
/// with "-" and a digit is a number; "--" ends the options. Raises `UsageError`.
Arguments ParseArguments(std::span<const std::string> words);

/// The whole help text.
std::string Usage();

}  // namespace kestrane::client
