#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

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
constexpr double kMostOfTestMoveDegrees = 0.1;         // the move makes a quarter of it, at 64 times sidereal
constexpr double kSameReadingDegrees = 30.0 / 3600.0;  // a third of what the move makes
constexpr double kSameStartDegrees = 60.0 / 3600.0;    // less than the move makes
constexpr std::int32_t kFreshMs = 2000;                // in which the sky turns by half of that
constexpr std::string_view kOrigin = "AutoCalibrateNSEW";

class CalibrationSteps : TelescopeSteps {
public:
    using TelescopeSteps::TelescopeSteps;

    bool MountStands();
    void TakeFreshPicture();
    bool CalibrateOnce(Sequence& mount);

private:
    struct Place {
        double hours = 0.0;
        double degrees = 0.0;
    };
    /// How an answer is named in the log.
    struct Labels {
        std::string_view ra;
        std::string_view dec;
    };
    static double Apart(const Place& a, const Place& b);

    bool IsPierSide(const std::string& side, std::string_view complaint);
    std::optional<Place> AskPlace(Sequence& mount, const Labels& labels);
    bool AskRa(Sequence& mount, double& hours, std::string_view label);
    bool AskDec(Sequence& mount, double& degrees, std::string_view label);
    bool StandsWhereSeen(const Place& start);
    void MakeTestMove();
    bool MayBeSwapped(Sequence& mount, const Place& start, const Place& end);
    void Swap(bool eastWest, bool northSouth);

    std::optional<Place> seen_;  ///< where the mount stands, by a reading that is none of the present attempt
};

}  // namespace

void Telescope::AutoCalibrateNSEW(std::int16_t attempts) {
    CalibrationSteps steps(*this);
    if (!steps.MountStands()) {
        return;
    }
    UntilStopped(procedure::Calibration, [&](Sequence& mount) {
        driver_.log.LogMessage(kOrigin, LogLevel::Info, "Starting Autocalibration of RA/Dec Move commands");
        steps.TakeFreshPicture();
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

/// What the poll has read last, unless that is too long ago, or from before a sync or an unpark gave the mount its
/// position.
void CalibrationSteps::TakeFreshPicture() {
    const CoordinateTimes readAt = needs_.queries.ReadAt();
    const Tick now = driver_.clock.GetTickCount();
    const std::optional<Tick>& givenAt = state_.g_tickPlaceGiven;
    const auto isFresh = [&](const std::optional<Tick>& at) {
        return at && now - *at <= kFreshMs && (!givenAt || *at - *givenAt > 0);
    };
    if (isFresh(readAt.ra) && isFresh(readAt.dec)) {
        seen_ = Place{state_.g_dRa, state_.g_dDec};
    }
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
    const std::optional<Place> start = AskPlace(mount, {"Got Start RA: ", "Got Start Dec: "});
    if (!start) {
        return false;
    }
    const bool startIsSure = seen_.has_value();
    if (!StandsWhereSeen(*start)) {
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
    const std::optional<Place> end = AskPlace(mount, {"Got End RA: ", "Got Ending Dec: "});
    if (!end) {
        return false;
    }
    const bool eastWest = NormalizeHourAngle(end->hours - start->hours) < 0.0;
    const bool northSouth =
        startSide == pier_side::kEastText ? start->degrees < end->degrees : start->degrees > end->degrees;
    if (eastWest || northSouth) {
        if (!MayBeSwapped(mount, *start, *end)) {
            return false;
        }
        if (!startIsSure) {
            driver_.log.LogMessage(kOrigin, LogLevel::Warning,
                                   "The start was read only once: a swap takes another attempt");
            return false;
        }
    }
    Swap(eastWest, northSouth);
    return true;
}

void CalibrationSteps::Swap(bool eastWest, bool northSouth) {
    Sequence swaps = Talk(procedure::SwapDirections);
    if (eastWest) {
        driver_.log.LogMessage(kOrigin, LogLevel::Info, "Swapping E/W");
        swaps.CommandBlind(wire::SwapEastWest);
    }
    if (northSouth) {
        driver_.log.LogMessage(kOrigin, LogLevel::Info, "Swapping N/S");
        swaps.CommandBlind(wire::SwapNorthSouth);
    }
}

/// Degrees on the axis that is farther away.
double CalibrationSteps::Apart(const Place& a, const Place& b) {
    return std::max(std::abs(NormalizeHourAngle(a.hours - b.hours)) * kDegreesInAnHour,
                    std::abs(a.degrees - b.degrees));
}

/// Whether an earlier reading agrees, or there is none. Of two that differ nobody knows which is wrong: the next
/// attempt compares its start with this one.
bool CalibrationSteps::StandsWhereSeen(const Place& start) {
    const Place seen = std::exchange(seen_, start).value_or(start);
    if (Apart(start, seen) > kSameStartDegrees) {
        driver_.log.LogMessage(kOrigin, LogLevel::Error, "The start differs from the reading before it... retrying");
        return false;
    }
    return true;
}

/// A swap stays in the mount, so no single reading decides on one: start and end must be read twice the same, and be no
/// farther from each other than the test move goes. The end is where the next attempt has to start.
bool CalibrationSteps::MayBeSwapped(Sequence& mount, const Place& start, const Place& end) {
    if (Apart(start, end) > kMostOfTestMoveDegrees) {
        driver_.log.LogMessage(kOrigin, LogLevel::Error, "The test move cannot have gone that far... retrying");
        return false;
    }
    const std::optional<Place> second = AskPlace(mount, {"Got End RA again: ", "Got Ending Dec again: "});
    if (!second) {
        return false;
    }
    if (Apart(end, *second) > kSameReadingDegrees) {
        driver_.log.LogMessage(kOrigin, LogLevel::Error, "Two readings differ... retrying");
        return false;
    }
    seen_ = end;
    return true;
}

/// Lets nothing in, not even a stop: the move is ended by its own stop, and is too short to pump.
void CalibrationSteps::MakeTestMove() {
    seen_.reset();
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

std::optional<CalibrationSteps::Place> CalibrationSteps::AskPlace(Sequence& mount, const Labels& labels) {
    Place place;
    const bool read = AskRa(mount, place.hours, labels.ra) && AskDec(mount, place.degrees, labels.dec);
    return read ? std::optional(place) : std::nullopt;
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
