#include "ui/hand_box/site.h"

#include <algorithm>
#include <cmath>

#include "catalogue/vocabulary.h"
#include "kernel/base/application_info.h"
#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "settings/site_text.h"
#include "state/position_text.h"
#include "ui/colours.h"

namespace kestrane {
namespace {

/// The mount keeps its site to the arc-second, the settings to a tenth.
constexpr double kSiteToleranceDegrees = 1.01 / kArcSecondsPerDegree;

constexpr std::string_view kLatitudeWords = "Latitude does not match site setting";
constexpr std::string_view kLongitudeWords = "Longitude does not match site setting";

constexpr int kSiteFailures = 3;  // in a row; from then on the site is asked for less often
constexpr std::int32_t kSitePauseMs = 60'000;

bool Near(double differenceDegrees) {
    return std::abs(differenceDegrees) <= kSiteToleranceDegrees;
}

void ShowMatch(TextBox& box, bool matches, std::string_view words) {
    Paint(box, matches ? kNormalColours : kWarningColours);
    box.ToolTip(matches ? "" : words);
}

}  // namespace

SiteFrame::SiteFrame(const HandBoxNeeds& needs, ButtonActions& actions)
    : needs_(needs), driver_(needs.driver), state_(needs.driver.state) {
    actions.On(ButtonAction::GetLongLat, [this] { needs_.readMountSite(Notice::Shown, AfterSilence::AsksOn); });
    needs_.handBox.tmrGetLatLong.OnTick([this] { OnSiteTick(); });
    needs_.handBox.btnCopyLatLongToSite.OnClick([this] { CopyToSite(); });
}

/// The boxes only show; the site is changed in the setup.
void SiteFrame::Load() {
    frmHandBox& handBox = needs_.handBox;
    for (TextBox* box : {&handBox.txtSiteName, &handBox.txtLatitude, &handBox.txtLongitude, &handBox.txtElevation,
                         &handBox.txtActualLatitude, &handBox.txtActualLongitude}) {
        box->Enabled(false);
    }
}

void SiteFrame::FillSite() {
    frmHandBox& handBox = needs_.handBox;
    handBox.lblSiteTag.Text(needs_.sites.CurrentSiteName());
    if (const Site* const site = CurrentSite()) {
        handBox.txtSiteName.Text(site->Name);
        handBox.txtLatitude.Text(site->Latitude);
        handBox.txtLongitude.Text(site->Longitude);
        handBox.txtElevation.Text(PlainNumber(site->ElevationMeters));
    }
    MarkDifferences();
}

const Site* SiteFrame::CurrentSite() {
    const std::int16_t current = needs_.sites.g_SiteDbIndex();
    for (const std::optional<Site>& site : needs_.sites.g_Sites()) {
        if (site && site->id == current && current > 0) {
            return &*site;
        }
    }
    return nullptr;
}

void SiteFrame::ShowNoMountSite(Notice notice) {
    Tell("Failed to get Longitude/Latitude from mount!", notice);
}

void SiteFrame::ShowMountSite(double longitude, double latitude, Notice notice) {
    siteRead_ = true;
    reported_ = Position{longitude, latitude};
    const std::string latitudeText = WithoutEmptyMinus(DegreesToDMS(latitude, "*", ":", "", 0));
    const std::string longitudeText = WithoutEmptyMinus(DegreesToDMS(longitude, "*", ":", "", 0));
    needs_.handBox.txtActualLatitude.Text(latitudeText);
    needs_.handBox.txtActualLongitude.Text(longitudeText);
    needs_.statusWindow.lblLatitude.Text(latitudeText);
    needs_.statusWindow.lblLongitude.Text(longitudeText);
    const Match match = MarkDifferences();
    if (!match.latitude) {
        Tell(std::string(kLatitudeWords), notice);
    }
    if (!match.longitude) {
        Tell(std::string(kLongitudeWords), notice);
    }
}

SiteFrame::Match SiteFrame::MarkDifferences() {
    const Site* const site = CurrentSite();
    Match match;
    ResumeNext errors{driver_.ledger, "CompareSite"};
    errors.Step([&] {
        if (site && reported_) {
            const double siteLatitude = SiteTextDegrees(site->Latitude, "S", driver_.log);
            const double siteLongitude = SiteTextDegrees(site->Longitude, "W", driver_.log);
            match.latitude = Near(reported_->latitude - siteLatitude);
            match.longitude = Near(NormalizeDegrees180(reported_->longitude - siteLongitude));
        }
    });
    ShowMatch(needs_.handBox.txtActualLatitude, match.latitude, kLatitudeWords);
    ShowMatch(needs_.handBox.txtActualLongitude, match.longitude, kLongitudeWords);
    return match;
}

/// As a client does that writes the site.
void SiteFrame::CopyToSite() {
    Telescope* const telescope = needs_.telescope();
    if (!telescope || !reported_) {
        Tell("The mount has not reported its site: the site is not changed", Notice::Shown);
        return;
    }
    ResumeNext errors{driver_.ledger, "btnCopyLatLongToSite"};
    errors.Step([&] { telescope->SiteLatitude(reported_->latitude); });
    errors.Step([&] { telescope->SiteLongitude(reported_->longitude); });
    if (errors.Failed()) {
        Tell("The site could not be changed", Notice::Shown);
    }
    const FillsForm filling(needs_.handBox);
    FillSite();
}

void SiteFrame::Tell(const std::string& text, Notice notice) {
    driver_.log.LogMessage("GetLongLatFromMount", LogLevel::Warning, text);
    if (notice == Notice::Shown && !needs_.handBox.noMessageBoxes) {
        needs_.messageBoxes.Show(text, application::kTitle, MessageIcon::Information);
    }
}

void SiteFrame::OnSiteTick() {
    bool connected = false;
    ResumeNext errors{driver_.ledger, "tmrGetLatLong"};
    errors.Assign(connected, [&] { return needs_.linkConnected(); });
    if (!connected) {
        siteRead_ = false;
        siteFailures_ = 0;
        return;
    }
    const bool isLost = state_.g_bLostComms || needs_.queries.LineIsSilent();
    if (siteRead_ || isLost || state_.g_bInPoll || state_.g_bPollSuspended || state_.g_sVersion.empty()) {
        return;
    }
    const Tick now = driver_.clock.GetTickCount();
    if (siteFailures_ == kSiteFailures && now - siteAskedAt_ < kSitePauseMs) {
        return;
    }
    siteAskedAt_ = now;
    // Only refused replies count: a silent mount may answer at any moment.
    const SiteAnswer answer = needs_.readMountSite(Notice::LogOnly, AfterSilence::Ends);
    if (answer == SiteAnswer::Refused) {
        siteFailures_ = std::min(siteFailures_ + 1, kSiteFailures);
    } else if (answer == SiteAnswer::Silent) {
        needs_.queries.NoteSilentQuestion();
    }
}

}  // namespace kestrane
