#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace kestrane {

enum class SettingKind {
    Flag,       ///< "0" or "1"; true when its number is not zero
    TrueFalse,  ///< "True" or "False", compared as text
    Text,       ///< a number, an index or words
};

/// A settings key with all its defaults. The answer of the first reader is stored and stays, so the order of the
/// readers at the start decides which of several defaults a new settings file gets: always `fallback`.
struct SettingKey {
    std::string_view name;
    std::string_view fallback;  ///< default of its first reader
    SettingKind kind = SettingKind::Text;
    std::optional<std::string_view> laterDefault = {};  ///< default of later readers
    bool controlText = false;                           ///< a window asks with the present text of its control
};

/// The key with the default of its later readers. Only for a key that has a later default.
consteval SettingKey AskedLater(const SettingKey& key) {
    return {key.name, key.laterDefault.value()};
}

/// Every key that the driver reads or writes; most of them are the names of the controls that edit them. Not in it: the
/// ten keys `cbxSiteList_01` to `cbxSiteList_10` of old settings, and `kRemovedKeys`. A key may be spelled in any case
/// (`txtIPAddress` is `txtIpAddress`).
namespace setting {

// Connection and link
inline constexpr SettingKey Port{"Port", "COM1"};
inline constexpr SettingKey Timeout{"Timeout", "500"};
inline constexpr SettingKey Retry{"Retry", "2"};
inline constexpr SettingKey txtConnectTimeout{"txtConnectTimeout", "1"};
inline constexpr SettingKey chkIPAddress{"chkIPAddress", "0", SettingKind::Flag};
inline constexpr SettingKey txtIpAddress{"txtIpAddress", ""};
inline constexpr SettingKey chkUseASCOMSerialObject{"chkUseASCOMSerialObject", "0", SettingKind::Flag};
inline constexpr SettingKey chkAllowConnectIfMountNotPresent{"chkAllowConnectIfMountNotPresent", "0",
                                                             SettingKind::Flag};
inline constexpr SettingKey chkQUAY{"chkQUAY", "0", SettingKind::Flag};
inline constexpr SettingKey chkQuayRestApi{"chkQuayRestApi", "0", SettingKind::Flag};
inline constexpr SettingKey QuayHandlesSlews{"QuayHandlesSlews", "1", SettingKind::Flag};
inline constexpr SettingKey IpConnectTimeoutMSecs{"IpConnectTimeoutMSecs", "100"};
inline constexpr SettingKey IpDebug{"IpDebug", "0", SettingKind::Flag};
inline constexpr SettingKey IpReceiveTimeoutMSecs{"IpReceiveTimeoutMSecs", "250"};
inline constexpr SettingKey IpResolveTimeoutMSecs{"IpResolveTimeoutMSecs", "100"};
inline constexpr SettingKey IpSendTimeoutMSecs{"IpSendTimeoutMSecs", "100"};

// Mount identity
inline constexpr SettingKey MountType{"MountType", "0", SettingKind::Text, "2"};
inline constexpr SettingKey Controller{"Controller", "2", SettingKind::Text, "1"};
inline constexpr SettingKey MountRateType{"MountRateType", ""};
inline constexpr SettingKey FW{"FW", ""};

// Start-up actions of mount initialization
inline constexpr SettingKey chkSetLongLat{"chkSetLongLat", "1", SettingKind::Flag};
inline constexpr SettingKey chkSyncMountToPCTime{"chkSyncMountToPCTime", "1", SettingKind::Flag};
inline constexpr SettingKey chkSetGuiderRate{"chkSetGuiderRate", "1", SettingKind::Flag};
inline constexpr SettingKey chkSetPEM{"chkSetPEM", "1", SettingKind::Flag};
inline constexpr SettingKey chkSetSlewRate{"chkSetSlewRate", "1", SettingKind::Flag};
inline constexpr SettingKey chkSetTrackingRate{"chkSetTrackingRate", "1", SettingKind::Flag};
inline constexpr SettingKey chkSetRABacklash{"chkSetRABacklash", "1", SettingKind::Flag};
inline constexpr SettingKey chkSetDecBacklash{"chkSetDecBacklash", "1", SettingKind::Flag};
inline constexpr SettingKey cbxInitGuideRate{"cbxInitGuideRate", "2", SettingKind::Text, "0"};
inline constexpr SettingKey cbxInitPEM{"cbxInitPEM", "0"};
inline constexpr SettingKey cbxInitSlewRate{"cbxInitSlewRate", "2", SettingKind::Text, "0"};
inline constexpr SettingKey cbxInitTrackingRate{"cbxInitTrackingRate", "2"};
inline constexpr SettingKey txtCustomSlewRate{"txtCustomSlewRate", "600"};
inline constexpr SettingKey txtInitRaBacklash{"txtInitRaBacklash", "0"};
inline constexpr SettingKey txtInitDecBacklash{"txtInitDecBacklash", "0"};
inline constexpr SettingKey chkKeepMountTimeSyncedToPcTime{"chkKeepMountTimeSyncedToPcTime", "1", SettingKind::Flag};

// Behaviour switches
inline constexpr SettingKey chkAutoCalibrateOnFirstSlew{"chkAutoCalibrateOnFirstSlew", "1", SettingKind::Flag};
inline constexpr SettingKey chkAutoEnableTracking{"chkAutoEnableTracking", "0", SettingKind::Flag};
inline constexpr SettingKey chkEnableMountTracking{"chkEnableMountTracking", "1", SettingKind::Flag};
inline constexpr SettingKey chkEnableKingRate{"chkEnableKingRate", "0", SettingKind::Flag};
inline constexpr SettingKey chkRaMoveAxisOfZeroStopsTracking{"chkRaMoveAxisOfZeroStopsTracking", "0",
                                                             SettingKind::Flag};
inline constexpr SettingKey chkUseRCAL{"chkUseRCAL", "1", SettingKind::Flag};
inline constexpr SettingKey chkAsyncPark{"chkAsyncPark", "0", SettingKind::Flag};
inline constexpr SettingKey chkSynchronousPulseGuide{"chkSynchronousPulseGuide", "0", SettingKind::Flag};
inline constexpr SettingKey chkShowPulseGuideMovements{"chkShowPulseGuideMovements", "0", SettingKind::Flag};
inline constexpr SettingKey chkSwapEW{"chkSwapEW", "0", SettingKind::Flag};
inline constexpr SettingKey chkSwapNS{"chkSwapNS", "0", SettingKind::Flag};
inline constexpr SettingKey chkRotate90{"chkRotate90", "0", SettingKind::Flag};
inline constexpr SettingKey chkSlewEast{"chkSlewEast", "0", SettingKind::Flag};
inline constexpr SettingKey txtSlewEastFirstHours{"txtSlewEastFirstHours", "10", SettingKind::Text, {}, true};
inline constexpr SettingKey txtMeridianDelay{"txtMeridianDelay", "", SettingKind::Text, {}, true};
inline constexpr SettingKey txtRaCustom{"txtRaCustom", "", SettingKind::Text, {}, true};
inline constexpr SettingKey txtDecCustom{"txtDecCustom", "", SettingKind::Text, {}, true};
inline constexpr SettingKey cbxMoveRate{"cbxMoveRate", "2", SettingKind::Text, "4"};
inline constexpr SettingKey cbxWindowsPriority{"cbxWindowsPriority", "1"};
inline constexpr SettingKey DisableSafeSlew{"DisableSafeSlew", "0", SettingKind::Flag};
inline constexpr SettingKey SafeSlewRaDec{"SafeSlewRaDec", "1", SettingKind::Flag};
inline constexpr SettingKey DontQueryGOS{"DontQueryGOS", "0", SettingKind::Flag};
inline constexpr SettingKey DontUseGOSForSlew{"DontUseGOSForSlew", "0", SettingKind::Flag};
inline constexpr SettingKey ForceOldBSequence{"ForceOldBSequence", "0", SettingKind::Flag};
inline constexpr SettingKey ForceQueryQOS{"ForceQueryQOS", "0", SettingKind::Flag};
inline constexpr SettingKey UseOldButtonBehavior{"UseOldButtonBehavior", "0", SettingKind::Flag};
inline constexpr SettingKey ButtonsOnParkOK{"ButtonsOnParkOK", "0", SettingKind::Flag};

// Parking
inline constexpr SettingKey cbxParkTo{"cbxParkTo", "0"};
inline constexpr SettingKey cbxParkToText{"cbxParkToText", ""};
inline constexpr SettingKey cbxUnparkFrom{"cbxUnparkFrom", "0"};
inline constexpr SettingKey cbxUnparkFromText{"cbxUnparkFromText", ""};
inline constexpr SettingKey txtUserParkAlt{"txtUserParkAlt", "0", SettingKind::Text, {}, true};
inline constexpr SettingKey txtUserParkAz{"txtUserParkAz", "0", SettingKind::Text, {}, true};
inline constexpr SettingKey ParkStatus{"ParkStatus", "Unknown"};
inline constexpr SettingKey DisablePark1Warning{"DisablePark1Warning", "False", SettingKind::TrueFalse};
inline constexpr SettingKey CounterWeightsUpPark{"CounterWeightsUpPark", "0", SettingKind::Flag};
inline constexpr SettingKey CounterWeightsUpHourAngle{"CounterWeightsUpHourAngle", "0"};
inline constexpr SettingKey CounterWeightsUpTimeOffset{"CounterWeightsUpTimeOffset", "0"};
inline constexpr SettingKey CounterWeightsUpParkIntermediateSlewDec{"CounterWeightsUpParkIntermediateSlewDec", "0"};

// Site and optics
inline constexpr SettingKey Longitude{"Longitude", ""};
inline constexpr SettingKey Latitude{"Latitude", ""};
inline constexpr SettingKey Elevation{"Elevation", "0"};
inline constexpr SettingKey SiteName{"SiteName", "Default"};
inline constexpr SettingKey SiteDbIndex{"SiteDbIndex", "0"};
inline constexpr SettingKey cbxSiteList{"cbxSiteList", "0"};
inline constexpr SettingKey SiteListIndex{"SiteListIndex", ""};  // written only
inline constexpr SettingKey OldSiteName{"OldSiteName", "Default"};
inline constexpr SettingKey SitesCopiedToDatbase{"SitesCopiedToDatbase", "False", SettingKind::TrueFalse};
inline constexpr SettingKey txtScopeAperture{"txtScopeAperture", "0", SettingKind::Text, "10", true};
inline constexpr SettingKey txtScopeFocalLength{"txtScopeFocalLength", "0", SettingKind::Text, "100", true};

// Bookmarks
inline constexpr SettingKey chkConvertAltAzRaDec{"chkConvertAltAzRaDec", "0", SettingKind::Flag};
inline constexpr SettingKey chkConvertAltAzToRaDec{"chkConvertAltAzToRaDec", "0", SettingKind::Flag};
inline constexpr SettingKey TransferedRABookmarksToDB{"TransferedRABookmarksToDB", "False", SettingKind::TrueFalse};
inline constexpr SettingKey TransferedAltBookmarksToDB{"TransferedAltBookmarksToDB", "False", SettingKind::TrueFalse};

// Focuser
inline constexpr SettingKey Focus_txtMaxIncrementMSecs{"Focus.txtMaxIncrementMSecs", "5000"};
inline constexpr SettingKey Focus_txtBacklashMSecs{"Focus.txtBacklashMSecs", "100"};
inline constexpr SettingKey Focus_txtStepMultiplierMSecs{"Focus.txtStepMultiplierMSecs", "1"};
inline constexpr SettingKey Focus_radFocusFast{"Focus.radFocusFast", "True", SettingKind::TrueFalse};
inline constexpr SettingKey Focus_radFocusFinalDirectionIn{"Focus.radFocusFinalDirectionIn", "False",
                                                           SettingKind::TrueFalse};
inline constexpr SettingKey Focus_chkReverseFocusDirection{"Focus.chkReverseFocusDirection", "0", SettingKind::Flag};

// Windows and logging
inline constexpr SettingKey FormLeft{"FormLeft", "0"};
inline constexpr SettingKey FormTop{"FormTop", "0"};
inline constexpr SettingKey chkRememberPosition{"chkRememberPosition", "0", SettingKind::Flag};
inline constexpr SettingKey chkAlwaysOnTop{"chkAlwaysOnTop", "1", SettingKind::Flag};
inline constexpr SettingKey chkShowInTaskBar{"chkShowInTaskBar", "1", SettingKind::Flag};
inline constexpr SettingKey chkShowAllControls{"chkShowAllControls", "0", SettingKind::Flag};
inline constexpr SettingKey MinimizeStatusWindow{"MinimizeStatusWindow", "0", SettingKind::Flag};
inline constexpr SettingKey hscrReticleBrightness{"hscrReticleBrightness", "1"};
inline constexpr SettingKey mPopShowLogWindow{"mPopShowLogWindow", "0", SettingKind::Flag};
inline constexpr SettingKey mPopTopmost{"mPopTopmost", "0", SettingKind::Flag};
inline constexpr SettingKey PopupShowStatus{"PopupShowStatus", "1", SettingKind::Flag};
inline constexpr SettingKey chkEnableDebugLog{"chkEnableDebugLog", "0", SettingKind::Flag, "1"};
inline constexpr SettingKey chkShowASCOMCommands{"chkShowASCOMCommands", "1", SettingKind::Flag};
inline constexpr SettingKey chkShowTelescopeCommands{"chkShowTelescopeCommands", "1", SettingKind::Flag};
inline constexpr SettingKey chkShowFocuserCommands{"chkShowFocuserCommands", "1", SettingKind::Flag};
inline constexpr SettingKey chkShowNoRaDecAltAz{"chkShowNoRaDecAltAz", "0", SettingKind::Flag};
inline constexpr SettingKey LogFileDir{"LogFileDir", ""};
inline constexpr SettingKey LogWhenParked{"LogWhenParked", "0", SettingKind::Flag};
inline constexpr SettingKey LogKeepMBytes{"LogKeepMBytes", "500"};
inline constexpr SettingKey LogKeepDays{"LogKeepDays", "30"};
inline constexpr SettingKey chkNewVersion{"chkNewVersion", "1", SettingKind::Flag};
inline constexpr SettingKey UpdateHost{"UpdateHost", ""};
inline constexpr SettingKey DownloadPage{"DownloadPage", ""};

// Computed positions and hidden buttons
inline constexpr SettingKey chkCalcAzAlt{"chkCalcAzAlt", "0", SettingKind::Flag};
inline constexpr SettingKey chkCalcLST{"chkCalcLST", "0", SettingKind::Flag};
inline constexpr SettingKey ShowInitNowButton{"ShowInitNowButton", "0", SettingKind::Flag};

}  // namespace setting

