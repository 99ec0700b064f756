#include "focuser/focuser.h"

#include "kernel/base/application_info.h"
#include "kernel/base/conversions.h"
#include "kernel/base/text.h"

namespace kestrane {
namespace {

constexpr std::string_view kOrigin = "FOCUSER";
constexpr int kInterfaceVersion = 2;
constexpr std::string_view kMaxIncrementWhenEmpty = "5000";

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

void Focuser::UpdateValues() {
    std::string maxIncrement = driver_.persist.Read(setting::Focus_txtMaxIncrementMSecs);
    if (maxIncrement.empty()) {
        maxIncrement = kMaxIncrementWhenEmpty;
    }
    state_.g_nFocusMaxIncrement = RoundHalfEven(Val_Global(maxIncrement, driver_.log));
}

bool Focuser::LogGet(std::string_view name, bool value) {
    driver_.log.LogMessage(kOrigin, LogLevel::Info, "GET " + std::string(name) + " = " + std::string(TrueFalse(value)));
    return value;
}

std::int32_t Focuser::LogGet(std::string_view name, std::int32_t value) {
    driver_.log.LogMessage(kOrigin, LogLevel::Info, "GET " + std::string(name) + " = " + std::to_string(value));
    return value;
}

std::string Focuser::LogGet(std::string_view name, std::string value) {
    driver_.log.LogMessage(kOrigin, LogLevel::Info, "GET " + std::string(name) + " = " + value);
    return value;
}

bool Focuser::Link() {
    return LogGet("Link", needs_.connections.IsClientConnected(ClientKind::Focuser));
}

void Focuser::Link(bool connect) {
    driver_.log.LogMessage(kOrigin, LogLevel::Info, "SET Link = " + std::string(TrueFalse(connect)));
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

bool Focuser::Absolute() {
    return LogGet("Absolute", false);
}
bool Focuser::IsMoving() {
    return LogGet("IsMoving", false);
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
