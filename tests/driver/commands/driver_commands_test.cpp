#include <filesystem>
#include <gtest/gtest.h>
#include <string>

#include "support/driver_fixture.h"

namespace kestrane {
namespace {

/// Texts after "RAW," handed to a client's object on a closed link.
class DriverCommandsTest : public DriverFixture {
protected:
    DriverCommandsTest() {
        Start();
        telescope = driver->CreateTelescope();
    }
    void TearDown() override {
        telescope.reset();
        DriverFixture::TearDown();
    }

    std::string Run(const std::string& command) { return telescope->CommandString("RAW," + command, true); }

    TelescopeObject telescope;
};

struct VerbRow {
    std::string command;
    std::string reply;
};

class VerbTableTest : public DriverCommandsTest, public testing::WithParamInterface<VerbRow> {};

TEST_P(VerbTableTest, Verb_AnswersInItsForm) {
    EXPECT_EQ(Run(GetParam().command), GetParam().reply);
}

INSTANTIATE_TEST_SUITE_P(
    Verbs, VerbTableTest,
    testing::Values(
        VerbRow{"Version", "1,5.50.03"}, VerbRow{"Version,with,arguments", "1,5.50.03"},
        VerbRow{"version", "0,Unknown Command: version"}, VerbRow{"SetEnableDebugLog,1", "1"},
        VerbRow{"SetEnableDebugLog,0", "1"}, VerbRow{"SetEnableDebugLog", "0,Value must be numeric 0-1"},
        VerbRow{"SetEnableDebugLog,2", "0,Value must be numeric 0-1"},
        VerbRow{"SetEnableDebugLog,on", "0,Value must be numeric 0-1"}, VerbRow{"GetConnectFailure", "1,"},
        VerbRow{"SetEnableDebugLog,0.4", "0,Value must be numeric 0-1"},
        VerbRow{"SetEnableDebugLog,1.4", "0,Value must be numeric 0-1"}, VerbRow{"SetEnableDebugLog,1.0", "1"},
        VerbRow{"SetComTimeout,0.6", "0,Value must be numeric, greater than 0"}, VerbRow{"SetComTimeout,750.0", "1"},
        VerbRow{"SetComRetries,1.5", "0,Value must be numeric, >= 0"},
        VerbRow{"Nonsense,1,2", "0,Unknown Command: Nonsense,1,2"}, VerbRow{"", "0,Unknown Command: "},
        VerbRow{",", "0,Unknown Command: ,"}, VerbRow{"GetCommunicationErrors", "1,0,0,0,0,0"},
        VerbRow{"ResetCommunicationErrors", "1"}, VerbRow{"ResetEvents", "1"},
        VerbRow{"GetPulseGuideEventInfo", "1,0,0"}, VerbRow{"GetRaDecEventInfo", "1,0,0"},
        VerbRow{"GetPulseGuideEvents,1000", "0,GetPulseGuideEvents argument must have an index 0-999"},
        VerbRow{"GetPulseGuideEvents,x", "0,GetPulseGuideEvents argument must have an index 0-999"},
        VerbRow{"GetPulseGuideEvents", "0,GetPulseGuideEvents no index argument must have an index 0-999"},
        VerbRow{"GetRaDecEvents,-1", "0,GetRaDecEvents argument must have an index 0-999"},
        VerbRow{"GetRaDecEvents", "0,GetRaDecEvents no index argument must have an index 0-999"},
        VerbRow{"GetComTimeout", "1,500"}, VerbRow{"SetComTimeout,0", "0,Value must be greater than 0"},
        VerbRow{"SetComTimeout,-5", "0,Value must be greater than 0"},
        VerbRow{"SetComTimeout,x", "0,Value must be numeric, greater than 0"},
        VerbRow{"SetComTimeout", "0,Value must be numeric, greater than 0"},
        VerbRow{"SetComTimeout,99999999999", "0,Value must be numeric, greater than 0"},
        VerbRow{"SetComTimeout,1e3", "0,Value must be numeric, greater than 0"}, VerbRow{"SetComTimeout,1", "1"},
        VerbRow{"GetComRetries", "1,2"}, VerbRow{"SetComRetries,0", "1"},
        VerbRow{"SetComRetries,-1", "0,Value must be >= 0"},
        VerbRow{"SetComRetries,many", "0,Value must be numeric, >= 0"},
        VerbRow{"SetComRetries", "0,Value must be numeric, >= 0"},
        VerbRow{"GetIniValue,NoSuchKey", "0,INI Keyword not found: NoSuchKey"},
        VerbRow{"GetIniValue", "0,No INI Keyword specified"},
        VerbRow{"SetIniValue,=5", "0,Keyword=Value not specified"},
        VerbRow{"SetIniValue, =5", "0,Keyword=Value not specified"},
        VerbRow{"SetIniValue,Key", "0,Keyword=Value not specified"}, VerbRow{"SetIniValue", "0,No Keyword specified"},
        VerbRow{"SetIniValue,Key=", "1"}, VerbRow{"SetIniValue,", "0,No Keyword specified"},
        VerbRow{"SetIniValue,k=v", "1"}, VerbRow{"GetIniValue,", "0,No INI Keyword specified"},
        VerbRow{"SetComTimeout,", "0,Value must be numeric, greater than 0"},
        VerbRow{"GetRaDecEvents,", "0,GetRaDecEvents no index argument must have an index 0-999"},
        VerbRow{"GetPulseGuideEvents,999", "1,999,4,1,-1,0,0,0,0"}, VerbRow{"GetRaDecEvents,999", "1,999,4,1,-1,0,0,0"},
        VerbRow{"GetRaDecEvents,1000", "0,GetRaDecEvents argument must have an index 0-999"},
        VerbRow{"GetRaDecEvents,x", "0,GetRaDecEvents argument must have an index 0-999"}, VerbRow{"CancelPark", "1"},
        VerbRow{"IsFormMinimized", "1,False"}, VerbRow{"Quay", "1,0"}));

TEST_F(DriverCommandsTest, IniValue_ComesBackTrimmedAndMayHoldAnEqualsSign) {
    EXPECT_EQ(Run("SetIniValue, MyKey = a=b "), "1");
    EXPECT_EQ(Run("GetIniValue,mykey"), "1,a=b");
}

TEST_F(DriverCommandsTest, IniValue_ThatIsEmpty_CountsAsNotFound) {
    EXPECT_EQ(Run("SetIniValue,Key="), "1");
    EXPECT_EQ(Run("GetIniValue,Key"), "0,INI Keyword not found: Key");
}

/// Verbs that talk to the mount, without a link: their answer is that of a failed action.
TEST_F(DriverCommandsTest, VerbsOfTheMount_AreDoneWithoutALink_AndSendNothing) {
    ExpectSwallow("*");
    for (const char* command :
         {"InitTime", "InitMount", "InitMount,PEM=1", "ParkMount", "ParkMount,2", "UnparkMount,2"}) {
        EXPECT_EQ(Run(command), "1") << command;
    }
    EXPECT_EQ(mount->Commands().size(), 0U);
    EXPECT_FALSE(driver->state.g_bParking);
}

TEST_F(DriverCommandsTest, AutoCalibrate_IsDoneAlsoWhereTheMountIsOutOfReach) {
    ExpectSwallow("CommandString");
    EXPECT_EQ(Run("AutoCalibrateNSEW"), "1");
    EXPECT_EQ(TimesLogged("Starting attempt "), 3);
    EXPECT_FALSE(driver->state.g_bAutoCalibrated);
    EXPECT_EQ(mount->Commands().size(), 0U);
}

TEST_F(DriverCommandsTest, ComTimeout_IsKept) {
    EXPECT_EQ(Run("SetComTimeout,750"), "1");
    EXPECT_EQ(Run("GetComTimeout"), "1,750");
    EXPECT_EQ(Run("SetComTimeout,nonsense"), "0,Value must be numeric, greater than 0");
    EXPECT_EQ(Run("GetComTimeout"), "1,750") << "a failure leaves all as it was";
}

TEST_F(DriverCommandsTest, ComRetries_RuleTheObjectsExchangesAtMostFive) {
    EXPECT_EQ(Run("SetComRetries,9"), "1");
    EXPECT_EQ(Run("GetComRetries"), "1,9");
    EXPECT_EQ(telescope->MaxSerialRetries(), 5);
    EXPECT_EQ(driver->InternalInstance().MaxSerialRetries(), 5);
}

TEST_F(DriverCommandsTest, CommunicationErrors_AreThoseOfTheHandBoxAndTheStalls) {
    driver->counters.CountRetransmit();
    driver->counters.CountRetransmit();
    driver->counters.CountReceiveTerminatedError();
    driver->counters.CountReceiveCountedError();
    driver->counters.CountReceiveCountedError();
    driver->counters.CountMotorStall();
    driver->counters.CountServoFault();
    driver->counters.CountServoFault();
    driver->counters.CountLowPower();
    driver->counters.CountLowPower();
    driver->counters.CountLowPower();
    EXPECT_EQ(Run("GetCommunicationErrors"), "1,2,3,1,2,3");
    EXPECT_EQ(driver->handBox.lblRetransmits.Text(), "2");
    EXPECT_EQ(driver->handBox.lblReceiveStringErrors.Text(), "3");
    EXPECT_EQ(Run("ResetCommunicationErrors"), "1");
    EXPECT_EQ(Run("GetCommunicationErrors"), "1,0,0,0,0,0");
}

TEST_F(DriverCommandsTest, Events_AreReadOnFromTheIndexOfTheLastReading) {
    driver->journal.AddPulseGuideEvent(9, 999, 3);
    driver->journal.AddRaDecEvent(1.0, 2.0);
    EXPECT_EQ(Run("ResetEvents"), "1");
    driver->journal.AddPulseGuideEvent(7, 250, 1);
    driver->journal.AddRaDecEvent(12.5, -7.25);
    EXPECT_EQ(Run("GetPulseGuideEventInfo"), "1,1,1");
    EXPECT_EQ(Run("GetPulseGuideEvents,0"), "1,0,4,1,0,7,250,1,1");
    EXPECT_EQ(Run("GetPulseGuideEvents,1"), "1,1,4,0,1");
    EXPECT_EQ(Run("GetRaDecEventInfo"), "1,1,1");
    EXPECT_EQ(Run("GetRaDecEvents,0"), "1,0,4,1,0,12.5,-7.25,1");
    EXPECT_EQ(Run("GetEventReferenceTime"), "1,2024,03,05,20,00,00");
}

TEST_F(DriverCommandsTest, Command_IsLoggedWithItsReplyAndNeverReachesTheMount) {
    telescope->Connected(true);
    driver->poll.SetPolling(false);
    const std::size_t before = mount->Commands().size();
    log.clear();
    Run("Version");
    EXPECT_EQ(mount->Commands().size(), before);
    ASSERT_EQ(log.size(), 2U);
    for (const LogLine& line : log) {
        EXPECT_EQ(line.origin, "Telescope");
        EXPECT_EQ(line.level, 0);
    }
    EXPECT_NE(log[0].message.find("RAW,Version"), std::string::npos);
    EXPECT_NE(log[1].message.find("1,5.50.03"), std::string::npos);
}

TEST_F(DriverCommandsTest, SetEnableDebugLog_IsTheBoxOfTheHandBox) {
    EXPECT_EQ(Run("SetEnableDebugLog,0"), "1");
    EXPECT_EQ(Run("GetEnableDebugLog"), "1,0");
    EXPECT_FALSE(driver->log.IsOpen());
    EXPECT_EQ(Run("SetEnableDebugLog,1"), "1");
    EXPECT_TRUE(driver->state.g_bDebugLog);
    EXPECT_TRUE(driver->log.IsOpen());
    EXPECT_TRUE(driver->handBox.chkEnableDebugLog.Checked());
    EXPECT_EQ(driver->persist.Read(setting::chkEnableDebugLog), "1");
    EXPECT_EQ(Run("GetEnableDebugLog"), "1,1");
    EXPECT_EQ(Run("GetLogFilename"), "1," + driver->log.FileName().string());
    EXPECT_EQ(Run("GetLogDir"), "1," + driver->log.FileName().parent_path().string());
}

TEST_F(DriverCommandsTest, SetEnableDebugLog_StoresTheWishAlsoWhereLoggingIsLikeThatAlready) {
    for (const std::string wish : {"0", "1"}) {
        SCOPED_TRACE(wish);
        Run("SetEnableDebugLog," + wish);
        const std::filesystem::path file = driver->log.FileName();
        EXPECT_EQ(Run("SetIniValue,chkEnableDebugLog=" + std::string(wish == "0" ? "1" : "0")), "1");
        machine.AdvanceTime(2'000);
        EXPECT_EQ(Run("SetEnableDebugLog," + wish), "1");
        EXPECT_EQ(driver->persist.Read(setting::chkEnableDebugLog), wish);
        EXPECT_EQ(driver->log.IsOpen(), wish == "1");
        EXPECT_EQ(driver->handBox.chkEnableDebugLog.Checked(), wish == "1");
        EXPECT_EQ(driver->log.FileName(), file) << "a log that is on goes on";
    }
}

TEST_F(DriverCommandsTest, GetLogFilename_NamesNoFileThatCouldNotBeOpened) {
    EXPECT_NE(Run("GetLogFilename"), "1,");
    Run("SetEnableDebugLog,0");
    driver->state.g_sLogDir = (machine.folders.Root() / "gone").string();
    EXPECT_EQ(Run("SetEnableDebugLog,1"), "1");
    EXPECT_EQ(Run("GetLogFilename"), "1,");
}

TEST_F(DriverCommandsTest, CheckMount_AsksForTheVersionOnly_OrSaysWhyThereIsNone) {
    EXPECT_EQ(SentBy([&] { EXPECT_TRUE(Run("CheckMount").starts_with("1,VKC")); }), (std::vector<std::string>{"V"}));
    EXPECT_FALSE(driver->link->Connected());
    machine.serialPorts.Disconnect(1);
    EXPECT_EQ(Run("CheckMount"), "0,COM1: error 2");
}

}  // namespace
}  // namespace kestrane