/// All of them, for code that walks through them; a lint checks the list against the keys above.
inline constexpr std::array kAllSettings{
    // Connection and link
    setting::Port,
    setting::Timeout,
    setting::Retry,
    setting::txtConnectTimeout,
    setting::chkIPAddress,
    setting::txtIpAddress,
    setting::chkUseASCOMSerialObject,
    setting::chkAllowConnectIfMountNotPresent,
    setting::chkQUAY,
    setting::chkQuayRestApi,
    setting::QuayHandlesSlews,
    setting::IpConnectTimeoutMSecs,
    setting::IpDebug,
    setting::IpReceiveTimeoutMSecs,
    setting::IpResolveTimeoutMSecs,
    setting::IpSendTimeoutMSecs,
    // Mount identity
    setting::MountType,
    setting::Controller,
    setting::MountRateType,
    setting::FW,
    // Start-up actions of mount initialization
    setting::chkSetLongLat,
    setting::chkSyncMountToPCTime,
    setting::chkSetGuiderRate,
    setting::chkSetPEM,
    setting::chkSetSlewRate,
    setting::chkSetTrackingRate,
    setting::chkSetRABacklash,
    setting::chkSetDecBacklash,
    setting::cbxInitGuideRate,
    setting::cbxInitPEM,
    setting::cbxInitSlewRate,
    setting::cbxInitTrackingRate,
    setting::txtCustomSlewRate,
    setting::txtInitRaBacklash,
    setting::txtInitDecBacklash,
    setting::chkKeepMountTimeSyncedToPcTime,
    // Behaviour switches
    setting::chkAutoCalibrateOnFirstSlew,
    setting::chkAutoEnableTracking,
    setting::chkEnableMountTracking,
    setting::chkEnableKingRate,
    setting::chkRaMoveAxisOfZeroStopsTracking,
    setting::chkUseRCAL,
    setting::chkAsyncPark,
    setting::chkSynchronousPulseGuide,
    setting::chkShowPulseGuideMovements,
    setting::chkSwapEW,
    setting::chkSwapNS,
    setting::chkRotate90,
    setting::chkSlewEast,
    setting::txtSlewEastFirstHours,
    setting::txtMeridianDelay,
    setting::txtRaCustom,
    setting::txtDecCustom,
    setting::cbxMoveRate,
    setting::cbxWindowsPriority,
    setting::DisableSafeSlew,
    setting::SafeSlewRaDec,
    setting::DontQueryGOS,
    setting::DontUseGOSForSlew,
    setting::ForceOldBSequence,
    setting::ForceQueryQOS,
    setting::UseOldButtonBehavior,
    setting::ButtonsOnParkOK,
    // Parking
    setting::cbxParkTo,
    setting::cbxParkToText,
    setting::cbxUnparkFrom,
    setting::cbxUnparkFromText,
    setting::txtUserParkAlt,
    setting::txtUserParkAz,
    setting::ParkStatus,
    setting::DisablePark1Warning,
    setting::CounterWeightsUpPark,
    setting::CounterWeightsUpHourAngle,
    setting::CounterWeightsUpTimeOffset,
    setting::CounterWeightsUpParkIntermediateSlewDec,
    // Site and optics
    setting::Longitude,
    setting::Latitude,
    setting::Elevation,
    setting::SiteName,
    setting::SiteDbIndex,
    setting::cbxSiteList,
    setting::SiteListIndex,
    setting::OldSiteName,
    setting::SitesCopiedToDatbase,
    setting::txtScopeAperture,
    setting::txtScopeFocalLength,
    // Bookmarks
    setting::chkConvertAltAzRaDec,
    setting::chkConvertAltAzToRaDec,
    setting::TransferedRABookmarksToDB,
    setting::TransferedAltBookmarksToDB,
    // Focuser
    setting::Focus_txtMaxIncrementMSecs,
    setting::Focus_txtBacklashMSecs,
    setting::Focus_txtStepMultiplierMSecs,
    setting::Focus_radFocusFast,
    setting::Focus_radFocusFinalDirectionIn,
    setting::Focus_chkReverseFocusDirection,
    // Windows and logging
    setting::FormLeft,
    setting::FormTop,
    setting::chkRememberPosition,
    setting::chkAlwaysOnTop,
    setting::chkShowInTaskBar,
    setting::chkShowAllControls,
    setting::MinimizeStatusWindow,
    setting::hscrReticleBrightness,
    setting::mPopShowLogWindow,
    setting::mPopTopmost,
    setting::PopupShowStatus,
    setting::chkEnableDebugLog,
    setting::chkShowASCOMCommands,
    setting::chkShowTelescopeCommands,
    setting::chkShowFocuserCommands,
    setting::chkShowNoRaDecAltAz,
    setting::LogFileDir,
    setting::LogWhenParked,
    setting::LogKeepMBytes,
    setting::LogKeepDays,
    setting::chkNewVersion,
    setting::UpdateHost,
    setting::DownloadPage,
    // Computed positions and hidden buttons
    setting::chkCalcAzAlt,
    setting::chkCalcLST,
    setting::ShowInitNowButton,
};

