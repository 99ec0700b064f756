#include "client/arguments.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <functional>
#include <limits>

#include "client/angles.h"

namespace kestrane::client {
namespace {

constexpr std::size_t kAnyNumber = std::numeric_limits<std::size_t>::max();

constexpr std::array kCommands{
    CommandRow{Command::Discover, "discover", "", 0, 0, "list the Alpaca devices that answer on the network"},
    CommandRow{Command::Status, "status", "", 0, 0, "show what the device reports of itself"},
    CommandRow{Command::Connect, "connect", "", 0, 0, "connect, and stay connected when this program ends"},
    CommandRow{Command::Disconnect, "disconnect", "", 0, 0, "let go again"},
    CommandRow{Command::Slew, "slew", "RA DEC | STAR", 0, 2, "slew there; --wait shows the way and ends with the slew",
               true},
    CommandRow{Command::Sync, "sync", "RA DEC | STAR", 1, 2, "tell the device that it points there", true},
    CommandRow{Command::Stars, "stars", "", 0, 0, "list the bright stars that are up now at the device's site"},
    CommandRow{Command::Abort, "abort", "", 0, 0, "stop a slew at once"},
    CommandRow{Command::Track, "track", "on | off | RATE", 1, 1,
               "track, or not; RATE is sidereal, lunar, solar or king, and tracks", true},
    CommandRow{Command::Guide, "guide", "DIRECTION MS", 2, 2,
               "one guide pulse, north, south, east or west; --wait ends with it", true},
    CommandRow{Command::Park, "park", "", 0, 0, "park, and wait for it", true},
    CommandRow{Command::Unpark, "unpark", "", 0, 0, "unpark; --wait ends when the device is unparked", true},
    CommandRow{Command::SetPark, "setpark", "", 0, 0, "keep where the device points as its place to park", true},
    CommandRow{Command::Focus, "focus", "STEPS", 1, 1,
               "move the focuser, out by positive steps, in by negative ones; --wait ends with the move", true},
    CommandRow{Command::Init, "init", "[STRING]", 0, 1,
               "initialize the mount by an init string, or by the settings of a driver of this project", true},
    CommandRow{Command::Get, "get", "MEMBER [KEY=VALUE...]", 1, kAnyNumber, "read any member"},
    CommandRow{Command::Put, "put", "MEMBER [KEY=VALUE...]", 1, kAnyNumber, "write or call any member"},
    CommandRow{Command::Text, "command", "TEXT", 1, 1,
               "send a text to the device as it is and show the reply; RAW,... is for the driver"},
    CommandRow{Command::Log, "log", "on | off | show", 1, 1, "turn the driver's log on or off, or show its end"},
};

/// Stores the value of an option in the arguments; raises `UsageError` when the text is no such value.
using TakeValue = void (*)(Arguments& arguments, std::string_view option, const std::string& value);

struct OptionRow {
    std::string_view name;
    std::string_view value;  ///< empty: the option has no value
    TakeValue take;
    std::string_view what;
};

[[noreturn]] void Refuse(std::string_view option, const std::string& value, std::string_view wanted) {
    throw UsageError(std::string(option) + " " + value + ": " + std::string(wanted) + " is wanted here");
}

template <typename Integer>
Integer WholeNumber(std::string_view option, const std::string& value, std::string_view wanted) {
    Integer number = 0;
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), number);
    if (error != std::errc{} || end != value.data() + value.size()) {
        Refuse(option, value, wanted);
    }
    return number;
}

std::uint16_t PortNumber(std::string_view option, const std::string& value) {
    const auto port = WholeNumber<std::uint16_t>(option, value, "a port number from 1 to 65535");
    if (port == 0) {
        Refuse(option, value, "a port number from 1 to 65535");
    }
    return port;
}

double Degrees(std::string_view option, const std::string& value, double limit, std::string_view wanted) {
    const auto degrees = ParseNumber(value);
    if (!degrees || *degrees < -limit || *degrees > limit) {
        Refuse(option, value, wanted);
    }
    return *degrees;
}

void TakeHost(Arguments& arguments, std::string_view option, const std::string& value) {
    if (value.empty()) {
        Refuse(option, value, "a host name or address");
    }
    arguments.host = value;
    arguments.hostGiven = true;
}

