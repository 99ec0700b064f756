#include <algorithm>
#include <array>
#include <limits>
#include <optional>

#include "kernel/base/application_info.h"
#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "telescope/telescope.h"

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

/// The text as a whole number; nothing when it is no number or does not fit.
std::optional<std::int32_t> WholeNumber(std::string_view text, Log& log) {
    if (!IsNumericText(text) || text.find_first_of("eE") != std::string_view::npos) {
        return std::nullopt;
    }
    const double value = Val_Global(text, log);
    constexpr double limit = std::numeric_limits<std::int32_t>::max();
    return value >= -limit && value <= limit ? std::optional(RoundHalfEven(value)) : std::nullopt;
}

}  // namespace

/// A verb with what it does; the text behind its comma goes in, the reply comes out.
struct Telescope::DriverVerb {
    std::string_view name;
    std::string (Telescope::*run)(std::string_view arguments);
};

std::span<const Telescope::DriverVerb> Telescope::DriverVerbs() {
    using T = Telescope;
    static constexpr std::array kVerbs{
        DriverVerb{"InitTime", &T::VerbInitTime},
        DriverVerb{"GetCommunicationErrors", &T::VerbGetCommunicationErrors},
        DriverVerb{"ResetCommunicationErrors", &T::VerbResetCommunicationErrors},
        DriverVerb{"GetPulseGuideEvents", &T::VerbGetPulseGuideEvents},
        DriverVerb{"GetRaDecEvents", &T::VerbGetRaDecEvents},
        DriverVerb{"ResetEvents", &T::VerbResetEvents},
        DriverVerb{"GetPulseGuideEventInfo", &T::VerbGetPulseGuideEventInfo},
        DriverVerb{"GetRaDecEventInfo", &T::VerbGetRaDecEventInfo},
        DriverVerb{"GetEventReferenceTime", &T::VerbGetEventReferenceTime},
        DriverVerb{"Version", &T::VerbVersion},
        DriverVerb{"GetComTimeout", &T::VerbGetComTimeout},
        DriverVerb{"SetComTimeout", &T::VerbSetComTimeout},
        DriverVerb{"GetComRetries", &T::VerbGetComRetries},
        DriverVerb{"SetComRetries", &T::VerbSetComRetries},
        DriverVerb{"GetIniValue", &T::VerbGetIniValue},
        DriverVerb{"SetIniValue", &T::VerbSetIniValue},
        DriverVerb{"AutoCalibrateNSEW", &T::VerbAutoCalibrateNSEW},
    };
    return kVerbs;
}

std::string Telescope::ExecuteDriverCommand(std::string_view command) {
    std::string reply = Failure("Unknown Command: " + std::string(command));
    const std::size_t comma = command.find(',');
    const std::string_view verb = command.substr(0, comma);
    const std::string_view arguments = comma == std::string_view::npos ? "" : command.substr(comma + 1);
    ResumeNext errors{needs_.ledger, "ExecuteDriverCommand"};
    for (const DriverVerb& row : DriverVerbs()) {
        if (row.name == verb) {
            reply = kDone;  // stays when the action fails: it tells no failures of its own
            errors.Assign(reply, [&] { return (this->*row.run)(arguments); });
            break;
        }
    }
    return reply;
}

std::string Telescope::VerbVersion(std::string_view) {
    return Value(application::kDriverVersion);
}

std::string Telescope::VerbInitTime(std::string_view) {
    utcDate(needs_.clock.DateLocalToUTC(needs_.clock.GetLocalTime()));
    return kDone;
}

std::string Telescope::VerbGetCommunicationErrors(std::string_view) {
    const CounterState& counts = needs_.counters.Values();
    return Value(needs_.handBox.lblRetransmits.Text() + "," + needs_.handBox.lblReceiveStringErrors.Text() + "," +
                 std::to_string(counts.g_nMotorStalls) + "," + std::to_string(counts.g_nServoFaults) + "," +
                 std::to_string(counts.g_nLowPower));
}

std::string Telescope::VerbResetCommunicationErrors(std::string_view) {
    needs_.handBox.btnResetErrorCounts.FireClick();
    return kDone;
}

std::string Telescope::VerbGetPulseGuideEvents(std::string_view arguments) {
    return needs_.journal.PulseGuideEvents(arguments);
}

std::string Telescope::VerbGetRaDecEvents(std::string_view arguments) {
    return needs_.journal.RaDecEvents(arguments);
}

std::string Telescope::VerbResetEvents(std::string_view) {
    needs_.journal.ResetEvents();
    return kDone;
}

std::string Telescope::VerbGetPulseGuideEventInfo(std::string_view) {
    return needs_.journal.PulseGuideInfo();
}

std::string Telescope::VerbGetRaDecEventInfo(std::string_view) {
    return needs_.journal.RaDecInfo();
}

std::string Telescope::VerbGetEventReferenceTime(std::string_view) {
    return needs_.journal.ReferenceTime();
}

std::string Telescope::VerbAutoCalibrateNSEW(std::string_view) {
    if (needs_.door.Permit("AutoCalibrateNSEW")) {
        AutoCalibrateNSEW(kCalibrationAttempts);
    }
    return kDone;
}

std::string Telescope::VerbGetComTimeout(std::string_view) {
    return Value(needs_.persist.Read(setting::Timeout));
}

std::string Telescope::VerbSetComTimeout(std::string_view arguments) {
    const std::optional<std::int32_t> milliseconds = WholeNumber(arguments, needs_.log);
    if (!milliseconds) {
        return Failure("Value must be numeric, greater than 0");
    }
    if (*milliseconds < 1) {
        return Failure("Value must be greater than 0");
    }
    needs_.persist.Write(setting::Timeout, std::to_string(*milliseconds));
    return kDone;
}

std::string Telescope::VerbGetComRetries(std::string_view) {
    return Value(needs_.persist.Read(setting::Retry));
}

std::string Telescope::VerbSetComRetries(std::string_view arguments) {
    const std::optional<std::int32_t> retries = WholeNumber(arguments, needs_.log);
    if (!retries) {
        return Failure("Value must be numeric, >= 0");
    }
    if (*retries < 0) {
        return Failure("Value must be >= 0");
    }
    needs_.persist.Write(setting::Retry, std::to_string(*retries));
    const auto bounded = static_cast<std::int16_t>(std::min(*retries, kMostRetries));
    MaxSerialRetries(bounded);
    if (Telescope* internal = needs_.internalInstance()) {
        internal->MaxSerialRetries(bounded);  // the poll's exchanges too
    }
    return kDone;
}

std::string Telescope::VerbGetIniValue(std::string_view keyword) {
    if (keyword.empty()) {
        return Failure("No INI Keyword specified");
    }
    const std::string value = needs_.persist.ReadIniValue(keyword, "");
    return value.empty() ? Failure("INI Keyword not found: " + std::string(keyword)) : Value(value);
}

std::string Telescope::VerbSetIniValue(std::string_view assignment) {
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
    needs_.persist.WriteIniValue(keyword, Trim(assignment.substr(equals + 1)));
    return kDone;
}

}  // namespace kestrane
