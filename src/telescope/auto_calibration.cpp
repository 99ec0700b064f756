#include "catalogue/wire_commands.h"
#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "state/reply_predicates.h"
#include "telescope/telescope.h"

namespace kestrane {
namespace {

constexpr std::int16_t kAttempts = 3;
constexpr std::int32_t kTestMoveMs = 100;
constexpr std::string_view kOrigin = "AutoCalibrateNSEW";

}  // namespace

void Telescope::CalibrateOnFirstSlew() {
    if (state_.g_bAutoCalibrated) {
        return;
    }
    if (Val_Global(needs_.persist.Read(setting::chkAutoCalibrateOnFirstSlew), needs_.log) == 1.0) {
        AutoCalibrateNSEW(kAttempts);
    } else {
        state_.g_bAutoCalibrated = true;
    }
}

void Telescope::AutoCalibrateNSEW(std::int16_t attempts) {
    needs_.log.LogMessage(kOrigin, LogLevel::Info, "Starting Autocalibration of RA/Dec Move commands");
    for (int attempt = 1; attempt <= attempts; ++attempt) {
        needs_.log.LogMessage(kOrigin, LogLevel::Info, "Starting attempt " + std::to_string(attempt));
        bool calibrated = false;
        ResumeNext errors{needs_.ledger, kOrigin};
        errors.Assign(calibrated, [&] { return CalibrateOnce(); });
        if (calibrated) {
            state_.g_bAutoCalibrated = true;
            needs_.log.LogMessage(kOrigin, LogLevel::Info, "Autocalibration Successful!");
            return;
        }
    }
}

/// Moves a little to the east and north and looks in which way the position changed. An east move makes the right
/// ascension grow; a north move makes the declination fall on the east side of the pier and rise on the west side.
bool Telescope::CalibrateOnce() {
    std::string startSide;
    double startRa = 0.0;
    double startDec = 0.0;
    if (!AskPierSide(startSide, "... Bad response to Pier Side Command: ")) {
        return false;
    }
    needs_.log.LogMessage(kOrigin, LogLevel::Info, "Got Starting Pier Side: " + startSide);
    if (!AskRa(startRa, "Got Start RA: ") || !AskDec(startDec, "Got Start Dec: ")) {
        return false;
    }
    for (const std::string& command : {std::string(wire::CenteringRate.text) + "1", std::string(wire::MoveEast.text),
                                       std::string(wire::MoveNorth.text)}) {
        CommandBlind(command, false);
    }
    needs_.waits.WaitForMilliseconds(kTestMoveMs);  // too short to pump: nothing gets between the move and its stop
    CommandBlind(wire::Stop.text, false);
    std::string endSide;
    double endRa = 0.0;
    double endDec = 0.0;
    if (!AskPierSide(endSide, "... Bad response to Pier Side Command (2): ")) {
        return false;
    }
    needs_.log.LogMessage(kOrigin, LogLevel::Info, "Got Ending Pier Side: " + endSide);
    if (endSide != startSide) {
        needs_.log.LogMessage(kOrigin, LogLevel::Error, "Pier Side Changed... retrying");
        return false;
    }
    if (!AskRa(endRa, "Got End RA: ") || !AskDec(endDec, "Got Ending Dec: ")) {
        return false;
    }
    if (NormalizeHourAngle(endRa - startRa) < 0.0) {
        needs_.log.LogMessage(kOrigin, LogLevel::Info, "Swapping E/W");
        CommandBlind(wire::SwapEastWest.text, false);
    }
    if (startSide == "East" ? startDec < endDec : startDec > endDec) {
        needs_.log.LogMessage(kOrigin, LogLevel::Info, "Swapping N/S");
        CommandBlind(wire::SwapNorthSouth.text, false);
    }
    return true;
}

bool Telescope::AskPierSide(std::string& side, std::string_view complaint) {
    side = CommandString(wire::GetPierSide.text, false);
    if (side == "East" || side == "West") {
        return true;
    }
    needs_.log.LogMessage(kOrigin, LogLevel::Error, std::string(complaint) + side);
    return false;
}

bool Telescope::AskRa(double& hours, std::string_view label) {
    const std::string reply = CommandString(wire::GetRa.text, false);
    if (!IsRaReply(reply, needs_.log) || !ParseProtocolHours(reply, hours, needs_.log)) {
        return false;
    }
    needs_.log.LogMessage(kOrigin, LogLevel::Info, std::string(label) + reply);
    return true;
}

bool Telescope::AskDec(double& degrees, std::string_view label) {
    const std::string reply = CommandString(wire::GetDec.text, false);
    if (!IsDecReply(reply, needs_.log) || !ParseProtocolDegrees(reply, degrees, needs_.log)) {
        return false;
    }
    needs_.log.LogMessage(kOrigin, LogLevel::Info, std::string(label) + reply);
    return true;
}

}  // namespace kestrane
