#include <gtest/gtest.h>
#include <string>

#include "driver/slews/slew_wire_fixture.h"

/// A status text may make the driver ask for rates: a stop does not wait for these questions.
namespace kestrane {
namespace {

class StatusStopTest : public SlewWireTest, public testing::WithParamInterface<std::string> {};

TEST_P(StatusStopTest, StopGetsInBehindEachExchange) {
    Connect("S");
    StandingMount& standing = Stand();
    standing.replies["GOS"] = "020000299O0000#";  // a centering and a slew rate that no list knows
    standing.replies["Rc"] = "12#";
    standing.replies["Rs"] = "600#";
    bool asked = false;
    standing.onCommand = [&](const std::string& command) {
        if (command == GetParam() && !asked) {
            asked = true;
            machine.pump.Post(CallKind::Stop, [&] { telescope->AbortSlewDriver(); });
        }
    };
    std::string expected;
    for (const std::string command : {"GOS", "Rc", "Rs"}) {
        expected += (expected.empty() ? "" : " ") + command + (command == GetParam() ? " Q Q" : "");
    }
    Tape().Clear();
    driver->queries.QueryGos();
    machine.pump.PumpStops();
    EXPECT_EQ(Tape().All(), expected);
    EXPECT_EQ(driver->statusWindow.lblCenteringRate.Text(), "12x");
    EXPECT_EQ(driver->statusWindow.lblSlewRate.Text(), "600x");
}

INSTANTIATE_TEST_SUITE_P(Exchanges, StatusStopTest, testing::Values("GOS", "Rc", "Rs"),
                         [](const auto& row) { return row.param; });

}  // namespace
}  // namespace kestrane
