#include "catalogue/wire_commands.h"
#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "state/reply_predicates.h"
#include "telescope/telescope.h"

namespace kestrane {
namespace {

constexpr std::int32_t kTestMoveMs = 100;
constexpr std::string_view kOrigin = "AutoCalibrateNSEW";
constexpr std::string_view kEast = "East";
constexpr std::string_view kWest = "West";

}  // namespace

void Telescope::CalibrateOnFirstSlew() {
    if (state_.g_bAutoCalibrated) {
        return;
    }
    if (Val_Global(needs_.persist.Read(setting::chkAutoCalibrateOnFirstSlew), needs_.log) == 1.0) {
        AutoCalibrateNSEW(kCalibrationAttempts);
    } else {
        state_.g_bAutoCalibrated = true;
    }
}

void Telescope::AutoCalibrateNSEW(std::int16_t attempts) {
    const std::uint32_t aborts = state_.g_nAborts;
    needs_.log.LogMessage(kOrigin, LogLevel::Info, "Starting Autocalibration of RA/Dec Move commands");
    for (int attempt = 1; attempt <= attempts && !LetStopIn(aborts); ++attempt) {
        needs_.log.LogMessage(kOrigin, LogLevel::Info, "Starting attempt " + std::to_string(attempt));
        bool calibrated = false;
        ResumeNext errors{needs_.ledger, kOrigin};
        errors.Assign(calibrated, [&] { return CalibrateOnce(aborts); });
        if (calibrated) {
            state_.g_bAutoCalibrated = true;
            needs_.log.LogMessage(kOrigin, LogLevel::Info, "Autocalibration Successful!");
            return;
        }
    }
}

/// Moves a little to the east and north and looks in which way the position changed. An east move makes the right
/// ascension grow; a north move makes the declination fall on the east side of the pier and rise on the west side.
bool Telescope::CalibrateOnce(std::uint32_t aborts) {
    const std::string startSide = CommandString(wire::GetPierSide.text, false);
    if (!IsPierSide(startSide, "... Bad response to Pier Side Command: ")) {
        return false;
    }
    needs_.log.LogMessage(kOrigin, LogLevel::Info, "Got Starting Pier Side: " + startSide);
    double startRa = 0.0;
    double startDec = 0.0;
    if (LetStopIn(aborts) || !AskRa(startRa, "Got Start RA: ") || LetStopIn(aborts) ||
        !AskDec(startDec, "Got Start Dec: ") || LetStopIn(aborts)) {
        return false;
    }
    MakeTestMove();
    if (LetStopIn(aborts)) {
        return false;
    }
    const std::string endSide = CommandString(wire::GetPierSide.text, false);
    needs_.log.LogMessage(kOrigin, LogLevel::Info, "Got Ending Pier Side: " + endSide);
    if (!IsPierSide(endSide, "... Bad response to Pier Side Command (2): ")) {
        return false;
    }
    if (endSide != startSide) {
        needs_.log.LogMessage(kOrigin, LogLevel::Error, "Pier Side Changed... retrying");
        return false;
    }
    double endRa = 0.0;
    double endDec = 0.0;
    if (LetStopIn(aborts) || !AskRa(endRa, "Got End RA: ") || LetStopIn(aborts) ||
        !AskDec(endDec, "Got Ending Dec: ") || LetStopIn(aborts)) {
        return false;
    }
    if (NormalizeHourAngle(endRa - startRa) < 0.0) {
        needs_.log.LogMessage(kOrigin, LogLevel::Info, "Swapping E/W");
        CommandBlind(wire::SwapEastWest.text, false);
    }
    if (startSide == kEast ? startDec < endDec : startDec > endDec) {
        needs_.log.LogMessage(kOrigin, LogLevel::Info, "Swapping N/S");
        CommandBlind(wire::SwapNorthSouth.text, false);
    }
    return true;
}

/// Lets nothing in, not even a stop: the move ends by its own one, and is too short to pump.
void Telescope::MakeTestMove() {
    CommandBlind(std::string(wire::CenteringRate.text) + "1", false);
    CommandBlind(wire::MoveEast.text, false);
    CommandBlind(wire::MoveNorth.text, false);
    needs_.waits.WaitForMilliseconds(kTestMoveMs);
    CommandBlind(wire::Stop.text, false);
}

bool Telescope::IsPierSide(const std::string& side, std::string_view complaint) {
    if (side == kEast || side == kWest) {
        return true;
    }
    needs_.log.LogMessage(kOrigin, LogLevel::Error, std::string(complaint) + side);
    return false;
}

bool Telescope::AskRa(double& hours, std::string_view label) {
    const std::string reply = CommandString(wire::GetRa.text, false);
    if (!IsRaReply(reply, needs_.log)) {
        return false;
    }
    needs_.log.LogMessage(kOrigin, LogLevel::Info, std::string(label) + reply);
    return ParseProtocolHours(reply, hours, needs_.log);
}

bool Telescope::AskDec(double& degrees, std::string_view label) {
    const std::string reply = CommandString(wire::GetDec.text, false);
    if (!IsDecReply(reply, needs_.log)) {
        return false;
    }
    needs_.log.LogMessage(kOrigin, LogLevel::Info, std::string(label) + reply);
    return ParseProtocolDegrees(reply, degrees, needs_.log);
}

}  // namespace kestrane
