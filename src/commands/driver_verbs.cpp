#include "commands/verb_replies.h"
#include "commands/verbs.h"
#include "kernel/base/application_info.h"
#include "kernel/base/text.h"

namespace kestrane::verbs {
namespace {

std::int64_t ReceiveErrors(const CounterState& counts) {
    return std::int64_t{counts.g_nReceiveTerminatedErrors} + counts.g_nReceiveCountedErrors;
}

}  // namespace

std::string GetCommunicationErrors(Verb verb, std::string_view) {
    const CounterState& counts = verb.needs.driver.counters.Values();
    return Value(std::to_string(counts.g_nRetransmits) + "," + std::to_string(ReceiveErrors(counts)) + "," +
                 std::to_string(counts.g_nMotorStalls) + "," + std::to_string(counts.g_nServoFaults) + "," +
                 std::to_string(counts.g_nLowPower));
}

std::string GetPulseGuideEvents(Verb verb, std::string_view arguments) {
    return verb.needs.journal.PulseGuideEvents(arguments);
}

std::string GetRaDecEvents(Verb verb, std::string_view arguments) {
    return verb.needs.journal.RaDecEvents(arguments);
}

std::string ResetEvents(Verb verb, std::string_view) {
    verb.needs.journal.ResetEvents();
    return Done();
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

std::string ResetCommunicationErrors(Verb verb, std::string_view) {
    verb.needs.resetErrorCounts();
    return Done();
}

std::string Version(Verb, std::string_view) {
    return Value(application::kDriverVersion);
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

std::string Maximize(Verb verb, std::string_view) {
    verb.needs.maximize();
    return Done();
}

std::string Minimize(Verb verb, std::string_view) {
    verb.needs.minimize();
    return Done();
}

std::string IsFormMinimized(Verb verb, std::string_view) {
    return Value(TrueFalse(verb.needs.handBox.inTray));
}

std::string Quay(Verb verb, std::string_view) {
    return Value(ZeroOrOne(verb.needs.channel.IsProved()));
}

}  // namespace kestrane::verbs
