#include "telescope/mount/mount_setup.h"

#include <algorithm>
#include <array>

#include "catalogue/vocabulary.h"
#include "catalogue/wire_commands.h"
#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "settings/site_text.h"
#include "state/position_text.h"
#include "telescope/mount/slew_rate.h"

namespace kestrane {
namespace {

constexpr double kMostBacklash = 59.9;  // arc-seconds
constexpr std::string_view kBacklashPattern = "00.0";
constexpr double kSlewRateLimit = 1200.0;  // multiples of sidereal
constexpr std::int16_t kPemIsOn = 1;
constexpr std::int16_t kPemIsOff = 2;
constexpr double kMostIndex = 1e6;

}  // namespace

void MountSetup::SetDecBacklash(double seconds) {
    SetBacklash(wire::SetDecBacklash, "Dec", setting::txtInitDecBacklash, seconds);
}

void MountSetup::SetRaBacklash(double seconds) {
    SetBacklash(wire::SetRaBacklash, "RA", setting::txtInitRaBacklash, seconds);
}

void MountSetup::SetBacklash(const CharacterCommand& command, std::string_view axis, const SettingKey& key,
                             double seconds) {
    const double wanted = seconds == kOfSettings ? driver_.persist.ReadNumber(key) : seconds;
    const double backlash = std::clamp(wanted, 0.0, kMostBacklash);
    if (!Talk(procedure::Initialization).CommandBoolInternal(command, FormatUs(backlash, kBacklashPattern))) {
        const std::string name = std::string(axis) + " Backlash";
        driver_.log.LogMessage("Telescope", LogLevel::Error,
                               "Error setting " + name + "-> " + name + " = " + PlainNumber(backlash));
    }
}

int MountSetup::Choose(int index, const SettingKey& key) {
    const auto stored = [&] { return std::clamp(driver_.persist.ReadNumber(key), -kMostIndex, kMostIndex); };
    return index == kOfSettings ? RoundHalfEven(stored()) : index;
}

void MountSetup::SetGuideRate(int index) {
    constexpr int last = static_cast<int>(kGuideRates.size()) - 1;
    const int chosen = Choose(index, setting::cbxInitGuideRate);
    const GuideRateRow& row = kGuideRates[static_cast<std::size_t>(chosen >= 0 && chosen < last ? chosen : last)];
    state_.g_dGuideRate = row.multiple;
    Talk(procedure::Initialization).CommandBlindInternal(wire::GuideRate, row.argument);
    needs_.statusWindow.lblGuidingRate.Text(row.text);
}

void MountSetup::SetPem(int index) {
    if (!state_.g_bPemAvailable) {
        return;
    }
    const int chosen = Choose(index, setting::cbxInitPEM);
    if (chosen == 1) {
        Talk(procedure::Initialization).CommandBlindInternal(wire::PemOn);
        ShowPem("Enabled", kPemIsOn);
    } else if (chosen == 0) {
        Talk(procedure::Initialization).CommandBlindInternal(wire::PemOff);
        ShowPem("Disabled", kPemIsOff);
    }
}

void MountSetup::ShowPem(std::string_view text, std::int16_t state) {
    state_.g_nPemState = state;
    needs_.handBox.framePemSettings.Caption("PEM: " + std::string(text));
    needs_.statusWindow.lblPECState.Text(text);
}

void MountSetup::SetSlewRate(int index) {
    Sequence mount = Talk(procedure::Initialization);
    ResumeNext errors{driver_.ledger, "SetSlewRate"};
    errors.Step([&] { SlewRate(telescope_).Set(mount, index); });
}

void MountSetup::SendCustomSlewRate(double multiple) {
    if (multiple > 0.0 && multiple < kSlewRateLimit) {
        Talk(procedure::Initialization).CommandBlindInternal(wire::CustomSlewRate, PlainNumber(multiple));
        needs_.statusWindow.lblSlewRate.Text(PlainNumber(multiple));
    }
}

/// The order is that of the list in the window, not that of the clients' rates.
void MountSetup::SetTrackingRate(int index) {
    constexpr std::array rates{tracking_rate::Lunar, tracking_rate::Solar, tracking_rate::Sidereal};
    const int chosen = Choose(index, setting::cbxInitTrackingRate);
    ResumeNext errors{driver_.ledger, "SetTrackingRate"};
    if (chosen >= 0 && chosen < static_cast<int>(rates.size())) {
        errors.Step([&] { telescope_.TrackingRate(rates[static_cast<std::size_t>(chosen)]); });
    } else if (chosen == static_cast<int>(rates.size())) {
        errors.Step([&] { telescope_.Tracking(false); });
    }
}

/// An init string loses the blanks around a name, which an old site may have in the list. The exact name comes first.
const Site* MountSetup::SiteNamed(std::string_view name) {
    needs_.sites.GetAllSites();
    const Site* withBlanks = nullptr;
    for (const std::optional<Site>& site : needs_.sites.g_Sites()) {
        if (site && ToLower(site->Name) == ToLower(name)) {
            return &*site;
        }
        if (site && withBlanks == nullptr && ToLower(Trim(site->Name)) == ToLower(Trim(name))) {
            withBlanks = &*site;
        }
    }
    return withBlanks;
}

void MountSetup::SendLongLat(std::string_view siteName) {
    ResumeNext errors{driver_.ledger, "SendLongLat"};
    SiteNumbers numbers;
    const Site* site = nullptr;
    errors.Assign(site, [&] { return SiteNamed(siteName); });
    if (site != nullptr && IsGoodSiteName(siteName) && needs_.sites.GetSiteNumbers(site->Name, numbers)) {
        errors.Step([&] { MakeCurrent(site->id, numbers.elevation); });
        errors.Step([&] { SendPosition(numbers); });
        errors.Step([&] { needs_.panel.ShowCurrentSite(); });
    } else {
        driver_.log.LogMessage("SendLongLat", LogLevel::Warning,
                               "Not sending Longitude, Latitude to the mount: error getting latitude or longitude for "
                               "site='" +
                                   std::string(siteName) + "'");
    }
    errors.Step([&] { needs_.readMountSite(); });
}

/// From here on the writes of a site's position go into the record of this one. The elevation of the site that is the
/// current one already stays: a client may have written another.
void MountSetup::MakeCurrent(std::int16_t siteId, double elevation) {
    if (needs_.sites.g_SiteDbIndex() != siteId) {
        ResumeNext errors{driver_.ledger, "SendLongLat"};
        errors.Step([&] { telescope_.SiteElevation(elevation); });
    }
    needs_.sites.g_SiteDbIndex(siteId);
    driver_.persist.Write(setting::SiteDbIndex, std::to_string(siteId));
}

void MountSetup::SendPosition(const SiteNumbers& numbers) {
    ResumeNext errors{driver_.ledger, "SendLongLat"};
    const double east = NormalizeDegrees180(numbers.longitude);  // an old site may have 200 degrees east
    Sequence mount = Talk(procedure::Initialization);
    SendHalf(mount, wire::SetLatitude, "latitudeSiteLatitude",
             WireLatitude(numbers.latitude, state_.g_nPrecisionLatLong));
    SendHalf(mount, wire::SetLongitude, "longitudeSiteLongitude", WireLongitude(east, state_.g_nPrecisionLatLong));
    errors.Step([&] { telescope_.SiteLongitude(east); });
    errors.Step([&] { telescope_.SiteLatitude(numbers.latitude); });
}

/// A refusal is logged, and the rest goes out all the same.
void MountSetup::SendHalf(Sequence& mount, const CharacterCommand& command, std::string_view what,
                          const std::string& text) {
    if (!mount.CommandBoolInternal(command, text)) {
        driver_.log.LogMessage("SendLongLat", LogLevel::Error, "KS mount rejected " + std::string(what) + " = " + text);
    }
}

}  // namespace kestrane
