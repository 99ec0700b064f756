#include <gtest/gtest.h>

#include "driver/rate_wire_fixture.h"
#include "simulator/misbehaviours.h"
#include "support/wire_transcript.h"

namespace kestrane {
namespace {

class CoordinatesTest : public RateWireFixture {};

TEST_F(CoordinatesTest, Position_IsThatOfThePoll_AndAsksForNothing) {
    Connect();
    DriverState& state = driver->state;
    state.g_dRa = 12.5;
    state.g_dDec = -30.25;
    state.g_dAz = 123.75;
    EXPECT_EQ(WireOf([&] {
                  EXPECT_EQ(telescope->RightAscension(), 12.5);
                  EXPECT_EQ(telescope->Declination(), -30.25);
                  EXPECT_EQ(telescope->Azimuth(), 123.75);
              }),
              "");
    for (const char* message : {"GET RightAscension = 12.5", "GET Declination = -30.25", "GET Azimuth = 123.75"}) {
        EXPECT_TRUE(LoggedAs("ASCOM", 0, message)) << message;
    }
}

TEST_F(CoordinatesTest, SiderealTime_IsLogged) {
    Connect();
    const double hours = telescope->SiderealTime();
    EXPECT_GE(hours, 0.0);
    EXPECT_LT(hours, 24.0);
    EXPECT_TRUE(Logged("GET SiderealTime = "));
}

// --- Altitude --------------------------------------------------------------------------------------------------------

TEST_F(CoordinatesTest, Altitude_AsksTheMountEachTime_YetAPositiveOneOfThePollHidesTheAnswer) {
    Connect();
    for (const double cached : {60.0, 0.001}) {
        driver->state.g_dAlt = cached;
        EXPECT_EQ(WireOf([&] { EXPECT_EQ(telescope->Altitude(), cached); }), ":GA#");
    }
    for (const double cached : {0.0, -5.0}) {
        driver->state.g_dAlt = cached;
        EXPECT_EQ(WireOf([&] { EXPECT_NEAR(telescope->Altitude(), mount->Picture().altitude, 0.01); }), ":GA#");
        EXPECT_EQ(driver->state.g_dAlt, cached) << "the poll's own";
    }
    EXPECT_TRUE(LoggedAs("ASCOM", 0, "GET Altitude = 60"));
}

TEST_F(CoordinatesTest, Altitude_ThatCannotBeRead_IsWhatTheConversionLeft) {
    Connect();
    driver->state.g_dAlt = 0.0;
    mount->Add(std::make_unique<CutsReply>("GA", 4, 1));  // "+59*" and no minutes
    EXPECT_EQ(ErrorOf([&] { EXPECT_EQ(telescope->Altitude(), 0.0); }), 0U);
}

TEST_F(CoordinatesTest, Altitude_OfAMountThatDoesNotAnswer_IsZeroOrThatOfThePoll) {
    ExpectSwallow("CommandString");
    Connect();
    mount->Add(std::make_unique<DropsReply>("GA"));
    driver->state.g_dAlt = -5.0;
    EXPECT_EQ(ErrorOf([&] { EXPECT_EQ(telescope->Altitude(), 0.0); }), 0U);
    driver->state.g_dAlt = 33.0;
    EXPECT_EQ(ErrorOf([&] { EXPECT_EQ(telescope->Altitude(), 33.0); }), 0U);
}

// --- link check ------------------------------------------------------------------------------------------------------

TEST_F(CoordinatesTest, LinkCheck_IsMadeByTheMembersThatSayWhereTheMountPoints_AndByNoOther) {
    Connect();
    telescope->TargetRightAscension(1.0);
    telescope->TargetDeclination(1.0);
    const std::vector<std::pair<std::string, std::function<void()>>> checked{
        {"RightAscension", [&] { telescope->RightAscension(); }},
        {"Declination", [&] { telescope->Declination(); }},
        {"Azimuth", [&] { telescope->Azimuth(); }},
        {"Altitude", [&] { telescope->Altitude(); }},
        {"SiderealTime", [&] { telescope->SiderealTime(); }},
        {"TargetRightAscension set", [&] { telescope->TargetRightAscension(2.0); }},
        {"TargetDeclination set", [&] { telescope->TargetDeclination(2.0); }},
        {"SiteLatitude", [&] { telescope->SiteLatitude(); }},
        {"SiteLongitude", [&] { telescope->SiteLongitude(); }},
        {"SiteLongitude set", [&] { telescope->SiteLongitude(2.0); }},
    };
    const std::vector<std::pair<std::string, std::function<void()>>> unchecked{
        {"SideOfPier", [&] { telescope->SideOfPier(); }},
        {"TargetRightAscension", [&] { telescope->TargetRightAscension(); }},
        {"TargetDeclination", [&] { telescope->TargetDeclination(); }},
        {"SiteElevation", [&] { telescope->SiteElevation(); }},
        {"SiteElevation set", [&] { telescope->SiteElevation(2.0); }},
        {"SiteLatitude set", [&] { telescope->SiteLatitude(2.0); }},
        {"ApertureDiameter", [&] { telescope->ApertureDiameter(); }},
        {"ApertureArea", [&] { telescope->ApertureArea(); }},
        {"FocalLength", [&] { telescope->FocalLength(); }},
        {"DoesRefraction", [&] { telescope->DoesRefraction(); }},
        {"DoesRefraction set", [&] { telescope->DoesRefraction(true); }},
    };
    const auto expect = [&](std::uint32_t error) {
        for (const auto& [member, call] : checked) {
            EXPECT_EQ(WireOf([&, &call = call, &member = member] { EXPECT_EQ(ErrorOf(call), error) << member; }), "")
                << member;
        }
        for (const auto& [member, call] : unchecked) {
            EXPECT_EQ(ErrorOf(call), 0U) << member;
        }
    };
    driver->state.g_bLostComms = true;
    expect(0x80040429);
    driver->state.g_bConnected = false;
    expect(0x80040404);
    EXPECT_EQ(driver->state.g_dTargetRa, 1.0);
    EXPECT_EQ(driver->state.g_dTargetDec, 1.0);
}

// --- SideOfPier ------------------------------------------------------------------------------------------------------

TEST_F(CoordinatesTest, SideOfPier_IsToldAndLoggedByName) {
    Connect();
    for (const auto& [side, name] : {std::pair{0, "East"}, {1, "West"}, {-1, "Unknown"}, {2, "Unknown"}}) {
        driver->state.g_nSideOfPier = static_cast<std::int16_t>(side);
        log.clear();
        EXPECT_EQ(WireOf([&, side = side] { EXPECT_EQ(telescope->SideOfPier(), side); }), "");
        EXPECT_TRUE(LoggedAs("ASCOM", 0, "GET SideOfPier = " + std::string(name)));
    }
}

TEST_F(CoordinatesTest, SideOfPier_CannotBeWritten) {
    Connect();
    EXPECT_EQ(WireOf([&] {
                  EXPECT_EQ(MessageOf([&] { telescope->SideOfPier(1); }),
                            "Property Set SideOfPier() is not implemented in this driver.");
              }),
              "");
    EXPECT_EQ(ErrorOf([&] { telescope->SideOfPier(0); }), 0x80040400U);
    EXPECT_TRUE(LoggedAs("ASCOM", 4, "SET SideOfPier = 1 (NO OPERATION DONE)"));
}

// --- the telescope itself --------------------------------------------------------------------------------------------

struct OpticsRow {
    const char* aperture;     ///< setting, millimetres
    const char* focalLength;  ///< setting, millimetres
    double diameter;          ///< metres
    double length;            ///< metres
};

TEST_F(CoordinatesTest, Optics_ComeFromTheSettingsInMillimetres) {
    for (const OpticsRow& row : {OpticsRow{"155", "1085", 0.155, 1.085}, OpticsRow{"", "", 0.0, 0.0},
                                 OpticsRow{"200,5", "1500.5", 0.2005, 1.5005}, OpticsRow{"0", "0", 0.0, 0.0}}) {
        Seed({{"txtScopeAperture", row.aperture}, {"txtScopeFocalLength", row.focalLength}});
        Connect();
        EXPECT_DOUBLE_EQ(telescope->ApertureDiameter(), row.diameter);
        EXPECT_DOUBLE_EQ(telescope->FocalLength(), row.length);
        EXPECT_DOUBLE_EQ(telescope->ApertureArea(), 3.14159265 * (row.diameter / 2.0) * (row.diameter / 2.0));
        telescope.reset();
        driver.reset();
        machine.serialPorts.Disconnect(1);
    }
}

TEST_F(CoordinatesTest, Optics_AreLogged) {
    Seed({{"txtScopeAperture", "155"}, {"txtScopeFocalLength", "1085"}});
    Connect();
    EXPECT_DOUBLE_EQ(telescope->ApertureArea(), 3.14159265 * 0.0775 * 0.0775);
    telescope->ApertureDiameter();
    telescope->FocalLength();
    for (const char* message :
         {"GET ApertureDiameter = 0.155", "GET FocalLength = 1.085", "GET ApertureArea = 0.0188691908540625"}) {
        EXPECT_TRUE(LoggedAs("ASCOM", 0, message)) << message;
    }
}

TEST_F(CoordinatesTest, DoesRefraction_WithoutTheCompanion_IsFalseAndAsksNothing) {
    Connect();
    EXPECT_EQ(WireOf([&] { EXPECT_FALSE(telescope->DoesRefraction()); }), "");
    EXPECT_TRUE(LoggedAs("ASCOM", 0, "GET DoesRefraction = False"));
    EXPECT_FALSE(Logged("QUAY DoesRefraction"));
    EXPECT_EQ(WireOf([&] { telescope->DoesRefraction(true); }), "");
    EXPECT_TRUE(LoggedAs("ASCOM", 0, "SET DoesRefraction = True"));
}

TEST_F(CoordinatesTest, DoesRefraction_IsTheThirdCharacterOfTheCompanionsAnswer) {
    Connect();
    driver->poll.SetPolling(false);
    driver->state.g_bQuayLink = true;
    driver->state.g_nQuaySeq = 1;  // as when it is found
    WireTranscript transcript(machine.clock, machine.pump, R"(
        *  = DoesRefraction -> True
        *  > :QUAY,1,*DOESREFRACTION#
        *  < QUAY,*DOESREFRACTION,1,001#
        *  = DoesRefraction -> False
        *  > :QUAY,2,*DOESREFRACTION#
        *  < QUAY,*DOESREFRACTION,2,110#
        *  = DoesRefraction -> False
        *  > :QUAY,3,*DOESREFRACTION#
        *  < QUAY,*DOESREFRACTION,3,11#
        *  = DoesRefraction -> True
        *  > :QUAY,4,*DOESREFRACTION#
        *  < QUAY,*DOESREFRACTION,4,0,1,#
    )");
    machine.serialPorts.Splice(1, transcript.Line());
    transcript.Call("DoesRefraction", [&] { return std::string(telescope->DoesRefraction() ? "True" : "False"); });
    transcript.Play();
    machine.serialPorts.Splice(1, *line);
    EXPECT_TRUE(LoggedAs("ASCOM", 0, "QUAY DoesRefraction= 001"));
    EXPECT_TRUE(LoggedAs("ASCOM", 0, "QUAY DoesRefraction= 110"));
    EXPECT_TRUE(LoggedAs("ASCOM", 0, "GET DoesRefraction = True"));
    driver->state.g_bQuayLink = false;
}

}  // namespace
}  // namespace kestrane
