#include "commands/driver_commands.h"

#include <algorithm>
#include <array>

#include "catalogue/vocabulary.h"
#include "commands/verb_replies.h"
#include "commands/verbs.h"

namespace kestrane {
namespace {

// clang-format off
constexpr std::array kVerbs{
    DriverVerb{kInitTimeVerb,                "1", verbs::InitTime},
    DriverVerb{kInitMountVerb,               "1", verbs::InitMount},
    DriverVerb{kUnparkVerb,                  "1", verbs::UnparkMount},
    DriverVerb{kParkVerb,                    "1", verbs::ParkMount},
    DriverVerb{kCancelParkVerb,              "1", verbs::CancelPark},
    DriverVerb{"SetSlewRate",                "1", verbs::SetSlewRate},
    DriverVerb{"GetSlewRate",                "1", verbs::GetSlewRate},
    DriverVerb{"SetGuideRate",               "1", verbs::SetGuideRate},
    DriverVerb{"GetGuideRate",               "1", verbs::GetGuideRate},
    DriverVerb{"SetPem",                     "1", verbs::SetPem},
    DriverVerb{"GetPem",                     "1", verbs::GetPem},
    DriverVerb{"SetRaBacklash",              "1", verbs::SetRaBacklash},
    DriverVerb{"GetRaBacklash",              "1", verbs::GetRaBacklash},
    DriverVerb{"SetDecBacklash",             "1", verbs::SetDecBacklash},
    DriverVerb{"GetDecBacklash",             "1", verbs::GetDecBacklash},
    DriverVerb{"SetMeridianDelay",           "1", verbs::SetMeridianDelay},
    DriverVerb{"GetMeridianDelay",           "1", verbs::GetMeridianDelay},
    DriverVerb{"SetUseRcalForSync",          "1", verbs::SetUseRcalForSync},
    DriverVerb{"GetUseRcalForSync",          "1", verbs::GetUseRcalForSync},
    DriverVerb{"SetEnableDebugLog",          "1", verbs::SetEnableDebugLog},
    DriverVerb{"GetEnableDebugLog",          "1", verbs::GetEnableDebugLog},
    DriverVerb{"SetEnableTrackingOnUnpark",  "1", verbs::SetEnableTrackingOnUnpark},
    DriverVerb{"GetEnableTrackingOnUnpark",  "1", verbs::GetEnableTrackingOnUnpark},
    DriverVerb{"GetCommunicationErrors",     "1", verbs::GetCommunicationErrors},
    DriverVerb{"ResetCommunicationErrors",   "1", verbs::ResetCommunicationErrors},
    DriverVerb{"SetUnparkPosition",          "0,Invalid Unpark Position", verbs::SetUnparkPosition},
    DriverVerb{"GetUnparkPosition",          "1", verbs::GetUnparkPosition},
    DriverVerb{"SetParkPosition",            "0,Invalid Park Position", verbs::SetParkPosition},
    DriverVerb{"GetParkPosition",            "1", verbs::GetParkPosition},
    DriverVerb{"SetParkAltAz",               "1", verbs::SetParkAltAz},
    DriverVerb{"GetParkAltAz",               "1", verbs::GetParkAltAz},
    DriverVerb{"GetPulseGuideEvents",        "1", verbs::GetPulseGuideEvents},
    DriverVerb{"GetRaDecEvents",             "1", verbs::GetRaDecEvents},
    DriverVerb{"ResetEvents",                "1", verbs::ResetEvents},
    DriverVerb{"GetPulseGuideEventInfo",     "1", verbs::GetPulseGuideEventInfo},
    DriverVerb{"GetRaDecEventInfo",          "1", verbs::GetRaDecEventInfo},
    DriverVerb{"GetEventReferenceTime",      "1", verbs::GetEventReferenceTime},
    DriverVerb{"Maximize",                   "1", verbs::Maximize},
    DriverVerb{"Minimize",                   "1", verbs::Minimize},
    DriverVerb{"IsFormMinimized",            "1", verbs::IsFormMinimized},
    DriverVerb{"QuayPointingCorrection",     "1", verbs::QuayPointingCorrection},
    DriverVerb{"DisableSafetySlews",         "1", verbs::DisableSafetySlews},
    DriverVerb{"GetDisableSafetySlews",      "1", verbs::GetDisableSafetySlews},
    DriverVerb{"Quay",                       "1", verbs::Quay},
    DriverVerb{"Version",                    "1", verbs::Version},
    DriverVerb{"GetComTimeout",              "1", verbs::GetComTimeout},
    DriverVerb{"SetComTimeout",              "1", verbs::SetComTimeout},
    DriverVerb{"GetComRetries",              "1", verbs::GetComRetries},
    DriverVerb{"SetComRetries",              "1", verbs::SetComRetries},
    DriverVerb{"GetIniValue",                "1", verbs::GetIniValue},
    DriverVerb{"GetAllIniValues",            "",  verbs::GetAllIniValues},
    DriverVerb{"SetIniValue",                "1", verbs::SetIniValue},
    DriverVerb{"GetIniFilename",             "1", verbs::GetIniFilename},
    DriverVerb{"DeleteIniFile",              "1", verbs::DeleteIniFile},
    DriverVerb{"GetLogDir",                  "1", verbs::GetLogDir},
    DriverVerb{"GetLogFilename",             "1", verbs::GetLogFilename},
    DriverVerb{"AutoCalibrateNSEW",          "1", verbs::AutoCalibrateNSEW},
    DriverVerb{"GetConnectFailure",          "1", verbs::GetConnectFailure},
    DriverVerb{"CheckMount",                 "1", verbs::CheckMount},
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
    std::string reply = verbs::Failure("Unknown Command: " + std::string(command));
    const std::size_t comma = command.find(',');
    const std::string_view verb = command.substr(0, comma);
    const std::string_view arguments = comma == std::string_view::npos ? "" : command.substr(comma + 1);
    const auto row = std::ranges::find(kVerbs, verb, &DriverVerb::name);
    if (row != kVerbs.end()) {
        if (!row->presetReply.empty()) {
            reply = row->presetReply;
        }
        ResumeNext errors{driver_.ledger, "ExecuteDriverCommand"};
        errors.Assign(reply, [&] { return row->run({needs_, object}, arguments); });
    }
    return reply;
}

}  // namespace kestrane
