#include "catalogue/vocabulary.h"
#include "kernel/base/conversions.h"
#include "settings/site_text.h"
#include "telescope/motion/safe_slew_path.h"
#include "telescope/motion/slew_wait.h"
#include "telescope/position_words.h"
#include "telescope/telescope.h"

namespace kestrane {
namespace {

class SafeSlewSteps : TelescopeSteps {
public:
    using TelescopeSteps::TelescopeSteps;

    bool PlanFirstLeg(double rightAscension, double declination, double& viaRightAscension);
    void RefreshPosition();
    bool ReadPositionForPlan();
    void ReadSideForPlan();
    bool SendFirstLeg(double viaRightAscension);
    bool SendLeg(double rightAscension, double declination);
    bool TargetIsBarred();

    double planLst_ = 0.0;        ///< hours
    double planHourAngle_ = 0.0;  ///< hours, -12 to 12
    std::int16_t planSide_ = pier_side::East;
};

}  // namespace

void SafeSlewSteps::RefreshPosition() {
    needs_.queries.QueryRa();
    needs_.queries.QueryDec();
    needs_.queries.QuerySideOfMount();
}

/// False when a stop has come in the meantime.
bool SafeSlewSteps::ReadPositionForPlan() {
    return core_.UntilStopped(procedure::SafeSlew, [&](Sequence& mount) {
        if (!needs_.queries.LstKnown()) {
            needs_.queries.QueryLst();  // the side of the meridian must not be guessed
        }
        RefreshPosition();
        needs_.queries.UpdateHourAngle();
        ReadSideForPlan();
        mount.LetStopIn();
    });
}

/// A wrong side or sidereal time would plan a direct way past the counterweights. What clients read and the hand box
/// shows stays as the mount told it.
void SafeSlewSteps::ReadSideForPlan() {
    double longitude = state_.g_dSiteLongitude;
    double west = 0.0;
    if (!state_.g_bLongitudeRead && ParseLongitudeText(driver_.persist.Read(setting::Longitude), west, driver_.log)) {
        longitude = -west;
    }
    planLst_ = needs_.queries.PlanLst(longitude);
    planHourAngle_ = NormalizeHourAngle(planLst_ - state_.g_dRa);
    planSide_ = needs_.queries.PlanSide(planHourAngle_);
}

/// The whole procedure runs with errors ignored: a refusal of the mount reaches no client. It is logged with its
/// meaning when the mount has answered.
void Telescope::SafeSlew(double rightAscension, double declination, SlewReturns returns) {
    SafeSlewSteps steps(*this);
    SlewWait wait(*this);
    const std::uint32_t slew = state_.g_nSlewsBegun;
    if (!steps.ReadPositionForPlan()) {
        LogSlewNotSent("SafeSlew");
        return;
    }
    state_.g_dSafeSlewRa = rightAscension;
    state_.g_dSafeSlewDec = declination;
    double viaRightAscension = 0.0;
    bool inTwoLegs = false;
    if (steps.PlanFirstLeg(rightAscension, declination, viaRightAscension)) {
        const bool accepted = steps.SendFirstLeg(viaRightAscension);
        if (!accepted || returns == SlewReturns::AtOnce) {
            return;  // the supervision starts the second leg
        }
        wait.WhileSlewing();
        if (wait.Replaced(slew, "SafeSlew")) {
            return;  // the mount is at the target of the other slew: nobody has planned a way from there to this one
        }
        inTwoLegs = true;
    }
    if (wait.Aborted() || (inTwoLegs && steps.TargetIsBarred())) {
        return;
    }
    steps.SendLeg(rightAscension, declination);
    if (returns == SlewReturns::AtOnce) {
        needs_.motion.SecondLegDropped();
        return;
    }
    wait.WhileSlewing();
    steps.RefreshPosition();
    needs_.queries.QueryAlt();
    needs_.queries.QueryAz();
    if (state_.g_nSlewsBegun == slew) {
        needs_.motion.SecondLegDropped();
    }
}

bool SafeSlewSteps::SendFirstLeg(double viaRightAscension) {
    driver_.log.LogMessage("SafeSlew", LogLevel::Info, "Slew 1 of 2: " + RaDecText(viaRightAscension, state_.g_dDec));
    state_.g_dFirstLegRa = viaRightAscension;
    state_.g_dFirstLegDec = state_.g_dDec;
    const bool accepted = SendLeg(viaRightAscension, state_.g_dDec);
    if (!accepted) {
        // A refused first leg must not become a direct slew past the counterweights, or a slew without an end.
        needs_.motion.SecondLegDropped();
    }
    return accepted;
}

/// Whether the target must not be sent any more after a first leg.
bool SafeSlewSteps::TargetIsBarred() {
    const std::string_view reason = needs_.poll.WhyNoSecondLeg();
    if (!reason.empty()) {
        driver_.log.LogMessage("SafeSlew", LogLevel::Warning,
                               "The target is not sent to the mount again: " + std::string(reason));
        needs_.motion.SecondLegDropped();
    }
    return !reason.empty();
}

/// False when the mount has refused it.
bool SafeSlewSteps::SendLeg(double rightAscension, double declination) {
    ResumeNext errors{driver_.ledger, "SafeSlew"};
    errors.Step([&] { telescope_.TargetRightAscension(rightAscension); });
    errors.Step([&] { telescope_.TargetDeclination(declination); });
    return errors.Step([&] { telescope_.SendSlewCommands(); });
}

/// Decides whether the slew needs two legs, and through which RA the first one goes; sets `g_bSafeSlewPending`.
bool SafeSlewSteps::PlanFirstLeg(double rightAscension, double declination, double& viaRightAscension) {
    needs_.motion.SecondLegDropped();
    if (state_.g_bRawRaDecSlews || state_.g_bForkMount || state_.g_bFirmwareSafeSlew) {
        driver_.log.LogMessage("SafeSlew", LogLevel::Info, "SafeSlew is disabled");
        return false;
    }
    if (IsShortSlew(state_.g_dRa, state_.g_dDec, rightAscension, declination)) {
        driver_.log.LogMessage("SafeSlew", LogLevel::Info,
                               "SafeSlew will not be used - Target Dec is withing 1 degree");
        return false;
    }
    const auto via = IntermediateRa(planSide_, planHourAngle_, planLst_);
    if (!via) {
        return false;
    }
    viaRightAscension = *via;
    needs_.motion.SecondLegPlanned();
    return true;
}

}  // namespace kestrane
