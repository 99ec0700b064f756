#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "catalogue/vocabulary.h"
#include "kernel/base/counters.h"
#include "kernel/base/log.h"
#include "platform/clock.h"
#include "state/owned_value.h"

namespace kestrane {

class Motion;

/// Where a park with the counterweight up is to end, as the settings keep it.
struct CounterweightUpPlace {
    double hourAngle = 0.0;    ///< hours
    double timeOffset = 0.0;   ///< hours; see `CounterweightUpDelay`
    double declination = 0.0;  ///< degrees
};

/// The shared state of the driver, grouped by owner. All procedures on the logic thread read and write it directly. The
/// exception is what moves: `Motion` alone writes that, by events, and everybody reads it (`OwnedBy<Motion, ...>`). It
/// has no behaviour. Ticks are milliseconds of `Clock::GetTickCount`.
struct DriverState : LogState, CounterState {
    // --- start-up -----------------------------------------------------------------------------------------------
    std::string g_sMountRateType;          ///< key of the rate lists in use; "unknown" until they are first built
    bool g_bUseOldButtonBehavior = false;  ///< setting `UseOldButtonBehavior`

    // --- connection manager -------------------------------------------------------------------------------------
    std::int16_t g_nScopeObjects = 0;      ///< live `Telescope` objects, with the internal instance
    std::int16_t g_nFocuserObjects = 1;    ///< live `Focuser` objects, with one permanent internal slot
    std::int16_t g_nScopeConnects = 0;     ///< `Telescope` clients that have set `Connected` true
    std::int16_t g_nFocuserConnects = 0;   ///< `Focuser` clients that have set `Link` true
    bool g_bConnected = false;             ///< at least one telescope client connected
    bool g_bFocuserConnected = false;      ///< at least one focuser client connected
    double g_dConnectTimeout = 1.0;        ///< seconds; 0: no limit
    std::int32_t g_nReceiveTimeoutMS = 0;  ///< the receive time-out with which the link was opened, ms
    std::string g_sLatestVersion;          ///< of the driver, as its update service has told; empty before
    bool g_bNewVersion = false;            ///< that one is newer than this driver
    std::string g_sVersion;                ///< firmware version, without its terminator
    bool g_bOpeningLink = false;           ///< a connect tries to open the link and to find a mount
    bool g_bMountUnproved = false;         ///< a client is connected over a link on which no mount has answered yet
    bool g_bVersionKnown = false;          ///< `OpenConnection` has just read the version
    bool g_bFreshConnect = false;          ///< a real connect has just been made
    std::string g_sForkReply;              ///< reply to the mount form query
    bool g_bForkMount = false;             ///< the reply is 1, 3, 5 or 7
    bool g_bQuayConfigured = false;        ///< the settings ask for the companion
    bool g_bQuayLink = false;              ///< the mount is reached through the companion, proved by a reply
    bool g_bQuayHandlesSlews = false;      ///< the companion takes slews
    std::int32_t g_nQuaySeq = 0;           ///< sequence number of the companion wrap, 1 when it is found
    Tick g_tickLastQuayCheck;              ///< last periodic companion check; 0: none yet

    // --- command exchange ---------------------------------------------------------------------------------------
    bool g_bResync = false;  ///< a reply was out of sequence; the next exchange clears the line first

    // --- firmware features --------------------------------------------------------------------------------------
    std::int16_t g_nPrecisionRa = 1;       ///< decimals of RA seconds in commands
    std::int16_t g_nPrecisionDec = 0;      ///< decimals of Dec seconds
    std::int16_t g_nPrecisionAltAz = 0;    ///< decimals of Alt/Az seconds
    std::int16_t g_nPrecisionLatLong = 0;  ///< decimals of site seconds
    double g_dMaxMoveRate = 99.9999;       ///< largest custom move rate
    bool g_bGosSupported = false;          ///< the firmware answers the status query
    bool g_bGosActive = false;             ///< the last status text was usable
    bool g_bDontUseGosForSlew = false;     ///< setting `DontUseGOSForSlew`
    bool g_bHasCustomRates = false;
    bool g_bHasMeridianQuery = false;
    bool g_bKc4OrLater = false;
    bool g_bIsKc4 = false;
    bool g_bIsKc5 = false;
    std::int16_t g_nFirmwareRev = 0;
    bool g_bRev160 = false;
    bool g_bFirmwareU = false;
    bool g_bNewBSequence = false;
    bool g_bFirmwareSafeSlew = false;  ///< the firmware needs no two-leg slew
    bool g_bExtendedPulses = false;    ///< the firmware takes long pulses
    bool g_bAutoCalibrated = false;    ///< the directions were calibrated since the link was opened, or need not be

