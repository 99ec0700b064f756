#include "commands/driver_commands.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <optional>

#include "kernel/base/application_info.h"
#include "kernel/base/conversions.h"
#include "kernel/base/text.h"

namespace kestrane {
namespace {

constexpr std::int32_t kMostRetries = 5;
const std::string kDone = "1";

std::string Value(std::string_view value) {
    return "1," + std::string(value);
}

std::string Failure(std::string_view message) {
    return "0," + std::string(message);
}

/// The text as a whole number; nothing when it is none or does not fit.
std::optional<std::int32_t> WholeNumber(std::string_view text, Log& log) {
    if (!IsNumericText(text) || text.find_first_of("eE") != std::string_view::npos) {
        return std::nullopt;
    }
    const double value = Val_Global(text, log);
    constexpr double limit = std::numeric_limits<std::int32_t>::max();
    return value >= -limit && value <= limit && value == std::trunc(value)
               ? std::optional(static_cast<std::int32_t>(value))
               : std::nullopt;
}

std::int64_t ReceiveErrors(const CounterState& counts) {
    return std::int64_t{counts.g_nReceiveTerminatedErrors} + counts.g_nReceiveCountedErrors;
}

std::string Version(Verb, std::string_view) {
    return Value(application::kDriverVersion);
}

std::string InitTime(Verb verb, std::string_view) {
    verb.object.utcDate(verb.needs.driver.clock.DateLocalToUTC(verb.needs.driver.clock.GetLocalTime()));
    return kDone;
}

std::string GetCommunicationErrors(Verb verb, std::string_view) {
    const CounterState& counts = verb.needs.driver.counters.Values();
    return Value(std::to_string(counts.g_nRetransmits) + "," + std::to_string(ReceiveErrors(counts)) + "," +
                 std::to_string(counts.g_nMotorStalls) + "," + std::to_string(counts.g_nServoFaults) + "," +
                 std::to_string(counts.g_nLowPower));
}

std::string ResetCommunicationErrors(Verb verb, std::string_view) {
    verb.needs.resetErrorCounts();
    return kDone;
}

std::string GetPulseGuideEvents(Verb verb, std::string_view arguments) {
    return verb.needs.journal.PulseGuideEvents(arguments);
}

std::string GetRaDecEvents(Verb verb, std::string_view arguments) {
    return verb.needs.journal.RaDecEvents(arguments);
}

std::string ResetEvents(Verb verb, std::string_view) {
    verb.needs.journal.ResetEvents();
    return kDone;
}

std::string GetPulseGuideEventInfo(Verb verb, std::string_view) {
    return verb.needs.journal.PulseGuideInfo();
}

std::string GetRaDecEventInfo(Verb verb, std::string_view) {
    return verb.needs.journal.RaDecInfo();
}

std::string GetEventReferenceTime(Verb verb, std::string_view) {
    return verb.needs.journal.ReferenceTime();
}

std::string AutoCalibrateNSEW(Verb verb, std::string_view) {
    if (verb.needs.door.Permit("AutoCalibrateNSEW")) {
        verb.object.AutoCalibrateNSEW(Telescope::kCalibrationAttempts);
    }
    return kDone;
}

std::string GetComTimeout(Verb verb, std::string_view) {
    return Value(verb.needs.driver.persist.Read(setting::Timeout));
}

std::string SetComTimeout(Verb verb, std::string_view arguments) {
    const std::optional<std::int32_t> milliseconds = WholeNumber(arguments, verb.needs.driver.log);
    if (!milliseconds) {
        return Failure("Value must be numeric, greater than 0");
    }
    if (*milliseconds < 1) {
        return Failure("Value must be greater than 0");
    }
    verb.needs.driver.persist.Write(setting::Timeout, std::to_string(*milliseconds));
    return kDone;
}

std::string GetComRetries(Verb verb, std::string_view) {
    return Value(verb.needs.driver.persist.Read(setting::Retry));
}

std::string SetComRetries(Verb verb, std::string_view arguments) {
    const std::optional<std::int32_t> retries = WholeNumber(arguments, verb.needs.driver.log);
    if (!retries) {
        return Failure("Value must be numeric, >= 0");
    }
    if (*retries < 0) {
        return Failure("Value must be >= 0");
    }
    verb.needs.driver.persist.Write(setting::Retry, std::to_string(*retries));
    const auto bounded = static_cast<std::int16_t>(std::min(*retries, kMostRetries));
    verb.object.MaxSerialRetries(bounded);
    if (Telescope* internal = verb.needs.internalInstance()) {
        internal->MaxSerialRetries(bounded);  // for the exchanges of the poll too
    }
    return kDone;
}

std::string SetEnableDebugLog(Verb verb, std::string_view arguments) {
    const std::optional<std::int32_t> enable = WholeNumber(arguments, verb.needs.driver.log);
    if (enable != 0 && enable != 1) {
        return Failure("Value must be numeric 0-1");
    }
    verb.needs.enableDebugLog(enable == 1);
    return kDone;
}

std::string GetEnableDebugLog(Verb verb, std::string_view) {
    return Value(verb.needs.driver.state.g_bDebugLog ? "1" : "0");
}

std::string GetLogDir(Verb verb, std::string_view) {
    return Value(verb.needs.driver.state.g_sLogDir);
}

std::string GetLogFilename(Verb verb, std::string_view) {
    return Value(verb.needs.driver.log.FileName().string());
}

std::string GetConnectFailure(Verb verb, std::string_view) {
    return Value(verb.needs.connectFailure());
}

std::string CheckMount(Verb verb, std::string_view) {
    const MountCheck check = verb.needs.checkMount();
    return check.Found() ? Value(check.version) : Failure(check.whyNone);
}

std::string GetIniValue(Verb verb, std::string_view keyword) {
    if (keyword.empty()) {
        return Failure("No INI Keyword specified");
    }
    const std::string value = verb.needs.driver.persist.ReadIniValue(keyword, "");
    return value.empty() ? Failure("INI Keyword not found: " + std::string(keyword)) : Value(value);
}

std::string SetIniValue(Verb verb, std::string_view assignment) {
    if (assignment.empty()) {
        return Failure("No Keyword specified");
    }
    const std::size_t equals = assignment.find('=');
    if (equals == std::string_view::npos || equals == 0) {
        return Failure("Keyword=Value not specified");
    }
    const std::string keyword = Trim(assignment.substr(0, equals));
    if (keyword.empty()) {
        return Failure("Keyword=Value not specified");
    }
    verb.needs.driver.persist.WriteIniValue(keyword, Trim(assignment.substr(equals + 1)));
    if (Telescope* const telescope = verb.needs.internalInstance()) {
        telescope->LoadControllerOption();  // clients read what follows from it without a setting
    }
    return kDone;
}

// clang-format off
constexpr std::array kVerbs{
    DriverVerb{kInitTimeVerb,               "1", InitTime},
    DriverVerb{"GetCommunicationErrors",    "1", GetCommunicationErrors},
    DriverVerb{"ResetCommunicationErrors",  "1", ResetCommunicationErrors},
    DriverVerb{"GetPulseGuideEvents",       "1", GetPulseGuideEvents},
    DriverVerb{"GetRaDecEvents",            "1", GetRaDecEvents},
    DriverVerb{"ResetEvents",               "1", ResetEvents},
    DriverVerb{"GetPulseGuideEventInfo",    "1", GetPulseGuideEventInfo},
    DriverVerb{"GetRaDecEventInfo",         "1", GetRaDecEventInfo},
    DriverVerb{"GetEventReferenceTime",     "1", GetEventReferenceTime},
    DriverVerb{"Version",                   "1", Version},
    DriverVerb{"GetComTimeout",             "1", GetComTimeout},
    DriverVerb{"SetComTimeout",             "1", SetComTimeout},
    DriverVerb{"GetComRetries",             "1", GetComRetries},
    DriverVerb{"SetComRetries",             "1", SetComRetries},
    DriverVerb{"GetIniValue",               "1", GetIniValue},
    DriverVerb{"SetIniValue",               "1", SetIniValue},
    DriverVerb{"SetEnableDebugLog",         "1", SetEnableDebugLog},
    DriverVerb{"GetEnableDebugLog",         "1", GetEnableDebugLog},
    DriverVerb{"GetLogDir",                 "1", GetLogDir},
    DriverVerb{"GetLogFilename",            "1", GetLogFilename},
    DriverVerb{"GetConnectFailure",         "1", GetConnectFailure},
    DriverVerb{"CheckMount",                "1", CheckMount},
    DriverVerb{"AutoCalibrateNSEW",         "1", AutoCalibrateNSEW},
};
// clang-format on

constexpr bool AllDiffer() {
    for (std::size_t i = 0; i < kVerbs.size(); ++i) {
        for (std::size_t j = i + 1; j < kVerbs.size(); ++j) {
            if (kVerbs[i].name == kVerbs[j].name) {
                return false;
            }
        }
    }
    return true;
}
static_assert(AllDiffer());

}  // namespace

std::span<const DriverVerb> DriverVerbs() {
    return kVerbs;
}

std::string DriverCommands::Execute(Telescope& object, std::string_view command) {
    std::string reply = Failure("Unknown Command: " + std::string(command));
    const std::size_t comma = command.find(',');
    const std::string_view verb = command.substr(0, comma);
    const std::string_view arguments = comma == std::string_view::npos ? "" : command.substr(comma + 1);
    const auto row = std::ranges::find(kVerbs, verb, &DriverVerb::name);
    if (row != kVerbs.end()) {
        reply = row->presetReply;
        ResumeNext errors{driver_.ledger, "ExecuteDriverCommand"};
        errors.Assign(reply, [&] { return row->run({needs_, object}, arguments); });
    }
    return reply;
}

}  // namespace kestrane
