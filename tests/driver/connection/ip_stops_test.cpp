#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <string_view>

#include "driver/companion/companion_fixture.h"
#include "focuser/focuser.h"

/// Stops over the mount's network adapter that cannot go out at their time.
namespace kestrane {
namespace {

class IpStopTest : public CompanionRoadTest {
protected:
    int TimesSent(std::string_view command) const {
        int times = 0;
        for (const std::string& sent : mount->Commands()) {
            times += sent == command ? 1 : 0;
        }
        return times;
    }
    void WithoutConnection(const std::function<void()>& during) {
        adapter.SetFault(HttpAdapter::Fault::Unplugged);
        during();
        adapter.SetFault(HttpAdapter::Fault::None);
    }
};

TEST_F(IpStopTest, OfTheFocuser_GoesOutOnceTheAdapterTakesConnectionsAgain) {
    ExpectSwallow("*");
    Connect(Road::Adapter);
    FocuserObject focuser = driver->CreateFocuser();
    focuser->Link(true);
    focuser->Move(2'000);
    machine.AdvanceTime(300);
    ASSERT_TRUE(focuser->IsMoving());
    WithoutConnection([&] { focuser->Halt(); });
    EXPECT_EQ(TimesSent("FQ"), 0);
    machine.AdvanceTime(3'000);
    EXPECT_GE(TimesSent("FQ"), 1);
    focuser.reset();
}

/// The adapter's own page says that the mount was not asked.
TEST_F(IpStopTest, OfTheFocuser_GoesOutOnceARebootOfTheAdapterIsOver) {
    ExpectSwallow("*");
    Connect(Road::Adapter);
    FocuserObject focuser = driver->CreateFocuser();
    focuser->Link(true);
    focuser->Move(5'000);
    machine.AdvanceTime(300);
    ASSERT_TRUE(focuser->IsMoving());
    adapter.Reboot(0, 2'000);
    focuser->Halt();
    EXPECT_EQ(TimesSent("FQ"), 0);
    machine.AdvanceTime(5'000);
    EXPECT_GE(TimesSent("FQ"), 1);
    focuser.reset();
}

}  // namespace
}  // namespace kestrane
