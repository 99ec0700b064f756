#include <cmath>

#include "catalogue/wire_commands.h"
#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "telescope/safe_slew_path.h"
#include "telescope/telescope.h"

namespace kestrane {
namespace {

constexpr std::int32_t kWaitBeforeSupervisionMs = 1000;
constexpr std::int32_t kSlewRoundMs = 20;
constexpr std::int32_t kStopSpacingMs = 20;
constexpr std::int32_t kYieldMs = 20;
constexpr std::int32_t kSettleUnitMs = 1000;
constexpr std::int16_t kMaxSettleTime = 100;
constexpr std::int16_t kNoTarget = 9;

std::string Position(double ra, double dec) {
    return "RA=" + PlainNumber(ra) + ", Dec=" + PlainNumber(dec);
}

/// What the mount's reply to a slew command means to a person.
std::string_view MeaningOfRefusal(std::int16_t result) {
    switch (result) {
        case 1:
            return "below the horizon";
        case 2:
            return "below the minimum elevation";
        default:
            return "unknown reason";
    }
}

}  // namespace

void Telescope::CheckSlewRange(double rightAscension, double declination) {
    // Both slews log the asynchronous one's words: wanted.
    const auto refuse = [&](std::string_view what, double value) {
        needs_.log.LogMessage(
            "ASCOM", LogLevel::Exception,
            "SlewToCoordinatesAsync " + std::string(what) + " (out of range) = " + PlainNumber(value));
        throw DriverError(ErrorNumber::OutOfRange);
    };
    if (!(declination >= -90.0 && declination <= 90.0)) {
        refuse("Declination", declination);
    }
    if (!(rightAscension >= 0.0 && rightAscension < 24.0)) {
        refuse("RightAscension", rightAscension);
    }
}

/// An aborted park has no say in the slew that begins behind it; the slew of a park itself leaves that park's flag.
void Telescope::BeginSlew() {
    if (state_.g_bParking && state_.g_bAbortPark) {
        HandleParkComplete();
    }
    if (!state_.g_bParking) {
        state_.g_bAbortPark = false;
    }
    state_.g_bAbortSlew = false;
    state_.g_bSlewing = true;
    state_.g_bMountSlewing = true;
}

bool Telescope::SafeSlewWanted() {
    return !needs_.persist.ReadFlag(setting::DisableSafeSlew);
}

void Telescope::SlewToCoordinates(double rightAscension, double declination) {
    CheckSlewRange(rightAscension, declination);
    needs_.log.LogMessage("ASCOM", LogLevel::Info, "SlewToCoordinates() " + Position(rightAscension, declination));
    check_connected("SlewToCoordinates", true, true);
    const bool safeSlew = SafeSlewWanted();
    const std::uint32_t aborts = state_.g_nAborts;
    BeginSlew();
    TargetRightAscension(rightAscension);
    TargetDeclination(declination);
    if (QuayTakesSlews()) {
        SlewThroughQuay("SlewToCoordinates", rightAscension, declination);
        WaitForSlewEnd(aborts);
    } else if (safeSlew) {
        SafeSlew(rightAscension, declination, false);
    } else {
        SlewToTarget();
    }
}

void Telescope::SlewToCoordinatesAsync(double rightAscension, double declination, bool fromClient) {
    CheckSlewRange(rightAscension, declination);
    if (fromClient) {
        needs_.log.LogMessage("ASCOM", LogLevel::Info,
                              "SlewToCoordinatesAsync() " + Position(rightAscension, declination));
    }
    check_connected("SlewToCoordinatesAsync", true, true);
    BeginSlew();
    TargetRightAscension(rightAscension);
    TargetDeclination(declination);
    if (QuayTakesSlews()) {
        SlewThroughQuay("SlewToCoordinatesAsync", rightAscension, declination);
        return;
    }
    if (fromClient && SafeSlewWanted()) {
        SafeSlew(rightAscension, declination, true);
    } else {
        SendSlewCommands();
    }
}

void Telescope::SlewToTarget() {
    needs_.log.LogMessage("ASCOM", LogLevel::Info, "SlewToTarget " + Position(state_.g_dTargetRa, state_.g_dTargetDec));
    check_connected("SlewToTarget", true, true);
    const double rightAscension = state_.g_dTargetRa;
    const double declination = state_.g_dTargetDec;
    const std::uint32_t aborts = state_.g_nAborts;
    BeginSlew();
    if (!state_.g_bTargetRaSet || !state_.g_bTargetDecSet) {
        throw DriverError(ErrorNumber::TargetIncomplete);
    }
    const bool safeSlew = SafeSlewWanted();
    if (!safeSlew) {
        WaitForSlewEnd(aborts);  // any slew in progress is waited out before the new one: wanted
        if (AbortedSince(aborts)) {
            return;
        }
        // Another client may have written a target meanwhile.
        TargetRightAscension(rightAscension);
        TargetDeclination(declination);
    }
    if (QuayTakesSlews()) {
        SlewThroughQuay("SlewToTarget", rightAscension, declination);
        WaitForSlewEnd(aborts);
    } else if (safeSlew) {
        SafeSlew(rightAscension, declination, false);
    } else {
        SendSlewCommands();
        WaitForSlewEnd(aborts);
    }
}

void Telescope::SlewToTargetAsync() {
    needs_.log.LogMessage("ASCOM", LogLevel::Info,
                          "SlewToTargetAsync " + Position(state_.g_dTargetRa, state_.g_dTargetDec));
    check_connected("SlewToTargetAsync", true, true);
    if (!state_.g_bTargetRaSet || !state_.g_bTargetDecSet) {
        needs_.log.LogMessage("ASCOM", LogLevel::Exception, "SlewToTargetAsync: Invalid RA or Declination!");
        throw DriverError(ErrorNumber::TargetIncomplete, "SlewToTargetAsync: Invalid RA or Declination!");
    }
    BeginSlew();
    if (QuayTakesSlews()) {
        SlewThroughQuay("SlewToTargetAsync", state_.g_dTargetRa, state_.g_dTargetDec);
    } else if (SafeSlewWanted()) {
        SafeSlew(state_.g_dTargetRa, state_.g_dTargetDec, true);
    } else {
        SendSlewCommands();
    }
}

bool Telescope::QuayTakesSlews() const {
    return state_.g_bQuayLink && state_.g_bQuayHandlesSlews;
}

void Telescope::SlewThroughQuay(std::string_view origin, double rightAscension, double declination) {
    const std::string reply = CommandString(
        std::string(wire::CompanionSlew.text) + FormatUs(rightAscension, "") + "," + FormatUs(declination, ""), false);
    needs_.log.LogMessage(origin, LogLevel::Info, "Result from QUAY *SLEW=" + reply);
}

/// A stop was asked for since `aborts` was read. The count tells it also when the supervision has taken the flag
/// already, or a new slew has cleared it.
bool Telescope::AbortedSince(std::uint32_t aborts) const {
    return state_.g_bAbortSlew || state_.g_nAborts != aborts;
}

void Telescope::WaitForSlewEnd(std::uint32_t aborts) {
    const Tick start = needs_.clock.GetTickCount();
    while (needs_.clock.GetTickCount() - start < kWaitBeforeSupervisionMs && !AbortedSince(aborts)) {
        needs_.waits.PumpOnce();
        needs_.clock.Sleep(1);
    }
    if (AbortedSince(aborts)) {
        return;
    }
    state_.g_bSlewing = true;
    if (state_.g_bGosActive) {
        state_.g_bMountSlewing = true;
        needs_.queries.QueryGos();
    }
    WaitWhileSlewing(aborts);
}

void Telescope::WaitWhileSlewing(std::uint32_t aborts) {
    while (!AbortedSince(aborts) && needs_.poll.CheckSlewing() && !AbortedSince(aborts)) {
        PumpSlewRound();
    }
}

void Telescope::PumpSlewRound() {
    if (state_.g_bInPoll) {
        needs_.poll.UpdateMountInfo();  // the timer cannot fire inside a poll step
    }
    needs_.waits.PumpOnce();
    needs_.waits.WaitForMilliseconds(kSlewRoundMs);
}

void Telescope::RefreshPosition() {
    needs_.queries.QueryRa();
    needs_.queries.QueryDec();
    needs_.queries.QuerySideOfMount();
}

/// The whole procedure runs with errors ignored: a refusal of the mount reaches no client. It is logged with its
/// meaning by `RaiseSlewRefusal`.
void Telescope::SafeSlew(double rightAscension, double declination, bool async) {
    ResumeNext errors{needs_.ledger, "SafeSlew"};
    const std::uint32_t aborts = state_.g_nAborts;
    RefreshPosition();
    if (!needs_.queries.LstKnown()) {
        needs_.queries.QueryLst();  // the side of the meridian is not for guessing
    }
    needs_.queries.UpdateHourAngle();
    state_.g_dSafeSlewRa = rightAscension;
    state_.g_dSafeSlewDec = declination;
    double viaRightAscension = 0.0;
    if (PlanFirstLeg(rightAscension, declination, viaRightAscension)) {
        needs_.log.LogMessage("SafeSlew", LogLevel::Info, "Slew 1 of 2: " + Position(viaRightAscension, state_.g_dDec));
        errors.Step([&] { TargetRightAscension(viaRightAscension); });
        errors.Step([&] { TargetDeclination(state_.g_dDec); });
        const bool accepted = errors.Step([&] { SendSlewCommands(); });
        if (!accepted) {
            // A refused first leg must not become a direct slew past the counterweights, nor a slew without an end.
            state_.g_bSafeSlewPending = false;
            return;
        }
        if (async) {
            return;
        }
        WaitWhileSlewing(aborts);
    }
    if (AbortedSince(aborts)) {
        state_.g_bSafeSlewPending = false;
        return;
    }
    errors.Step([&] { TargetRightAscension(rightAscension); });
    errors.Step([&] { TargetDeclination(declination); });
    errors.Step([&] { SendSlewCommands(); });
    if (async) {
        state_.g_bSafeSlewPending = false;
        return;
    }
    WaitWhileSlewing(aborts);
    RefreshPosition();
    needs_.queries.QueryAlt();
    needs_.queries.QueryAz();
    state_.g_bSafeSlewPending = false;
}

/// Decides whether the slew needs two legs, and through which RA the first one goes; sets `g_bSafeSlewPending`.
bool Telescope::PlanFirstLeg(double rightAscension, double declination, double& viaRightAscension) {
    state_.g_bSafeSlewPending = false;
    if (state_.g_bRawRaDecSlews || state_.g_bForkMount || state_.g_bFirmwareSafeSlew) {
        needs_.log.LogMessage("SafeSlew", LogLevel::Info, "SafeSlew is disabled");
        return false;
    }
    if (IsShortSlew(state_.g_dRa, state_.g_dDec, rightAscension, declination)) {
        needs_.log.LogMessage("SafeSlew", LogLevel::Info, "SafeSlew will not be used - Target Dec is withing 1 degree");
        return false;
    }
    const auto via = IntermediateRa(state_.g_nSideOfPier, state_.g_dHourAngle, needs_.queries.GetLst());
    if (!via) {
        return false;
    }
    viaRightAscension = *via;
    state_.g_bSafeSlewPending = true;
    return true;
}

void Telescope::SendSlewCommands() {
    CheckConnected();
    state_.g_bSlewCompletePending = false;
    StartFromSiderealTracking();
    std::string reply = "9";
    if (state_.g_bTargetRaSet && state_.g_bTargetDecSet) {
        reply = SendRaDecSequence();
    } else {
        needs_.log.LogMessage("SendSlewCommands", LogLevel::Error, "No valid Ra/Dec or Alt/Az defined");
    }
    std::int16_t result = 0;
    if (!TryParseInteger(reply, result)) {
        result = 0;
    }
    if (result != 0) {
        RaiseSlewRefusal(result);
    }
    BeginSlew();
    const Tick now = needs_.clock.GetTickCount();
    state_.g_tickSettleEnd = now + state_.g_nSlewSettleTime * kSettleUnitMs;
    state_.g_tickLastSlewCheck = now;
}

void Telescope::StartFromSiderealTracking() {
    if (state_.g_bTracking) {
        ClearCustomDecRate();
        CommandBlindInternal(std::string(wire::TrackingRate.text) + "2", false);
    }
}

std::string Telescope::SendRaDecSequence() {
    ResumeNext errors{needs_.ledger, "SendRaDecSequence"};
    needs_.poll.SetPolling(false);
    std::string ra = HoursToHMS(state_.g_dTargetRa, ":", ":", "", state_.g_nPrecisionRa);
    if (ra.starts_with("24")) {
        ra.replace(0, 2, "00");  // rounded up across midnight; the mount knows no hour 24
    }
    if (!CommandBoolInternal(std::string(wire::SetTargetRa.text) + ra, false)) {
        needs_.log.LogMessage("ASCOM", LogLevel::Exception, "SET TargetRightAscension FAILED!");
        needs_.poll.SetPolling(true);
    }
    std::string dec = DegreesToDMS(state_.g_dTargetDec, "*", ":", "", state_.g_nPrecisionDec);
    if (!dec.starts_with('-')) {
        dec.insert(0, "+");
    }
    if (!CommandBoolInternal(std::string(wire::SetTargetDec.text) + dec, false)) {
        needs_.log.LogMessage("ASCOM", LogLevel::Exception, "SET TargetDeclination FAILED!");
        needs_.poll.SetPolling(true);
    }
    CommandBlindInternal(wire::Slew.text, false);
    std::string reply;
    errors.Assign(reply, [&] { return needs_.link ? needs_.link->ReceiveCounted(1) : std::string{}; });
    needs_.log.LogMessage("Slew RA/Dec", LogLevel::Info, "Sent 'MS', Response: " + reply);
    needs_.poll.SetPolling(true);
    return reply;
}

void Telescope::RaiseSlewRefusal(std::int16_t result) {
    state_.g_bSlewing = false;
    state_.g_bMountSlewing = false;
    if (result != kNoTarget) {
        needs_.log.LogMessage("SendSlewCommands", LogLevel::Error,
                              "The mount refused the slew: reply " + std::to_string(result) + ", " +
                                  std::string(MeaningOfRefusal(result)));
    }
    throw DriverError(result == 1   ? ErrorNumber::BelowHorizon
                      : result == 2 ? ErrorNumber::BelowMinimumElevation
                                    : ErrorNumber::SlewFailed);
}

void Telescope::StartSecondLeg(double rightAscension, double declination) {
    if (state_.g_bParking) {
        // Tracking is off during a park; the check that clients pass would refuse the leg.
        TargetRightAscension(rightAscension);
        TargetDeclination(declination);
        SendSlewCommands();
        return;
    }
    SlewToCoordinatesAsync(rightAscension, declination, false);
}

bool Telescope::Slewing() {
    const bool slewing = needs_.poll.CheckSlewing() || state_.g_bSafeSlewPending;
    needs_.log.LogMessage("ASCOM", LogLevel::Info,
                          "GET Slewing = " + std::string(TrueFalse(slewing)) + ", MoveAxis(0)=0, MoveAxis(1)=0");
    // Keeps a client that asks in a tight loop from starving the poll.
    needs_.waits.WaitForMilliseconds(kYieldMs);
    if (state_.g_bInPoll) {
        for (int i = 0; i < 3; ++i) {
            needs_.clock.Sleep(1);
        }
    } else {
        needs_.waits.PumpOnce();
    }
    return slewing;
}

void Telescope::AbortSlew() {
    check_connected("AbortSlew", true, state_.g_bTracking);
    ++state_.g_nAborts;  // also for a call that waits and has sent nothing yet
    if (state_.g_bSlewing || state_.g_bParking || state_.g_bSafeSlewPending) {
        StopMotion("ASCOM");
    } else if (state_.g_bTracking) {
        TrackingRate(0);  // with nothing to stop, an abort puts the mount back on the sidereal rate: wanted
    }
}

void Telescope::AbortSlewDriver() {
    StopMotion("Driver");
}

void Telescope::StopMotion(std::string_view origin) {
    needs_.log.LogMessage(origin, LogLevel::Info, "AbortSlew()");
    ++state_.g_nAborts;
    state_.g_bSafeSlewPending = false;  // no second leg ever follows an abort
    bool sent = false;
    const auto sendStopPair = [&] {
        if (!sent) {
            CommandBlind(wire::Stop.text, false);
            needs_.waits.WaitForMilliseconds(kStopSpacingMs);
            CommandBlind(wire::Stop.text, false);
            sent = true;
        }
    };
    if (state_.g_bTracking) {
        sendStopPair();
    }
    if (state_.g_bSlewing) {
        state_.g_bAbortSlew = true;
        sendStopPair();
    }
    if (state_.g_bParking) {
        state_.g_bAbortPark = true;
        sendStopPair();
    }
}

std::int16_t Telescope::SlewSettleTime() {
    return static_cast<std::int16_t>(LogGet("SlewSettleTime", static_cast<int>(state_.g_nSlewSettleTime)));
}

void Telescope::SlewSettleTime(std::int16_t seconds) {
    if (seconds < 0 || seconds > kMaxSettleTime) {
        needs_.log.LogMessage("ASCOM", LogLevel::Exception,
                              "SET SlewSettleTime (out of range) = " + std::to_string(seconds));
        throw DriverError(ErrorNumber::OutOfRange);
    }
    LogSet("SlewSettleTime", std::to_string(seconds));
    state_.g_nSlewSettleTime = seconds;
}

}  // namespace kestrane
