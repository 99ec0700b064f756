#pragma once

#include <string>
#include <string_view>

#include "commands/driver_commands.h"

/// The actions of the verbs, under their names; see `DriverVerb`. Those that choose an option of the hand box work on
/// its controls, so that its logic, with its questions and its saving, runs as if a person had clicked.
namespace kestrane::verbs {

// mount_verbs.cpp: what the mount is told
std::string InitTime(Verb verb, std::string_view arguments);
std::string InitMount(Verb verb, std::string_view arguments);
std::string UnparkMount(Verb verb, std::string_view arguments);
std::string ParkMount(Verb verb, std::string_view arguments);
std::string CancelPark(Verb verb, std::string_view arguments);
std::string SetSlewRate(Verb verb, std::string_view arguments);
std::string GetSlewRate(Verb verb, std::string_view arguments);
std::string SetGuideRate(Verb verb, std::string_view arguments);
std::string GetGuideRate(Verb verb, std::string_view arguments);
std::string SetPem(Verb verb, std::string_view arguments);
std::string GetPem(Verb verb, std::string_view arguments);
std::string SetRaBacklash(Verb verb, std::string_view arguments);
std::string GetRaBacklash(Verb verb, std::string_view arguments);
std::string SetDecBacklash(Verb verb, std::string_view arguments);
std::string GetDecBacklash(Verb verb, std::string_view arguments);
std::string SetMeridianDelay(Verb verb, std::string_view arguments);
std::string GetMeridianDelay(Verb verb, std::string_view arguments);
std::string QuayPointingCorrection(Verb verb, std::string_view arguments);
std::string AutoCalibrateNSEW(Verb verb, std::string_view arguments);

// option_verbs.cpp: how the driver behaves
std::string SetUseRcalForSync(Verb verb, std::string_view arguments);
std::string GetUseRcalForSync(Verb verb, std::string_view arguments);
std::string SetEnableDebugLog(Verb verb, std::string_view arguments);
std::string GetEnableDebugLog(Verb verb, std::string_view arguments);
std::string SetEnableTrackingOnUnpark(Verb verb, std::string_view arguments);
std::string GetEnableTrackingOnUnpark(Verb verb, std::string_view arguments);
std::string DisableSafetySlews(Verb verb, std::string_view arguments);
std::string GetDisableSafetySlews(Verb verb, std::string_view arguments);
std::string GetComTimeout(Verb verb, std::string_view arguments);
std::string SetComTimeout(Verb verb, std::string_view arguments);
std::string GetComRetries(Verb verb, std::string_view arguments);
std::string SetComRetries(Verb verb, std::string_view arguments);
std::string GetIniValue(Verb verb, std::string_view arguments);
std::string GetAllIniValues(Verb verb, std::string_view arguments);
std::string SetIniValue(Verb verb, std::string_view arguments);
std::string GetIniFilename(Verb verb, std::string_view arguments);
std::string DeleteIniFile(Verb verb, std::string_view arguments);

// park_verbs.cpp: where the mount parks
std::string SetUnparkPosition(Verb verb, std::string_view arguments);
std::string GetUnparkPosition(Verb verb, std::string_view arguments);
std::string SetParkPosition(Verb verb, std::string_view arguments);
std::string GetParkPosition(Verb verb, std::string_view arguments);
std::string SetParkAltAz(Verb verb, std::string_view arguments);
std::string GetParkAltAz(Verb verb, std::string_view arguments);

// driver_verbs.cpp: what the driver knows, and its window
std::string GetCommunicationErrors(Verb verb, std::string_view arguments);
std::string ResetCommunicationErrors(Verb verb, std::string_view arguments);
std::string GetPulseGuideEvents(Verb verb, std::string_view arguments);
std::string GetRaDecEvents(Verb verb, std::string_view arguments);
std::string ResetEvents(Verb verb, std::string_view arguments);
std::string GetPulseGuideEventInfo(Verb verb, std::string_view arguments);
std::string GetRaDecEventInfo(Verb verb, std::string_view arguments);
std::string GetEventReferenceTime(Verb verb, std::string_view arguments);
std::string Maximize(Verb verb, std::string_view arguments);
std::string Minimize(Verb verb, std::string_view arguments);
std::string IsFormMinimized(Verb verb, std::string_view arguments);
std::string Quay(Verb verb, std::string_view arguments);
std::string Version(Verb verb, std::string_view arguments);
std::string GetLogDir(Verb verb, std::string_view arguments);
std::string GetLogFilename(Verb verb, std::string_view arguments);
std::string GetConnectFailure(Verb verb, std::string_view arguments);
std::string CheckMount(Verb verb, std::string_view arguments);

}  // namespace kestrane::verbs
