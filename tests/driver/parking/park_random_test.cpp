#include <gtest/gtest.h>
#include <random>

#include "driver/parking/park_fixture.h"
#include "support/run_length.h"

/// Parks among all that clients and people do meanwhile.
namespace kestrane {
namespace {

const int kHours = RunLength(400);
constexpr int kSteps = 8;

class RandomParkTest : public ParkTest, public testing::WithParamInterface<std::string> {
protected:
    std::uint32_t Below(std::uint32_t limit) { return static_cast<std::uint32_t>(random_() % limit); }

    MountPointing SomePlace() {
        const double hourAngle = Below(2) == 0 ? -2.0 : 2.0;
        return {hourAngle, 30.0 + Below(30), Below(2) == 0};
    }
    void DoSomething() {
        Telescope& client = Below(2) == 0 ? *telescope : *other_;
        if (driver->state.g_bParked) {
            return Below(3) == 0 ? Park(client) : void();
        }
        switch (Below(9)) {
            case 0:
            case 1:
            case 2:
                return Park(client);
            case 3:
                return Try([&] { client.AbortSlew(); });
            case 4:
                return driver->panel.AbortSlew();
            case 5:
                return Try([&] { client.CommandString("RAW,CancelPark", true); });
            case 6:
                return Try([&] { client.Tracking(Below(2) == 0); });
            case 7:
                return Try([&] {
                    client.SlewToCoordinatesAsync(NormalizeHours(client.SiderealTime() + Below(4) - 2.0), 40.0);
                });
            default:
                return Try([&] { client.MoveAxis(1, Below(2) == 0 ? 0.0 : 0.5); });
        }
    }
    /// Somebody else may come in the middle of what a park does itself.
    void Park(Telescope& client) {
        const std::int64_t now = machine.clock.Elapsed();
        if (!driver->state.g_bSlewingEast && !driver->state.g_bLeavingCwUp) {
            const std::uint32_t call = Below(5);
            machine.pump.PostAt(now + Below(4'000), call == 0 ? CallKind::Stop : CallKind::StopsOne, [this, call] {
                if (!driver->state.g_bParked) {
                    GetIn(call);
                }
            });
        }
        Try([&] { client.CommandString("RAW,ParkMount," + std::to_string(Below(7)), true); });
    }

    /// What may come between any two exchanges of a park.
    void GetIn(std::uint32_t call) {
        switch (call) {
            case 0:
                return driver->panel.AbortSlew();
            case 1:
                return Try([&] { telescope->MoveAxis(1, 0.0); });
            case 2:
                return Try([&] { telescope->Tracking(false); });
            case 3:
                return Try([&] { telescope->CommandString("RAW,CancelPark", true); });
            default:
                return Try([&] { telescope->PulseGuide(0, 0); });
        }
    }

    /// What was logged at last, without what is written each second.
    std::string WhatHappened() const {
        std::string lines;
        for (std::size_t at = log.size() > 2'000 ? log.size() - 2'000 : 0; at < log.size(); ++at) {
            const bool isOften = log[at].message.find(":G") != std::string::npos || log[at].origin.starts_with("Parse");
            if (!isOften) {
                lines += log[at].origin + " | " + log[at].message + "\n";
            }
        }
        return lines;
    }

    Telescope* other_ = nullptr;
    std::mt19937 random_{20261122};
};

TEST_P(RandomParkTest, AfterAStop_NothingButTrackingMoves_AndAllAgree) {
    ExpectSwallow("*");
    int parks = 0;
    for (int hour = 0; hour < kHours; ++hour) {
        SCOPED_TRACE("hour " + std::to_string(hour));
        log.clear();
        ConnectAt(47.0, GetParam(),
                  {{"txtUserParkAlt", "30"},
                   {"txtUserParkAz", "120"},
                   {"chkSlewEast", Below(2) == 0 ? "1" : "0"},
                   {"chkConvertAltAzToRaDec", Below(2) == 0 ? "1" : "0"},
                   {"txtSlewEastFirstHours", "1"}},
                  SomePlace());
        other_ = &OtherClient();
        other_->Connected(true);
        for (int step = 0; step < kSteps; ++step) {
            DoSomething();
            machine.AdvanceTime(Below(2) == 0 ? Below(2'000) : Below(20'000));
        }
        if (Below(3) == 0) {
            machine.AdvanceTime(100'000);
        }
        if (!driver->state.g_bParked) {
            driver->panel.AbortSlew();
        }
        machine.AdvanceTime(5'000);
        const MountPicture stopped = mount->Picture();
        EXPECT_FALSE(stopped.slewing);
        EXPECT_NEAR(stopped.polarSpeed, 0.0, 1e-3);
        EXPECT_LT(std::abs(stopped.hourSpeed), 0.005);
        machine.AdvanceTime(10'000);
        const MountPicture quiet = mount->Picture();
        // Without a status text a position that is read twice shows no parked mount.
        const bool mayCountAsNotParked = quiet.parked && !driver->state.g_bGosSupported;
        EXPECT_TRUE(telescope->AtPark() == quiet.parked || mayCountAsNotParked) << WhatHappened();
        EXPECT_FALSE(telescope->Slewing()) << WhatHappened();
        EXPECT_EQ(telescope->Tracking(), quiet.tracking != '9') << WhatHappened();
        EXPECT_FALSE(driver->state.g_bParking);
        const std::string kept = driver->persist.Read(setting::ParkStatus);
        EXPECT_TRUE(kept == "Parked" ? quiet.parked : true);
        EXPECT_TRUE(quiet.parked && driver->state.g_nParkStarted != 0 ? kept == "Parked" : true) << kept;
        parks += quiet.parked ? 1 : 0;
        EndTheDriver();
    }
    EXPECT_GT(parks, kHours / 20);
    EXPECT_LT(parks, kHours);
}

INSTANTIATE_TEST_SUITE_P(Families, RandomParkTest, testing::Values("S", "D", "EK5", "VKC5-P03-01"),
                         [](const auto& row) { return row.param.substr(0, row.param.find('-')); });

}  // namespace
}  // namespace kestrane