    // --- features of the controller -----------------------------------------------------------------------------
    bool g_bControllerTakesRates = false;  ///< by the setting `Controller`, as it was read last
    bool g_bPemAvailable = true;
    bool g_bFocuserAvailable = true;
    bool g_bBacklashAvailable = true;
    bool g_bKingRateAvailable = false;  ///< the firmware has the King correction
    bool g_bKingRateEnabled = false;    ///< the user wants it: `chkEnableKingRate`
    std::int16_t g_nPemState = 0;       ///< 0 not known, 1 enabled, 2 disabled, 3 recording

    // --- the mount picture --------------------------------------------------------------------------------------
    double g_dRa = 0.0;             ///< hours, 0 up to below 24
    double g_dDec = 0.0;            ///< degrees, -90 to 90
    double g_dAlt = 0.0;            ///< degrees
    double g_dAz = 0.0;             ///< degrees, 0 up to below 360
    double g_dLst = 0.0;            ///< last sidereal time read from the mount, hours
    double g_dMountTime = 0.0;      ///< last local time read from the mount, hours
    double g_dTimeZone = 0.0;       ///< last UTC offset read from the mount, hours, with the mount's sign
    double g_dMeridianDelay = 0.0;  ///< hours, -6 to 6
    /// Two readings since the link was opened agreed with it, or a person has set it: only then is it sent to the
    /// mount.
    bool g_bMeridianDelayKnown = false;
    bool g_bMeridianDelayRead = false;  ///< one reading since the link was opened agreed with it
    double g_dHourAngle = 0.0;          ///< hours, -12 to 12
    std::int16_t g_nSideOfPier = pier_side::East;
    OwnedBy<Motion, bool> g_bParked{false};
    bool g_bTracking = false;
    std::int16_t g_nNoResponse = 0;   ///< consecutive queries without an answer
    std::uint32_t g_nSilences = 0;    ///< queries without an answer so far; wraps
    std::uint32_t g_nLinkLosses = 0;  ///< how often three questions went unanswered with no good reply between; wraps
    bool g_bLostComms = false;        ///< three queries in a row had no answer, or low power
    bool g_bLowPower = false;         ///< the low power letter was seen
    std::uint16_t g_nAnsweredQueries = 0;       ///< running count of answered queries, wraps
    std::uint16_t g_nAnsweredQueriesTotal = 0;  ///< the same, for a second observer, wraps
    bool g_bQuayTimeSync = true;                ///< the companion may be asked to synchronise time
    std::int16_t g_nSamePosition = 0;           ///< reports in a row that repeated the last position
    bool g_bRaRead = false;                     ///< `g_dRa` was read on this link, and after an unpark at power-on
    bool g_bDecRead = false;                    ///< `g_dDec` likewise
    bool g_bInitUiDone = false;                 ///< the hand box was filled for the reported power-on position
    bool g_bPowerOnInitDone = false;            ///< the mount was initialized for the reported power-on position
    bool g_bUnparkConfirmOpen = false;          ///< the hand box asks from which position to unpark the mount

    // --- query stamps -------------------------------------------------------------------------------------------
    Tick g_tickLastRa, g_tickLastDec, g_tickLastAlt, g_tickLastAz;  ///< queried each 1000 ms
    Tick g_tickLastTime, g_tickLastLst, g_tickLastGos;              ///< each 5000 ms
    Tick g_tickLastSide;                                            ///< each 4000 ms
    Tick g_tickLastTimeZone;                                        ///< each 30000 ms

    // --- poll ---------------------------------------------------------------------------------------------------
    bool g_bInPoll = false;         ///< the poll step is running
    bool g_bPollSuspended = false;  ///< the poll must not talk to the mount: a command sequence is under way
    bool g_bFlashShowing = false;   ///< the slew flash shows its words instead of coordinates

    // --- targets ------------------------------------------------------------------------------------------------
    double g_dTargetRa = 0.0;   ///< hours
    double g_dTargetDec = 0.0;  ///< degrees
    double g_dTargetAlt = 0.0;  ///< degrees
    double g_dTargetAz = 0.0;   ///< degrees
    bool g_bTargetRaSet = false;
    bool g_bTargetDecSet = false;
    bool g_bTargetAltSet = false;
    bool g_bTargetAzSet = false;
    bool g_bTargetIsRaDec = true;  ///< the last target write was RA or Dec

    // --- site and optics ----------------------------------------------------------------------------------------
    double g_dSiteLatitude = 0.0;   ///< degrees, north positive
    double g_dSiteLongitude = 0.0;  ///< degrees, east positive: the negated mount value, not folded
    bool g_bLongitudeRead = false;  ///< the mount has told its longitude since the link was opened
    double g_dSiteElevation = 0.0;  ///< metres
    double g_dAperture = 0.0;       ///< metres
    double g_dFocalLength = 0.0;    ///< metres

