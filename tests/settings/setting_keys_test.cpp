#include "settings/setting_keys.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace kestrane {
namespace {

struct ExpectedKey {
    std::string_view name;
    std::string_view fallback;
    char kind = '-';  // 0: "0" or "1"; T: "True" or "False"; -: anything else
    std::optional<std::string_view> later = {};
    bool controlText = false;
};

// Written down apart from the table: a slip there does not repeat itself here.
// clang-format off
const std::vector<ExpectedKey> kExpected{
    {"Port", "COM1"}, {"Timeout", "500"}, {"Retry", "2"}, {"txtConnectTimeout", "1"}, {"chkIPAddress", "0", '0'},
    {"txtIpAddress", ""}, {"chkUseASCOMSerialObject", "0", '0'}, {"chkAllowConnectIfMountNotPresent", "0", '0'},
    {"chkQUAY", "0", '0'}, {"chkQuayRestApi", "0", '0'}, {"QuayHandlesSlews", "1", '0'},
    {"IpConnectTimeoutMSecs", "100"}, {"IpDebug", "0", '0'}, {"IpReceiveTimeoutMSecs", "250"},
    {"IpResolveTimeoutMSecs", "100"}, {"IpSendTimeoutMSecs", "100"},

    {"MountType", "0", '-', "2"}, {"Controller", "2", '-', "1"}, {"MountRateType", ""}, {"FW", ""},

    {"chkSetLongLat", "1", '0'}, {"chkSyncMountToPCTime", "1", '0'}, {"chkSetGuiderRate", "1", '0'},
    {"chkSetPEM", "1", '0'}, {"chkSetSlewRate", "1", '0'}, {"chkSetTrackingRate", "1", '0'},
    {"chkSetRABacklash", "1", '0'}, {"chkSetDecBacklash", "1", '0'}, {"cbxInitGuideRate", "2", '-', "0"},
    {"cbxInitPEM", "0"}, {"cbxInitSlewRate", "2", '-', "0"}, {"cbxInitTrackingRate", "2"},
    {"txtCustomSlewRate", "600"}, {"txtInitRaBacklash", "0"}, {"txtInitDecBacklash", "0"},
    {"chkKeepMountTimeSyncedToPcTime", "1", '0'},

    {"chkAutoCalibrateOnFirstSlew", "1", '0'}, {"chkAutoEnableTracking", "0", '0'},
    {"chkEnableMountTracking", "1", '0'}, {"chkEnableKingRate", "0", '0'},
    {"chkRaMoveAxisOfZeroStopsTracking", "0", '0'}, {"chkUseRCAL", "1", '0'}, {"chkAsyncPark", "0", '0'},
    {"chkSynchronousPulseGuide", "0", '0'}, {"chkShowPulseGuideMovements", "0", '0'}, {"chkSwapEW", "0", '0'},
    {"chkSwapNS", "0", '0'}, {"chkRotate90", "0", '0'}, {"chkSlewEast", "0", '0'},
    {"txtSlewEastFirstHours", "10", '-', {}, true}, {"txtMeridianDelay", "", '-', {}, true},
    {"txtRaCustom", "", '-', {}, true}, {"txtDecCustom", "", '-', {}, true}, {"cbxMoveRate", "2", '-', "4"},
    {"cbxWindowsPriority", "1"}, {"DisableSafeSlew", "0", '0'}, {"SafeSlewRaDec", "1", '0'},
    {"DontQueryGOS", "0", '0'}, {"DontUseGOSForSlew", "0", '0'}, {"ForceOldBSequence", "0", '0'},
    {"ForceQueryQOS", "0", '0'}, {"UseOldButtonBehavior", "0", '0'}, {"ButtonsOnParkOK", "0", '0'},

    {"cbxParkTo", "0"}, {"cbxParkToText", ""}, {"cbxUnparkFrom", "0"}, {"cbxUnparkFromText", ""},
    {"txtUserParkAlt", "0", '-', {}, true}, {"txtUserParkAz", "0", '-', {}, true}, {"ParkStatus", "Unknown"},
    {"DisablePark1Warning", "False", 'T'}, {"CounterWeightsUpPark", "0", '0'}, {"CounterWeightsUpHourAngle", "0"},
    {"CounterWeightsUpTimeOffset", "0"}, {"CounterWeightsUpParkIntermediateSlewDec", "0"},

    {"Longitude", ""}, {"Latitude", ""}, {"Elevation", "0"}, {"SiteName", "Default"}, {"SiteDbIndex", "0"},
    {"cbxSiteList", "0"}, {"SiteListIndex", ""}, {"OldSiteName", "Default"}, {"SitesCopiedToDatbase", "False", 'T'},
    {"txtScopeAperture", "0", '-', "10", true}, {"txtScopeFocalLength", "0", '-', "100", true},

    {"chkConvertAltAzRaDec", "0", '0'}, {"chkConvertAltAzToRaDec", "0", '0'},
    {"TransferedRABookmarksToDB", "False", 'T'}, {"TransferedAltBookmarksToDB", "False", 'T'},

    {"Focus.txtMaxIncrementMSecs", "5000"}, {"Focus.txtBacklashMSecs", "100"},
    {"Focus.txtStepMultiplierMSecs", "1"}, {"Focus.radFocusFast", "True", 'T'},
    {"Focus.radFocusFinalDirectionIn", "False", 'T'}, {"Focus.chkReverseFocusDirection", "0", '0'},

    {"FormLeft", "0"}, {"FormTop", "0"}, {"chkRememberPosition", "0", '0'}, {"chkAlwaysOnTop", "1", '0'},
    {"chkShowInTaskBar", "1", '0'}, {"chkShowAllControls", "0", '0'}, {"MinimizeStatusWindow", "0", '0'},
    {"hscrReticleBrightness", "1"}, {"mPopShowLogWindow", "0", '0'}, {"mPopTopmost", "0", '0'},
    {"PopupShowStatus", "1", '0'}, {"chkEnableDebugLog", "0", '0', "1"}, {"chkShowASCOMCommands", "1", '0'},
    {"chkShowTelescopeCommands", "1", '0'}, {"chkShowFocuserCommands", "1", '0'}, {"chkShowNoRaDecAltAz", "0", '0'},
    {"LogFileDir", ""}, {"LogWhenParked", "0", '0'}, {"LogKeepMBytes", "500"}, {"LogKeepDays", "30"}, {"chkNewVersion", "1", '0'},
    {"UpdateHost", ""}, {"DownloadPage", ""},

    {"chkCalcAzAlt", "0", '0'}, {"chkCalcLST", "0", '0'}, {"ShowInitNowButton", "0", '0'},
};
// clang-format on

char LetterOf(SettingKind kind) {
    return kind == SettingKind::Flag ? '0' : kind == SettingKind::TrueFalse ? 'T' : '-';
}

TEST(SettingTableContentTest, EachKey_HasItsDefaultsAndItsKind) {
    for (const ExpectedKey& expected : kExpected) {
        SCOPED_TRACE(expected.name);
        const auto* key = std::ranges::find(kAllSettings, expected.name, &SettingKey::name);
        ASSERT_NE(key, kAllSettings.end());
        EXPECT_EQ(key->fallback, expected.fallback);
        EXPECT_EQ(LetterOf(key->kind), expected.kind);
        EXPECT_EQ(key->laterDefault, expected.later);
        EXPECT_EQ(key->controlText, expected.controlText);
    }
    EXPECT_EQ(kAllSettings.size(), kExpected.size()) << "a key of the table that nobody knows here";
}

TEST(SettingTableContentTest, RemovedKeys_AreTheSplitPosition) {
    EXPECT_EQ(std::vector<std::string_view>(kRemovedKeys.begin(), kRemovedKeys.end()),
              (std::vector<std::string_view>{"LatitudeDeg", "LatitudeMin", "LatitudeSec", "LatitudeNS", "LongitudeDeg",
                                             "LongitudeMin", "LongitudeSec", "LongitudeEW"}));
}

TEST(SettingTableContentTest, AskedLater_GivesTheLaterDefault) {
    constexpr SettingKey kLater = AskedLater(setting::chkEnableDebugLog);
    EXPECT_EQ(kLater.name, "chkEnableDebugLog");
    EXPECT_EQ(kLater.fallback, "1");
}

}  // namespace
}  // namespace kestrane
