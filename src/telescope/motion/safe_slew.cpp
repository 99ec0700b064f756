#include "kernel/base/conversions.h"
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
};

}  // namespace

void SafeSlewSteps::RefreshPosition() {
    needs_.queries.QueryRa();
    needs_.queries.QueryDec();
    needs_.queries.QuerySideOfMount();
}

/// False when a stop has come meanwhile.
bool SafeSlewSteps::ReadPositionForPlan() {
    return core_.UntilStopped(procedure::SafeSlew, [&](Sequence& mount) {
        if (!needs_.queries.LstKnown()) {
            needs_.queries.QueryLst();  // the side of the meridian is not for guessing
        }
        RefreshPosition();
        needs_.queries.UpdateHourAngle();
        mount.LetStopIn();
    });
}

/// The whole procedure runs with errors ignored: a refusal of the mount reaches no client. It is logged with its
/// meaning by `LogRefusal`.
void Telescope::SafeSlew(double rightAscension, double declination, bool async) {
    SafeSlewSteps steps(*this, *this);
    ResumeNext errors{needs_.ledger, "SafeSlew"};
    SlewWait wait(*this);
    const std::uint32_t slew = state_.g_nSlewsBegun;
    if (!steps.ReadPositionForPlan()) {
        return;
    }
    state_.g_dSafeSlewRa = rightAscension;
    state_.g_dSafeSlewDec = declination;
    double viaRightAscension = 0.0;
    if (steps.PlanFirstLeg(rightAscension, declination, viaRightAscension)) {
        needs_.log.LogMessage("SafeSlew", LogLevel::Info,
                              "Slew 1 of 2: " + RaDecText(viaRightAscension, state_.g_dDec));
        errors.Step([&] { TargetRightAscension(viaRightAscension); });
        errors.Step([&] { TargetDeclination(state_.g_dDec); });
        const bool accepted = errors.Step([&] { SendSlewCommands(); });
        if (!accepted) {
            // A refused first leg must not become a direct slew past the counterweights, nor a slew without an end.
            needs_.motion.SecondLegDropped();
            return;
        }
        if (async) {
            return;
        }
        wait.WhileSlewing();
        if (wait.Replaced(slew, "SafeSlew")) {
            return;  // the mount stands at the other slew's target: from there nobody has planned a way to this one
        }
    }
    if (wait.Aborted()) {
        return;
    }
    errors.Step([&] { TargetRightAscension(rightAscension); });
    errors.Step([&] { TargetDeclination(declination); });
    errors.Step([&] { SendSlewCommands(); });
    if (async) {
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

/// Decides whether the slew needs two legs, and through which RA the first one goes; sets `g_bSafeSlewPending`.
bool SafeSlewSteps::PlanFirstLeg(double rightAscension, double declination, double& viaRightAscension) {
    needs_.motion.SecondLegDropped();
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
    needs_.motion.SecondLegPlanned();
    return true;
}

}  // namespace kestrane
