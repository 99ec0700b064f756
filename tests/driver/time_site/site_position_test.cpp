#include <cmath>
#include <gtest/gtest.h>

#include "driver/rate_wire_fixture.h"
#include "settings/database.h"
#include "settings/site_text.h"
#include "simulator/misbehaviours.h"

namespace kestrane {
namespace {

constexpr std::uint32_t kOutOfRange = 0x80040405;

/// Two sites, of which the second is the current one.
class SitePositionTest : public RateWireFixture {
protected:
    void ConnectWithSites() {
        Connect();
        Database& database = *driver->persist.database();
        for (const char* name : {"Other", "Here"}) {
            Site site;
            site.Name = name;
            site.Latitude = "N 47 00 00.0";
            site.Longitude = "E 10 00 00.0";
            bool isNew = true;
            ASSERT_TRUE(database.SetSite(site, isNew));
        }
        driver->sites.GetAllSites();
        here_ = Find("Here").id;
        driver->sites.g_SiteDbIndex(here_);
        log.clear();
    }
    /// A site as the settings file has it.
    Site Find(const std::string& name) {
        RecordArray<Site> stored;
        driver->persist.database()->GetAllSites(stored);
        for (const auto& site : stored) {
            if (site && site->Name == name) {
                return *site;
            }
        }
        ADD_FAILURE() << "no site " << name;
        return {};
    }
    /// The current site as the driver has it; reading it from the settings file brings its texts into their normal
    /// form.
    Site Here() {
        for (const auto& site : driver->sites.g_Sites()) {
            if (site && site->id == here_) {
                return *site;
            }
        }
        ADD_FAILURE() << "no current site";
        return {};
    }
    std::string Setting(const std::string& key) { return driver->persist.ReadIniValue(key, "none"); }

