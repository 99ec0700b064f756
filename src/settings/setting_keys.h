#pragma once

#include <string_view>

namespace kestrane {

/// A settings key with the default of its usual reader.
struct SettingKey {
    std::string_view name;
    std::string_view fallback;
};

/// All keys, most of them the names of the controls that edit them. Flags are "0" or "1" for check boxes, "True" or
/// "False" elsewhere. A key with several defaults by reader stands here with the default of its first reader.
namespace setting {

// Connection and link
inline constexpr SettingKey Port{"Port", "COM1"};
inline constexpr SettingKey Timeout{"Timeout", "500"};
inline constexpr SettingKey Retry{"Retry", "2"};
inline constexpr SettingKey txtConnectTimeout{"txtConnectTimeout", "1"};
inline constexpr SettingKey chkIPAddress{"chkIPAddress", "0"};
inline constexpr SettingKey txtIpAddress{"txtIpAddress", ""};
inline constexpr SettingKey chkUseASCOMSerialObject{"chkUseASCOMSerialObject", "0"};
inline constexpr SettingKey chkAllowConnectIfMountNotPresent{"chkAllowConnectIfMountNotPresent", "0"};
inline constexpr SettingKey chkQUAY{"chkQUAY", "0"};
inline constexpr SettingKey chkQuayRestApi{"chkQuayRestApi", "0"};
inline constexpr SettingKey QuayHandlesSlews{"QuayHandlesSlews", "1"};
inline constexpr SettingKey IpConnectTimeoutMSecs{"IpConnectTimeoutMSecs", "100"};
inline constexpr SettingKey IpDebug{"IpDebug", "0"};
inline constexpr SettingKey IpReceiveTimeoutMSecs{"IpReceiveTimeoutMSecs", "250"};
inline constexpr SettingKey IpResolveTimeoutMSecs{"IpResolveTimeoutMSecs", "100"};
inline constexpr SettingKey IpSendTimeoutMSecs{"IpSendTimeoutMSecs", "100"};

// Mount identity
inline constexpr SettingKey MountType{"MountType", "0"};  // "0"; the setup dialog asks with "2"
inline constexpr SettingKey Controller{"Controller", "2"};
inline constexpr SettingKey MountRateType{"MountRateType", ""};
inline constexpr SettingKey FW{"FW", ""};

// Start-up actions of mount initialization
inline constexpr SettingKey chkSetLongLat{"chkSetLongLat", "1"};
inline constexpr SettingKey chkSyncMountToPCTime{"chkSyncMountToPCTime", "1"};
inline constexpr SettingKey chkSetGuiderRate{"chkSetGuiderRate", "1"};
inline constexpr SettingKey chkSetPEM{"chkSetPEM", "1"};
inline constexpr SettingKey chkSetSlewRate{"chkSetSlewRate", "1"};
inline constexpr SettingKey chkSetTrackingRate{"chkSetTrackingRate", "1"};
inline constexpr SettingKey chkSetRABacklash{"chkSetRABacklash", "1"};
inline constexpr SettingKey chkSetDecBacklash{"chkSetDecBacklash", "1"};
inline constexpr SettingKey cbxInitGuideRate{"cbxInitGuideRate", "2"};  // "2"; some readers "0"
inline constexpr SettingKey cbxInitPEM{"cbxInitPEM", "0"};
inline constexpr SettingKey cbxInitSlewRate{"cbxInitSlewRate", "2"};  // "2"; some readers "0"
inline constexpr SettingKey cbxInitTrackingRate{"cbxInitTrackingRate", "2"};
inline constexpr SettingKey txtCustomSlewRate{"txtCustomSlewRate", "600"};
inline constexpr SettingKey txtInitRaBacklash{"txtInitRaBacklash", "0"};
inline constexpr SettingKey txtInitDecBacklash{"txtInitDecBacklash", "0"};
inline constexpr SettingKey chkKeepMountTimeSyncedToPcTime{"chkKeepMountTimeSyncedToPcTime", "1"};

// Behaviour switches
inline constexpr SettingKey chkAutoCalibrateOnFirstSlew{"chkAutoCalibrateOnFirstSlew", "1"};
inline constexpr SettingKey chkAutoEnableTracking{"chkAutoEnableTracking", "0"};
inline constexpr SettingKey chkEnableMountTracking{"chkEnableMountTracking", "1"};
inline constexpr SettingKey chkEnableKingRate{"chkEnableKingRate", "0"};
inline constexpr SettingKey chkRaMoveAxisOfZeroStopsTracking{"chkRaMoveAxisOfZeroStopsTracking", "0"};
inline constexpr SettingKey chkUseRCAL{"chkUseRCAL", "1"};
inline constexpr SettingKey chkAsyncPark{"chkAsyncPark", "0"};
inline constexpr SettingKey chkSynchronousPulseGuide{"chkSynchronousPulseGuide", "0"};
inline constexpr SettingKey chkShowPulseGuideMovements{"chkShowPulseGuideMovements", "0"};
inline constexpr SettingKey chkSwapEW{"chkSwapEW", "0"};
inline constexpr SettingKey chkSwapNS{"chkSwapNS", "0"};
inline constexpr SettingKey chkRotate90{"chkRotate90", "0"};
inline constexpr SettingKey chkSlewEast{"chkSlewEast", "0"};
inline constexpr SettingKey txtSlewEastFirstHours{"txtSlewEastFirstHours", ""};  // text
inline constexpr SettingKey txtMeridianDelay{"txtMeridianDelay", ""};            // text
inline constexpr SettingKey txtRaCustom{"txtRaCustom", ""};                      // text
inline constexpr SettingKey txtDecCustom{"txtDecCustom", ""};                    // text
inline constexpr SettingKey cbxMoveRate{"cbxMoveRate", "2"};                     // "2" or "4"
inline constexpr SettingKey cbxWindowsPriority{"cbxWindowsPriority", "1"};
inline constexpr SettingKey DisableSafeSlew{"DisableSafeSlew", "0"};
inline constexpr SettingKey SafeSlewRaDec{"SafeSlewRaDec", "1"};
inline constexpr SettingKey DontQueryGOS{"DontQueryGOS", "0"};
inline constexpr SettingKey DontUseGOSForSlew{"DontUseGOSForSlew", "0"};
inline constexpr SettingKey ForceOldBSequence{"ForceOldBSequence", "0"};
inline constexpr SettingKey ForceQueryQOS{"ForceQueryQOS", "0"};
inline constexpr SettingKey UseOldButtonBehavior{"UseOldButtonBehavior", "0"};
inline constexpr SettingKey ButtonsOnParkOK{"ButtonsOnParkOK", "0"};

// Parking
inline constexpr SettingKey cbxParkTo{"cbxParkTo", "0"};
inline constexpr SettingKey cbxParkToText{"cbxParkToText", ""};
inline constexpr SettingKey cbxUnparkFrom{"cbxUnparkFrom", "0"};
inline constexpr SettingKey cbxUnparkFromText{"cbxUnparkFromText", ""};
inline constexpr SettingKey txtUserParkAlt{"txtUserParkAlt", "0"};  // "0" or text
inline constexpr SettingKey txtUserParkAz{"txtUserParkAz", "0"};    // "0" or text
inline constexpr SettingKey ParkStatus{"ParkStatus", "Unknown"};
inline constexpr SettingKey DisablePark1Warning{"DisablePark1Warning", "False"};
inline constexpr SettingKey CounterWeightsUpPark{"CounterWeightsUpPark", "0"};
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
inline constexpr SettingKey SitesCopiedToDatbase{"SitesCopiedToDatbase", "False"};
inline constexpr SettingKey txtScopeAperture{"txtScopeAperture", "0"};        // "10", "0" or text
inline constexpr SettingKey txtScopeFocalLength{"txtScopeFocalLength", "0"};  // "100", "0" or text

// Bookmarks
inline constexpr SettingKey chkConvertAltAzRaDec{"chkConvertAltAzRaDec", "0"};
inline constexpr SettingKey chkConvertAltAzToRaDec{"chkConvertAltAzToRaDec", "0"};
inline constexpr SettingKey TransferedRABookmarksToDB{"TransferedRABookmarksToDB", "False"};
inline constexpr SettingKey TransferedAltBookmarksToDB{"TransferedAltBookmarksToDB", "False"};

// Focuser
inline constexpr SettingKey Focus_txtMaxIncrementMSecs{"Focus.txtMaxIncrementMSecs", "5000"};
inline constexpr SettingKey Focus_txtBacklashMSecs{"Focus.txtBacklashMSecs", "100"};
inline constexpr SettingKey Focus_txtStepMultiplierMSecs{"Focus.txtStepMultiplierMSecs", "1"};
inline constexpr SettingKey Focus_radFocusFast{"Focus.radFocusFast", "True"};
inline constexpr SettingKey Focus_radFocusFinalDirectionIn{"Focus.radFocusFinalDirectionIn", "False"};
inline constexpr SettingKey Focus_chkReverseFocusDirection{"Focus.chkReverseFocusDirection", "0"};

// Windows and logging
inline constexpr SettingKey FormLeft{"FormLeft", "0"};
inline constexpr SettingKey FormTop{"FormTop", "0"};
inline constexpr SettingKey chkRememberPosition{"chkRememberPosition", "0"};
inline constexpr SettingKey chkAlwaysOnTop{"chkAlwaysOnTop", "1"};
inline constexpr SettingKey chkShowInTaskBar{"chkShowInTaskBar", "1"};
inline constexpr SettingKey chkShowAllControls{"chkShowAllControls", "0"};
inline constexpr SettingKey MinimizeStatusWindow{"MinimizeStatusWindow", "0"};
inline constexpr SettingKey hscrReticleBrightness{"hscrReticleBrightness", "1"};
inline constexpr SettingKey mPopShowLogWindow{"mPopShowLogWindow", "0"};
inline constexpr SettingKey mPopTopmost{"mPopTopmost", "0"};
inline constexpr SettingKey PopupShowStatus{"PopupShowStatus", "1"};
inline constexpr SettingKey chkEnableDebugLog{"chkEnableDebugLog", "0"};  // "0" or "1", by reader
inline constexpr SettingKey chkShowASCOMCommands{"chkShowASCOMCommands", "1"};
inline constexpr SettingKey chkShowTelescopeCommands{"chkShowTelescopeCommands", "1"};
inline constexpr SettingKey chkShowFocuserCommands{"chkShowFocuserCommands", "1"};
inline constexpr SettingKey chkShowNoRaDecAltAz{"chkShowNoRaDecAltAz", "0"};
inline constexpr SettingKey LogFileDir{"LogFileDir", ""};
inline constexpr SettingKey LogWhenParked{"LogWhenParked", "0"};
inline constexpr SettingKey chkNewVersion{"chkNewVersion", "1"};

// Computed positions and hidden buttons
inline constexpr SettingKey chkCalcAzAlt{"chkCalcAzAlt", "0"};
inline constexpr SettingKey chkCalcLST{"chkCalcLST", "0"};
inline constexpr SettingKey ShowInitNowButton{"ShowInitNowButton", "0"};

}  // namespace setting
}  // namespace kestrane
