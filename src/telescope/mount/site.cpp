#include <cmath>

#include "catalogue/vocabulary.h"
#include "catalogue/wire_commands.h"
#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "settings/database.h"
#include "settings/site_text.h"
#include "state/site_query.h"
#include "telescope/telescope.h"

namespace kestrane {
namespace {

constexpr double kLowestSite = -300.0;    // metres
constexpr double kHighestSite = 10000.0;  // metres
constexpr double kHalfArcSecond = 0.5 / kArcSecondsPerDegree;

/// The position text of a site: "N 41 30 12".
std::string SiteText(double degrees, std::string_view positive, std::string_view negative) {
    double rest = std::abs(degrees) + kHalfArcSecond;
    const double whole = std::floor(rest);
    rest = (rest - whole) * 60.0;
    const double minutes = std::floor(rest);
    const double seconds = std::floor((rest - minutes) * 60.0);
    return std::string(degrees < 0.0 ? negative : positive) + " " + PlainNumber(whole) + " " + PlainNumber(minutes) +
           " " + PlainNumber(seconds);
}

class SiteSteps : TelescopeSteps {
public:
    using TelescopeSteps::TelescopeSteps;

    void SaveSitePosition(std::string Site::*half, const SettingKey& key, const std::string& text);
};

}  // namespace

double Telescope::SiteLatitude() {
    ReadSiteLatitude();
    return state_.g_dSiteLatitude;
}

SiteAnswer Telescope::ReadSiteLatitude() {
    CheckConnected();
    Sequence mount = Talk(procedure::Picture);
    const SiteDegrees latitude = AskSiteDegrees(mount, wire::GetLatitude, driver_.log);
    if (latitude.Read()) {
        state_.g_dSiteLatitude = latitude.degrees;
    }
    LogGet("SiteLatitude", state_.g_dSiteLatitude);
    return latitude.answer;
}

void Telescope::SiteLatitude(double degrees) {
    SiteSteps steps(*this);
    RefuseOutOfRange("SiteLatitude", degrees, degrees >= -90.0 && degrees <= 90.0);
    LogSet("SiteLatitude", PlainNumber(degrees));
    state_.g_dSiteLatitude = degrees;
    const std::string text = SiteText(degrees, "N", "S");
    driver_.log.LogMessage("SaveSiteLatitude", LogLevel::Info, "Saving new site Latitude = " + text);
    steps.SaveSitePosition(&Site::Latitude, setting::Latitude, text);
}

double Telescope::SiteLongitude() {
    CheckConnected();
    Sequence mount = Talk(procedure::Picture);
    if (const auto west = AskSiteDegrees(mount, wire::GetLongitude, driver_.log); west.Read()) {
        state_.g_dSiteLongitude = -west.degrees;
        state_.g_bLongitudeRead = true;
    }
    const double east = state_.g_dSiteLongitude < -180.0 ? state_.g_dSiteLongitude + 360.0 : state_.g_dSiteLongitude;
    return LogGet("SiteLongitude", east);
}

void Telescope::SiteLongitude(double degrees) {
    SiteSteps steps(*this);
    CheckConnected();
    RefuseOutOfRange("SiteLongitude", degrees, degrees >= -180.0 && degrees <= 180.0);
    LogSet("SiteLongitude", PlainNumber(degrees));
    const std::string text = SiteText(degrees, "E", "W");
    driver_.log.LogMessage("SaveSiteLongitude", LogLevel::Info, "Saving new site Longitude value = " + text);
    steps.SaveSitePosition(&Site::Longitude, setting::Longitude, text);
}

double Telescope::SiteElevation() {
    return LogGet("SiteElevation", state_.g_dSiteElevation);
}

void Telescope::SiteElevation(double metres) {
    if (!(metres >= kLowestSite && metres <= kHighestSite)) {
        constexpr ErrorNumber kNumber = ErrorNumber::OutOfRange;
        driver_.log.LogMessage("ASCOM", LogLevel::Exception,
                               "SET SiteElevation (out of range) = " + PlainNumber(metres) +
                                   " Err=" + std::to_string(static_cast<std::int32_t>(kNumber)));
        throw DriverError(kNumber, "Property SiteElevation The property value is out of range");
    }
    LogSet("SiteElevation", PlainNumber(metres));
    state_.g_dSiteElevation = metres;
    driver_.persist.Write(setting::Elevation, PlainNumber(metres));
}

/// Writes a half of the current site's position into its record and its setting; nothing without a current site.
void SiteSteps::SaveSitePosition(std::string Site::*half, const SettingKey& key, const std::string& text) {
    const std::int16_t current = needs_.sites.g_SiteDbIndex();
    for (auto& site : needs_.sites.g_Sites()) {
        if (!site || site->id != current) {
            continue;
        }
        (*site).*half = text;
        bool isNew = false;
        if (Database* const database = driver_.persist.database()) {
            database->SetSite(*site, isNew, SiteNames::AsTheyAre);
        }
        driver_.persist.Write(key, text);
        return;
    }
}

}  // namespace kestrane
