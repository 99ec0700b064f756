#include "catalogue/vocabulary.h"
#include "catalogue/wire_commands.h"
#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "telescope/telescope.h"

namespace kestrane {
namespace {

constexpr double kPi = 3.14159265;  // the value that clients have always had

class CoordinateSteps : TelescopeSteps {
public:
    using TelescopeSteps::TelescopeSteps;

    void CheckFresh(std::optional<Tick> readAt);
    double GetAltAzTarget(std::string_view name, bool isSet, double degrees);
    void SetAltAzTarget(std::string_view name, double degrees, bool inRange);
};

}  // namespace

/// The link check, and one for age: an old coordinate must not pass for where the mount points now.
void CoordinateSteps::CheckFresh(std::optional<Tick> readAt) {
    telescope_.CheckConnected();
    if (needs_.poll.IsStale(readAt) && needs_.link && needs_.link->Connected()) {
        throw DriverError(ErrorNumber::LostCommunications);
    }
}

double Telescope::RightAscension() {
    CoordinateSteps(*this).CheckFresh(needs_.queries.ReadAt().ra);
    return LogGet("RightAscension", state_.g_dRa);
}

double Telescope::Declination() {
    CoordinateSteps(*this).CheckFresh(needs_.queries.ReadAt().dec);
    return LogGet("Declination", state_.g_dDec);
}

double Telescope::Azimuth() {
    CoordinateSteps(*this).CheckFresh(needs_.queries.ReadAt().az);
    return LogGet("Azimuth", state_.g_dAz);
}

double Telescope::Altitude() {
    CheckConnected();
    // Intentional: the mount is asked each time, although a positive altitude from the poll takes the place of its
    // answer.
    double altitude = ProtocolDegrees(Talk(procedure::Question).CommandStringInternal(wire::GetAltitude), driver_.log);
    if (state_.g_dAlt > 0.0) {
        altitude = state_.g_dAlt;
    }
    return LogGet("Altitude", altitude);
}

double Telescope::SiderealTime() {
    CheckConnected();
    return LogGet("SiderealTime", needs_.queries.GetLst());
}

int Telescope::SideOfPier() {
    const int side = state_.g_nSideOfPier;
    LogGetText("SideOfPier", side == pier_side::East   ? pier_side::kEastText
                             : side == pier_side::West ? pier_side::kWestText
                                                       : "Unknown");
    return side;
}

void Telescope::SideOfPier(int side) {
    driver_.log.LogMessage("ASCOM", LogLevel::Exception,
                           "SET SideOfPier = " + std::to_string(side) + " (NO OPERATION DONE)");
    throw DriverError(ErrorNumber::NotImplemented, "Property Set SideOfPier() is not implemented in this driver.");
}

double Telescope::ApertureDiameter() {
    return LogGet("ApertureDiameter", state_.g_dAperture);
}
double Telescope::FocalLength() {
    return LogGet("FocalLength", state_.g_dFocalLength);
}

double Telescope::ApertureArea() {
    const double radius = state_.g_dAperture / 2.0;
    return LogGet("ApertureArea", kPi * radius * radius);
}

bool Telescope::DoesRefraction() {
    return LogGet("DoesRefraction", needs_.channel.DoesRefraction());
}

void Telescope::DoesRefraction(bool does) {
    LogSet("DoesRefraction", TrueFalse(does));
}

double Telescope::TargetRightAscension() {
    if (!state_.g_bTargetRaSet) {
        driver_.log.LogMessage("ASCOM", LogLevel::Exception, "GET TargetRightAscension (property not set) = 0");
        throw DriverError(ErrorNumber::ValueNotSet, "Property TargetRightAscension  property has not yet been set.");
    }
    return LogGet("TargetRightAscension", state_.g_dTargetRa);
}

void Telescope::TargetRightAscension(double hours) {
    CheckConnected();
    RefuseOutOfRange("TargetRightAscension", hours, hours >= 0.0 && hours < 24.0);
    LogSet("TargetRightAscension", PlainNumber(hours));
    state_.g_dTargetRa = hours;
    state_.g_bTargetRaSet = true;
    state_.g_bTargetAltSet = state_.g_bTargetAzSet = false;
    state_.g_bTargetIsRaDec = true;
}

double Telescope::TargetDeclination() {
    if (!state_.g_bTargetDecSet) {
        driver_.log.LogMessage("ASCOM", LogLevel::Exception, "GET TargetDeclination (value not set) = 0");
        throw DriverError(ErrorNumber::ValueNotSet, "Property TargetDeclination  property has not yet been set.");
    }
    return LogGet("TargetDeclination", state_.g_dTargetDec);
}

void Telescope::TargetDeclination(double degrees) {
    CheckConnected();
    RefuseOutOfRange("TargetDeclination", degrees, degrees >= -90.0 && degrees <= 90.0);
    LogSet("TargetDeclination", PlainNumber(degrees));
    state_.g_dTargetDec = degrees;
    state_.g_bTargetDecSet = true;
    state_.g_bTargetAltSet = state_.g_bTargetAzSet = false;
    state_.g_bTargetIsRaDec = true;
}

double Telescope::TargetAzimuth() {
    CoordinateSteps steps(*this);
    return steps.GetAltAzTarget("TargetAzimuth", state_.g_bTargetAzSet, state_.g_dTargetAz);
}

void Telescope::TargetAzimuth(double degrees) {
    CoordinateSteps steps(*this);
    steps.SetAltAzTarget("TargetAzimuth", degrees, degrees >= 0.0 && degrees <= 360.0);
    state_.g_dTargetAz = degrees;
    state_.g_bTargetAzSet = true;
}

double Telescope::TargetAltitude() {
    CoordinateSteps steps(*this);
    return steps.GetAltAzTarget("TargetAltitude", state_.g_bTargetAltSet, state_.g_dTargetAlt);
}

void Telescope::TargetAltitude(double degrees) {
    CoordinateSteps steps(*this);
    steps.SetAltAzTarget("TargetAltitude", degrees, degrees >= -90.0 && degrees <= 90.0);
    state_.g_dTargetAlt = degrees;
    state_.g_bTargetAltSet = true;
}

double CoordinateSteps::GetAltAzTarget(std::string_view name, bool isSet, double degrees) {
    const double value = isSet ? degrees : 0.0;
    driver_.log.LogMessage("Telescope", LogLevel::Info, "Get " + std::string(name) + " = " + PlainNumber(value));
    return value;
}

/// Checks a horizontal target; a valid one replaces an equatorial one.
void CoordinateSteps::SetAltAzTarget(std::string_view name, double degrees, bool inRange) {
    telescope_.CheckConnected();
    if (!inRange) {
        throw DriverError(ErrorNumber::OutOfRange);
    }
    driver_.log.LogMessage("Telescope", LogLevel::Info, "SET " + std::string(name) + " = " + PlainNumber(degrees));
    state_.g_bTargetRaSet = state_.g_bTargetDecSet = false;
    state_.g_bTargetIsRaDec = false;
}

}  // namespace kestrane
