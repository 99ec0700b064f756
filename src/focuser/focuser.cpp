#include "focuser/focuser.h"

#include <utility>

#include "kernel/base/application_info.h"
#include "kernel/base/text.h"

namespace kestrane {
namespace {

constexpr int kInterfaceVersion = 2;

}  // namespace

Focuser::Focuser(FocuserNeeds needs) : needs_(std::move(needs)), driver_(needs_.driver), state_(driver_.state) {}

void Focuser::Class_Initialize() {
    ResumeNext errors{driver_.ledger, "Class_Initialize"};
    errors.Step([&] {
        if (state_.g_nFocuserObjects < 2 && needs_.registration.RegisterFocuser()) {
            UpdateValues();
        }
    });
    ++state_.g_nFocuserObjects;
    needs_.connections.UpdateClientsLabel();
}

void Focuser::Class_Terminate() {
    --state_.g_nFocuserObjects;
    needs_.connections.UpdateClientsLabel();
    if (state_.g_nFocuserObjects < 2) {
        Link(false);
    }
    needs_.connections.ExitIfNoClients();
}

bool Focuser::LogGet(std::string_view name, bool value) {
    Note(LogLevel::Info, "GET " + std::string(name) + " = " + std::string(TrueFalse(value)));
    return value;
}

std::int32_t Focuser::LogGet(std::string_view name, std::int32_t value) {
    Note(LogLevel::Info, "GET " + std::string(name) + " = " + std::to_string(value));
    return value;
}

std::string Focuser::LogGet(std::string_view name, std::string value) {
    Note(LogLevel::Info, "GET " + std::string(name) + " = " + value);
    return value;
}

bool Focuser::Link() {
    return LogGet("Link", needs_.connections.IsClientConnected(ClientKind::Focuser));
}

void Focuser::Link(bool connect) {
    Note(LogLevel::Info, "SET Link = " + std::string(TrueFalse(connect)));
    if (!connect) {
        needs_.connections.CloseConnection(ClientKind::Focuser);
        return;
    }
    UpdateValues();
    const bool wasOpen = needs_.link && needs_.link->Connected();
    needs_.connections.OpenConnection(ClientKind::Focuser);
    if (!wasOpen) {
        needs_.runFirstConnection();
    }
}

void Focuser::Move(std::int32_t NewPosition) {
    Note(LogLevel::Info, "SET Move = " + std::to_string(NewPosition));
    if (!needs_.connections.IsClientConnected(ClientKind::Focuser)) {
        return;
    }
    const std::int64_t greatest = state_.g_nFocusMaxIncrement;
    if (NewPosition < -greatest || NewPosition > greatest) {
        throw DriverError(ErrorNumber::NoMount);  // Intentional: the words do not fit the cause
    }
    needs_.motor.Move(NewPosition);
}

void Focuser::Halt() {
    Note(LogLevel::Info, "Halt()");
    if (needs_.connections.IsClientConnected(ClientKind::Focuser)) {
        needs_.motor.Halt();
    }
}

void Focuser::SetupDialog() {
    Note(LogLevel::Info, "SetupDialog()");
    needs_.showSetup();
    UpdateValues();
}

void Focuser::DoesNotBegin(std::string_view member) {
    Note(LogLevel::Warning, std::string(member) + "() does not begin: it was stopped before it could");
}

void Focuser::Note(LogLevel level, std::string_view text) {
    driver_.log.LogMessage(kFocuserOrigin, level, text);
}

void Focuser::RefuseMember(std::string_view logged, std::string_view property) {
    Note(LogLevel::Warning, logged);
    throw DriverError(ErrorNumber::NotImplemented,
                      "Property " + std::string(property) + " is not implemented in this driver.");
}

std::int32_t Focuser::Position() {
    RefuseMember("GET Position", "Position");
}
double Focuser::StepSize() {
    RefuseMember("GET StepSize", "StepSize ");  // Intentional: with the blank
}
void Focuser::TempComp(bool /*compensate*/) {
    RefuseMember("SET TempComp", "TempComp");
}
double Focuser::Temperature() {
    RefuseMember("GET Temperature", "Temperature");
}

bool Focuser::Absolute() {
    return LogGet("Absolute", false);
}
bool Focuser::IsMoving() {
    return LogGet("IsMoving", needs_.motor.IsMoving());
}
std::int32_t Focuser::MaxIncrement() {
    return LogGet("MaxIncrement", state_.g_nFocusMaxIncrement);
}
std::int32_t Focuser::MaxStep() {
    return LogGet("MaxStep", state_.g_nFocusMaxIncrement);
}
bool Focuser::TempComp() {
    return LogGet("TempComp", false);
}
bool Focuser::TempCompAvailable() {
    return LogGet("TempCompAvailable", false);
}
int Focuser::InterfaceVersion() {
    return LogGet("InterfaceVersion", kInterfaceVersion);
}
std::string Focuser::Name() {
    return LogGet("Name", std::string("KestraneV2"));
}
std::string Focuser::Description() {
    return LogGet("Description", std::string("Kestrane VTR V2 Focuser"));
}
std::string Focuser::DriverInfo() {
    return LogGet("DriverInfo", application::DriverInfoText());
}
std::string Focuser::DriverVersion() {
    return LogGet("DriverVersion", std::string(application::kDriverVersion));
}

std::int16_t Focuser::ClientCount() {
    return static_cast<std::int16_t>(state_.g_nFocuserObjects - 1);
}

void Focuser::ClientCount(std::int16_t count) {
    state_.g_nFocuserObjects = count;
    needs_.connections.UpdateClientsLabel();
    needs_.connections.ExitIfNoClients();
}

}  // namespace kestrane