    std::int16_t here_ = 0;
};

// --- writing ---------------------------------------------------------------------------------------------------------

struct TextRow {
    double degrees;
    const char* text;
};

TEST_F(SitePositionTest, Latitude_IsKeptInTheCurrentSiteAndTheSetting_AndNotSent) {
    ConnectWithSites();
    for (const TextRow& row :
         {TextRow{41.9999, "N 42 0 0"}, TextRow{41.50334, "N 41 30 12"}, TextRow{-33.25, "S 33 15 0"},
          TextRow{0.0, "N 0 0 0"}, TextRow{-0.0, "N 0 0 0"}, TextRow{-0.0001, "S 0 0 0"}, TextRow{90.0, "N 90 0 0"},
          TextRow{-90.0, "S 90 0 0"}, TextRow{89.99999, "N 90 0 0"}, TextRow{10.99986, "N 10 59 59"},
          TextRow{10.999861112, "N 11 0 0"}, TextRow{12.0166666, "N 12 1 0"}}) {
        EXPECT_EQ(WireOf([&] { telescope->SiteLatitude(row.degrees); }), "");
        EXPECT_EQ(Here().Latitude, row.text) << row.degrees;
        EXPECT_EQ(Find("Here").Latitude, NormalizeSiteText(row.text, driver->log));
        EXPECT_EQ(Setting("Latitude"), row.text);
        EXPECT_EQ(driver->state.g_dSiteLatitude, row.degrees);
        EXPECT_TRUE(LoggedAs("SaveSiteLatitude", 0, "Saving new site Latitude = " + std::string(row.text)));
    }
    EXPECT_TRUE(LoggedAs("ASCOM", 0, "SET SiteLatitude = -33.25"));
    EXPECT_EQ(Find("Other").Latitude, "N 47 00 00.0");
    EXPECT_EQ(Find("Here").Longitude, "E 10 00 00.0");
}

TEST_F(SitePositionTest, Longitude_IsKeptTheSameWay_AndLeavesWhatTheMountTold) {
    ConnectWithSites();
    const double told = driver->state.g_dSiteLongitude;
    for (const TextRow& row : {TextRow{180.0, "E 180 0 0"}, TextRow{-180.0, "W 180 0 0"}, TextRow{0.0, "E 0 0 0"},
                               TextRow{-122.11, "W 122 6 36"}, TextRow{9.99999, "E 10 0 0"}}) {
        EXPECT_EQ(WireOf([&] { telescope->SiteLongitude(row.degrees); }), "");
        EXPECT_EQ(Here().Longitude, row.text) << row.degrees;
        EXPECT_EQ(Find("Here").Longitude, NormalizeSiteText(row.text, driver->log));
        EXPECT_EQ(Setting("Longitude"), row.text);
        EXPECT_TRUE(LoggedAs("SaveSiteLongitude", 0, "Saving new site Longitude value = " + std::string(row.text)));
    }
    EXPECT_EQ(driver->state.g_dSiteLongitude, told);
    EXPECT_TRUE(LoggedAs("ASCOM", 0, "SET SiteLongitude = -122.11"));
    EXPECT_EQ(Find("Other").Longitude, "E 10 00 00.0");
    EXPECT_NEAR(telescope->SiteLongitude(), 10.0, 1e-9) << "the mount's, which learns its site when it is set up";
}

TEST_F(SitePositionTest, EveryPosition_HasMinutesAndSecondsBelowSixty_AndIsHalfASecondNear) {
    ConnectWithSites();
    driver->log.SetListener({});
    for (int i = -900; i <= 900; i += 7) {
        const double degrees = i / 10.0 + 0.0123456 * (i % 11);
        if (degrees < -90.0 || degrees > 90.0) {
            continue;
        }
        telescope->SiteLatitude(degrees);
        EXPECT_NEAR(SiteTextDegrees(Setting("Latitude"), "S", driver->log), degrees, 0.5001 / 3600.0)
            << Setting("Latitude");
        double read = 0.0;
        telescope->SiteLongitude(degrees * 2.0);
        ASSERT_TRUE(ParseLongitudeText(Setting("Longitude"), read, driver->log)) << Setting("Longitude");
        const double east = read > 180.0 ? 360.0 - read : -read;
        EXPECT_NEAR(std::abs(east), std::abs(degrees * 2.0), 0.5001 / 3600.0) << Setting("Longitude");
    }
}

TEST_F(SitePositionTest, WithoutTheCurrentSite_NothingIsWritten) {
    ConnectWithSites();
    driver->persist.WriteIniValue("Latitude", "N 1 2 3");
    driver->persist.WriteIniValue("Longitude", "E 1 2 3");
    for (const int id : {0, -1, here_ + 100}) {
        driver->sites.g_SiteDbIndex(static_cast<std::int16_t>(id));
        telescope->SiteLatitude(12.0);
        telescope->SiteLongitude(12.0);
        EXPECT_EQ(Setting("Latitude"), "N 1 2 3");
        EXPECT_EQ(Setting("Longitude"), "E 1 2 3");
        EXPECT_EQ(Find("Here").Latitude, "N 47 00 00.0");
        EXPECT_EQ(Find("Other").Longitude, "E 10 00 00.0");
    }
    EXPECT_TRUE(LoggedAs("SaveSiteLatitude", 0, "Saving new site Latitude = N 12 0 0"));
    EXPECT_EQ(driver->state.g_dSiteLatitude, 12.0);
}

TEST_F(SitePositionTest, OutOfRange_IsRefusedAndKeepsNothing) {
    ConnectWithSites();
    const double latitude = driver->state.g_dSiteLatitude;
    for (const double degrees : {90.00001, -90.00001, 180.0}) {
        EXPECT_EQ(ErrorOf([&] { telescope->SiteLatitude(degrees); }), kOutOfRange) << degrees;
    }
    for (const double degrees : {180.00001, -180.00001, 360.0}) {
        EXPECT_EQ(ErrorOf([&] { telescope->SiteLongitude(degrees); }), kOutOfRange) << degrees;
    }
    EXPECT_EQ(MessageOf([&] { telescope->SiteLatitude(91.0); }), "The property value is out of range");
    EXPECT_EQ(MessageOf([&] { telescope->SiteLongitude(181.0); }), "The property value is out of range");
    EXPECT_TRUE(LoggedAs("ASCOM", 4, "SET SiteLatitude (out of range) = 91"));
    EXPECT_TRUE(LoggedAs("ASCOM", 4, "SET SiteLongitude (out of range) = 181"));
    EXPECT_EQ(driver->state.g_dSiteLatitude, latitude);
    EXPECT_EQ(Find("Here").Latitude, "N 47 00 00.0");
    EXPECT_EQ(Find("Here").Longitude, "E 10 00 00.0");
    EXPECT_FALSE(Logged("Saving new site"));
}

// --- elevation -------------------------------------------------------------------------------------------------------

TEST_F(SitePositionTest, Elevation_IsKeptInTheSetting_AndNotSent) {
    Connect();
    for (const auto& [metres, text] : {std::pair{-300.0, "-300"}, {10000.0, "10000"}, {0.0, "0"}, {123.25, "123.25"}}) {
        EXPECT_EQ(WireOf([&, metres = metres] { telescope->SiteElevation(metres); }), "");
        EXPECT_EQ(telescope->SiteElevation(), metres);
        EXPECT_EQ(Setting("Elevation"), text);
        EXPECT_TRUE(LoggedAs("ASCOM", 0, "SET SiteElevation = " + std::string(text)));
        EXPECT_TRUE(LoggedAs("ASCOM", 0, "GET SiteElevation = " + std::string(text)));
    }
    for (const double metres : {-300.1, 10000.1}) {
        EXPECT_EQ(ErrorOf([&] { telescope->SiteElevation(metres); }), kOutOfRange);
        EXPECT_EQ(MessageOf([&] { telescope->SiteElevation(metres); }),
                  "Property SiteElevation The property value is out of range");
    }
    EXPECT_TRUE(LoggedAs("ASCOM", 4, "SET SiteElevation (out of range) = -300.1 Err=-2147220475"));
    EXPECT_TRUE(LoggedAs("ASCOM", 4, "SET SiteElevation (out of range) = 10000.1 Err=-2147220475"));
    EXPECT_EQ(Setting("Elevation"), "123.25");
    EXPECT_EQ(telescope->SiteElevation(), 123.25);
}

// --- reading ---------------------------------------------------------------------------------------------------------

struct FoldRow {
    double west;    ///< of the mount
    double stored;  ///< unfolded
    double told;    ///< east positive
};

TEST_F(SitePositionTest, Longitude_IsToldEastPositive_AndStoredUnfolded) {
    for (const FoldRow& row : {FoldRow{275.0, -275.0, 85.0}, FoldRow{350.0, -350.0, 10.0}, FoldRow{0.0, 0.0, 0.0},
                               FoldRow{75.5, -75.5, -75.5}, FoldRow{180.0, -180.0, -180.0},
                               FoldRow{180.25, -180.25, 179.75}, FoldRow{359.75, -359.75, 0.25}}) {
        MountSimulatorOptions options;
        options.parkedAtPowerOn = false;
        options.longitudeWest = row.west;
        BuildMount(options);
        telescope = ConnectedTelescope();
        driver->state.g_dSiteLongitude = 1.0;
        EXPECT_NEAR(telescope->SiteLongitude(), row.told, 1e-9);
        EXPECT_NEAR(driver->state.g_dSiteLongitude, row.stored, 1e-9);
        EXPECT_TRUE(Logged("GET SiteLongitude = "));
        telescope.reset();
        driver.reset();
    }
}

TEST_F(SitePositionTest, Latitude_IsAskedForAndStored) {
    Connect({.latitude = -30.5});
    driver->state.g_dSiteLatitude = 1.0;
    EXPECT_EQ(WireOf([&] { EXPECT_EQ(telescope->SiteLatitude(), -30.5); }), ":Gt#");
    EXPECT_EQ(driver->state.g_dSiteLatitude, -30.5);
    EXPECT_TRUE(LoggedAs("ASCOM", 0, "GET SiteLatitude = -30.5"));
    EXPECT_EQ(WireOf([&] { telescope->SiteLongitude(); }), ":Gg#");
}

TEST_F(SitePositionTest, AReplyThatCannotBeRead_LeavesTheLastValue) {
    Connect();
    driver->state.g_dSiteLatitude = 12.5;
    driver->state.g_dSiteLongitude = -275.0;
    mount->Add(std::make_unique<CorruptsReply>("Gt", kEveryTime, 3, '?'));
    mount->Add(std::make_unique<CorruptsReply>("Gg", kEveryTime, 3, '?'));
    EXPECT_EQ(telescope->SiteLatitude(), 12.5);
    EXPECT_EQ(telescope->SiteLongitude(), 85.0);
    mount->ClearMisbehaviours();
    mount->SetLineDead(true);
    ExpectSwallow("CommandString");
    EXPECT_EQ(ErrorOf([&] { EXPECT_EQ(telescope->SiteLatitude(), 12.5); }), 0U);
    EXPECT_EQ(ErrorOf([&] { EXPECT_EQ(telescope->SiteLongitude(), 85.0); }), 0U);
    EXPECT_EQ(driver->state.g_dSiteLatitude, 12.5);
    EXPECT_EQ(driver->state.g_dSiteLongitude, -275.0);
}

TEST_F(SitePositionTest, ReplyWithoutSeconds_TogglesTheFormatAndIsAskedForOnceMore) {
    MountSimulatorOptions options;
    options.parkedAtPowerOn = false;
    options.shortAngles = true;
    options.latitude = 47.5125;
    options.longitudeWest = 350.2525;
    BuildMount(options);
    telescope = ConnectedTelescope();
    driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
    const auto shorten = [&] {
        if (mount->Picture().longFormat) {
            mount->Write(":U#");
            machine.AdvanceTime(100);
        }
    };
    shorten();
    driver->state.g_dSiteLatitude = driver->state.g_dSiteLongitude = 1.0;
    EXPECT_EQ(SentBy([&] { EXPECT_NEAR(telescope->SiteLatitude(), 47.5125, 0.0003); }),
              (std::vector<std::string>{"Gt", "U", "Gt"}));
    shorten();
    EXPECT_EQ(SentBy([&] { EXPECT_NEAR(telescope->SiteLongitude(), 9.7475, 0.0003); }),
              (std::vector<std::string>{"Gg", "U", "Gg"}));
    shorten();
    // The reading for the hand box toggles the format first, as always: here from long to short.
    mount->Write(":U#");
    machine.AdvanceTime(100);
    ASSERT_TRUE(mount->Picture().longFormat);
    EXPECT_EQ(SentBy([&] { driver->connections.ReadMountSite(Notice::LogOnly); }),
              (std::vector<std::string>{"U", "Gg", "U", "Gg", "Gt"}));
    EXPECT_FALSE(Logged("Failed to get Longitude/Latitude from mount!"));
}

TEST_F(SitePositionTest, GarbledReply_IsAskedForOnceMore_AndTogglesNothing) {
    Connect();
    for (const char* garbled : {"Gt", "Gg"}) {
        mount->Add(std::make_unique<CorruptsReply>(garbled, 1, 3, '?'));
    }
    EXPECT_EQ(WireOf([&] { EXPECT_EQ(telescope->SiteLatitude(), 47.0); }), ":Gt#:Gt#");
    EXPECT_EQ(WireOf([&] { EXPECT_EQ(telescope->SiteLongitude(), 10.0); }), ":Gg#:Gg#");
}

TEST_F(SitePositionTest, SiteThatCannotBeRead_IsAskedForEachMinute_FromTheFourthTimeOn) {
    BuildMount("VKC4-P02-08");
    mount->Add(std::make_unique<CorruptsReply>("Gg", kEveryTime, 3, '?'));
    telescope = ConnectedTelescope();
    machine.AdvanceTime(10'000);
    const int asked = TimesSent("Gg");
    machine.AdvanceTime(600'000);
    EXPECT_GE(TimesSent("Gg") - asked, 2 * 9);
    EXPECT_LE(TimesSent("Gg") - asked, 2 * 11);
    mount->ClearMisbehaviours();
    machine.AdvanceTime(61'000);
    EXPECT_EQ(driver->handBox.txtActualLongitude.Text(), "10*00:00");
}

TEST_F(SitePositionTest, SiteOfWhichOneHalfIsRefusedAndOneSilent_IsAskedForEachMinuteToo) {
    ExpectSwallow("CommandString");
    BuildMount("VKC4-P02-08");
    mount->Add(std::make_unique<CorruptsReply>("Gg", kEveryTime, 3, '?'));
    mount->Add(std::make_unique<DropsReply>("Gt"));
    telescope = ConnectedTelescope();
    machine.AdvanceTime(60'000);
    const int asked = TimesSent("Gg");
    machine.AdvanceTime(600'000);
    EXPECT_GE(TimesSent("Gg") - asked, 2 * 9);
    EXPECT_LE(TimesSent("Gg") - asked, 2 * 11);
}

TEST_F(SitePositionTest, SiteThatCannotBeRead_IsAskedForOften_WhenTheLinkIsOpenedAnew) {
    BuildMount("VKC4-P02-08");
    mount->Add(std::make_unique<CorruptsReply>("Gg", kEveryTime, 3, '?'));
    telescope = ConnectedTelescope();
    machine.AdvanceTime(30'000);
    driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
    driver->link->Connected(false);
    machine.AdvanceTime(3'000);
    driver->link->Connected(true);
    const int asked = TimesSent("Gg");
    machine.AdvanceTime(8'000);
    EXPECT_EQ(TimesSent("Gg") - asked, 2 * 3);
}

/// A latitude without seconds, whatever the format.
class StaysShort final : public Misbehaviour {
public:
    void Change(SimulatedReply& reply) override {
        if (reply.name == "Gt") {
            reply.parts.front().bytes = "+40*30#";
        }
    }
};

TEST_F(SitePositionTest, SecondReplyWithoutSeconds_SendsNoSecondToggle) {
    Connect();
    mount->Add(std::make_unique<StaysShort>());
    EXPECT_EQ(SentBy([&] { EXPECT_EQ(telescope->SiteLatitude(), 47.0); }), (std::vector<std::string>{"Gt", "U", "Gt"}));
}

TEST_F(SitePositionTest, SiteOfAMountThatHasNotToldItsVersion_IsNotAskedFor) {
    Connect();
    driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
    driver->link->Connected(false);
    machine.AdvanceTime(5'000);
    driver->state.g_sVersion.clear();
    driver->link->Connected(true);
    EXPECT_TRUE(SentBy([&] { machine.AdvanceTime(10'000); }).empty());
}

TEST_F(SitePositionTest, ValueThatIsNoNumber_IsRefused) {
    Connect();
    const double none = std::nan("");
    EXPECT_EQ(ErrorOf([&] { telescope->SiteLatitude(none); }), 0x80040405U);
    EXPECT_EQ(ErrorOf([&] { telescope->SiteLongitude(none); }), 0x80040405U);
    EXPECT_EQ(ErrorOf([&] { telescope->SiteElevation(none); }), 0x80040405U);
    EXPECT_FALSE(std::isnan(driver->state.g_dSiteLatitude));
}

TEST_F(SitePositionTest, LatitudeOfTheOtherHemisphere_TurnsTheCustomRateRound_FromTheEquatorOnNorth) {
    Connect();
    for (const auto& [latitude, wire] :
         {std::pair{-33.0, ":RR1.00000#"}, {0.0, ":RR-1.00000#"}, {33.0, ":RR-1.00000#"}}) {
        telescope->SiteLatitude(latitude);
        EXPECT_EQ(WireOf([&] { telescope->RightAscensionRate(1.0); }), wire) << latitude;
    }
}

}  // namespace
}  // namespace kestrane
