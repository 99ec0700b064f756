#include "state/motion.h"

namespace kestrane {

void Motion::FirstObjectBegins() {
    state_.g_bParked = false;
    state_.g_bSlewing = false;
    state_.g_bAbortSlew = false;
    state_.g_bSlewCompletePending = true;
    state_.g_bOwnSlew = false;
}

void Motion::Disconnected() {
    state_.g_bSlewing = false;
    state_.g_bMountSlewing = false;
    state_.g_bSafeSlewPending = false;
    state_.g_bAbortSlew = false;
    state_.g_bOwnSlew = false;
}

void Motion::SlewBegins() {
    if (state_.g_bAbortPark) {
        state_.g_bParking = false;
    }
    state_.g_bAbortPark = false;
    state_.g_bAbortSlew = false;
    state_.g_nSameDistance = 0;
    state_.g_bAxisMotionBegun = false;
    state_.g_bSlewCompletePending = false;
    state_.g_bSlewing = true;
    state_.g_bMountSlewing = true;
    state_.g_bStandAwaited = false;
    state_.g_bOwnSlew = true;
}

std::uint32_t Motion::NewSlewBegins(const MotionPermit& /*permit*/) {
    SlewBegins();
    state_.g_bSafeSlewPending = false;
    state_.g_bSecondLegBarred = false;
    return ++state_.g_nSlewsBegun;
}

void Motion::SlewIsToBeSent() {
    state_.g_bSlewCompletePending = false;
}

void Motion::SlewTaken() {
    SlewBegins();
    GotoTaken();
    if (state_.g_bSafeSlewPending) {
        state_.g_bSecondLegBarred = false;  // what went out ahead of the first leg cannot have cut it
    }
    ++state_.g_nSlewsTaken;
}

void Motion::GotoSent() {
    state_.g_bGotoSent = true;
    state_.g_bStandAwaited = false;
}

void Motion::GotoTaken() {
    state_.g_bGotoSent = true;
    state_.g_bGotoRuns = true;
    state_.g_bMoveSent = false;
}

void Motion::MoveSent() {
    state_.g_bMoveSent = true;
    state_.g_bStandAwaited = false;
}

void Motion::MoveEnded() {
    state_.g_bMoveSent = false;
}

void Motion::SlewRefused() {
    state_.g_bSlewing = false;
    state_.g_bMountSlewing = false;
    state_.g_bSafeSlewPending = false;
    state_.g_bOwnSlew = false;
}

void Motion::SecondLegPlanned() {
    state_.g_bSafeSlewPending = true;
}

void Motion::SecondLegDropped() {
    state_.g_bSafeSlewPending = false;
}

void Motion::SecondLegTaken() {
    state_.g_bSafeSlewPending = false;
}

void Motion::SecondLegBarred() {
    state_.g_bSafeSlewPending = false;
    state_.g_bSecondLegBarred = true;
}

void Motion::SecondLegWatchedByDistance() {
    state_.g_bSlewing = true;
    state_.g_bOwnSlew = true;
}

void Motion::SecondLegWatchedByStatus() {
    state_.g_bMountSlewing = true;
    state_.g_bOwnSlew = true;
}

void Motion::SupervisionBegins() {
    state_.g_bSlewing = true;
    if (state_.g_bGosActive) {
        state_.g_bMountSlewing = true;
    }
}

void Motion::SupervisionFollowsStatus() {
    state_.g_bSlewing = bool{state_.g_bMountSlewing};
}

void Motion::MountReportsSlewing(bool slewing) {
    state_.g_bMountSlewing = slewing;
    state_.g_bGotoSent = slewing;
    state_.g_bGotoRuns = slewing;
    if (!slewing) {
        state_.g_bStandAwaited = false;
    }
}

void Motion::DistanceChanged() {
    state_.g_nSameDistance = 0;
}

bool Motion::DistanceStayed(bool positionIsNew) {
    if (!positionIsNew && state_.g_bSafeSlewPending) {
        return false;
    }
    ++state_.g_nSameDistance;
    return true;
}

void Motion::SeenToStandAtTarget() {
    state_.g_bGotoRuns = false;
    state_.g_bGotoSent = false;
}

void Motion::SeenToStandShort() {
    state_.g_bGotoRuns = false;
}

void Motion::SlewEnds() {
    state_.g_bSlewing = false;
    state_.g_bMountSlewing = false;
    state_.g_bAbortSlew = false;
    state_.g_bSafeSlewPending = false;
    state_.g_nSameDistance = 0;
}

void Motion::SlewCompleteDue() {
    state_.g_bSlewCompletePending = true;
}

void Motion::SlewCompleteTaken() {
    state_.g_bSlewCompletePending = false;
    state_.g_bOwnSlew = false;
}

void Motion::StopAskedFor() {
    ++state_.g_nAborts;
}

void Motion::StopSent() {
    if (state_.g_bGotoRuns || state_.g_bSafeSlewPending) {
        state_.g_bSecondLegBarred = true;
    }
    AwaitStand();
    state_.g_bGotoRuns = false;
    state_.g_bMoveSent = false;
}

void Motion::Stopped() {
    ++state_.g_nAborts;
    state_.g_bSafeSlewPending = false;
    AwaitStand();
    if (state_.g_bSlewing) {
        state_.g_bAbortSlew = true;
    }
    ParkAborted();
}

void Motion::AwaitStand() {
    if (state_.g_bSlewing || state_.g_bParking || state_.g_bGotoSent) {
        state_.g_bStandAwaited = true;
    }
}

void Motion::AxisTakesOver() {
    ++state_.g_nAborts;
    state_.g_bSlewing = false;
    state_.g_bMountSlewing = false;
    state_.g_bSafeSlewPending = false;
    state_.g_bAbortSlew = false;
    state_.g_bOwnSlew = false;
    ParkAborted();
}

void Motion::AxisMotionBegins() {
    state_.g_bAxisMotionBegun = true;
}

void Motion::AxisMotionsEnd() {
    state_.g_bAxisMotionBegun = false;
}

bool Motion::TrackingChosen() {
    const bool slewEnds = state_.g_bSlewing || state_.g_bSafeSlewPending;
    ++state_.g_nTrackingChoices;
    state_.g_bAxisMotionBegun = false;
    state_.g_bSafeSlewPending = false;
    if (slewEnds) {
        ++state_.g_nAborts;
    }
    return slewEnds;
}

void Motion::ParkAskedFor() {
    state_.g_bAbortPark = false;
    state_.g_bParkAsked = true;
}

void Motion::ParkMoveBegins() {
    state_.g_bSlewing = true;
    if (state_.g_bGosActive) {
        state_.g_bMountSlewing = true;
    }
    state_.g_bAbortSlew = false;
    state_.g_bSafeSlewPending = false;
    state_.g_bSlewCompletePending = false;
    state_.g_bParking = true;
    state_.g_bParked = false;
    ++state_.g_nSlewsBegun;
    state_.g_nSameDistance = 0;
}

void Motion::ParkMoveEnds() {
    state_.g_bSlewing = false;
    state_.g_bMountSlewing = false;
    state_.g_bAbortSlew = false;
}

void Motion::ParkTakesOver() {
    state_.g_bSlewing = false;
    state_.g_bMountSlewing = false;
    state_.g_bAbortSlew = false;
    state_.g_bSafeSlewPending = false;
    state_.g_bSlewCompletePending = false;
    state_.g_bParking = false;
    ++state_.g_nSlewsBegun;
    state_.g_nSameDistance = 0;
    state_.g_bOwnSlew = false;
}

void Motion::ParkAborted() {
    if (InPark(state_)) {
        state_.g_bAbortPark = true;
    }
}

void Motion::ParkStopAskedFor() {
    ParkAborted();
    if (InPark(state_)) {
        ++state_.g_nAborts;
    }
}

void Motion::ParkLeft() {
    ParkAborted();
    state_.g_bParking = false;
    state_.g_bParkAsked = false;
    state_.g_bSlewCompletePending = false;
}

void Motion::ParkBegins() {
    state_.g_bParking = true;
    state_.g_bParkAsked = false;
}

void Motion::ParkEnds() {
    state_.g_bParking = false;
    state_.g_bParkAsked = false;
}

void Motion::MountReportsParked(bool parked) {
    state_.g_bParked = parked;
}

void Motion::GuidePulseBegins(GuideDirection direction) {
    SetGuiding(direction, true);
}

void Motion::GuidePulseEnds(GuideDirection direction) {
    SetGuiding(direction, false);
}

void Motion::SetGuiding(GuideDirection direction, bool guiding) {
    switch (direction) {
        case GuideDirection::North:
            state_.g_bGuidingNorth = guiding;
            break;
        case GuideDirection::South:
            state_.g_bGuidingSouth = guiding;
            break;
        case GuideDirection::East:
            state_.g_bGuidingEast = guiding;
            break;
        case GuideDirection::West:
            state_.g_bGuidingWest = guiding;
            break;
    }
}

}  // namespace kestrane
