#include <gtest/gtest.h>

#include "driver/parking/park_fixture.h"

namespace kestrane {
namespace {

class SetParkTest : public ParkTest {
protected:
    StandingMount& Ready() {
        Connect("S", {{"CounterWeightsUpPark", "1"}});
        StandingMount& standing = Stand();
        standing.replies["GA"] = "+60*00:00.0#";
        standing.replies["GZ"] = "180*00:00.0#";
        driver->handBox.chkCalcAzAlt.Checked(false);
        machine.AdvanceTime(10'000);
        return standing;
    }
    std::string Kept() {
        return driver->persist.Read(setting::txtUserParkAlt) + "/" + driver->persist.Read(setting::txtUserParkAz) +
               "/" + driver->persist.Read(setting::CounterWeightsUpPark);
    }
};

TEST_F(SetParkTest, KeepsWhereTheMountPoints_InWholeDegrees) {
    StandingMount& standing = Ready();
    standing.replies["GA"] = "+60*29:00.0#";
    standing.replies["GZ"] = "180*31:00.0#";
    EXPECT_EQ(SentDuring([&] { telescope->SetPark(); }), "GA GZ");
    EXPECT_EQ(Kept(), "60/181/0");
    EXPECT_EQ(driver->handBox.txtUserParkAlt.Text(), "60");
    EXPECT_EQ(driver->handBox.txtUserParkAz.Text(), "181");
    EXPECT_TRUE(LoggedAs("ASCOM", 0, "SetPark() Alt=60, Az=181"));
    EXPECT_EQ(driver->persist.Read(setting::cbxParkTo), "0");
}

TEST_F(SetParkTest, AFullTurn_IsKeptAsNorth) {
    StandingMount& standing = Ready();
    standing.replies["GZ"] = "359*45:00.0#";
    telescope->SetPark();
    EXPECT_EQ(Kept(), "60/0/0");
}

TEST_F(SetParkTest, AValueFarFromTheKnownOne_IsAskedForOnceMore) {
    StandingMount& standing = Ready();
    int asked = 0;
    standing.onCommand = [&](const std::string& command) {
        if (command == "GA") {
            standing.replies["GA"] = asked++ == 0 ? "+20*00:00.0#" : "+60*00:00.0#";
        }
    };
    EXPECT_EQ(SentDuring([&] { telescope->SetPark(); }), "GA GA GZ");
    EXPECT_EQ(Kept(), "60/180/0");
}

TEST_F(SetParkTest, ARefusedReply_KeepsNothing) {
    for (const auto& [command, reply] :
         {std::pair{"GA", "12:34:56#"}, {"GA", ""}, {"GZ", "-10*00:00.0#"}, {"GZ", "12:34:56#"}}) {
        StandingMount& standing = Ready();
        driver->persist.Write(setting::txtUserParkAlt, "11");
        driver->persist.Write(setting::txtUserParkAz, "22");
        standing.replies[command] = reply;
        ExpectSwallow("*");
        EXPECT_EQ(ErrorOf([&] { telescope->SetPark(); }), 0x8004040bU) << command << " " << reply;
        EXPECT_EQ(Kept(), "11/22/1");
        EndTheDriver();
    }
}

/// A place that a person types is a plain one; one that the driver fills in says nothing about that.
TEST_F(SetParkTest, ATypedPlace_EndsTheOneWithTheCounterweightUp) {
    for (TextBox frmHandBox::*const box : {&frmHandBox::txtUserParkAlt, &frmHandBox::txtUserParkAz}) {
        Ready();
        {
            const FillsForm filling(driver->handBox);
            (driver->handBox.*box).Text("31");
        }
        EXPECT_EQ(driver->persist.Read(setting::CounterWeightsUpPark), "1");
        (driver->handBox.*box).Text("32");
        EXPECT_EQ(driver->persist.Read(setting::CounterWeightsUpPark), "0");
        EndTheDriver();
    }
}

TEST_F(SetParkTest, WithoutAConnection_Raises) {
    Start();
    TelescopeObject client = driver->CreateTelescope();
    EXPECT_EQ(ErrorOf([&] { client->SetPark(); }), 0x80040404U);
}

}  // namespace
}  // namespace kestrane
