#pragma once

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "simulator/misbehaviours.h"
#include "simulator/mount_simulator.h"
#include "support/virtual_clock.h"

namespace kestrane {

/// A clock on a spring evening, one hour ahead of UTC.
inline VirtualClock EveningClock(Tick firstTick = VirtualClock::kZero) {
    VirtualClock clock(firstTick);
    clock.SetLocalTime({2024, 3, 20, 22, 15, 30, 0});
    return clock;
}

/// HH:MM:SS of hours, for commands that tests send; whole seconds, cut off.
inline std::string WireHours(double hours) {
    const auto seconds = static_cast<int>(std::floor(std::fmod(hours + 48, 24) * 3600));
    char text[16];
    std::snprintf(text, sizeof text, "%02d:%02d:%02d", seconds / 3600 % 24, seconds / 60 % 60, seconds % 60);
    return text;
}

/// A parked, freshly powered mount and a line to it.
class MountTest : public testing::Test {
protected:
    MountSimulator& Mount() {
        if (!mount_) {
            mount_ = std::make_unique<MountSimulator>(clock, options);
        }
        return *mount_;
    }

    /// Restarts the mount with the firmware given.
    void UseFirmware(std::string_view firmware) {
        options.firmware = firmware;
        mount_.reset();
    }

    void Wait(std::int32_t milliseconds) {
        Mount().NextByteIn();  // the mount is there before the time passes
        clock.Sleep(milliseconds);
    }

    /// Sends a framed command and takes what comes within 200 ms.
    std::string Ask(std::string_view command) { return AskRaw(':' + std::string(command) + '#'); }

    std::string AskRaw(std::string_view bytes) {
        Mount().Write(bytes);
        return Listen(200);
    }

    std::string Listen(std::int32_t milliseconds) {
        Wait(milliseconds);
        return Mount().Read(100000);
    }

    /// Waits for the end of a goto; milliseconds that it took, at most two minutes.
    std::int32_t WaitForSlew() {
        std::int32_t waited = 0;
        while (Mount().Picture().slewing && waited < 120'000) {
            Wait(10);
            waited += 10;
        }
        return waited;
    }

    /// Unparks, and sets the target to an hour angle (hours) at the present sidereal time.
    void TargetHourAngle(double hourAngle, const std::string& declination) {
        Ask("PO");
        EXPECT_EQ(Ask("Sr" + WireHours(Mount().Picture().siderealTime - hourAngle)), "1");
        EXPECT_EQ(Ask("Sd" + declination), "1");
    }

    /// Unparks, goes there, and waits for the end.
    void GotoHourAngle(double hourAngle, const std::string& declination) {
        TargetHourAngle(hourAngle, declination);
        EXPECT_EQ(Ask("MS"), "0");
        WaitForSlew();
    }

    VirtualClock clock = EveningClock();
    MountSimulatorOptions options;

private:
    std::unique_ptr<MountSimulator> mount_;
};

}  // namespace kestrane