    // --- slewing ------------------------------------------------------------------------------------------------
    OwnedBy<Motion, bool> g_bSlewing{false};       ///< a slew is under supervision
    OwnedBy<Motion, bool> g_bMountSlewing{false};  ///< slew state as last seen in the status text
    OwnedBy<Motion, bool> g_bAbortSlew{false};     ///< an abort of the running slew was requested
    /// Stops asked for so far; wraps. A wait that sees the count change was aborted.
    OwnedBy<Motion, std::uint32_t> g_nAborts{0};
    /// Slews asked for so far; wraps. A wait that sees the count change was replaced.
    OwnedBy<Motion, std::uint32_t> g_nSlewsBegun{0};
    /// Gotos that the mount has accepted so far, each leg counted; wraps.
    OwnedBy<Motion, std::uint32_t> g_nSlewsTaken{0};
    /// `MoveAxis` has started an axis, and the driver has seen nothing since that ended the motion.
    OwnedBy<Motion, bool> g_bAxisMotionBegun{false};
    OwnedBy<Motion, bool> g_bSafeSlewPending{false};  ///< the second leg is still to be sent
    OwnedBy<Motion, bool> g_bSecondLegBarred{false};  ///< the second leg must not be sent any more
    OwnedBy<Motion, bool> g_bGotoSent{false};         ///< a goto went out, and nobody has seen its end yet
    OwnedBy<Motion, bool> g_bGotoRuns{false};         ///< the mount has accepted a goto, and nothing seen ended it
    OwnedBy<Motion, bool> g_bMoveSent{false};      ///< a move without a time went out, and nothing since that ends it
    OwnedBy<Motion, bool> g_bStandAwaited{false};  ///< a stop went out, and the mount has not reported that it stands
    OwnedBy<Motion, bool> g_bOwnSlew{false};       ///< the driver slews, or what follows such a slew is to come
    Tick g_tickLastGoto;                           ///< when the last goto went out, or was accepted after that
    /// The companion has the last goto, and no status text has shown since that the mount moves by it.
    bool g_bGotoPlanned = false;
    /// The mount moved when the companion got that, and no status text has shown since that it stands: it may still go
    /// where it was sent before.
    bool g_bMovedWhenPlanned = false;
    Tick g_tickMotionStopped;                             ///< when a motion was stopped; valid where one was
    bool g_bMotionStopped = false;                        ///< a motion was stopped since the start
    double g_dFirstLegRa = 0.0;                           ///< target of the first leg, hours
    double g_dFirstLegDec = 0.0;                          ///< target of the first leg, degrees
    std::uint32_t g_nSilencesAtGoto = 0;                  ///< `g_nSilences` when the mount accepted the last goto
    std::uint32_t g_nLinkLossesAtGoto = 0;                ///< `g_nLinkLosses` at that moment
    double g_dSafeSlewRa = 0.0;                           ///< final target of the two-leg slew, hours
    double g_dSafeSlewDec = 0.0;                          ///< final target of the two-leg slew, degrees
    OwnedBy<Motion, bool> g_bSlewCompletePending{false};  ///< the slew-complete step is to run
    Tick g_tickSettleEnd;                                 ///< when settling ends
    Tick g_tickLastSlewCheck;                             ///< last slew check
    Tick g_tickSeenRa, g_tickSeenDec, g_tickSeenAlt, g_tickSeenAz;  ///< query stamps at the last supervision pass
    std::int16_t g_nSlewSettleTime = 1;                             ///< seconds
    bool g_bRawRaDecSlews = false;                                  ///< no two-leg slews
    double g_dLastTargetDistance = 0.0;                ///< distance to the target at the last supervision pass, degrees
    double g_dLastDelta = 0.0;                         ///< its change at the last pass, degrees
    OwnedBy<Motion, std::int16_t> g_nSameDistance{0};  ///< passes in a row with the distance unchanged
    bool g_bSideInitDone = false;                      ///< the first slew-complete since the start has passed

    // --- focuser ------------------------------------------------------------------------------------------------
    std::string g_sFocusInCommand = "F-";      ///< the command that runs the motor in
    std::string g_sFocusOutCommand = "F+";     ///< the command that runs it out
    std::string g_sFocusBacklash = "100";      ///< backlash run, ms, a whole number as text
    bool g_bFocusFinalOut = true;              ///< moves end outward
    bool g_bFocusFast = true;                  ///< the fast speed
    std::int32_t g_nFocusMaxIncrement = 5000;  ///< greatest step count of one move
    std::int32_t g_nFocusStepMultiplier = 1;   ///< ms for each step
    bool g_bFocusBacklashReturn = false;       ///< a return leg is still to come
    bool g_bFocusFirstLegOut = false;          ///< the first leg of the backlash move was sent as "F+"

