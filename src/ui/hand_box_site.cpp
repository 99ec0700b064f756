#include <algorithm>
#include <cmath>

#include "catalogue/vocabulary.h"
#include "kernel/base/application_info.h"
#include "kernel/base/conversions.h"
#include "settings/site_text.h"
#include "state/position_text.h"
#include "ui/colours.h"
#include "ui/hand_box_panel.h"

namespace kestrane {
namespace {

/// The mount keeps its site to the arc-second, the settings to a tenth.
constexpr double kSiteToleranceDegrees = 1.01 / kArcSecondsPerDegree;

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

void HandBoxPanel::ShowNoMountSite(Notice notice) {
    Tell("Failed to get Longitude/Latitude from mount!", notice);
}

void HandBoxPanel::ShowMountSite(double longitude, double latitude, Notice notice) {
    siteRead_ = true;
    const std::string latitudeText = WithoutEmptyMinus(DegreesToDMS(latitude, "*", ":", "", 0));
    const std::string longitudeText = WithoutEmptyMinus(DegreesToDMS(longitude, "*", ":", "", 0));
    needs_.handBox.txtActualLatitude.Text(latitudeText);
    needs_.handBox.txtActualLongitude.Text(longitudeText);
    needs_.statusWindow.lblLatitude.Text(latitudeText);
    needs_.statusWindow.lblLongitude.Text(longitudeText);
    CompareSite(longitude, latitude, notice);
}

void HandBoxPanel::CompareSite(double longitude, double latitude, Notice notice) {
    constexpr std::string_view kLatitudeWords = "Latitude does not match site setting";
    constexpr std::string_view kLongitudeWords = "Longitude does not match site setting";
    const Site* const site = CurrentSite();
    bool latitudeMatches = true;
    bool longitudeMatches = true;
    ResumeNext errors{driver_.ledger, "CompareSite"};
    errors.Step([&] {
        if (site) {
            const double siteLatitude = SiteTextDegrees(site->Latitude, "S", driver_.log);
            const double siteLongitude = SiteTextDegrees(site->Longitude, "W", driver_.log);
            latitudeMatches = Near(latitude - siteLatitude);
            longitudeMatches = Near(NormalizeDegrees180(longitude - siteLongitude));
        }
    });
    ShowMatch(needs_.handBox.txtActualLatitude, latitudeMatches, kLatitudeWords);
    ShowMatch(needs_.handBox.txtActualLongitude, longitudeMatches, kLongitudeWords);
    if (!latitudeMatches) {
        Tell(std::string(kLatitudeWords), notice);
    }
    if (!longitudeMatches) {
        Tell(std::string(kLongitudeWords), notice);
    }
}

void HandBoxPanel::Tell(const std::string& text, Notice notice) {
    driver_.log.LogMessage("GetLongLatFromMount", LogLevel::Warning, text);
    if (notice == Notice::Shown && !needs_.handBox.noMessageBoxes) {
        needs_.messageBoxes.Show(text, application::kTitle, MessageIcon::Information);
    }
}

void HandBoxPanel::OnSiteTick() {
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
