#include <cmath>
#include <optional>

#include "catalogue/wire_commands.h"
#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "state/mount_replies.h"
#include "telescope/telescope.h"

namespace kestrane {
namespace {

constexpr double kPlausibleDegrees = 1.0;  // from the position that the poll has read
constexpr double kFullCircle = 360.0;

class SetParkSteps : TelescopeSteps {
public:
    using TelescopeSteps::TelescopeSteps;

    double Altitude();
    double Azimuth();
    void Keep(const std::string& altitude, const std::string& azimuth);

private:
    template <typename Ask>
    double AskTwice(double expected, Ask ask);
};

}  // namespace

void Telescope::SetPark() {
    SetParkSteps steps(*this);
    CheckConnected();
    const double altitude = std::nearbyint(steps.Altitude());
    const double azimuth = std::fmod(std::nearbyint(steps.Azimuth()), kFullCircle);
    driver_.log.LogMessage("ASCOM", LogLevel::Info,
                           "SetPark() Alt=" + PlainNumber(altitude) + ", Az=" + PlainNumber(azimuth));
    steps.Keep(PlainNumber(altitude), PlainNumber(azimuth));
}

/// A value far from the one of the poll may be the reply to another question: the second answer counts.
template <typename Ask>
double SetParkSteps::AskTwice(double expected, Ask ask) {
    std::optional<double> degrees = ask();
    if (degrees && std::abs(NormalizeDegrees180(*degrees - expected)) > kPlausibleDegrees) {
        degrees = ask();
    }
    if (!degrees) {
        driver_.log.LogMessage("ASCOM", LogLevel::Exception, "SetPark: the mount did not report where it points");
        throw DriverError(ErrorNumber::InvalidOperation);
    }
    return *degrees;
}

double SetParkSteps::Altitude() {
    return AskTwice(state_.g_dAlt, [&] {
        return ReadDecReply(Talk(procedure::Question).CommandStringInternal(wire::GetAltitude), driver_.log);
    });
}

double SetParkSteps::Azimuth() {
    return AskTwice(state_.g_dAz, [&] {
        return ReadAzReply(Talk(procedure::Question).CommandStringInternal(wire::GetAzimuth), driver_.log);
    });
}

void SetParkSteps::Keep(const std::string& altitude, const std::string& azimuth) {
    driver_.persist.Write(setting::txtUserParkAlt, altitude);
    driver_.persist.Write(setting::txtUserParkAz, azimuth);
    driver_.persist.Write(setting::CounterWeightsUpPark, "0");
    const FillsForm filling(needs_.handBox);
    needs_.handBox.txtUserParkAlt.Text(altitude);
    needs_.handBox.txtUserParkAz.Text(azimuth);
}

}  // namespace kestrane
