#include "telescope/motion/park_moves.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "catalogue/vocabulary.h"
#include "catalogue/wire_commands.h"
#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "telescope/motion/east_slew.h"
#include "telescope/motion/park_end.h"
#include "telescope/telescope.h"

/// The moves run at a fixed rate with nobody but these loops to end them.
namespace kestrane {
namespace {

constexpr std::string_view kMoveRate = "2";
constexpr std::int32_t kBetweenCommandsMs = 20;
constexpr std::int32_t kUntilMovingMs = 100;
constexpr std::int32_t kEastRoundMs = 200;
constexpr std::int32_t kLeavingRoundMs = 10;
constexpr double kMsPerHourOfMove = 6.0 * 1000.0;
constexpr double kSlowMountFactor = 2.0;
constexpr double kExtraMs = 10.0 * 1000.0;
constexpr double kLongestLeavingHours = 12.0;
constexpr std::int32_t kOldestRaMs = 3000;
constexpr double kEastward = 1.0;
constexpr double kFastestFactor = 1.5;  // of the rate above, that a reading may show
constexpr double kReadingReserveHours = 0.05;
constexpr double kSameStartHours = 0.1;    // two readings of a mount that stands or tracks
constexpr int kStartReadings = 3;          // at most
constexpr std::int32_t kBrakingMs = 3000;  // since a mount was seen to get slower, at most
constexpr std::int32_t kBrakingRoundMs = 200;
constexpr double kSlower = 0.95;          // of the way in a round
constexpr double kStandsHours = 0.001;    // two readings of a mount that tracks at most, a round apart
constexpr double kStandsDegrees = 0.015;  // likewise
constexpr double kWrongWayHours = -0.01;  // readings may differ by less although the mount has not begun to move
constexpr double kFarFromMeridian = 6.0;  // hours
constexpr double kOnMeridian = 0.001;     // hours
constexpr double kBelowPole = 11.999;     // hours

class ParkMoveSteps : TelescopeSteps {
public:
    explicit ParkMoveSteps(Telescope& telescope)
        : TelescopeSteps(telescope), stops_(needs_.door.Stops()), isAnotherTry_(state_.g_bParking) {}

    void LogEastSlew();
    bool SlewEast(double hours);
    bool LetCounterweightDown();
    const BlindCommand* WayDown() const;

private:
    void Begin(double hours);
    bool Start(const BlindCommand* move);
    void ReadStart();
    void TakeReading(double direction);
    bool Aborted() const { return state_.g_bAbortPark || needs_.door.Stops() != stops_; }
    /// Whether somebody has taken the mount from the park, and ended it, while questions went out.
    bool IsTaken() const { return !InPark(state_) && needs_.door.Stops() != stops_; }
    std::string_view WhyOver() const;
    bool GoesTheWrongWay(const BlindCommand& way);
    bool MayGoOn();
    void Abort(std::string_view reason);
    void Round(std::int32_t milliseconds);
    void LeavePark();
    void StopMountThatMoves();
    void AwaitStanding();
    double WayInARound();
    void AwaitEast(double hours);
    void Reverse();
    void NoteMoved();
    bool EndEast(double hours);
    std::int32_t RoundsLeft() const;

