#include "state/companion_channel.h"

#include <gtest/gtest.h>

#include "state/state_fixture.h"

namespace kestrane {
namespace {

class CompanionChannelTest : public StateFixture {
protected:
    void Prove() { state.g_bQuayLink = state.g_bQuayHandlesSlews = true; }
};

TEST_F(CompanionChannelTest, TakesSlews_NeedsTheProofAndTheSetting) {
    for (const bool proved : {false, true}) {
        for (const bool handles : {false, true}) {
            state.g_bQuayLink = proved;
            state.g_bQuayHandlesSlews = handles;
            EXPECT_EQ(channel.IsProved(), proved);
            EXPECT_EQ(channel.TakesSlews(), proved && handles);
        }
    }
}

TEST_F(CompanionChannelTest, WithoutTheProof_ItsOwnCommandsAreNotSent) {
    channel.DisableSafeSlew();
    channel.EnableSafeSlew();
    EXPECT_FALSE(channel.DoesRefraction());
    EXPECT_TRUE(mount.sent.empty());
}

TEST_F(CompanionChannelTest, Refraction_IsTheThirdCharacter_AndAShortAnswerIsNone) {
    Prove();
    const std::pair<std::string, bool> rows[] = {{"", false},    {"1", false},  {"11", false},   {"1,1", true},
                                                 {"1,0", false}, {"001", true}, {"xx1yy", true}, {"111", true}};
    for (const auto& [reply, does] : rows) {
        mount.replies["*DOESREFRACTION"] = reply;
        EXPECT_EQ(channel.DoesRefraction(), does) << reply;
    }
}

struct TimeSyncRow {
    std::string reply;
    bool asksAgain;      ///< after a reading of the time
    bool asksAgainZone;  ///< after a zone that was off
};

TEST_F(CompanionChannelTest, TimeSync_IsJudgedByItsSecondCharacter_AndForTheZoneByItsFirst) {
    Prove();
    for (const TimeSyncRow& row :
         {TimeSyncRow{"11", true, true}, TimeSyncRow{"10", false, true}, TimeSyncRow{"01", true, false},
          TimeSyncRow{"1", true, true}, TimeSyncRow{"0", true, false}, TimeSyncRow{"", true, false}}) {
        mount.replies["*TIMESYNC,1"] = row.reply;
        state.g_bQuayTimeSync = true;
        channel.SyncTime("1");
        EXPECT_EQ(state.g_bQuayTimeSync, row.asksAgain) << row.reply;
        state.g_bQuayTimeSync = true;
        channel.SyncTimeZone();
        EXPECT_EQ(state.g_bQuayTimeSync, row.asksAgainZone) << row.reply;
    }
    mount.sent.clear();
    state.g_bQuayTimeSync = false;
    channel.SyncTime("1");
    EXPECT_TRUE(mount.sent.empty());
    channel.SyncTimeZone();
    EXPECT_EQ(mount.sent, std::vector<std::string>{"*TIMESYNC,1"}) << "a zone that is off is always told";
}

TEST_F(CompanionChannelTest, Corrections_AreAskedForAndSwitched_EachByItsOwnCommand) {
    mount.replies["ZZ01"] = "1";
    mount.replies["ZZ02"] = "11";
    EXPECT_TRUE(channel.Corrects(Correction::Pointing));
    EXPECT_FALSE(channel.Corrects(Correction::TrackingRate));
    channel.SwitchCorrection(Correction::Pointing, false);
    channel.SwitchCorrection(Correction::TrackingRate, true);
    channel.SetPointingCorrection("3");
    EXPECT_EQ(mount.sent, (std::vector<std::string>{"ZZ01", "ZZ02", "ZZ01,0", "ZZ02,1", "!ZZ00,3"}));
}

TEST_F(CompanionChannelTest, SafeSlewsThatWereSwitchedOff_AreOwedUntilAnAnswer) {
    Prove();
    channel.EnableSafeSlewIfOwed();
    EXPECT_TRUE(mount.sent.empty());
    channel.DisableSafeSlew();
    mount.sent.clear();
    channel.EnableSafeSlewIfOwed();
    EXPECT_EQ(mount.Times("*DISABLESAFESLEW,0"), 3) << "not answered";
    EXPECT_TRUE(
        LoggedPart("The companion may still slew without its own protection: it has not answered that its safe "
                   "slews are on again"));
    mount.replies["*DISABLESAFESLEW,0"] = "1";
    channel.EnableSafeSlewIfOwed();
    channel.EnableSafeSlewIfOwed();
    EXPECT_EQ(mount.Times("*DISABLESAFESLEW,0"), 4);
}

TEST_F(CompanionChannelTest, SafeSlewsThatAreKeptOff_AreSwitchedOffAgainOnlyWithoutAnAnswer) {
    Prove();
    channel.DisableSafeSlew();
    channel.KeepSafeSlewOff();
    EXPECT_EQ(mount.Times("*DISABLESAFESLEW,1"), 2) << "not answered";
    mount.replies["*DISABLESAFESLEW,1"] = "1";
    channel.KeepSafeSlewOff();
    channel.KeepSafeSlewOff();
    EXPECT_EQ(mount.Times("*DISABLESAFESLEW,1"), 3);
}

/// The companion may have ended since, and a new one begins with its safe slews on.
TEST_F(CompanionChannelTest, SafeSlewsThatAreKeptOff_AreSwitchedOffAgainAfterANewProof) {
    Prove();
    state.g_bQuayConfigured = true;
    motion.ParkBegins();
    mount.replies["QUAY"] = mount.replies["*DISABLESAFESLEW,1"] = "1";
    channel.DisableSafeSlew();
    channel.LinkIsNew();
    channel.CheckQuay();
    ASSERT_TRUE(channel.IsProved());
    channel.KeepSafeSlewOff();
    EXPECT_EQ(mount.Times("*DISABLESAFESLEW,1"), 2);
    channel.KeepSafeSlewOff();
    EXPECT_EQ(mount.Times("*DISABLESAFESLEW,1"), 2);
    EXPECT_EQ(mount.Times("*DISABLESAFESLEW,0"), 0);
}

/// Its loop has to read where the mount is, and three tries of the question may take longer than a reading lasts.
TEST_F(CompanionChannelTest, DuringAMoveAheadOfAPark_IsNotLookedFor) {
    state.g_bQuayConfigured = true;
    state.g_tickLastQuayCheck = machine.clock.GetTickCount() - 120'000;
    state.g_bSlewingEast = true;
    EXPECT_TRUE(channel.PeriodicQuayCheck());
    EXPECT_TRUE(mount.sent.empty());
    state.g_bSlewingEast = false;
    EXPECT_FALSE(channel.PeriodicQuayCheck());
    EXPECT_EQ(mount.Times("QUAY"), 1);
}

}  // namespace
}  // namespace kestrane
