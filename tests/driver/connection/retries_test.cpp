#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <string>

#include "kernel/base/conversions.h"
#include "simulator/misbehaviours.h"
#include "support/driver_fixture.h"

/// What the driver sends for a client has the retries of the settings; a text of the client has those of its object.
namespace kestrane {
namespace {

class RetriesTest : public DriverFixture {
protected:
    void SetUp() override { Seed({{"chkAutoCalibrateOnFirstSlew", "0"}, {"chkSetSlewRate", "0"}}); }
    void TearDown() override {
        telescope.reset();
        DriverFixture::TearDown();
    }
    void Connect(const std::string& firmware) {
        BuildMount(firmware);
        telescope = ConnectedTelescope();
        machine.AdvanceTime(10'000);
        ExpectSwallow("CommandString");
        ExpectSwallow("CommandBool");
    }
    /// Commands so far that begin so.
    int Sent(std::string_view head) const {
        const auto& all = mount->Commands();
        return static_cast<int>(
            std::count_if(all.begin(), all.end(), [&](const std::string& c) { return c.starts_with(head); }));
    }
    void Lose(std::string_view command, int times) { mount->Add(std::make_unique<DropsReply>(command, times)); }

    TelescopeObject telescope;
};

TEST_F(RetriesTest, LostRepliesOfATarget_AreAskedForAgain_AndTheMountGoesThere) {
    Connect("E3");
    const double ra = NormalizeHours(telescope->SiderealTime() - 1.0);
    for (const char* command : {"Sr", "Sd"}) {
        SCOPED_TRACE(command);
        Lose(command, 2);
        const int sent = Sent(command);
        telescope->SlewToCoordinatesAsync(ra, 20.0);
        EXPECT_GE(Sent(command) - sent, 3);
        EXPECT_FALSE(Logged(" FAILED!"));
        telescope->AbortSlew();
    }
    telescope->SlewToCoordinates(ra, 20.0);
    EXPECT_NEAR(mount->Picture().rightAscension, ra, 0.01);
}

TEST_F(RetriesTest, LostReplyOfTheCommandThatStopsAnAxis_IsAskedForAgain) {
    Connect("VKC4-P02-08");
    telescope->MoveAxis(1, 0.5);
    Lose("RD", 1);
    const int sent = Sent("RD");
    telescope->MoveAxis(1, 0.0);
    EXPECT_EQ(Sent("RD") - sent, 2);
}

TEST_F(RetriesTest, LostReplyAtTheConnect_IsAskedForAgain) {
    BuildMount("VKC4-P02-08");
    ExpectSwallow("CommandString");
    Lose("G_S", 2);
    telescope = ConnectedTelescope();
    EXPECT_EQ(Sent("G_S"), 3);
}

TEST_F(RetriesTest, TextsOfAClient_HaveTheRetriesOfItsObject) {
    Connect("E3");
    driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
    Lose("GR", 1);
    Lose("Sr", 1);
    EXPECT_EQ(telescope->CommandString("GR", false), "");
    EXPECT_FALSE(telescope->CommandBool("Sr01:02:03.4", false));
    Lose("GR", 1);
    telescope->MaxSerialRetries(1);
    EXPECT_NE(telescope->CommandString("GR", false), "");
}

TEST_F(RetriesTest, QuestionsOfTheCalibration_HaveOneTry) {
    Connect("E3");
    driver->handBox.tmrQueryRaDecAltAz.Enabled(false);
    Lose("pS", 3);
    const int sent = Sent("pS");
    telescope->CommandString("RAW,AutoCalibrateNSEW", true);
    EXPECT_EQ(Sent("pS") - sent, 3) << "one for each attempt";
    EXPECT_EQ(TimesLogged("Starting attempt "), 3);
}

}  // namespace
}  // namespace kestrane
