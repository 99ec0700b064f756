#include "client/client.h"

#include <algorithm>
#include <array>
#include <boost/json.hpp>
#include <boost/system/system_error.hpp>
#include <deque>
#include <fstream>

#include "client/angles.h"
#include "client/arguments.h"
#include "client/discovery.h"
#include "client/json_text.h"
#include "client/session.h"
#include "client/watched_action.h"

namespace kestrane::client {
namespace {

namespace json = boost::json;

constexpr std::int64_t kUnspecifiedError = 0x4FF;  ///< of Alpaca
constexpr std::size_t kShownLogLines = 200;

/// How a value of the status list is written.
enum class Form { Plain, Hours, Degrees, Side };

struct StatusRow {
    std::string_view deviceType;  ///< empty for both
    std::string_view member;
    std::string_view label;
    Form form = Form::Plain;
};

constexpr std::array kStatusRows{
    StatusRow{"", "Name", "name"},
    StatusRow{"", "Description", "description"},
    StatusRow{"", "DriverInfo", "driver"},
    StatusRow{"", "DriverVersion", "driver version"},
    StatusRow{"", "InterfaceVersion", "interface version"},
    StatusRow{"", "Connected", "connected"},
    StatusRow{"telescope", "RightAscension", "right ascension", Form::Hours},
    StatusRow{"telescope", "Declination", "declination", Form::Degrees},
    StatusRow{"telescope", "Altitude", "altitude", Form::Degrees},
    StatusRow{"telescope", "Azimuth", "azimuth", Form::Degrees},
    StatusRow{"telescope", "SiderealTime", "sidereal time", Form::Hours},
    StatusRow{"telescope", "UTCDate", "UTC date"},
    StatusRow{"telescope", "SideOfPier", "side of pier", Form::Side},
    StatusRow{"telescope", "Tracking", "tracking"},
    StatusRow{"telescope", "Slewing", "slewing"},
    StatusRow{"telescope", "AtPark", "parked"},
    StatusRow{"telescope", "SiteLatitude", "latitude", Form::Degrees},
    StatusRow{"telescope", "SiteLongitude", "longitude", Form::Degrees},
    StatusRow{"focuser", "Position", "position"},
    StatusRow{"focuser", "IsMoving", "moving"},
    StatusRow{"focuser", "MaxStep", "greatest step"},
};

/// A text of several lines in one line, with "; " between them.
std::string InOneLine(const std::string& text) {
    std::string line;
    for (const char character : text) {
        if (character == '\n') {
            line += "; ";
        } else if (character != '\r') {
            line += character;
        }
    }
    return line;
}

std::string InForm(const json::value& value, Form form) {
    if (!value.is_number() || form == Form::Plain) {
        return InOneLine(PlainText(value));
    }
    const auto number = value.to_number<double>();
    switch (form) {
        case Form::Hours:
            return FormatHours(number);
        case Form::Degrees:
            return FormatDegrees(number);
        case Form::Side:
            return number == 0.0 ? "East" : number == 1.0 ? "West" : "unknown";
        case Form::Plain:
            break;
    }
    return PlainText(value);
}

/// Reads one member for the status list; null when the device does not report it. An unreachable device ends the run.
json::value StatusValue(Session& session, const StatusRow& row) {
    return session.device.TryGet(row.member).value_or(json::value(nullptr));
}

void RunStatus(Session& session) {
    json::object all;
    for (const StatusRow& row : kStatusRows) {
        if (!row.deviceType.empty() && row.deviceType != session.arguments.deviceType) {
            continue;
        }
        const json::value value = StatusValue(session, row);
        all[std::string(row.member)] = value;
        if (!session.arguments.json) {
            std::string label(row.label);
            label.resize(20, ' ');
            session.surroundings.out << label << Shown(InForm(value, row.form)) << "\n";
        }
    }
    if (std::all_of(all.begin(), all.end(), [](const auto& member) { return member.value().is_null(); })) {
        throw DeviceError(0, "there is no " + session.arguments.deviceType + " " +
                                 std::to_string(session.arguments.device) + " at this address");
    }
    if (session.arguments.json) {
        session.Tell("", all);
    }
}

Values ValuesOf(const std::vector<std::string>& operands) {
    Values values;
    for (std::size_t at = 1; at < operands.size(); ++at) {
        const std::size_t equals = operands[at].find('=');
        if (equals == 0 || equals == std::string::npos) {
            throw UsageError(operands[at] + ": KEY=VALUE is wanted here");
        }
        values.emplace_back(operands[at].substr(0, equals), operands[at].substr(equals + 1));
    }
    return values;
}

void TellValue(Session& session, const json::value& value) {
    session.Tell(PlainText(value), {{"Value", value}});
}

void RunConnect(Session& session) {
    session.EnsureConnected();
    session.Tell("connected", {{"Connected", true}});
}

void RunDisconnect(Session& session) {
    session.device.Put("Connected", {{"Connected", "False"}});
    session.Tell("disconnected", {{"Connected", false}});
}

void RunGet(Session& session) {
    const auto& operands = session.arguments.operands;
    TellValue(session, session.device.Get(operands[0], ValuesOf(operands)));
}

void RunPut(Session& session) {
    const auto& operands = session.arguments.operands;
    const json::value value = session.device.Put(operands[0], ValuesOf(operands));
    session.Tell(value.is_null() ? "done" : PlainText(value), {{"Value", value}});
}

void RunText(Session& session) {
    const std::string& text = session.arguments.operands[0];
    if (text.starts_with("RAW,")) {
        return TellValue(session, session.PutToDriver(text));
    }
    session.EnsureConnected();
    TellValue(session, PutText(session.device, text));
    session.LetGo();
}

/// The end of the driver's log, where its file can be reached from here.
void ShowLog(Session& session, const std::string& path) {
    if (path.empty()) {
        throw DeviceError(0, "there is no log yet; turn it on: kestrane-client log on");
    }
    std::ifstream file(path);
    if (!file) {
        throw DeviceError(0, "the log cannot be read from here; on the driver's machine it is " + path);
    }
    std::deque<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        lines.push_back(line);
        if (lines.size() > kShownLogLines) {
            lines.pop_front();
        }
    }
    session.Note("the end of " + path);
    for (const std::string& line : lines) {
        session.Tell(line, {{"Line", line}});
    }
}

void RunLog(Session& session) {
    const std::string& what = session.arguments.operands[0];
    if (what != "show") {
        session.AskDriver(what == "on" ? "SetEnableDebugLog,1" : "SetEnableDebugLog,0");
    }
    const std::string path = session.AskDriver("GetLogFilename");
    if (what == "show") {
        ShowLog(session, path);
    } else if (what == "on") {
        session.Tell(
            path.empty() ? "the log is on, but the driver could open no file for it" : "the log is on: " + path,
            {{"Enabled", true}, {"File", path}});
    } else {
        session.Tell("the log is off", {{"Enabled", false}, {"File", path}});
    }
}

/// A command that needs the connection and has no value.
void RunPlain(Session& session, std::string_view member, const std::string& doing, const std::string& words) {
    session.EnsureConnected();
    WatchedAction action(session, doing);
    action.Put(member);
    action.Finish();
    session.Tell(words, {{"Value", nullptr}});
    session.LetGo();
}

/// The devices of one server; an entry without devices when it does not report them.
json::array DevicesOf(const FoundServer& server, double seconds) {
    HttpConnection connection(server.host, server.port);
    HttpConnection::Request request;
    request.target = "/management/v1/configureddevices";
    request.limit = std::chrono::milliseconds(static_cast<std::int64_t>(seconds * 1000.0));
    try {
        const AlpacaReply reply = ParseReply(connection.Send(request));
        return reply.value.is_array() ? reply.value.get_array() : json::array{};
    } catch (const DeviceError&) {
    } catch (const Unreachable&) {
    }
    return {};
}

std::string DeviceLine(const json::value& device) {
    const auto field = [&](std::string_view name) {
        const auto* object = device.if_object();
        const auto* value = object != nullptr ? object->if_contains(name) : nullptr;
        return value != nullptr ? PlainText(*value) : std::string("-");
    };
    return field("DeviceType") + " " + field("DeviceNumber") + "  " + field("DeviceName");
}

void RunDiscover(const Arguments& arguments, const Surroundings& surroundings) {
    const double seconds = arguments.timeout.value_or(2.0);
    const auto servers = Discover(arguments.hostGiven ? arguments.host : "", arguments.discoveryPort,
                                  std::chrono::milliseconds(static_cast<std::int64_t>(seconds * 1000.0)));
    if (servers.empty()) {
        throw Unreachable("no Alpaca device answered on UDP port " + std::to_string(arguments.discoveryPort));
    }
    for (const FoundServer& server : servers) {
        const json::array devices = DevicesOf(server, seconds);
        if (arguments.json) {
            const json::object line{{"Host", server.host}, {"Port", server.port}, {"Devices", devices}};
            surroundings.out << JsonText(line) << std::endl;
            continue;
        }
        surroundings.out << server.host << ":" << server.port << std::endl;
        for (const auto& device : devices) {
            surroundings.out << "  " << Shown(DeviceLine(device)) << std::endl;
        }
    }
}

void RunOnDevice(Session& session) {
    switch (session.arguments.row->command) {
        case Command::Discover:
            break;
        case Command::Status:
            return RunStatus(session);
        case Command::Connect:
            return RunConnect(session);
        case Command::Disconnect:
            return RunDisconnect(session);
        case Command::Slew:
            return RunSlew(session);
        case Command::Sync:
            return RunSync(session);
        case Command::Track:
            return RunTrack(session);
        case Command::Guide:
            return RunGuide(session);
        case Command::Init:
            return RunInit(session);
        case Command::Stars:
            return RunStars(session);
        case Command::Abort:
            return RunPlain(session, session.arguments.deviceType == "focuser" ? "Halt" : "AbortSlew", "stopping",
                            "stopped");
        case Command::Park:
            return RunPark(session);
        case Command::Unpark:
            return RunUnpark(session);
        case Command::SetPark:
            return RunPlain(session, "SetPark", "setting the place to park", "this is the place to park now");
        case Command::Focus:
            return RunFocus(session);
        case Command::Get:
            return RunGet(session);
        case Command::Put:
            return RunPut(session);
        case Command::Text:
            return RunText(session);
        case Command::Log:
            return RunLog(session);
    }
}

void RunCommand(const Arguments& arguments, const Surroundings& surroundings) {
    if (arguments.row->command == Command::Discover) {
        return RunDiscover(arguments, surroundings);
    }
    Session session(arguments, surroundings);
    try {
        RunOnDevice(session);
    } catch (const DeviceError&) {
        session.LetGo();
        throw;
    }
}

ExitCode Failure(ExitCode code, const std::string& message, std::int64_t number, bool isJson,
                 const Surroundings& surroundings) {
    if (isJson) {
        // 0 would say that all went well.
        surroundings.out << JsonText(json::object{{"ErrorNumber", number == 0 ? kUnspecifiedError : number},
                                                  {"ErrorMessage", message}})
                         << std::endl;
    } else {
        surroundings.progress << "kestrane-client: " << Shown(message) << std::endl;
    }
    return code;
}

std::string HexText(std::int64_t number) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string text;
    for (auto rest = static_cast<std::uint64_t>(number); rest != 0; rest /= 16) {
        text.insert(text.begin(), kDigits[rest % 16]);
    }
    return "0x" + text;
}

}  // namespace

ExitCode RunClient(std::span<const std::string> words, const Surroundings& surroundings) {
    bool isJson = std::find(words.begin(), words.end(), "--json") != words.end();
    try {
        const Arguments arguments = ParseArguments(words);
        isJson = arguments.json;
        if (arguments.help) {
            surroundings.out << Usage() << std::flush;
            return ExitCode::Done;
        }
        RunCommand(arguments, surroundings);
        return ExitCode::Done;
    } catch (const UsageError& error) {
        return Failure(ExitCode::Usage, error.what(), 0, isJson, surroundings);
    } catch (const DeviceError& error) {
        const std::string number = error.Number() != 0 && !isJson ? " (" + HexText(error.Number()) + ")" : "";
        return Failure(ExitCode::DeviceError, error.what() + number, error.Number(), isJson, surroundings);
    } catch (const Unreachable& error) {
        return Failure(ExitCode::Unreachable, error.what(), 0, isJson, surroundings);
    } catch (const boost::system::system_error& error) {
        // The machine refuses a socket.
        return Failure(ExitCode::Unreachable, error.what(), 0, isJson, surroundings);
    }
}

}  // namespace kestrane::client