    // --- tracking, axis motion, guiding, parking ----------------------------------------------------------------
    double g_dGuideRate = 1.0;  ///< multiples of sidereal
    std::int32_t g_nTrackingRate = tracking_rate::Sidereal;
    /// Writes of the tracking so far; each of them stopped the mount; wraps.
    OwnedBy<Motion, std::uint32_t> g_nTrackingChoices{0};
    std::int16_t g_nDisplayedRate = displayed_rate::NoneYet;
    Tick g_tickDisplayedRate;        ///< last change of the displayed rate
    std::string g_sFaultCode = "0";  ///< fault character of the last status text; "0": none
    std::string g_sStatus;           ///< the last status text
    Tick g_tickParkedSince;          ///< tick at which the mount was first seen parked; 0: not parked
    std::string g_sTrackingCommand = "RT2";
    bool g_bAutoEnableTracking = false;  ///< setting `chkAutoEnableTracking`
    double g_dRaRate = 0.0;              ///< custom RA rate
    double g_dDecRate = 0.0;             ///< custom Dec rate
    bool g_bRestoreRatePending = false;
    OwnedBy<Motion, bool> g_bParking{false};
    OwnedBy<Motion, bool> g_bParkAsked{false};  ///< a park has begun that does not count as under way yet
    OwnedBy<Motion, bool> g_bAbortPark{false};
    std::int16_t g_nParkIndex = -1;    ///< position of the park under way; -1 once the first of its two legs has ended
    std::int16_t g_nParkStarted = 0;   ///< the position with which it began
    bool g_bCwUpPark = false;          ///< it is to end with the counterweight up
    bool g_bSlewingEast = false;       ///< a park moves the mount east before its goto
    bool g_bLeavingCwUp = false;       ///< a park lets the counterweight down before its goto
    CounterweightUpPlace g_cwUpPlace;  ///< where a park with the counterweight up leads, from its first leg on
    bool g_bSavedTracking = false;     ///< whether the mount tracked when the park began
    bool g_bDelayTaken = false;        ///< the mount has the meridian delay that went with the last time
    std::optional<Tick> g_tickParkSent, g_tickUnparkSent;  ///< the last of the two commands; the other is empty
    std::optional<Tick> g_tickPlaceGiven;                  ///< the last command that told the mount where it points
    bool g_bWestSide = false;                              ///< the mount is on the west side of the pier
    bool g_bCounterweightUp = false;                       ///< result of the counterweight-up rule
    double g_dMaxAxisRate = 5.0;                           ///< largest MoveAxis rate, degrees per second
    OwnedBy<Motion, bool> g_bGuidingNorth{false}, g_bGuidingSouth{false};  ///< a guide pulse in this direction runs
    OwnedBy<Motion, bool> g_bGuidingEast{false}, g_bGuidingWest{false};
    std::int32_t g_nPulseNorth = 0, g_nPulseSouth = 0;  ///< milliseconds of the last pulse in this direction
    std::int32_t g_nPulseEast = 0, g_nPulseWest = 0;
    bool g_bSynchronousPulseGuide = false;  ///< setting `chkSynchronousPulseGuide`
};

/// Whether somebody can take the mount from a park: it is under way, or its first commands go out.
inline bool InPark(const DriverState& state) {
    return state.g_bParking || state.g_bParkAsked;
}

/// Whether the last status text says that the mount slews.
inline bool LastTextSaysSlewing(const DriverState& state) {
    constexpr std::size_t kSlewField = 3;
    return state.g_sStatus.size() > kSlewField && state.g_sStatus[kSlewField] == 'S';
}

/// Half a turn at the slowest of the slew rates takes half of it.
inline constexpr std::int32_t kLongestGotoMs = 300'000;

/// Whether a goto may be under way, whoever sent it; `MoveAxis` ends the watch over a slew, and the mount goes on with
/// it. Where neither a status text nor the coordinates show its end, the time that a goto can take has to pass.
inline bool GotoMayRun(const DriverState& state, Tick now) {
    const std::int32_t passed = now - state.g_tickLastGoto;
    return state.g_bGotoRuns && (state.g_bGosActive || (passed >= 0 && passed < kLongestGotoMs));
}

/// Whether a park moves the mount by itself, ahead of its goto.
inline bool InParkMove(const DriverState& state) {
    return state.g_bSlewingEast || state.g_bLeavingCwUp;
}

}  // namespace kestrane