void TakeType(Arguments& arguments, std::string_view option, const std::string& value) {
    if (value != "telescope" && value != "focuser") {
        Refuse(option, value, "telescope or focuser");
    }
    arguments.deviceType = value;
}

void TakeTimeout(Arguments& arguments, std::string_view option, const std::string& value) {
    const auto seconds = ParseNumber(value);
    if (!seconds || *seconds <= 0.0 || *seconds > 86400.0) {
        Refuse(option, value, "a number of seconds above 0");
    }
    arguments.timeout = *seconds;
}

constexpr std::array kOptions{
    OptionRow{"--host", "NAME", TakeHost, "where the device is served (127.0.0.1)"},
    OptionRow{"--port", "N", [](Arguments& a, std::string_view o, const std::string& v) { a.port = PortNumber(o, v); },
              "its HTTP port (11111)"},
    OptionRow{"--type", "KIND", TakeType, "telescope or focuser (telescope)"},
    OptionRow{"--device", "N",
              [](Arguments& a, std::string_view o, const std::string& v) {
                  a.device = WholeNumber<std::uint32_t>(o, v, "a device number from 0 up");
              },
              "number of the device at that port (0)"},
    OptionRow{"--client-id", "N",
              [](Arguments& a, std::string_view o, const std::string& v) {
                  a.clientId = WholeNumber<std::uint32_t>(o, v, "a number from 0 to 4294967295");
              },
              "the ClientID to be known by (7823)"},
    OptionRow{"--discovery-port", "N",
              [](Arguments& a, std::string_view o, const std::string& v) { a.discoveryPort = PortNumber(o, v); },
              "UDP port that discover asks on (32227)"},
    OptionRow{"--timeout", "S", TakeTimeout,
              "seconds that an answer may take (10; 120 for what moves or connects, 600 for park)"},
    OptionRow{"--latitude", "DEG",
              [](Arguments& a, std::string_view o, const std::string& v) {
                  a.latitude = Degrees(o, v, 90.0, "a latitude from -90 to 90 degrees, north positive");
              },
              "the site's latitude, in place of what the device reports"},
    OptionRow{"--longitude", "DEG",
              [](Arguments& a, std::string_view o, const std::string& v) {
                  a.longitude = Degrees(o, v, 360.0, "a longitude in degrees, east positive");
              },
              "its longitude, to reckon the sidereal time from"},
    OptionRow{"--wait", "", [](Arguments& a, std::string_view, const std::string&) { a.wait = true; },
              "show the progress and end with the motion; Ctrl-C stops it"},
    OptionRow{"--bright-star", "", [](Arguments& a, std::string_view, const std::string&) { a.brightStar = true; },
              "slew: to the brightest star well above the horizon"},
    OptionRow{"--json", "", [](Arguments& a, std::string_view, const std::string&) { a.json = true; },
              "answer in JSON, one object a line"},
    OptionRow{"--help", "", [](Arguments& a, std::string_view, const std::string&) { a.help = true; }, "this text"},
};

bool IsNumberLike(const std::string& word) {
    return word.size() > 1 && ((word[1] >= '0' && word[1] <= '9') || word[1] == '.');
}

bool IsOption(const std::string& word) {
    return word.size() > 1 && word[0] == '-' && !IsNumberLike(word);
}

/// Takes the option at `at`, with its value; returns the index of the last word taken.
std::size_t TakeOption(std::span<const std::string> words, std::size_t at, Arguments& arguments) {
    const std::string& word = words[at];
    const std::size_t equals = word.find('=');
    const std::string name = word == "-h" ? "--help" : word.substr(0, equals);
    const auto row = std::find_if(kOptions.begin(), kOptions.end(), [&](const auto& r) { return r.name == name; });
    if (row == kOptions.end()) {
        throw UsageError("there is no option " + name + "; --help lists them");
    }
    if (row->value.empty()) {
        if (equals != std::string::npos) {
            throw UsageError(name + " takes no value");
        }
        row->take(arguments, row->name, "");
        return at;
    }
    if (equals != std::string::npos) {
        row->take(arguments, row->name, word.substr(equals + 1));
        return at;
    }
    if (at + 1 >= words.size()) {
        throw UsageError(name + " wants a value: " + name + " " + std::string(row->value));
    }
    row->take(arguments, row->name, words[at + 1]);
    return at + 1;
}

