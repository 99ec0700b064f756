#pragma once

#include <array>
#include <optional>
#include <string_view>

#include "settings/setting_keys.h"

namespace kestrane {

enum class SettingKind {
    Flag,       ///< "0" or "1"; true when its number is not zero
    TrueFalse,  ///< "True" or "False", compared as text
    Text,       ///< a number, an index or words
};

/// A settings key with all its defaults. The first reader's answer is stored and rules from then on, so the order of
/// the readers at start decides which of several defaults a new settings file gets: always that of `key`.
struct SettingRow {
    SettingKey key;
    SettingKind kind;
    std::optional<std::string_view> laterDefault = {};  ///< what later readers ask with
    bool controlText = false;                           ///< a window asks with its control's present text
};

/// Every key that the driver reads or writes. Not in it: the ten `cbxSiteList_01` to `cbxSiteList_10` of old settings,
/// and `kRemovedKeys`. A key may be spelled in any case (`txtIPAddress` is `txtIpAddress`).
// clang-format off
inline constexpr std::array kSettingTable{
    // Connection and link
    SettingRow{setting::Port, SettingKind::Text},
    SettingRow{setting::Timeout, SettingKind::Text},
    SettingRow{setting::Retry, SettingKind::Text},
    SettingRow{setting::txtConnectTimeout, SettingKind::Text},
    SettingRow{setting::chkIPAddress, SettingKind::Flag},
    SettingRow{setting::txtIpAddress, SettingKind::Text},
    SettingRow{setting::chkUseASCOMSerialObject, SettingKind::Flag},
    SettingRow{setting::chkAllowConnectIfMountNotPresent, SettingKind::Flag},
    SettingRow{setting::chkQUAY, SettingKind::Flag},
    SettingRow{setting::chkQuayRestApi, SettingKind::Flag},
    SettingRow{setting::QuayHandlesSlews, SettingKind::Flag},
    SettingRow{setting::IpConnectTimeoutMSecs, SettingKind::Text},
    SettingRow{setting::IpDebug, SettingKind::Flag},
    SettingRow{setting::IpReceiveTimeoutMSecs, SettingKind::Text},
    SettingRow{setting::IpResolveTimeoutMSecs, SettingKind::Text},
    SettingRow{setting::IpSendTimeoutMSecs, SettingKind::Text},
    // Mount identity
    SettingRow{setting::MountType, SettingKind::Text, "2"},
    SettingRow{setting::Controller, SettingKind::Text, "1"},
    SettingRow{setting::MountRateType, SettingKind::Text},
    SettingRow{setting::FW, SettingKind::Text},
    // Start-up actions of mount initialization
    SettingRow{setting::chkSetLongLat, SettingKind::Flag},
    SettingRow{setting::chkSyncMountToPCTime, SettingKind::Flag},
    SettingRow{setting::chkSetGuiderRate, SettingKind::Flag},
    SettingRow{setting::chkSetPEM, SettingKind::Flag},
    SettingRow{setting::chkSetSlewRate, SettingKind::Flag},
    SettingRow{setting::chkSetTrackingRate, SettingKind::Flag},
    SettingRow{setting::chkSetRABacklash, SettingKind::Flag},
    SettingRow{setting::chkSetDecBacklash, SettingKind::Flag},
    SettingRow{setting::cbxInitGuideRate, SettingKind::Text, "0"},
    SettingRow{setting::cbxInitPEM, SettingKind::Text},
    SettingRow{setting::cbxInitSlewRate, SettingKind::Text, "0"},
    SettingRow{setting::cbxInitTrackingRate, SettingKind::Text},
    SettingRow{setting::txtCustomSlewRate, SettingKind::Text},
    SettingRow{setting::txtInitRaBacklash, SettingKind::Text},
    SettingRow{setting::txtInitDecBacklash, SettingKind::Text},
    SettingRow{setting::chkKeepMountTimeSyncedToPcTime, SettingKind::Flag},
    // Behaviour switches
    SettingRow{setting::chkAutoCalibrateOnFirstSlew, SettingKind::Flag},
    SettingRow{setting::chkAutoEnableTracking, SettingKind::Flag},
    SettingRow{setting::chkEnableMountTracking, SettingKind::Flag},
    SettingRow{setting::chkEnableKingRate, SettingKind::Flag},
    SettingRow{setting::chkRaMoveAxisOfZeroStopsTracking, SettingKind::Flag},
    SettingRow{setting::chkUseRCAL, SettingKind::Flag},
    SettingRow{setting::chkAsyncPark, SettingKind::Flag},
    SettingRow{setting::chkSynchronousPulseGuide, SettingKind::Flag},
    SettingRow{setting::chkShowPulseGuideMovements, SettingKind::Flag},
    SettingRow{setting::chkSwapEW, SettingKind::Flag},
    SettingRow{setting::chkSwapNS, SettingKind::Flag},
    SettingRow{setting::chkRotate90, SettingKind::Flag},
    SettingRow{setting::chkSlewEast, SettingKind::Flag},
    SettingRow{setting::txtSlewEastFirstHours, SettingKind::Text, {}, true},
    SettingRow{setting::txtMeridianDelay, SettingKind::Text, {}, true},
    SettingRow{setting::txtRaCustom, SettingKind::Text, {}, true},
    SettingRow{setting::txtDecCustom, SettingKind::Text, {}, true},
    SettingRow{setting::cbxMoveRate, SettingKind::Text, "4"},
    SettingRow{setting::cbxWindowsPriority, SettingKind::Text},
    SettingRow{setting::DisableSafeSlew, SettingKind::Flag},
    SettingRow{setting::SafeSlewRaDec, SettingKind::Flag},
    SettingRow{setting::DontQueryGOS, SettingKind::Flag},
    SettingRow{setting::DontUseGOSForSlew, SettingKind::Flag},
    SettingRow{setting::ForceOldBSequence, SettingKind::Flag},
    SettingRow{setting::ForceQueryQOS, SettingKind::Flag},
    SettingRow{setting::UseOldButtonBehavior, SettingKind::Flag},
    SettingRow{setting::ButtonsOnParkOK, SettingKind::Flag},
    // Parking
    SettingRow{setting::cbxParkTo, SettingKind::Text},
    SettingRow{setting::cbxParkToText, SettingKind::Text},
    SettingRow{setting::cbxUnparkFrom, SettingKind::Text},
    SettingRow{setting::cbxUnparkFromText, SettingKind::Text},
    SettingRow{setting::txtUserParkAlt, SettingKind::Text, {}, true},
    SettingRow{setting::txtUserParkAz, SettingKind::Text, {}, true},
    SettingRow{setting::ParkStatus, SettingKind::Text},
    SettingRow{setting::DisablePark1Warning, SettingKind::TrueFalse},
    SettingRow{setting::CounterWeightsUpPark, SettingKind::Flag},
    SettingRow{setting::CounterWeightsUpHourAngle, SettingKind::Text},
    SettingRow{setting::CounterWeightsUpTimeOffset, SettingKind::Text},
    SettingRow{setting::CounterWeightsUpParkIntermediateSlewDec, SettingKind::Text},
    // Site and optics
    SettingRow{setting::Longitude, SettingKind::Text},
    SettingRow{setting::Latitude, SettingKind::Text},
    SettingRow{setting::Elevation, SettingKind::Text},
    SettingRow{setting::SiteName, SettingKind::Text},
    SettingRow{setting::SiteDbIndex, SettingKind::Text},
    SettingRow{setting::cbxSiteList, SettingKind::Text},
    SettingRow{setting::SiteListIndex, SettingKind::Text},
    SettingRow{setting::OldSiteName, SettingKind::Text},
    SettingRow{setting::SitesCopiedToDatbase, SettingKind::TrueFalse},
    SettingRow{setting::txtScopeAperture, SettingKind::Text, "10", true},
    SettingRow{setting::txtScopeFocalLength, SettingKind::Text, "100", true},
    // Bookmarks
    SettingRow{setting::chkConvertAltAzRaDec, SettingKind::Flag},
    SettingRow{setting::chkConvertAltAzToRaDec, SettingKind::Flag},
    SettingRow{setting::TransferedRABookmarksToDB, SettingKind::TrueFalse},
    SettingRow{setting::TransferedAltBookmarksToDB, SettingKind::TrueFalse},
    // Focuser
    SettingRow{setting::Focus_txtMaxIncrementMSecs, SettingKind::Text},
    SettingRow{setting::Focus_txtBacklashMSecs, SettingKind::Text},
    SettingRow{setting::Focus_txtStepMultiplierMSecs, SettingKind::Text},
    SettingRow{setting::Focus_radFocusFast, SettingKind::TrueFalse},
    SettingRow{setting::Focus_radFocusFinalDirectionIn, SettingKind::TrueFalse},
    SettingRow{setting::Focus_chkReverseFocusDirection, SettingKind::Flag},
    // Windows and logging
    SettingRow{setting::FormLeft, SettingKind::Text},
    SettingRow{setting::FormTop, SettingKind::Text},
    SettingRow{setting::chkRememberPosition, SettingKind::Flag},
    SettingRow{setting::chkAlwaysOnTop, SettingKind::Flag},
    SettingRow{setting::chkShowInTaskBar, SettingKind::Flag},
    SettingRow{setting::chkShowAllControls, SettingKind::Flag},
    SettingRow{setting::MinimizeStatusWindow, SettingKind::Flag},
    SettingRow{setting::hscrReticleBrightness, SettingKind::Text},
    SettingRow{setting::mPopShowLogWindow, SettingKind::Flag},
    SettingRow{setting::mPopTopmost, SettingKind::Flag},
    SettingRow{setting::PopupShowStatus, SettingKind::Flag},
    SettingRow{setting::chkEnableDebugLog, SettingKind::Flag, "1"},
    SettingRow{setting::chkShowASCOMCommands, SettingKind::Flag},
    SettingRow{setting::chkShowTelescopeCommands, SettingKind::Flag},
    SettingRow{setting::chkShowFocuserCommands, SettingKind::Flag},
    SettingRow{setting::chkShowNoRaDecAltAz, SettingKind::Flag},
    SettingRow{setting::LogFileDir, SettingKind::Text},
    SettingRow{setting::LogWhenParked, SettingKind::Flag},
    SettingRow{setting::chkNewVersion, SettingKind::Flag},
    // Computed positions and hidden buttons
    SettingRow{setting::chkCalcAzAlt, SettingKind::Flag},
    SettingRow{setting::chkCalcLST, SettingKind::Flag},
    SettingRow{setting::ShowInitNowButton, SettingKind::Flag},
};
// clang-format on

/// The key as its later readers ask for it. Only for a key that has a later default.
consteval SettingKey AskedLater(const SettingKey& key) {
    for (const SettingRow& row : kSettingTable) {
        if (row.key.name == key.name) {
            return {key.name, row.laterDefault.value()};
        }
    }
    throw "no such key";
}

/// The older split form of the site's position, deleted when the setup dialog saves a site.
inline constexpr std::array<std::string_view, 8> kRemovedKeys{"LatitudeDeg",  "LatitudeMin",  "LatitudeSec",
                                                              "LatitudeNS",   "LongitudeDeg", "LongitudeMin",
                                                              "LongitudeSec", "LongitudeEW"};

}  // namespace kestrane
