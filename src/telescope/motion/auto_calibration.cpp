#include <algorithm>
#include <cmath>

#include "catalogue/vocabulary.h"
#include "catalogue/wire_commands.h"
#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "state/mount_replies.h"
#include "telescope/telescope.h"

namespace kestrane {
namespace {

constexpr std::int32_t kTestMoveMs = 100;
constexpr double kDegreesInAnHour = 15.0;
constexpr double kMostOfTestMoveDegrees = 0.5;         // at 64 times sidereal in two seconds
constexpr double kSameReadingDegrees = 30.0 / 3600.0;  // a third of what the move makes
constexpr std::string_view kOrigin = "AutoCalibrateNSEW";

class CalibrationSteps : TelescopeSteps {
public:
    using TelescopeSteps::TelescopeSteps;

    bool MountStands();
    bool CalibrateOnce(Sequence& mount);
    void MakeTestMove();
    bool IsPierSide(const std::string& side, std::string_view complaint);
    bool AskRa(Sequence& mount, double& hours, std::string_view label);
    bool AskDec(Sequence& mount, double& degrees, std::string_view label);

private:
    struct Place {
        double hours = 0.0;
        double degrees = 0.0;
    };
    bool MayBeSwapped(Sequence& mount, const Place& start, const Place& end);
};

}  // namespace

void Telescope::CalibrateOnFirstSlew() {
    if (state_.g_bAutoCalibrated) {
        return;
    }
    if (driver_.persist.ReadNumber(setting::chkAutoCalibrateOnFirstSlew) == 1.0) {
        AutoCalibrateNSEW(kCalibrationAttempts);
    } else {
        state_.g_bAutoCalibrated = true;
    }
}

void Telescope::AutoCalibrateNSEW(std::int16_t attempts) {
    CalibrationSteps steps(*this);
    if (!steps.MountStands()) {
        return;
    }
    UntilStopped(procedure::Calibration, [&](Sequence& mount) {
        driver_.log.LogMessage(kOrigin, LogLevel::Info, "Starting Autocalibration of RA/Dec Move commands");
        for (int attempt = 1; attempt <= attempts; ++attempt) {
            mount.LetStopIn();
            if (!steps.MountStands()) {
                return;
            }
            driver_.log.LogMessage(kOrigin, LogLevel::Info, "Starting attempt " + std::to_string(attempt));
            bool calibrated = false;
            ResumeNext errors{driver_.ledger, kOrigin};
            errors.Assign(calibrated, [&] { return steps.CalibrateOnce(mount); });
            if (calibrated) {
                state_.g_bAutoCalibrated = true;
                driver_.log.LogMessage(kOrigin, LogLevel::Info, "Autocalibration Successful!");
                return;
            }
        }
    });
}

/// False, and logged, while something moves the mount: a motion that is not the test move would be taken for it, and
/// the directions be swapped.
bool CalibrationSteps::MountStands() {
    const std::string_view reason = state_.g_bParked ? "the mount is parked" : core_.WhyMountMayMove();
    if (!reason.empty()) {
        driver_.log.LogMessage(kOrigin, LogLevel::Warning, "No calibration now: " + std::string(reason));
    }
    return reason.empty();
}

/// Moves a little to the east and north and checks which way the position changed. An east move increases the right
/// ascension; a north move decreases the declination on the east side of the pier and increases it on the west side.
/// Each question has a single try: the attempts of the calibration are its retries.
bool CalibrationSteps::CalibrateOnce(Sequence& mount) {
    const std::string startSide = mount.CommandStringOnce(wire::GetPierSide);
    if (!IsPierSide(startSide, "... Bad response to Pier Side Command: ")) {
        return false;
    }
    driver_.log.LogMessage(kOrigin, LogLevel::Info, "Got Starting Pier Side: " + startSide);
    double startRa = 0.0;
    double startDec = 0.0;
    if (!AskRa(mount, startRa, "Got Start RA: ") || !AskDec(mount, startDec, "Got Start Dec: ")) {
        return false;
    }
    MakeTestMove();
    const std::string endSide = mount.CommandStringOnce(wire::GetPierSide);
    driver_.log.LogMessage(kOrigin, LogLevel::Info, "Got Ending Pier Side: " + endSide);
    if (!IsPierSide(endSide, "... Bad response to Pier Side Command (2): ")) {
        return false;
    }
    if (endSide != startSide) {
        driver_.log.LogMessage(kOrigin, LogLevel::Error, "Pier Side Changed... retrying");
        return false;
    }
    double endRa = 0.0;
    double endDec = 0.0;
    if (!AskRa(mount, endRa, "Got End RA: ") || !AskDec(mount, endDec, "Got Ending Dec: ")) {
        return false;
    }
    const bool eastWest = NormalizeHourAngle(endRa - startRa) < 0.0;
    const bool northSouth = startSide == pier_side::kEastText ? startDec < endDec : startDec > endDec;
    if ((eastWest || northSouth) && !MayBeSwapped(mount, {startRa, startDec}, {endRa, endDec})) {
        return false;
    }
    Sequence swaps = Talk(procedure::SwapDirections);
    if (eastWest) {
        driver_.log.LogMessage(kOrigin, LogLevel::Info, "Swapping E/W");
        swaps.CommandBlind(wire::SwapEastWest);
    }
    if (northSouth) {
        driver_.log.LogMessage(kOrigin, LogLevel::Info, "Swapping N/S");
        swaps.CommandBlind(wire::SwapNorthSouth);
    }
    return true;
}

/// A swap stays in the mount, so no single reading decides on one: the end must be read twice the same, and be no
/// farther from the start than the test move goes.
bool CalibrationSteps::MayBeSwapped(Sequence& mount, const Place& start, const Place& end) {
    const auto apart = [](const Place& a, const Place& b) {
        return std::max(std::abs(NormalizeHourAngle(a.hours - b.hours)) * kDegreesInAnHour,
                        std::abs(a.degrees - b.degrees));
    };
    if (apart(start, end) > kMostOfTestMoveDegrees) {
        driver_.log.LogMessage(kOrigin, LogLevel::Error, "The test move cannot have gone that far... retrying");
        return false;
    }
    Place second;
    if (!AskRa(mount, second.hours, "Got End RA again: ") || !AskDec(mount, second.degrees, "Got Ending Dec again: ")) {
        return false;
    }
    if (apart(end, second) > kSameReadingDegrees) {
        driver_.log.LogMessage(kOrigin, LogLevel::Error, "Two readings differ... retrying");
        return false;
    }
    return true;
}

/// Lets nothing in, not even a stop: the move is ended by its own stop, and is too short to pump.
void CalibrationSteps::MakeTestMove() {
    const bool stoppedBefore = state_.g_bMotionStopped;
    const Tick stoppedAt = state_.g_tickMotionStopped;
    Sequence mount = Talk(procedure::TestMove);
    mount.CommandBlind(wire::CenteringRate, "1");
    mount.CommandBlind(wire::MoveEast);
    mount.CommandBlind(wire::MoveNorth);
    driver_.waits.WaitForMilliseconds(kTestMoveMs);
    mount.CommandBlind(wire::Stop);
    state_.g_bMotionStopped = stoppedBefore;  // the next attempt does not wait for the end of this one
    state_.g_tickMotionStopped = stoppedAt;
}

bool CalibrationSteps::IsPierSide(const std::string& side, std::string_view complaint) {
    if (side == pier_side::kEastText || side == pier_side::kWestText) {
        return true;
    }
    driver_.log.LogMessage(kOrigin, LogLevel::Error, std::string(complaint) + side);
    return false;
}

bool CalibrationSteps::AskRa(Sequence& mount, double& hours, std::string_view label) {
    const std::string reply = mount.CommandStringOnce(wire::GetRa);
    if (!ReadRaReply(reply, driver_.log)) {
        return false;
    }
    driver_.log.LogMessage(kOrigin, LogLevel::Info, std::string(label) + reply);
    hours = ProtocolHours(reply, driver_.log);
    return true;
}

bool CalibrationSteps::AskDec(Sequence& mount, double& degrees, std::string_view label) {
    const std::string reply = mount.CommandStringOnce(wire::GetDec);
    const auto read = ReadDecReply(reply, driver_.log);
    if (!read) {
        return false;
    }
    driver_.log.LogMessage(kOrigin, LogLevel::Info, std::string(label) + reply);
    degrees = *read;
    return true;
}

}  // namespace kestrane