const CommandRow& FindCommand(const std::string& name) {
    const auto row = std::find_if(kCommands.begin(), kCommands.end(), [&](const auto& r) { return r.name == name; });
    if (row == kCommands.end()) {
        throw UsageError("there is no command \"" + name + "\"; --help lists them");
    }
    return *row;
}

/// "slew, sync, track".
std::string WaitingCommands() {
    std::string names;
    for (const CommandRow& row : kCommands) {
        if (row.mayWait) {
            names += (names.empty() ? "" : ", ") + std::string(row.name);
        }
    }
    return names;
}

void CheckOperands(const Arguments& arguments) {
    const CommandRow& row = *arguments.row;
    const std::size_t count = arguments.operands.size();
    const bool isSlew = row.command == Command::Slew;
    if (isSlew && arguments.brightStar ? count != 0 : (count < row.fewest || count > row.most || (isSlew && !count))) {
        throw UsageError("write: kestrane-client " + std::string(row.name) +
                         (row.operands.empty() ? "" : " " + std::string(row.operands)));
    }
    if (row.command == Command::Log && arguments.operands[0] != "on" && arguments.operands[0] != "off" &&
        arguments.operands[0] != "show") {
        throw UsageError("write: kestrane-client log on, log off or log show");
    }
    if (arguments.wait && !row.mayWait) {
        throw UsageError("--wait goes only with " + WaitingCommands());
    }
    if (arguments.brightStar && !isSlew) {
        throw UsageError("--bright-star goes with slew only");
    }
    if (row.command == Command::Init && arguments.deviceType != "telescope") {
        throw UsageError("init is for a telescope; leave out --type " + arguments.deviceType);
    }
}

std::string Padded(std::string text, std::size_t width) {
    text.resize(std::max(width, text.size() + 1), ' ');
    return text;
}

}  // namespace

std::span<const CommandRow> Commands() {
    return kCommands;
}

Arguments ParseArguments(std::span<const std::string> words) {
    Arguments arguments;
    bool optionsEnded = false;
    for (std::size_t at = 0; at < words.size(); ++at) {
        if (!optionsEnded && words[at] == "--") {
            optionsEnded = true;
        } else if (!optionsEnded && IsOption(words[at])) {
            at = TakeOption(words, at, arguments);
        } else if (arguments.row == nullptr) {
            arguments.row = &FindCommand(words[at]);
        } else {
            arguments.operands.push_back(words[at]);
        }
    }
    if (arguments.help) {
        return arguments;
    }
    if (arguments.row == nullptr) {
        throw UsageError("a command is wanted; --help lists them");
    }
    CheckOperands(arguments);
    if (arguments.row->command == Command::Focus) {
        arguments.deviceType = "focuser";
    }
    return arguments;
}

std::string Usage() {
    std::string text =
        "kestrane-client: talks to an Alpaca telescope or focuser.\n\n"
        "usage: kestrane-client [OPTION...] COMMAND [OPERAND...]\n\ncommands:\n";
    for (const CommandRow& row : kCommands) {
        const std::string head = std::string(row.name) + (row.operands.empty() ? "" : " ") + std::string(row.operands);
        text += "  " + Padded(head, 30) + std::string(row.what) + "\n";
    }
    text += "\noptions:\n";
    for (const OptionRow& row : kOptions) {
        const std::string head = std::string(row.name) + (row.value.empty() ? "" : " ") + std::string(row.value);
        text += "  " + Padded(head, 30) + std::string(row.what) + "\n";
    }
    text +=
        "\nRA is in hours (5.5) or HH:MM:SS (05:30:00), DEC in degrees (-16.7) or sDD:MM:SS (-16:42:58).\n"
        "exit status: 0 done, 1 the device reported an error, 2 wrong usage, 3 the device cannot be reached.\n";
    return text;
}

}  // namespace kestrane::client