    const std::uint32_t stops_;
    const bool isAnotherTry_;  ///< a park was under way already
    Tick begin_;
    std::int32_t limitMs_ = 0;
    std::uint32_t lastRead_ = 0;       ///< the number of the last reading
    double lastRa_ = 0.0;              ///< hours; of the last reading that counts
    Tick lastReadAt_;                  ///< its time
    std::optional<double> doubtedRa_;  ///< of a reading since then that the next one has to confirm
    double moved_ = 0.0;               ///< hours in the direction of the move
};

}  // namespace

bool ParkMoves::CheckSlewEast() {
    ParkMoveSteps steps(telescope_);
    steps.LogEastSlew();
    needs_.queries.QuerySideOfMount();
    const std::optional<double> hours = EastSlewHours(driver_);
    return !hours || steps.SlewEast(*hours);
}

bool ParkMoves::LeaveCounterweightUp() {
    if (state_.g_bRawRaDecSlews || state_.g_bFirmwareSafeSlew) {
        return false;
    }
    ParkMoveSteps steps(telescope_);
    return steps.LetCounterweightDown();
}

void ParkMoveSteps::LogEastSlew() {
    const bool isWest = state_.g_nSideOfPier == pier_side::West;
    driver_.log.LogMessage("CheckSlewEast", LogLevel::Info,
                           "Slew East First=" + driver_.persist.Read(setting::chkSlewEast) +
                               ", East Hours=" + driver_.persist.Read(setting::txtSlewEastFirstHours) +
                               ", SideOfPier=" + std::string(isWest ? pier_side::kWestText : pier_side::kEastText) +
                               ", HourAngle=" + PlainNumber(state_.g_dHourAngle));
}

/// `hours` of move; sets the time that it may take.
void ParkMoveSteps::Begin(double hours) {
    const double factor = needs_.mount.mountType == Mount_Type::FIR ? kSlowMountFactor : 1.0;
    limitMs_ = static_cast<std::int32_t>(hours * kMsPerHourOfMove * factor + kExtraMs);
    begin_ = driver_.clock.GetTickCount();
    needs_.motion.ParkMoveBegins();
    needs_.handBox.tmrSlewFlashUI.Enabled(true);
}

/// False when a stop was there first. Without a move, only its rate goes out.
bool ParkMoveSteps::Start(const BlindCommand* move) {
    return !Aborted() && core_.UntilStopped(procedure::Park, [&](Sequence& mount) {
        mount.CommandBlind(wire::CenteringRate, kMoveRate);
        if (move) {
            driver_.waits.WaitForMilliseconds(kBetweenCommandsMs);
            mount.CommandBlind(*move);
        }
    });
}

/// The whole way is measured from here: one reading alone may be wrong.
void ParkMoveSteps::ReadStart() {
    for (int i = 0; i < kStartReadings; ++i) {
        const double before = state_.g_dRa;
        needs_.queries.QueryRa();
        if (std::abs(NormalizeHourAngle(state_.g_dRa - before)) < kSameStartHours) {
            break;
        }
    }
    lastRead_ = needs_.queries.Reads().ra;
    lastRa_ = state_.g_dRa;
    lastReadAt_ = driver_.clock.GetTickCount();
}

/// Adds what a new reading shows; `direction` is 1 for a move east and -1 for one west. One reading alone may be wrong:
/// a way that the mount cannot have gone, and one that has turned the wrong way, count when the next reading agrees.
void ParkMoveSteps::TakeReading(double direction) {
    if (std::exchange(lastRead_, needs_.queries.Reads().ra) == needs_.queries.Reads().ra) {
        return;
    }
    const Tick now = driver_.clock.GetTickCount();
    const double possible = (now - lastReadAt_) / kMsPerHourOfMove * kFastestFactor + kReadingReserveHours;
    const double way = NormalizeHourAngle(state_.g_dRa - lastRa_) * direction;
    const bool turns = moved_ >= kWrongWayHours && moved_ + way < kWrongWayHours;
    const bool isConfirmed = doubtedRa_ && std::abs(NormalizeHourAngle(state_.g_dRa - *doubtedRa_)) < possible;
    if ((std::abs(way) > possible || turns) && !isConfirmed) {
        doubtedRa_ = state_.g_dRa;
        return;
    }
    doubtedRa_.reset();
    moved_ += way;
    lastRa_ = state_.g_dRa;
    lastReadAt_ = now;
}

/// Why the move ends short of its end, in words for the log; empty when nothing speaks against it.
std::string_view ParkMoveSteps::WhyOver() const {
    const Tick now = driver_.clock.GetTickCount();
    const std::optional<Tick> readAt = needs_.queries.ReadAt().ra;
    const std::int32_t unread = std::min(now - begin_, readAt ? now - *readAt : now - begin_);
    if (state_.g_bLostComms) {
        return "communications are lost";
    }
    if (unread > kOldestRaMs) {
        return "the right ascension was not read for 3 seconds";
    }
    return now - begin_ >= limitMs_ ? "it takes too long" : std::string_view{};
}

/// Aborts the park when it must not go on.
bool ParkMoveSteps::MayGoOn() {
    if (const std::string_view reason = WhyOver(); !reason.empty()) {
        Abort(reason);
    }
    return !Aborted();
}

void ParkMoveSteps::Abort(std::string_view reason) {
    if (!Aborted()) {
        driver_.log.LogMessage("Telescope", LogLevel::Warning,
                               "The move before the park ends here: " + std::string(reason));
        needs_.motion.ParkAborted();
    }
}

void ParkMoveSteps::Round(std::int32_t milliseconds) {
    if (state_.g_bInPoll) {
        needs_.poll.UpdateMountInfo();  // the timer cannot fire inside a poll step
    }
    driver_.waits.PumpOnce();
    needs_.door.Pause(milliseconds);
}

/// A mount that is parked takes no move. Any choice of the tracking takes it from there.
void ParkMoveSteps::LeavePark() {
    if (state_.g_bParked) {
        core_.UntilStopped(procedure::Park, [&](Sequence& mount) {
            mount.CommandBlind(wire::TrackingRate, wire_rate::kStopTracking);
            needs_.motion.MountReportsParked(false);
            core_.NoteLeavesPark();
        });
    }
}

/// A mount that slews takes no move, the end of a pulse would cut it, and an axis or another move would go on below it.
/// The rates of the axes stay with their clients, but the flag does not: the stop of this move would pass for one that
/// is not to be repeated.
void ParkMoveSteps::StopMountThatMoves() {
    const bool slews = state_.g_bSlewing || state_.g_bMountSlewing || state_.g_bSafeSlewPending;
    if (slews || state_.g_bMoveSent || !core_.WhatMoves().empty()) {
        core_.SendStopPair();
        needs_.motion.AxisMotionsEnd();
    }
}

/// A mount that is still slowing down takes no move, and its way would be taken for that of the move. One that is not
/// heard, or does not get slower, is not waited for. Pumps nothing: the supervision must not look at it meanwhile.
void ParkMoveSteps::AwaitStanding() {
    bool stands = core_.WhyMountMayMove().empty();
    double least = std::numeric_limits<double>::max();
    Tick slowedAt = driver_.clock.GetTickCount();
    while (!stands && !Aborted() && driver_.clock.GetTickCount() - slowedAt < kBrakingMs) {
        const double way = WayInARound();
        if (way < least * kSlower) {
            least = way;
            slowedAt = driver_.clock.GetTickCount();
        }
        stands = way < 1.0;
    }
}

/// How far the mount has gone between two readings: below 1 it stands. Without a new one, as far as can be.
double ParkMoveSteps::WayInARound() {
    const double ra = state_.g_dRa;
    const double dec = state_.g_dDec;
    const CoordinateReads before = needs_.queries.Reads();
    needs_.door.Pause(kBrakingRoundMs);
    needs_.queries.QueryRa();
    needs_.queries.QueryDec();
    const CoordinateReads now = needs_.queries.Reads();
    if (now.ra == before.ra || now.dec == before.dec) {
        return std::numeric_limits<double>::max();
    }
    return std::max(std::abs(NormalizeHourAngle(state_.g_dRa - ra)) / kStandsHours,
                    std::abs(state_.g_dDec - dec) / kStandsDegrees);
}

/// False when the park is over.
bool ParkMoveSteps::SlewEast(double hours) {
    const std::string text = PlainNumber(hours);
    driver_.log.LogMessage("CheckSlewEast", LogLevel::Info, "Park Slew East " + text + " hours");
    if (!Aborted()) {
        LeavePark();
        StopMountThatMoves();
        AwaitStanding();
    }
    if (state_.g_bParked) {
        needs_.motion.ParkEnds();  // a stop was there before the mount left its park
        return false;
    }
    if (IsTaken()) {
        return false;
    }
    needs_.panel.SetParkStatus("East Slew...", "");
    driver_.persist.Write(setting::ParkStatus, "UnParked");
    ReadStart();
    if (IsTaken()) {
        return false;
    }
    state_.g_bSlewingEast = true;
    Begin(hours);
    if (Start(&wire::MoveEast)) {
        needs_.door.Pause(kUntilMovingMs);
        AwaitEast(hours);
    }
    if (!state_.g_bSlewingEast) {
        return false;  // somebody has taken the mount, and stopped it for that
    }
    core_.SendStopPair();
    return EndEast(hours);
}

void ParkMoveSteps::AwaitEast(double hours) {
    while (moved_ < hours && MayGoOn()) {
        Round(kEastRoundMs);
        if (!state_.g_bSlewingEast || Aborted()) {
            return;
        }
        NoteMoved();
        if (moved_ < kWrongWayHours) {
            Reverse();
        }
    }
}

void ParkMoveSteps::NoteMoved() {
    TakeReading(kEastward);
    needs_.panel.SetParkStatus("East: " + FormatUs(moved_, "0.0"), "");
    driver_.log.LogMessage("CheckSlewEast", LogLevel::Info, "Park Slewing East: " + PlainNumber(moved_));
}

/// Intentional: also in each further round until the mount is back where it began.
void ParkMoveSteps::Reverse() {
    core_.SendStopPair();
    driver_.waits.WaitForMilliseconds(kBetweenCommandsMs);
    core_.UntilStopped(procedure::Park, [&](Sequence& mount) { mount.CommandBlind(wire::MoveWest); });
    driver_.log.LogMessage("CheckSlewEast", LogLevel::Info, "Park Slewing East: Reversing Direction");
}

bool ParkMoveSteps::EndEast(double hours) {
    state_.g_bSlewingEast = false;
    needs_.motion.ParkMoveEnds();
    if (Aborted() || moved_ < hours) {
        needs_.motion.ParkEnds();
        needs_.panel.SetParkStatus("Park Canceled", "CheckSlewEast");
        driver_.log.LogMessage("CheckSlewEast", LogLevel::Info, "Park Slewing East Aborted!");
        if (isAnotherTry_) {
            needs_.channel.EnableSafeSlew();
            ParkEnd(telescope_).Restore();
        }
        return false;
    }
    needs_.panel.SetParkStatus("East Slew Done", "CheckSlewEast");
    driver_.log.LogMessage("CheckSlewEast", LogLevel::Info,
                           "Park Slewing East Done: " + PlainNumber(moved_) +
                               " hours, Residual Sanity Time=" + std::to_string(RoundsLeft()));
    return true;
}

std::int32_t ParkMoveSteps::RoundsLeft() const {
    return std::max(0, limitMs_ - (driver_.clock.GetTickCount() - begin_)) / kEastRoundMs;
}

/// The move that lets the counterweight down; null when it is neither up on one side nor on the other.
const BlindCommand* ParkMoveSteps::WayDown() const {
    const double hourAngle = state_.g_dHourAngle;
    if (state_.g_nSideOfPier == pier_side::East) {
        return hourAngle < -kFarFromMeridian ? &wire::MoveEast : &wire::MoveWest;
    }
    if (hourAngle > kOnMeridian && hourAngle < kBelowPole) {
        return hourAngle < kFarFromMeridian ? &wire::MoveEast : &wire::MoveWest;
    }
    return nullptr;
}

/// Whether a mount with reversed directions swings its counterweight further up.
bool ParkMoveSteps::GoesTheWrongWay(const BlindCommand& way) {
    TakeReading(&way == &wire::MoveEast ? kEastward : -kEastward);
    return moved_ < kWrongWayHours;
}

/// False when the park is over.
bool ParkMoveSteps::LetCounterweightDown() {
    if (state_.g_bCounterweightUp) {
        AwaitStanding();
    }
    if (!state_.g_bCounterweightUp || IsTaken()) {
        return !Aborted();
    }
    const BlindCommand* const way = WayDown();
    if (!way) {
        Start(nullptr);  // intentional: the rate goes out all the same
        return !Aborted();
    }
    ReadStart();
    if (IsTaken()) {
        return false;
    }
    state_.g_bLeavingCwUp = true;
    Begin(kLongestLeavingHours);
    const bool began = Start(way);
    while (began && state_.g_bCounterweightUp && MayGoOn()) {
        Round(kLeavingRoundMs);
        if (!state_.g_bLeavingCwUp) {
            return false;  // somebody has taken the mount, and stopped it for that
        }
        needs_.queries.UpdateHourAngle();
        if (GoesTheWrongWay(*way)) {
            Abort("the mount goes the other way, its directions are reversed");
        }
    }
    if (Aborted()) {
        core_.SendStopPair();
    } else {
        Talk(procedure::StopPair).CommandBlind(wire::Stop);
    }
    state_.g_bLeavingCwUp = false;
    needs_.motion.ParkMoveEnds();
    needs_.handBox.tmrSlewFlashUI.Enabled(false);
    return !Aborted();
}

}  // namespace kestrane
