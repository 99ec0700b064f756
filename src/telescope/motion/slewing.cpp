#include <functional>

#include "catalogue/vocabulary.h"
#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "telescope/motion/park_end.h"
#include "telescope/motion/slew_wait.h"
#include "telescope/position_words.h"
#include "telescope/telescope.h"

namespace kestrane {
namespace {

constexpr std::int16_t kMaxSettleTime = 100;

class SlewSteps : TelescopeSteps {
public:
    using TelescopeSteps::TelescopeSteps;

    void BringPollBack();
    void CheckSlewRange(double rightAscension, double declination);
    std::optional<MotionPermit> CheckAndPermit(std::string_view member);
    std::optional<SlewWait> BeginAltAzSlew(std::string_view member, double azimuth, double altitude);
    void HandOver(std::string_view origin, std::string_view head,
                  const std::function<std::optional<std::string>()>& slew);
    void SlewThroughQuay(std::string_view origin, double rightAscension, double declination);
    bool SafeSlewWanted();
    void TakeBackTarget(double rightAscension, double declination);
};

}  // namespace

/// A refused sync may have left it off the line. Each slew call lifts that, also one that its checks refuse.
void SlewSteps::BringPollBack() {
    state_.g_bPollSuspended = false;
}

void SlewSteps::CheckSlewRange(double rightAscension, double declination) {
    // Intentional: both slews log the words of the asynchronous one.
    const auto refuse = [&](std::string_view what, double value) {
        driver_.log.LogMessage(
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

/// The motion check, and the permit to begin; nothing when a stop has overtaken the call. A client without a link or
/// with a parked mount hears of that in any case. The check of the tracking comes after the permit, since it may switch
/// tracking on.
std::optional<MotionPermit> SlewSteps::CheckAndPermit(std::string_view member) {
    telescope_.check_connected(member, Parked::IsRefused, TrackingMust::BeEither);
    std::optional<MotionPermit> permit = needs_.door.Permit(member);
    if (permit) {
        telescope_.check_connected(member, Parked::IsRefused, TrackingMust::BeOn);
    }
    return permit;
}

bool SlewSteps::SafeSlewWanted() {
    return !driver_.persist.ReadFlag(setting::DisableSafeSlew);
}

void Telescope::SlewToCoordinates(double rightAscension, double declination) {
    SlewSteps steps(*this);
    steps.BringPollBack();
    steps.CheckSlewRange(rightAscension, declination);
    driver_.log.LogMessage("ASCOM", LogLevel::Info, "SlewToCoordinates() " + RaDecText(rightAscension, declination));
    const std::optional<MotionPermit> permit = steps.CheckAndPermit("SlewToCoordinates");
    if (!permit) {
        return;
    }
    const bool safeSlew = steps.SafeSlewWanted();
    SlewWait wait(*this);
    NewSlewBegins(*permit);
    TargetRightAscension(rightAscension);
    TargetDeclination(declination);
    if (needs_.channel.TakesSlews()) {
        steps.SlewThroughQuay("SlewToCoordinates", rightAscension, declination);
        wait.ForEnd();
    } else if (safeSlew) {
        SafeSlew(rightAscension, declination, SlewReturns::OnArrival);
    } else {
        SlewToTarget();
    }
}

void Telescope::SlewToCoordinatesAsync(double rightAscension, double declination, SlewAsker asker) {
    const bool fromClient = asker == SlewAsker::Client;
    SlewSteps steps(*this);
    if (fromClient) {
        steps.BringPollBack();
    }
    steps.CheckSlewRange(rightAscension, declination);
    if (fromClient) {
        driver_.log.LogMessage("ASCOM", LogLevel::Info,
                               "SlewToCoordinatesAsync() " + RaDecText(rightAscension, declination));
    }
    const std::optional<MotionPermit> permit = steps.CheckAndPermit("SlewToCoordinatesAsync");
    if (!permit) {
        return;
    }
    if (fromClient) {
        NewSlewBegins(*permit);
    } else {
        needs_.motion.SlewBegins();
    }
    TargetRightAscension(rightAscension);
    TargetDeclination(declination);
    if (needs_.channel.TakesSlews()) {
        steps.SlewThroughQuay("SlewToCoordinatesAsync", rightAscension, declination);
        return;
    }
    if (fromClient && steps.SafeSlewWanted()) {
        SafeSlew(rightAscension, declination, SlewReturns::AtOnce);
    } else {
        SendSlewCommands();
    }
}

void Telescope::SlewToTarget() {
    SlewSteps steps(*this);
    steps.BringPollBack();
    driver_.log.LogMessage("ASCOM", LogLevel::Info,
                           "SlewToTarget " + RaDecText(state_.g_dTargetRa, state_.g_dTargetDec));
    const std::optional<MotionPermit> permit = steps.CheckAndPermit("SlewToTarget");
    if (!permit) {
        return;
    }
    const double rightAscension = state_.g_dTargetRa;
    const double declination = state_.g_dTargetDec;
    SlewWait wait(*this);
    const std::uint32_t slew = NewSlewBegins(*permit);
    if (!state_.g_bTargetRaSet || !state_.g_bTargetDecSet) {
        throw DriverError(ErrorNumber::TargetIncomplete);
    }
    const bool safeSlew = steps.SafeSlewWanted();
    if (!safeSlew) {
        wait.ForEnd();  // intentional: any slew in progress must end before the new one begins
        if (wait.Aborted() || wait.Replaced(slew, "SlewToTarget")) {
            return;
        }
        steps.TakeBackTarget(rightAscension, declination);
    }
    if (needs_.channel.TakesSlews()) {
        steps.SlewThroughQuay("SlewToTarget", rightAscension, declination);
        wait.ForEnd();
    } else if (safeSlew) {
        SafeSlew(rightAscension, declination, SlewReturns::OnArrival);
    } else {
        SendSlewCommands();
        wait.ForEnd();
    }
}

/// Another client may have written a target during the wait for an earlier slew.
void SlewSteps::TakeBackTarget(double rightAscension, double declination) {
    const bool stands = state_.g_bTargetRaSet && state_.g_bTargetDecSet && state_.g_dTargetRa == rightAscension &&
                        state_.g_dTargetDec == declination;
    if (!stands) {
        telescope_.TargetRightAscension(rightAscension);
        telescope_.TargetDeclination(declination);
    }
}

void Telescope::SlewToTargetAsync() {
    SlewSteps steps(*this);
    steps.BringPollBack();
    driver_.log.LogMessage("ASCOM", LogLevel::Info,
                           "SlewToTargetAsync " + RaDecText(state_.g_dTargetRa, state_.g_dTargetDec));
    const std::optional<MotionPermit> permit = steps.CheckAndPermit("SlewToTargetAsync");
    if (!permit) {
        return;
    }
    if (!state_.g_bTargetRaSet || !state_.g_bTargetDecSet) {
        driver_.log.LogMessage("ASCOM", LogLevel::Exception, "SlewToTargetAsync: Invalid RA or Declination!");
        throw DriverError(ErrorNumber::TargetIncomplete);
    }
    NewSlewBegins(*permit);
    if (needs_.channel.TakesSlews()) {
        steps.SlewThroughQuay("SlewToTargetAsync", state_.g_dTargetRa, state_.g_dTargetDec);
    } else if (steps.SafeSlewWanted()) {
        SafeSlew(state_.g_dTargetRa, state_.g_dTargetDec, SlewReturns::AtOnce);
    } else {
        SendSlewCommands();
    }
}

void Telescope::SlewToAltAz(double azimuth, double altitude) {
    SlewSteps steps(*this);
    if (auto wait = steps.BeginAltAzSlew("SlewToAltAz", azimuth, altitude)) {
        wait->ForEnd();
    }
}

void Telescope::SlewToAltAzAsync(double azimuth, double altitude) {
    SlewSteps steps(*this);
    steps.BeginAltAzSlew("SlewToAltAzAsync", azimuth, altitude);
}

/// Begins the slew. Returns the wait for its end, or nothing when it does not begin.
std::optional<SlewWait> SlewSteps::BeginAltAzSlew(std::string_view member, double azimuth, double altitude) {
    const std::string name{member};
    BringPollBack();
    driver_.log.LogMessage("ASCOM", LogLevel::Info, name + "() " + AzAltText(azimuth, altitude));
    telescope_.check_connected(name, Parked::IsRefused, TrackingMust::BeOff);
    const auto permit = needs_.door.Permit(member);
    if (!permit) {
        return std::nullopt;
    }
    telescope_.Tracking(false);  // intentional: stops the mount once more although it does not track
    SlewWait wait(core_);
    core_.NewSlewBegins(*permit);
    try {
        telescope_.TargetAzimuth(azimuth);
        telescope_.TargetAltitude(altitude);
        if (needs_.channel.TakesSlews()) {
            HandOver(name, "Result from QUAY *SLEWALTAZ=", [&] { return needs_.channel.SlewAltAz(altitude, azimuth); });
        } else {
            telescope_.SendSlewCommands();
        }
    } catch (const DriverError&) {
        needs_.motion.SlewRefused();
        throw;
    }
    return wait;
}

int Telescope::DestinationSideOfPier(double rightAscension, double declination) {
    CheckConnected();
    const double hourAngle = NormalizeHourAngle(needs_.queries.GetLst() - rightAscension);
    const bool west = hourAngle < 0.0 || hourAngle >= 12.0;
    driver_.log.LogMessage("ASCOM", LogLevel::Info,
                           "DestinationSideOfPier: TargetRA=" + PlainNumber(rightAscension) +
                               ", TargetDec=" + PlainNumber(declination) + ", HA=" + PlainNumber(hourAngle) +
                               ", PierSide=" + std::string(west ? pier_side::kWestText : pier_side::kEastText));
    return west ? pier_side::West : pier_side::East;
}

void SlewSteps::SlewThroughQuay(std::string_view origin, double rightAscension, double declination) {
    HandOver(origin, "Result from QUAY *SLEW=", [&] { return needs_.channel.Slew(rightAscension, declination); });
}

/// Whatever the companion answers, the slew counts as taken.
void SlewSteps::HandOver(std::string_view origin, std::string_view head,
                         const std::function<std::optional<std::string>()>& slew) {
    needs_.motion.SlewIsToBeSent();
    const std::optional<std::string> reply = slew();
    if (!reply) {
        core_.LogSlewNotSent("SendSlewCommands");
        return;
    }
    core_.NoteSlewTaken(GotoBy::Companion);
    driver_.log.LogMessage(origin, LogLevel::Info, std::string(head) + *reply);
}

void Telescope::StartSecondLeg(double rightAscension, double declination) {
    if (!state_.g_bParking) {
        SlewToCoordinatesAsync(rightAscension, declination, SlewAsker::SecondLeg);
        return;
    }
    ResumeNext errors{driver_.ledger, "ParkMount"};
    // Tracking is off during a park; the check that clients must pass would refuse the leg.
    const SendingParkLeg leg(*this);
    const bool sent = errors.Step([&] {
        TargetRightAscension(rightAscension);
        TargetDeclination(declination);
        SendSlewCommands();
    });
    if (!sent) {
        needs_.motion.SlewRefused();  // also where it could not be asked
        ParkEnd(*this).Fail(kParkGotoRefused);
    }
}

bool Telescope::Slewing() {
    const bool slewing = needs_.poll.CheckSlewing() || state_.g_bSafeSlewPending || axes_.Runs();
    driver_.log.LogMessage("ASCOM", LogLevel::Info,
                           "GET Slewing = " + std::string(TrueFalse(slewing)) +
                               ", MoveAxis(0)=" + PlainNumber(axes_.rates[mount_axis::Primary]) +
                               ", MoveAxis(1)=" + PlainNumber(axes_.rates[mount_axis::Secondary]));
    YieldToOthers();
    return slewing;
}

std::int16_t Telescope::SlewSettleTime() {
    return static_cast<std::int16_t>(LogGet("SlewSettleTime", static_cast<int>(state_.g_nSlewSettleTime)));
}

void Telescope::SlewSettleTime(std::int16_t seconds) {
    if (seconds < 0 || seconds > kMaxSettleTime) {
        driver_.log.LogMessage("ASCOM", LogLevel::Exception,
                               "SET SlewSettleTime (out of range) = " + std::to_string(seconds));
        throw DriverError(ErrorNumber::OutOfRange);
    }
    LogSet("SlewSettleTime", std::to_string(seconds));
    state_.g_nSlewSettleTime = seconds;
}

}  // namespace kestrane
