#include <gtest/gtest.h>
#include <string>

#include "driver/slews/slew_wire_fixture.h"

/// The verbs that move the mount or tell it something, and the texts that only look like a command to it.
namespace kestrane {
namespace {

class MountVerbsTest : public SlewWireTest {
protected:
    void TearDown() override {
        EndTheDriver();
        SlewWireTest::TearDown();
    }
    std::string Run(const std::string& command) { return telescope->CommandString("RAW," + command, true); }
};

TEST_F(MountVerbsTest, TextToTheDriver_ThatHoldsAStop_CancelsNoPark) {
    Connect("S", {{"cbxParkTo", "2"}});
    telescope->Park();
    machine.AdvanceTime(1'000);
    ASSERT_TRUE(driver->state.g_bParking);
    for (const char* command : {"SetIniValue,Note=:Q#", "GetIniValue,:Q#", "Nonsense:Q#"}) {
        Run(command);
        EXPECT_FALSE(driver->state.g_bAbortPark) << command;
    }
    machine.AdvanceTime(120'000);
    EXPECT_TRUE(telescope->AtPark());
}

TEST_F(MountVerbsTest, TextToTheDriver_ThatHoldsAGoto_IsNone) {
    Connect("S");
    EXPECT_EQ(Run("SetIniValue,Note=:MS#"), "1");
    EXPECT_FALSE(driver->state.g_bGotoRuns);
    EXPECT_EQ(Run("GetIniValue,Note"), "1,:MS#");
}

TEST_F(MountVerbsTest, TextInAFrame_ThatOnlyBeginsLikeOneToTheDriver_IsWatched) {
    Connect("S");
    Stand().replies["RAW"] = "#";
    telescope->CommandString("RAW,:MS", false);
    EXPECT_TRUE(driver->state.g_bGotoRuns);
}

}  // namespace
}  // namespace kestrane