/// Sites as older versions packed them: ten fields each. Not in `kAllSettings`: only the transfer to the table of sites
/// reads them.
inline constexpr std::string_view kUnusedPackedSite = "Not Used|N|0|0|0|W|0|0|0|0";
inline constexpr std::array kPackedSites{
    SettingKey{"cbxSiteList_01", "Default|N|0|0|0|W|0|0|0|0"}, SettingKey{"cbxSiteList_02", kUnusedPackedSite},
    SettingKey{"cbxSiteList_03", kUnusedPackedSite},           SettingKey{"cbxSiteList_04", kUnusedPackedSite},
    SettingKey{"cbxSiteList_05", kUnusedPackedSite},           SettingKey{"cbxSiteList_06", kUnusedPackedSite},
    SettingKey{"cbxSiteList_07", kUnusedPackedSite},           SettingKey{"cbxSiteList_08", kUnusedPackedSite},
    SettingKey{"cbxSiteList_09", kUnusedPackedSite},           SettingKey{"cbxSiteList_10", kUnusedPackedSite},
};

/// The older form of the site's position, in parts; deleted when the setup dialog saves a site.
inline constexpr std::array<std::string_view, 8> kRemovedKeys{"LatitudeDeg",  "LatitudeMin",  "LatitudeSec",
                                                              "LatitudeNS",   "LongitudeDeg", "LongitudeMin",
                                                              "LongitudeSec", "LongitudeEW"};

}  // namespace kestrane
