// A park as a client commands it: the place that it keeps first, and the mount parks there.

#include "process/process_fixture.h"

namespace kestrane::process {
namespace {

TEST_F(ProcessFixture, Park_GoesWhereSetParkWasCalled_AndAnotherClientReadsIt) {
    Seed({{"chkAutoCalibrateOnFirstSlew", "0"}, {"cbxParkTo", "6"}});
    StartMount({"--verbose"});
    StartActivator();
    HttpClient sequencer = Client(1);
    HttpClient observer = Client(2);
    Connect(sequencer);
    Connect(observer);
    Good(sequencer.Put("setpark"));
    EXPECT_EQ(Good(observer.Get("atpark")).value, false);
    Good(sequencer.Put("park"));
    EXPECT_TRUE(WaitUntil(Seconds(40), [&] { return Good(observer.Get("atpark")).value == true; }));
    EXPECT_EQ(Good(observer.Get("slewing")).value, false);
    EXPECT_EQ(Good(observer.Get("tracking")).value, false);
    EXPECT_NE(mount->Errors().find(" > :KA#"), std::string::npos);
    Good(sequencer.Put("park"));  // a parked mount stays
    const Answer slew = sequencer.Put("slewtocoordinatesasync", "RightAscension=1&Declination=10");
    EXPECT_EQ(slew.errorNumber, 0x409);
}

TEST_F(ProcessFixture, Park_ComesToItsEnd_ThoughItsClientHasGone_AndThenTheProcessEnds) {
    Leases(0.3, 600);
    Seed({{"chkAutoCalibrateOnFirstSlew", "0"}, {"cbxParkTo", "2"}});
    StartMount({"--verbose"});
    StartActivator();
    HttpClient client = Client(1);
    Connect(client);
    const pid_t driver = Driver();
    Good(client.Put("park"));
    Good(client.Put("connected", "Connected=False"));
    client.Close();
    EXPECT_TRUE(WaitUntil(Seconds(60), [&] { return !Exists(driver); }));
    EXPECT_NE(mount->Errors().find(" > :KA#"), std::string::npos);
}

}  // namespace
}  // namespace kestrane::process
