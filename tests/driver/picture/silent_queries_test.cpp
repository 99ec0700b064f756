#include <gtest/gtest.h>
#include <memory>

#include "simulator/misbehaviours.h"
#include "support/driver_fixture.h"

namespace kestrane {
namespace {

constexpr std::uint32_t kLostCommunications = 0x80040429;

/// A mount that has stopped answering some of the queries, and answers the others.
class SilentQueriesTest : public DriverFixture {
protected:
    void Connect() {
        ExpectSwallow("CommandString");
        telescope = ConnectedTelescope();
        telescope->Tracking(true);
        machine.AdvanceTime(10'000);
    }
    void Silence(std::initializer_list<const char*> commands) {
        for (const char* command : commands) {
            mount->Add(std::make_unique<DropsReply>(command));
        }
    }
    int Asked(const char* command, std::int64_t milliseconds) {
        const int before = TimesSent(command);
        machine.AdvanceTime(milliseconds);
        return TimesSent(command) - before;
    }

    TelescopeObject telescope;
};

TEST_F(SilentQueriesTest, SilentAltitudeAndAzimuth_DoNotKeepTheOtherCoordinatesFromBeingRead) {
    Connect();
    Silence({"GA", "GZ"});
    machine.AdvanceTime(20'000);
    EXPECT_GE(Asked("GR", 30'000), 4);
    EXPECT_GE(Asked("GD", 30'000), 4);
    driver->state.g_dRa = driver->state.g_dDec = -1.0;
    machine.AdvanceTime(20'000);
    EXPECT_NEAR(driver->state.g_dRa, mount->Picture().rightAscension, 0.01);
    EXPECT_NEAR(driver->state.g_dDec, mount->Picture().declination, 0.01);
}

TEST_F(SilentQueriesTest, SilentTimeAndZone_DoNotEither) {
    Connect();
    Silence({"GS", "GL", "GM", "GOS"});
    machine.AdvanceTime(20'000);
    EXPECT_GE(Asked("GR", 30'000), 4);
    EXPECT_GE(Asked("GA", 30'000), 4);
}

TEST_F(SilentQueriesTest, CoordinateThatIsNoLongerRead_IsAnErrorAfterThirtySeconds) {
    Connect();
    Silence({"GZ"});
    machine.AdvanceTime(25'000);
    EXPECT_EQ(ErrorOf([&] { telescope->Azimuth(); }), 0U) << "the last one is not that old";
    machine.AdvanceTime(10'000);
    EXPECT_EQ(ErrorOf([&] { telescope->Azimuth(); }), kLostCommunications);
    EXPECT_EQ(ErrorOf([&] { telescope->RightAscension(); }), 0U);
    EXPECT_EQ(ErrorOf([&] { telescope->Declination(); }), 0U);
    mount->ClearMisbehaviours();
    machine.AdvanceTime(8'000);
    EXPECT_EQ(ErrorOf([&] { telescope->Azimuth(); }), 0U);
}

TEST_F(SilentQueriesTest, CoordinateThatIsRefusedAgainAndAgain_IsOldToo) {
    Connect();
    mount->Add(std::make_unique<CorruptsReply>("GD", kEveryTime, 3, '?'));
    machine.AdvanceTime(35'000);
    EXPECT_EQ(ErrorOf([&] { telescope->Declination(); }), kLostCommunications);
    EXPECT_EQ(ErrorOf([&] { telescope->RightAscension(); }), 0U);
}

TEST_F(SilentQueriesTest, ComputedAzimuth_IsAsOldAsThePositionItIsComputedFrom) {
    Connect();
    driver->handBox.chkCalcAzAlt.Checked(true);
    machine.AdvanceTime(5'000);
    mount->Add(std::make_unique<CorruptsReply>("GD", kEveryTime, 3, '?'));
    machine.AdvanceTime(35'000);
    EXPECT_EQ(ErrorOf([&] { telescope->Azimuth(); }), kLostCommunications);
}

TEST_F(SilentQueriesTest, AzimuthComputedFromAPositionThatWasNeverWholeRead_IsOldToo) {
    ExpectSwallow("CommandString");
    for (const char* silent : {"GD", "GR"}) {
        telescope.reset();
        driver.reset();
        BuildMount("VKC4-P02-08");
        Silence({silent});
        Connect();
        driver->handBox.chkCalcAzAlt.Checked(true);
        machine.AdvanceTime(60'000);
        EXPECT_EQ(ErrorOf([&] { telescope->Azimuth(); }), kLostCommunications) << silent;
    }
}

TEST_F(SilentQueriesTest, OnALineThatIsClosed_NoCoordinateIsOld) {
    Connect();
    machine.clock.Sleep(40'000);  // nothing ran meanwhile
    EXPECT_EQ(ErrorOf([&] { telescope->RightAscension(); }), kLostCommunications);
    driver->link->Connected(false);
    EXPECT_EQ(ErrorOf([&] { telescope->RightAscension(); }), 0U);
}

TEST_F(SilentQueriesTest, WhileTheDriverKeepsThePollOffTheLine_NoCoordinateIsOld) {
    Connect();
    driver->poll.SetPolling(false);
    machine.AdvanceTime(60'000);
    EXPECT_EQ(ErrorOf([&] { telescope->RightAscension(); }), 0U);
    driver->poll.SetPolling(true);
    EXPECT_EQ(ErrorOf([&] { telescope->RightAscension(); }), 0U) << "the poll has only begun again";
    Silence({"GR"});
    machine.AdvanceTime(15'000);
    EXPECT_EQ(ErrorOf([&] { telescope->RightAscension(); }), kLostCommunications);
}

TEST_F(SilentQueriesTest, MeridianDelayOfTheMount_SurvivesAConnectThatCannotReadIt) {
    ExpectSwallow("CommandString");
    mount->Write(":SM01:00:00#");
    machine.AdvanceTime(1'000);
    mount->Read(100);
    ASSERT_EQ(mount->Picture().meridianDelay, 1.0);
    machine.clock.SetLocalTime(DateTime{2024, 3, 20, 21, 5, 30, 0});  // the mount's clock is set at the connect
    mount->Add(std::make_unique<DropsReply>("GM", 3));
    telescope = ConnectedTelescope();
    machine.AdvanceTime(20'000);
    EXPECT_TRUE(Logged("SET utcDate = ")) << "which sends the delay along";
    EXPECT_EQ(mount->Picture().meridianDelay, 1.0);
    EXPECT_EQ(driver->state.g_dMeridianDelay, 1.0);
}

TEST_F(SilentQueriesTest, MeridianDelayThatAPersonHasSet_IsKeptThroughOneWrongReading) {
    Connect();
    driver->handBox.txtMeridianDelay.Text("1");
    driver->handBox.btnSetMeridianDelay.FireClick();
    machine.AdvanceTime(2'000);
    ASSERT_EQ(mount->Picture().meridianDelay, 1.0);
    mount->Add(std::make_unique<CorruptsReply>("GM", 1, 1, '4'));
    machine.AdvanceTime(20'000);
    EXPECT_EQ(TimesLogged("Two readings differ; neither is used."), 1);
    EXPECT_EQ(driver->state.g_dMeridianDelay, 1.0);
    EXPECT_EQ(mount->Picture().meridianDelay, 1.0);
}

TEST_F(SilentQueriesTest, StatusAndMeridianDelay_AreAskedLessOftenFromTheirThirdSilenceOn) {
    Connect();
    Silence({"GOS", "GM"});
    machine.AdvanceTime(30'000);
    // Three tries each time, and twice the interval from one time to the next.
    const int status = TimesSent("GOS");
    EXPECT_LE(Asked("GM", 60'000), 3 * 5);
    EXPECT_LE(TimesSent("GOS") - status, 3 * 5);
    EXPECT_GE(TimesSent("GOS") - status, 3 * 4);
    mount->ClearMisbehaviours();
    machine.AdvanceTime(20'000);
    EXPECT_GE(Asked("GOS", 60'000), 11) << "once answered, as often as before";
    EXPECT_GE(Asked("GM", 60'000), 10);
}

}  // namespace
}  // namespace kestrane
