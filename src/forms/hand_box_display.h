#pragma once

#include <cstdint>
#include <string_view>

namespace kestrane {

/// Whether the mount corrects its tracking rate, as its status text says.
enum class RateCorrection { Off, On };

/// Whether a person is shown a message box, or only the log tells.
enum class Notice { Shown, LogOnly };

/// What the core of the driver makes the hand box show, besides the values of its controls. The presenter of the hand
/// box implements it. It only shows: nothing here talks to the mount, and nothing raises. It keeps in
/// `DriverState` what it shows and what follows from it: the displayed rate, its tick and `g_bRestoreRatePending`, the
/// meridian delay, the phase of the flash, and with the companion the link's error counts, which start anew. Logic
/// thread only.
class HandBoxDisplay {
public:
    virtual ~HandBoxDisplay() = default;

    /// Shows the window, or puts it into the tray if the setting "MinimizeStatusWindow" asks for that.
    virtual void UserShow() = 0;
    /// Fills all controls from the settings and the driver's picture of the mount, writing nothing back.
    virtual void UpdateControls() = 0;
    /// Takes the bounds of the custom rates from `g_dMaxMoveRate`.
    virtual void UpdateRateLimits() = 0;
    /// Shows the frames of the panel that have a use with the controller: those of PEM and focuser depend on it.
    virtual void ShowMountFeatures() = 0;

    /// `origin` names the place for a reader of the code; it has no effect.
    virtual void SetParkStatus(std::string_view text, std::string_view origin) = 0;
    virtual void SetParkToolTip(std::string_view text) = 0;
    /// Rate button 0 off, 1 sidereal, 2 lunar, 3 solar, 4 custom.
    virtual void ShowTrackingRate(std::int16_t rate, RateCorrection correction) = 0;
    /// Enables the custom rates while `g_bTracking` shows that the mount tracks, and disables them when not.
    virtual void EnableRateControls() = 0;
    /// Hours, -6 to 6; a value outside is refused, in the log only.
    virtual void SetMeridianDelayUI(double hours) = 0;
    /// The site that the mount has reported, degrees, east and north positive: fills the boxes of the actual site and
    /// compares them with the current site. A difference is logged, and shown in a message box if `notice` says so.
    virtual void ShowMountSite(double longitude, double latitude, Notice notice) = 0;
    /// Shows the name and the position of the current site, writing nothing back.
    virtual void ShowCurrentSite() = 0;
    /// The mount was asked for its site and did not report it: logged, and shown in a message box if `notice` says so.
    virtual void ShowNoMountSite(Notice notice) = 0;
    virtual void UpdateErrorCounts() = 0;
    /// One phase of the flash that shows a slew.
    virtual void SlewFlashDisplay() = 0;
    /// Turns the mark of a guide pulse on or off: 0 north, 1 south, 2 east, 3 west, -1 all four, any other
    /// number none.
    virtual void SetUiGuideIndicator(std::int32_t direction, bool on) = 0;
};

}  // namespace kestrane
