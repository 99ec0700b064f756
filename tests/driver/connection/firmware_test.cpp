#include <gtest/gtest.h>

#include "simulator/misbehaviours.h"
#include "support/driver_fixture.h"

namespace kestrane {
namespace {

constexpr double kEarlierMoveRate = 99.9999;
constexpr double kLaterMoveRate = 999.9999;
constexpr auto kc3 = Controller_Type::VTRKC3;
constexpr auto kc4 = Controller_Type::VTRKC4;
constexpr auto kc5 = Controller_Type::VTRKC5;

struct FirmwareRow {
    std::string version;
    bool gos;     ///< answers the status query
    bool modern;  ///< custom rates and meridian query
    bool isKc4;
    bool isKc5;
    bool rev160;
    bool firmwareU;
    bool safeSlew;
    int precisionRa;  ///< 2 goes with 1 of all others, 1 with 0
    double moveRate;
    Controller_Type controller;
    std::string rateType;
    bool king;
};

std::ostream& operator<<(std::ostream& out, const FirmwareRow& row) {
    return out << '"' << row.version << '"';
}

/// A mount on an open link whose version has been read; nothing has been decided from it yet.
class FirmwareTest : public DriverFixture {
protected:
    void Classify(const std::string& version) {
        // A text that no mount sends meets the earliest of them, which leaves most questions unanswered.
        ExpectSwallow("CommandString");
        BuildMount(version);
        Start();
        Telescope& internal = driver->InternalInstance();
        driver->link->Port(1);
        driver->link->ReceiveTimeoutMS(100);
        driver->link->Connected(true);
        driver->state.g_sVersion = version;
        driver->state.g_bVersionKnown = true;
        internal.InitBasicValues();
    }
};

class FirmwareTableTest : public FirmwareTest, public testing::WithParamInterface<FirmwareRow> {};

TEST_P(FirmwareTableTest, VersionText_DecidesWhatTheMountCanDo) {
    const FirmwareRow& row = GetParam();
    Classify(row.version);
    const DriverState& state = driver->state;
    EXPECT_EQ(state.g_bGosSupported, row.gos);
    EXPECT_EQ(state.g_bHasCustomRates, row.modern);
    EXPECT_EQ(state.g_bHasMeridianQuery, row.modern);
    EXPECT_EQ(state.g_bIsKc4, row.isKc4);
    EXPECT_EQ(state.g_bIsKc5, row.isKc5);
    EXPECT_EQ(state.g_bKc4OrLater, row.isKc4 || row.isKc5);
    EXPECT_EQ(state.g_bExtendedPulses, row.isKc4 || row.isKc5);
    EXPECT_EQ(state.g_bRev160, row.rev160);
    EXPECT_EQ(state.g_bFirmwareU, row.firmwareU);
    EXPECT_EQ(state.g_bNewBSequence, row.firmwareU);
    EXPECT_EQ(state.g_bFirmwareSafeSlew, row.safeSlew);
    EXPECT_EQ(state.g_nPrecisionRa, row.precisionRa);
    EXPECT_EQ(state.g_nPrecisionDec, row.precisionRa - 1);
    EXPECT_EQ(state.g_nPrecisionAltAz, row.precisionRa - 1);
    EXPECT_EQ(state.g_nPrecisionLatLong, row.precisionRa - 1);
    EXPECT_EQ(state.g_dMaxMoveRate, row.moveRate);
    EXPECT_EQ(driver->mount.ControllerType, row.controller);
    EXPECT_EQ(state.g_sMountRateType, row.rateType);
    EXPECT_EQ(state.g_bKingRateAvailable, row.king);
    EXPECT_EQ(driver->handBox.lblFirmware.Text(), row.version);
    EXPECT_EQ(driver->statusWindow.lblFirmware.Text(), row.version);
    EXPECT_EQ(driver->handBox.hscrReticleBrightness.Maximum(), row.firmwareU ? 7 : 10);
    const bool kc4OrLater = row.isKc4 || row.isKc5;
    EXPECT_EQ(TimesLogged("Increasing Precision Level"), row.precisionRa == 2 && kc4OrLater ? 1 : 0);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Versions, FirmwareTableTest, testing::Values(
    //           version        GOS    modern KC4    KC5    rev160 U      safe   RA move rate         type rates king
    FirmwareRow{"",             false, false, false, false, false, false, false, 1, kEarlierMoveRate, kc3, "",  false},
    FirmwareRow{"#!?",          false, false, false, false, false, false, false, 1, kEarlierMoveRate, kc3, "",  false},
    FirmwareRow{"C",            false, false, false, false, false, false, false, 1, kEarlierMoveRate, kc3, "",  false},
    FirmwareRow{"D",            false, false, false, false, false, false, false, 1, kEarlierMoveRate, kc3, "",  false},
    FirmwareRow{"E",            false, false, false, false, false, false, false, 1, kEarlierMoveRate, kc3, "",  false},
    FirmwareRow{"E2",           false, false, false, false, false, false, false, 1, kEarlierMoveRate, kc3, "",  false},
    FirmwareRow{"E3",           true,  false, false, false, false, false, false, 1, kEarlierMoveRate, kc3, "",  false},
    FirmwareRow{"E9",           true,  false, false, false, false, false, false, 1, kEarlierMoveRate, kc3, "",  false},
    FirmwareRow{"EK",           false, false, false, false, false, false, false, 1, kEarlierMoveRate, kc3, "",  false},
    FirmwareRow{"EK2",          false, false, false, false, false, false, false, 1, kEarlierMoveRate, kc3, "",  false},
    FirmwareRow{"EK3",          true,  false, false, false, false, false, false, 1, kEarlierMoveRate, kc3, "",  false},
    FirmwareRow{"EK5",          true,  false, false, false, false, false, false, 1, kEarlierMoveRate, kc3, "",  false},
    FirmwareRow{"R",            false, false, false, false, false, false, false, 1, kEarlierMoveRate, kc3, "",  false},
    FirmwareRow{"S",            true,  true,  false, false, false, false, false, 1, kEarlierMoveRate, kc3, "0", false},
    FirmwareRow{"T",            true,  true,  false, false, false, false, false, 1, kEarlierMoveRate, kc3, "",  false},
    FirmwareRow{"U",            true,  true,  false, false, false, true,  false, 1, kEarlierMoveRate, kc3, "0", false},
    FirmwareRow{"V",            true,  true,  false, false, false, true,  false, 1, kEarlierMoveRate, kc3, "",  false},
    FirmwareRow{"V1",           true,  true,  false, false, false, true,  false, 1, kLaterMoveRate,   kc3, "",  false},
    FirmwareRow{"VKC4-P01-00",  true,  true,  true,  false, true,  true,  false, 1, kLaterMoveRate,   kc4, "0", false},
    FirmwareRow{"VKC4-P01-01",  true,  true,  true,  false, true,  true,  false, 1, kLaterMoveRate,   kc4, "0", false},
    FirmwareRow{"VKC4-P01-02",  true,  true,  true,  false, true,  true,  true,  1, kLaterMoveRate,   kc4, "0", false},
    FirmwareRow{"VKC4-P01-03",  true,  true,  true,  false, true,  true,  true,  1, kLaterMoveRate,   kc4, "0", false},
    FirmwareRow{"VKC4-P01-04",  true,  true,  true,  false, true,  true,  true,  2, kLaterMoveRate,   kc4, "0", false},
    FirmwareRow{"VKC4-P02-07",  true,  true,  true,  false, false, true,  true,  2, kLaterMoveRate,   kc4, "0", false},
    FirmwareRow{"VKC4-P02-08",  true,  true,  true,  false, false, true,  true,  2, kLaterMoveRate,   kc4, "0", true},
    FirmwareRow{"VKC4-P03-00",  true,  true,  true,  false, false, true,  true,  2, kLaterMoveRate,   kc4, "0", true},
    FirmwareRow{"VKC4-P03",     true,  true,  true,  false, false, true,  false, 2, kLaterMoveRate,   kc4, "0", false},
    FirmwareRow{"VKC5-P03-01",  true,  true,  false, true,  true,  true,  true,  2, kLaterMoveRate,   kc5, "3", false},
    FirmwareRow{"AKC4-P02-08",  true,  true,  true,  false, false, false, true,  2, kLaterMoveRate,   kc4, "",  true},
    FirmwareRow{"AKC5-P03-01",  true,  true,  false, true,  true,  false, true,  2, kLaterMoveRate,   kc5, "3", false},
    FirmwareRow{"EKC4-P02-08",  false, false, false, false, false, false, false, 1, kEarlierMoveRate, kc3, "",  false},
    FirmwareRow{"E:",           false, false, false, false, false, false, false, 1, kEarlierMoveRate, kc3, "",  false},
    FirmwareRow{"EKA",          false, false, false, false, false, false, false, 1, kEarlierMoveRate, kc3, "",  false},
    FirmwareRow{"V0",           true,  true,  false, false, false, true,  false, 1, kEarlierMoveRate, kc3, "",  false},
    FirmwareRow{"rubbish",      true,  true,  false, false, false, true,  false, 1, kLaterMoveRate,   kc3, "",  false}));
// clang-format on

TEST_F(FirmwareTest, HigherPrecision_IsLoggedInTheWordsOfItsController) {
    Classify("VKC5-P03-01");
    EXPECT_TRUE(Logged("Increasing Precision Level (VTRKC5)"));
    EXPECT_TRUE(Logged("Firmware=VKC5-P03-01, Precision: RA=2, Dec=1, AltAz=1, LatLong=1, MaxMoveRate=999.9999"));
}

struct MountNameRow {
    std::string version;
    Mount_Type chosen;
    Mount_Type corrected;
};

class MountNameTest : public FirmwareTest, public testing::WithParamInterface<MountNameRow> {};

TEST_P(MountNameTest, ControllerThatCannotBelongToTheModel_CorrectsIt) {
    const auto& [version, chosen, corrected] = GetParam();
    Seed({{"MountType", std::to_string(static_cast<int>(chosen))}});
    Classify(version);
    EXPECT_EQ(driver->mount.mountType, corrected);
    EXPECT_EQ(driver->persist.Read(setting::MountType), std::to_string(static_cast<int>(corrected)));
    if (chosen != corrected) {
        EXPECT_EQ(driver->handBox.lblMountType.Text(), driver->mount.Name());
        EXPECT_EQ(driver->statusWindow.lblMountType.Text(), driver->mount.Name());
    }
}

INSTANTIATE_TEST_SUITE_P(Models, MountNameTest,
                         testing::Values(MountNameRow{"VKC5-P03-01", Mount_Type::ALDER, Mount_Type::LARCH},
                                         MountNameRow{"VKC5-P03-01", Mount_Type::LARCH, Mount_Type::LARCH},
                                         MountNameRow{"VKC4-P02-08", Mount_Type::LARCH, Mount_Type::CEDAR},
                                         MountNameRow{"VKC4-P02-08", Mount_Type::FIR, Mount_Type::FIR},
                                         MountNameRow{"S", Mount_Type::LARCH, Mount_Type::LARCH}));

struct StatusSettingsRow {
    std::string force;
    std::string dont;
    bool supported;
};

class StatusSettingsTest : public FirmwareTest, public testing::WithParamInterface<StatusSettingsRow> {};

TEST_P(StatusSettingsTest, Settings_OverrideWhatTheFirmwareSays) {
    Seed({{"ForceQueryQOS", GetParam().force}, {"DontQueryGOS", GetParam().dont}});
    Classify("E2");
    EXPECT_EQ(driver->state.g_bGosSupported, GetParam().supported);
}

INSTANTIATE_TEST_SUITE_P(Switches, StatusSettingsTest,
                         testing::Values(StatusSettingsRow{"0", "0", false}, StatusSettingsRow{"1", "0", true},
                                         StatusSettingsRow{"0", "1", false}, StatusSettingsRow{"1", "1", false}));

TEST_F(FirmwareTest, BrightReticle_IsTakenInsideTheLevelsOfItsFirmware) {
    Seed({{"hscrReticleBrightness", "9"}});
    Start();
    driver->handBox.hscrReticleBrightness.Value(9);
    driver->link->Port(1);
    driver->link->ReceiveTimeoutMS(100);
    driver->link->Connected(true);
    driver->state.g_sVersion = "U";
    driver->state.g_bVersionKnown = true;
    driver->InternalInstance().InitBasicValues();
    EXPECT_EQ(driver->handBox.hscrReticleBrightness.Value(), 7);
}

TEST_F(FirmwareTest, MountOfTenSteps_AfterOneOfSevenLevels_HasTenAgain) {
    Classify("U");
    driver->state.g_sVersion = "E3";
    driver->state.g_bVersionKnown = true;
    driver->InternalInstance().InitBasicValues();
    EXPECT_EQ(driver->handBox.hscrReticleBrightness.Maximum(), 10);
}

TEST_F(FirmwareTest, VersionThatIsLostWhenAskedAgain_StaysThatOfTheMount) {
    Classify("VKC4-P02-08");
    mount->Add(std::make_unique<DropsReply>("V"));
    mount->Add(std::make_unique<DropsReply>("G_S"));
    driver->InternalInstance().InitBasicValues();
    EXPECT_EQ(driver->state.g_sVersion, "VKC4-P02-08");
    EXPECT_TRUE(driver->state.g_bIsKc4);
    EXPECT_EQ(driver->state.g_nFirmwareRev, 208);
}

TEST_F(FirmwareTest, VersionThatIsAskedAgain_IsTaken) {
    Classify("VKC4-P02-08");
    driver->state.g_sVersion = "D";
    driver->InternalInstance().InitBasicValues();
    EXPECT_EQ(driver->state.g_sVersion, "VKC4-P02-08");
}

TEST_F(FirmwareTest, OldReticleSequenceByChoice_KeepsTenSteps) {
    Seed({{"ForceOldBSequence", "1"}});
    Classify("U");
    EXPECT_TRUE(driver->state.g_bFirmwareU);
    EXPECT_FALSE(driver->state.g_bNewBSequence);
    EXPECT_EQ(driver->handBox.hscrReticleBrightness.Maximum(), 10);
}

TEST_F(FirmwareTest, SecondMountOfAnotherKind_ForgetsWhatTheFirstCouldDo) {
    Classify("VKC5-P03-01");
    driver->state.g_sVersion = "D";
    driver->state.g_bVersionKnown = true;
    driver->InternalInstance().InitBasicValues();
    EXPECT_FALSE(driver->state.g_bIsKc5);
    EXPECT_FALSE(driver->state.g_bGosSupported);
    EXPECT_FALSE(driver->state.g_bFirmwareSafeSlew);
    EXPECT_EQ(driver->state.g_nPrecisionRa, 1);
    EXPECT_EQ(driver->state.g_dMaxMoveRate, kEarlierMoveRate);
}

TEST_F(FirmwareTest, SiteThatTheMountDoesNotTell_KeepsItsLastValue) {
    Classify("VKC4-P02-08");
    EXPECT_EQ(driver->state.g_dSiteLatitude, 47.0);
    EXPECT_EQ(driver->state.g_dSiteLongitude, -350.0);
    mount->Add(std::make_unique<DropsReply>("Gt"));
    mount->Add(std::make_unique<DropsReply>("Gg"));
    driver->InternalInstance().InitBasicValues();
    EXPECT_EQ(driver->state.g_dSiteLatitude, 47.0);
    EXPECT_EQ(driver->state.g_dSiteLongitude, -350.0);
}

TEST_F(FirmwareTest, KingCorrection_IsSentToAMountThatTracksAndHasIt) {
    Classify("VKC4-P02-08");
    EXPECT_EQ(TimesSent("RT3"), 1);
    EXPECT_EQ(TimesSent("RT8"), 0);
}

TEST_F(FirmwareTest, KingCorrection_IsNotSentToAMountWithoutIt) {
    Classify("VKC4-P02-07");
    EXPECT_EQ(TimesSent("RT3") + TimesSent("RT8"), 0);
}

TEST_F(DriverFixture, HoldMount_SendsOneCommandAndReadsNoReply) {
    Start();
    Telescope& telescope = driver->InternalInstance();
    driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
    WireTranscript transcript(machine.clock, machine.pump, R"(
        0    = Hold
        0    > :ho#
        1000 = Release
        1000 > :hq#
        3000 = End
    )");
    transcript.Call("Hold", [&] { telescope.HoldMount(true); });
    transcript.Call("Release", [&] { telescope.HoldMount(false); });
    transcript.Call("End", [] {});
    const int reads = machine.serialPorts.Reads();
    transcript.CountAllThatIsNamed();
    PlayOnOpenLink(transcript);
    EXPECT_EQ(machine.serialPorts.Reads(), reads);
}

}  // namespace
}  // namespace kestrane
