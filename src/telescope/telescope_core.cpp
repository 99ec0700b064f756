#include "telescope/telescope_core.h"

#include "catalogue/wire_commands.h"
#include "catalogue/wire_texts.h"
#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "telescope/motion/park_geometry.h"
#include "telescope/telescope.h"

namespace kestrane {
namespace {

constexpr std::int32_t kUntilStandingMs = 3000;  ///< after a stop
constexpr std::int32_t kYieldMs = 20;
constexpr std::int32_t kStopSpacingMs = 20;
constexpr std::int32_t kSettleUnitMs = 1000;

}  // namespace

TelescopeCore::TelescopeCore(TelescopeNeeds needs, std::function<std::string(std::string_view)> executeDriverCommand)
    : needs_(std::move(needs)),
      driver_(needs_.driver),
      state_(driver_.state),
      exchange_(ExchangeNeeds{
          .driver = driver_,
          .link = needs_.link,
          .executeDriverCommand = std::move(executeDriverCommand),
          .noteQuerySuccess = [this] { needs_.queries.NoteAnswered(); },
          .noteSent = [this](std::string_view text) { NoteSent(text); },
          .betweenTries = [this] { needs_.door.LetPromptTicksIn(); },
          .beforeNextTry = [this] { needs_.door.LetStopInBetweenTries(); },
          .pause = [this](std::int32_t milliseconds) { needs_.door.PauseForTicks(milliseconds); },
      }) {}

MountCommands& TelescopeCore::OwnCommands() {
    Telescope* const internal = needs_.internalInstance();
    return internal != nullptr ? internal->Commands() : exchange_;
}

void TelescopeCore::LogGetText(std::string_view name, std::string_view value) {
    driver_.log.LogMessage("ASCOM", LogLevel::Info, "GET " + std::string(name) + " = " + std::string(value));
}

void TelescopeCore::LogSet(std::string_view name, std::string_view value) {
    driver_.log.LogMessage("ASCOM", LogLevel::Info, "SET " + std::string(name) + " = " + std::string(value));
}

bool TelescopeCore::LogGet(std::string_view name, bool value) {
    LogGetText(name, TrueFalse(value));
    return value;
}

double TelescopeCore::LogGet(std::string_view name, double value) {
    LogGetText(name, PlainNumber(value));
    return value;
}

int TelescopeCore::LogGet(std::string_view name, int value) {
    LogGetText(name, std::to_string(value));
    return value;
}

void TelescopeCore::RefuseOutOfRange(std::string_view name, double value, bool inRange) {
    if (!inRange) {
        driver_.log.LogMessage("ASCOM", LogLevel::Exception,
                               "SET " + std::string(name) + " (out of range) = " + PlainNumber(value));
        throw DriverError(ErrorNumber::OutOfRange);
    }
}

void TelescopeCore::YieldToOthers() {
    needs_.door.Pause(kYieldMs);
    if (!state_.g_bInPoll) {
        driver_.waits.PumpBriefly();
        return;
    }
    for (int i = 0; i < 3; ++i) {
        driver_.clock.Sleep(1);
    }
}

bool TelescopeCore::MayMoveWithoutGoto() const {
    return state_.g_bMoveSent || InParkMove(state_) || needs_.axisMotions.AnyStillRuns() ||
           (needs_.guidePulses.MayMove() && !needs_.guidePulses.SendsItself());
}

/// What goes out is looked at here, since a client's own text moves or stops the mount as well as the driver's
/// procedures do.
void TelescopeCore::NoteSent(std::string_view text) {
    const bool startsGoto = wire::StartsGoto(text);
    const bool stopComesLast = wire::StopComesLast(text);
    if (startsGoto && stopComesLast) {
        NoteGotoSent();
    }
    if (wire::StopsAllMotion(text)) {
        const bool endsMove = MayMoveWithoutGoto() || wire::StopsItsOwnMove(text);
        NoteMotionStops();
        needs_.motion.StopSent();
        needs_.guidePulses.NoteMountStopped();
        const bool endsGoto = !needs_.guidePulses.SendsItself();  // a pulse only makes room for another
        needs_.poll.StopGoesOut(endsGoto, endsMove);
    }
    if (startsGoto && !stopComesLast) {
        NoteGotoSent();
    }
    if (wire::Parks(text)) {
        state_.g_nSamePosition = 0;  // what the mount reported before then says nothing about it from now on
        state_.g_tickParkSent = driver_.clock.GetTickCount();
        state_.g_tickUnparkSent.reset();
    } else if (wire::Unparks(text)) {
        NoteLeavesPark();
    }
    if (wire::GivesPlace(text)) {
        state_.g_tickPlaceGiven = driver_.clock.GetTickCount();
    }
    if (wire::ChoosesCustomRate(text)) {
        needs_.axisMotions.CustomRateChosen();
    }
    switch (wire::EndlessMoveAfter(text)) {
        case wire::EndlessMove::Begins:
            if (!needs_.guidePulses.SendsItself()) {  // a pulse has its own end
                needs_.motion.MoveSent();
            }
            break;
        case wire::EndlessMove::Ends:
            needs_.motion.MoveEnded();
            break;
        case wire::EndlessMove::Untouched:
            break;
    }
    if (wire::MovesInTheEnd(text) && !needs_.guidePulses.SendsItself()) {
        needs_.poll.MotionBegins();
    }
    needs_.noteOpenMotion(text);
}

void TelescopeCore::NoteGotoSent() {
    needs_.motion.GotoSent();
    StampGoto(GotoBy::Mount);
}

void TelescopeCore::StampGoto(GotoBy by) {
    state_.g_tickLastGoto = driver_.clock.GetTickCount();
    state_.g_bGotoPlanned = by == GotoBy::Companion;
    state_.g_bMovedWhenPlanned = LastTextSaysSlewing(state_);
}

std::string_view TelescopeCore::WhatMoves() const {
    if (state_.g_bGotoRuns) {
        return "the end of a goto has not been seen";
    }
    if (needs_.axisMotions.AnyRuns() || state_.g_bAxisMotionBegun) {
        return "an axis runs";
    }
    const bool guiding = state_.g_bGuidingNorth || state_.g_bGuidingSouth || state_.g_bGuidingEast ||
                         state_.g_bGuidingWest || needs_.guidePulses.MayMove();
    return guiding ? "a guide pulse runs" : std::string_view{};
}

std::string_view TelescopeCore::WhyMountMayMove() const {
    if (const std::string_view moves = WhatMoves(); !moves.empty()) {
        return moves;
    }
    if (state_.g_bMoveSent) {
        return "a move without an end was sent";
    }
    if (needs_.axisMotions.EndIsInDoubt() && state_.g_bGosActive) {
        return "the mount has not reported that an axis has stopped";
    }
    const std::int32_t elapsed = driver_.clock.GetTickCount() - state_.g_tickMotionStopped;
    const bool justStopped = state_.g_bMotionStopped && elapsed >= 0 && elapsed < kUntilStandingMs;
    return justStopped ? "a motion was stopped less than three seconds ago" : std::string_view{};
}

void TelescopeCore::NoteMotionStops() {
    if (!WhatMoves().empty() || state_.g_bMoveSent) {
        state_.g_tickMotionStopped = driver_.clock.GetTickCount();
        state_.g_bMotionStopped = true;
    }
}

std::uint32_t TelescopeCore::NewSlewBegins(const MotionPermit& permit) {
    TakeMountFromPark();
    state_.g_bPollSuspended = false;
    return needs_.motion.NewSlewBegins(permit);
}

void TelescopeCore::TakeMountFromPark() {
    if (!InPark(state_)) {
        return;
    }
    if (state_.g_bParked && !state_.g_bParking) {
        needs_.motion.ParkLeft();  // the mount has not left its earlier park, and stays there
        driver_.log.LogMessage("Telescope", LogLevel::Info, "Park canceled...");
        return;
    }
    const bool parkMoves = InParkMove(state_);
    state_.g_bSlewingEast = state_.g_bLeavingCwUp = false;
    needs_.motion.ParkLeft();
    needs_.panel.SetParkStatus("Park Canceled", "TakeMountFromPark");
    driver_.persist.Write(setting::ParkStatus, "UnParked");
    driver_.log.LogMessage("Telescope", LogLevel::Info, "Park canceled...");
    if (state_.g_nParkIndex == park_index::InSecondLeg && state_.g_dMeridianDelay != 0.0) {
        driver_.log.LogMessage("Telescope", LogLevel::Warning,
                               "The mount keeps the meridian delay that the park has given it: " +
                                   PlainNumber(state_.g_dMeridianDelay) + " hours. The next park or unpark clears it");
    }
    if (parkMoves) {
        needs_.motion.ParkMoveEnds();
    }
    if (parkMoves || needs_.poll.ParkIsMarked()) {
        SendStopPair();
    }
}

void TelescopeCore::SendStopPair() {
    Sequence mount = Talk(procedure::StopPair);
    mount.CommandBlind(wire::Stop);
    driver_.waits.WaitForMilliseconds(kStopSpacingMs);
    mount.CommandBlind(wire::Stop);
    needs_.poll.StopPairWentOut();
}

void TelescopeCore::NoteLeavesPark() {
    state_.g_tickUnparkSent = driver_.clock.GetTickCount();
    state_.g_tickParkSent.reset();
}

void TelescopeCore::NoteGotoTaken(GotoBy by) {
    needs_.motion.GotoTaken();
    StampGoto(by);
}

void TelescopeCore::NoteSlewTaken(GotoBy by) {
    needs_.motion.SlewTaken();
    StampGoto(by);
    state_.g_tickLastSlewCheck = state_.g_tickLastGoto;
    state_.g_tickSettleEnd = state_.g_tickLastGoto + state_.g_nSlewSettleTime * kSettleUnitMs;
}

void TelescopeCore::LogSlewNotSent(std::string_view origin) {
    driver_.log.LogMessage(origin, LogLevel::Warning, "The slew is not sent: it was stopped before it could");
}

void TelescopeCore::BarSecondLeg(std::string_view reason) {
    if (state_.g_bSafeSlewPending) {
        driver_.log.LogMessage("SafeSlew", LogLevel::Warning, "No second leg is sent any more: " + std::string(reason));
    }
    needs_.motion.SecondLegBarred();
}

TelescopeSteps::TelescopeSteps(Telescope& telescope)
    : telescope_(telescope),
      core_(telescope),
      driver_(core_.driver_),
      needs_(core_.needs_),
      state_(core_.state_),
      axes_(core_.axes_) {}

}  // namespace kestrane
