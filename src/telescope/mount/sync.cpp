#include "catalogue/wire_commands.h"
#include "kernel/base/text.h"
#include "telescope/position_words.h"
#include "telescope/target_texts.h"
#include "telescope/telescope.h"

/// A sync tells the mount where it points. Plain syncs move its pointing model and can change the side of the pier;
/// recals correct the pointing and leave the meridian logic alone. One setting chooses between the two.
namespace kestrane {
namespace {

constexpr std::int32_t kBeforeSyncMs = 20;

class SyncSteps : TelescopeSteps {
public:
    using TelescopeSteps::TelescopeSteps;

    void RefuseWhileMoving(std::string_view member);
    void RequireTarget(bool first, bool second);
    SyncKind KindOfSettings(std::string_view member);
    void SendRaDecHalf(Sequence& mount, const CharacterCommand& command, std::string_view property,
                       const std::string& text);
    void SendAltAzHalf(Sequence& mount, const CharacterCommand& command, std::string_view property,
                       const std::string& text);
    /// Its reply is not looked at: the position that is read next shows what the mount has made of it.
    void SendSync(Sequence& mount, SyncKind kind);
    void RefreshPosition();
};

[[noreturn]] void RaiseRejected(std::string_view property, const std::string& text) {
    throw DriverError(ErrorNumber::MountRejectedTarget,
                      "KS mount rejected set " + std::string(property) + " = " + text);
}

}  // namespace

void Telescope::SyncToCoordinates(double rightAscension, double declination) {
    SyncSteps steps(*this);
    driver_.log.LogMessage("ASCOM", LogLevel::Info, "SyncToCoordinates() " + RaDecText(rightAscension, declination));
    steps.RefuseWhileMoving("SyncToCoordinates");
    check_connected("SyncToCoordinates", Parked::IsRefused, TrackingMust::BeOn);
    TargetRightAscension(rightAscension);
    TargetDeclination(declination);
    SyncToTarget();
}

void Telescope::SyncToTarget() {
    SyncSteps steps(*this);
    steps.RefuseWhileMoving("SyncToTarget");
    steps.RequireTarget(state_.g_bTargetRaSet, state_.g_bTargetDecSet);
    Sequence mount = Talk(procedure::Sync);
    steps.SendRaDecHalf(mount, wire::SetTargetDec, "TargetDeclination", DecTargetText(TargetDeclination(), state_));
    steps.SendRaDecHalf(mount, wire::SetTargetRa, "TargetRightAscension", RaTargetText(TargetRightAscension(), state_));
    const SyncKind kind = steps.KindOfSettings("SyncToTarget");
    // Intentional: the target is in the mount already when this refuses.
    check_connected("SyncToTarget", Parked::IsRefused, TrackingMust::BeOn);
    steps.SendSync(mount, kind);
    steps.RefreshPosition();
}

void Telescope::SyncToAltAz(double azimuth, double altitude) {
    SyncSteps steps(*this);
    driver_.log.LogMessage("ASCOM", LogLevel::Info, "SyncToAltAz() " + AzAltText(azimuth, altitude));
    steps.RefuseWhileMoving("SyncToAltAz");
    check_connected("SyncToAltAz", Parked::IsRefused);
    TargetAzimuth(azimuth);
    TargetAltitude(altitude);
    SyncToAltAzTarget();
}

void Telescope::SyncToAltAzTarget() {
    SyncSteps steps(*this);
    steps.RefuseWhileMoving("SyncToAltAzTarget");
    check_connected("SyncToAltAzTarget", Parked::IsRefused);
    steps.RequireTarget(state_.g_bTargetAltSet, state_.g_bTargetAzSet);
    const SyncKind kind = steps.KindOfSettings("SyncToAltAzTarget");
    SyncAltAz(state_.g_dTargetAlt, state_.g_dTargetAz, kind);
}

void Telescope::SyncAltAz(double altitude, double azimuth, SyncKind kind) {
    SyncSteps steps(*this);
    // Intentional: a refusal below leaves the poll off the line, until the next connect, slew, park or unpark.
    state_.g_bPollSuspended = true;
    state_.g_bTargetAltSet = state_.g_bTargetAzSet = false;
    Sequence mount = Talk(procedure::Sync);
    steps.SendAltAzHalf(mount, wire::SetTargetAlt, "TargetAltitude",
                        AltTargetText(altitude, state_.g_dTargetAlt, state_));
    steps.SendAltAzHalf(mount, wire::SetTargetAz, "TargetAzimuth", AzTargetText(azimuth, state_));
    driver_.waits.WaitForMilliseconds(kBeforeSyncMs);
    steps.SendSync(mount, kind);
    state_.g_bPollSuspended = false;
    steps.RefreshPosition();
}

/// A mount that moves is somewhere else by the time it hears where it is, and its goto would lead to a wrong place.
void SyncSteps::RefuseWhileMoving(std::string_view member) {
    const bool moves = state_.g_bSlewing || state_.g_bMountSlewing || state_.g_bSafeSlewPending || state_.g_bParking ||
                       state_.g_bAxisMotionBegun || needs_.axisMotions.AnyStillRuns() ||
                       GotoMayRun(state_, driver_.clock.GetTickCount());
    if (moves) {
        driver_.log.LogMessage("ASCOM", LogLevel::Exception, std::string(member) + " : the mount moves");
        throw DriverError(ErrorNumber::InvalidOperation);
    }
}

void SyncSteps::RequireTarget(bool first, bool second) {
    if (!first || !second) {
        throw DriverError(ErrorNumber::SyncTargetIncomplete);
    }
}

SyncKind SyncSteps::KindOfSettings(std::string_view member) {
    const bool recal = driver_.persist.ReadFlag(setting::chkUseRCAL);
    driver_.log.LogMessage("ASCOM", LogLevel::Info, std::string(member) + (recal ? " = RCAL" : " = SYNC"));
    return recal ? SyncKind::Recal : SyncKind::Plain;
}

void SyncSteps::SendRaDecHalf(Sequence& mount, const CharacterCommand& command, std::string_view property,
                              const std::string& text) {
    if (!mount.CommandBoolInternal(command, text)) {
        driver_.log.LogMessage("ASCOM", LogLevel::Exception, "SyncToTarget: Set " + std::string(property) + " FAILED!");
        RaiseRejected(property, text);
    }
}

void SyncSteps::SendAltAzHalf(Sequence& mount, const CharacterCommand& command, std::string_view property,
                              const std::string& text) {
    if (!mount.CommandBoolInternal(command, text)) {
        RaiseRejected(property, text);
    }
}

void SyncSteps::SendSync(Sequence& mount, SyncKind kind) {
    mount.CommandStringInternal(kind == SyncKind::Recal ? wire::Recal : wire::Sync);
}

void SyncSteps::RefreshPosition() {
    ResumeNext errors{driver_.ledger, "Sync"};
    errors.Step([&] { needs_.queries.QueryRa(); });
    errors.Step([&] { needs_.queries.QueryDec(); });
    errors.Step([&] { needs_.queries.QueryAlt(); });
    errors.Step([&] { needs_.queries.QueryAz(); });
}

}  // namespace kestrane
