#pragma once

#include <cmath>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "support/driver_fixture.h"

namespace kestrane {

/// Two connected clients on a mount that tracks.
class AxisStopTest : public DriverFixture {
protected:
    void SetUp() override {
        Seed({{"chkAutoCalibrateOnFirstSlew", "0"}, {"chkSetSlewRate", "0"}});
        ConnectBoth();
        log.clear();
    }
    void TearDown() override {
        telescope.reset();
        other.reset();
        DriverFixture::TearDown();
    }

    void StartAgain() {
        telescope.reset();
        other.reset();
        Restart();
        ConnectBoth();
    }
    void ExpectAtRest() {
        EXPECT_FALSE(telescope->Axes().Runs());
        EXPECT_FALSE(other->Axes().Runs());
        EXPECT_EQ(telescope->Axes().m_MoveAxisTrackingState, MoveAxisTrackingState::NotSet);
        EXPECT_EQ(other->Axes().m_MoveAxisTrackingState, MoveAxisTrackingState::NotSet);
        EXPECT_NEAR(mount->Picture().polarSpeed, 0.0, 1e-9);
        EXPECT_LT(mount->Picture().hourSpeed, 0.005);
        EXPECT_FALSE(telescope->Slewing());
        EXPECT_FALSE(other->Slewing());
    }

    TelescopeObject telescope;
    TelescopeObject other;

private:
    void ConnectBoth() {
        telescope = ConnectedTelescope();
        other = ConnectedTelescope();
        machine.AdvanceTime(10'000);
    }
};

}  // namespace kestrane
