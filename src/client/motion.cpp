#include <algorithm>
#include <boost/json.hpp>
#include <cmath>
#include <utility>

#include "client/angles.h"
#include "client/session.h"
#include "client/stars.h"
#include "client/watched_action.h"

namespace kestrane::client {
namespace {

constexpr double kPollSeconds = 0.25;
constexpr double kMissedDegrees = 1.0;      ///< farther from the target than this, a slew did not arrive
constexpr double kStoodStillDegrees = 0.1;  ///< nearer to the start than this, it did not begin
constexpr int kEquinoxJ2000 = 2;            ///< of EquatorialSystem

/// Years since J2000 to precess by for this device; none when it works in J2000 itself.
double YearsOf(Session& session) {
    const auto system = session.device.TryNumber("EquatorialSystem");
    if (system && std::lround(*system) == kEquinoxJ2000) {
        return 0.0;
    }
    return (session.surroundings.unixSeconds() - 946728000.0) / (365.25 * 86400.0);
}

std::vector<RisenStar> StarsUpAt(Session& session) {
    auto latitude = session.device.TryNumber("SiteLatitude");
    if (session.arguments.latitude) {
        latitude = session.arguments.latitude;
    }
    if (!latitude) {
        throw DeviceError(0, "the device does not report its latitude: add --latitude DEG");
    }
    auto siderealTime = session.device.TryNumber("SiderealTime");
    if (session.arguments.longitude) {
        siderealTime = SiderealTimeAt(session.surroundings.unixSeconds(), *session.arguments.longitude);
    }
    if (!siderealTime) {
        throw DeviceError(0, "the device does not report its sidereal time: add --longitude DEG");
    }
    return StarsUp(*siderealTime, *latitude, YearsOf(session));
}

SlewTarget TargetOf(Session& session) {
    const auto& operands = session.arguments.operands;
    if (session.arguments.brightStar) {
        const auto chosen = ChooseStar(StarsUpAt(session));
        if (!chosen) {
            throw DeviceError(0, "no bright star is up at the device's site");
        }
        session.Note(std::string(chosen->star->name) + " is up, " + FormatFixed(chosen->altitude, 0) + " degrees high");
        return {std::string(chosen->star->name), chosen->position.ra, chosen->position.dec};
    }
    if (operands.size() == 1) {
        const Star* star = FindStar(operands[0]);
        const Position position = Precessed({star->ra, star->dec}, YearsOf(session));
        return {std::string(star->name), position.ra, position.dec};
    }
    return {"", *ParseRightAscension(operands[0]), *ParseDeclination(operands[1])};
}

/// A target below the horizon is for the device to refuse; a person should know why it will. Empty for any other.
std::string HorizonNote(Session& session, const SlewTarget& target) {
    const auto latitude =
        session.arguments.latitude ? session.arguments.latitude : session.device.TryNumber("SiteLatitude");
    const auto siderealTime =
        session.arguments.longitude
            ? std::optional(SiderealTimeAt(session.surroundings.unixSeconds(), *session.arguments.longitude))
            : session.device.TryNumber("SiderealTime");
    if (!latitude || !siderealTime) {
        return {};
    }
    const double altitude = Altitude({target.ra, target.dec}, *siderealTime, *latitude);
    return altitude < 0.0 ? "the target is " + FormatFixed(-altitude, 1) + " degrees below the horizon" : "";
}

/// Called before the device is asked for anything.
void CheckTargetWords(const Arguments& arguments) {
    const auto& operands = arguments.operands;
    if (operands.size() == 1 && FindStar(operands[0]) == nullptr) {
        throw UsageError("there is no star \"" + operands[0] + "\" in the table; kestrane-client stars lists them");
    }
    if (operands.size() == 2 && !ParseRightAscension(operands[0])) {
        throw UsageError("RA " + operands[0] + ": hours from 0 up to below 24 are wanted, as 5.5 or 05:30:00");
    }
    if (operands.size() == 2 && !ParseDeclination(operands[1])) {
        throw UsageError("DEC " + operands[1] + ": degrees from -90 to 90 are wanted, as -16.7 or -16:42:58");
    }
}

/// Starts the slew, and returns at once where the device can do so; older devices answer when the slew has ended.
void StartSlew(Session& session, WatchedAction& action, const SlewTarget& target) {
    const Values values{{"RightAscension", FormatNumber(target.ra)}, {"Declination", FormatNumber(target.dec)}};
    const bool isAsync = session.device.TryFlag("CanSlewAsync").value_or(true);
    action.Put(isAsync ? "SlewToCoordinatesAsync" : "SlewToCoordinates", values);
}

double Remaining(Session& session, const SlewTarget& target) {
    const auto ra = session.device.Number("RightAscension");
    const auto dec = session.device.Number("Declination");
    return Separation(ra, dec, target.ra, target.dec);
}

std::string PlaceText(double ra, double dec) {
    return "RA " + FormatHours(ra) + "  Dec " + FormatDegrees(dec);
}

/// Returns the degrees that are left when the device no longer reports a slew. An interruption stops the telescope: a
/// person who presses Ctrl-C in the middle of a slew wants that.
double FollowSlew(Session& session, WatchedAction& action, const SlewTarget& target, double whole) {
    double left = whole;
    double nearest = whole;
    while (session.device.Flag("Slewing")) {
        action.EndIfInterrupted();
        left = Remaining(session, target);
        // The first leg of a slew in two legs may come near the target and then go away from it.
        const bool goesRound = left > nearest + kStoodStillDegrees;
        nearest = std::min(nearest, left);
        action.Show(whole > 0.0 ? std::max(0.0, 1.0 - nearest / whole) : 1.0,
                    goesRound ? "slewing, on the way round" : "slewing, " + FormatFixed(nearest, 1) + " degrees to go");
        session.surroundings.waitSeconds(kPollSeconds);
    }
    left = Remaining(session, target);
    action.EndIfInterrupted();  // the stop may have gone out during these reads
    if (left <= kMissedDegrees) {
        action.ShowLast(1.0, "arrived");
    }
    return left;
}

[[noreturn]] void FailSlew(double left, bool stoodStill) {
    throw DeviceError(0, stoodStill ? "the device did not slew: it has refused, or was stopped, " +
                                          FormatFixed(left, 1) + " degrees from the target"
                                    : "the slew ended " + FormatFixed(left, 1) + " degrees from its target");
}

/// A device may take a slew without an error, and refuse it afterwards.
void CheckThatItBegan(Session& session, WatchedAction& action, const SlewTarget& target) {
    const bool stands = !session.device.TryFlag("Slewing").value_or(true);
    const double left = stands ? Remaining(session, target) : 0.0;
    action.EndIfInterrupted();  // the stop may have gone out during these reads
    if (left > kMissedDegrees) {
        FailSlew(left, true);
    }
}

void Slew(Session& session, const SlewTarget& target, boost::json::object result) {
    const double whole = session.arguments.wait ? Remaining(session, target) : 0.0;
    WatchedAction action(session, "slewing", {"AbortSlew", "Slewing", "the slew was stopped"});
    StartSlew(session, action, target);
    if (!session.arguments.wait) {
        CheckThatItBegan(session, action, target);
        action.Finish();
        session.Tell("slew started" + std::string(session.HasConnected() ? "; the client stays connected" : ""),
                     result);
        return;
    }
    const double left = FollowSlew(session, action, target, whole);
    action.Finish();
    if (left > kMissedDegrees) {
        FailSlew(left, std::abs(left - whole) < kStoodStillDegrees);
    }
    const auto ra = session.device.Number("RightAscension");
    const auto dec = session.device.Number("Declination");
    result["Off"] = left;
    session.Tell("arrived at " + PlaceText(ra, dec), result);
    session.LetGo();
}

}  // namespace

void RunSlew(Session& session) {
    CheckTargetWords(session.arguments);
    session.EnsureConnected();
    const SlewTarget target = TargetOf(session);
    const std::string place = (target.name.empty() ? "" : target.name + ", ") + PlaceText(target.ra, target.dec);
    const std::string note = HorizonNote(session, target);
    boost::json::object result{{"Name", target.name}, {"RightAscension", target.ra}, {"Declination", target.dec}};
    if (!note.empty()) {
        session.Note(note);
        result["Note"] = note;
    }
    session.Note("slewing to " + place);
    try {
        Slew(session, target, std::move(result));
    } catch (const DeviceError& error) {
        if (note.empty() || !session.arguments.json) {
            throw;
        }
        throw DeviceError(error.Number(), std::string(error.what()) + "; " + note);  // it was shown nowhere else
    }
}

void RunSync(Session& session) {
    CheckTargetWords(session.arguments);
    session.EnsureConnected();
    const SlewTarget target = TargetOf(session);
    WatchedAction action(session, "syncing");
    action.Put("SyncToCoordinates",
               {{"RightAscension", FormatNumber(target.ra)}, {"Declination", FormatNumber(target.dec)}});
    action.Finish();
    const double ra = session.device.Number("RightAscension");
    const double dec = session.device.Number("Declination");
    session.Tell("synced; the device reports " + PlaceText(ra, dec),
                 {{"Name", target.name}, {"RightAscension", ra}, {"Declination", dec}});
    session.LetGo();
}

void RunStars(Session& session) {
    session.EnsureConnected();
    const auto up = StarsUpAt(session);
    if (up.empty()) {
        session.Note("no bright star is up");
    }
    for (const RisenStar& star : up) {
        std::string name(star.star->name);
        name.resize(17, ' ');
        session.Tell(name + PlaceText(star.position.ra, star.position.dec) + "  alt " + FormatFixed(star.altitude, 0) +
                         "  mag " + FormatFixed(star.star->magnitude, 1),
                     {{"Name", std::string(star.star->name)},
                      {"RightAscension", star.position.ra},
                      {"Declination", star.position.dec},
                      {"Altitude", star.altitude},
                      {"Magnitude", star.star->magnitude}});
    }
    session.LetGo();
}

}  // namespace kestrane::client
