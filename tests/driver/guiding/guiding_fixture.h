#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "driver/slews/slew_wire_fixture.h"

namespace kestrane {

/// A firmware of each kind: no timed moves, up to 999 ms, up to 99999 ms.
inline constexpr std::string_view kUntimed = "E3";
inline constexpr std::string_view kBrieflyTimed = "S";
inline constexpr std::string_view kLongTimed = "VKC4-P02-08";

/// A connected client that guides, and what goes over the wire with the times: 0 is when `Guide` or `Begin` was called.
class GuidingTest : public SlewWireTest {
protected:
    void ConnectTo(std::string_view firmware, const SettingTexts& settings = {}) {
        Connect(std::string(firmware), settings);
    }
    /// Times count from here.
    void Begin() {
        Tape().Clear();
        startMs = machine.clock.Elapsed();
    }
    /// What goes out besides questions until so long after a pulse was asked for from the outermost loop.
    std::string WireOf(std::int32_t direction, std::int32_t duration, std::int64_t forMs) {
        Begin();
        GuideAt(0, direction, duration);
        machine.AdvanceTime(forMs);
        return Wire();
    }
    std::string Wire() { return Tape().TimedMotion(startMs); }
    /// A client asks for a pulse when the time is so many milliseconds.
    void GuideAt(std::int64_t ms, std::int32_t direction, std::int32_t duration) {
        machine.pump.PostAt(startMs + ms, CallKind::WaitsLong, [this, direction, duration] {
            telescope->PulseGuide(direction, duration);
            returnedMs = machine.clock.Elapsed() - startMs;
        });
    }
    void StopAt(std::int64_t ms, std::function<void()> stop) {
        machine.pump.PostAt(startMs + ms, CallKind::Stop, std::move(stop));
    }
    /// The directions whose flags are up: of "NSEW".
    std::string Flags() const {
        const DriverState& state = driver->state;
        return std::string(state.g_bGuidingNorth ? "N" : "") + (state.g_bGuidingSouth ? "S" : "") +
               (state.g_bGuidingEast ? "E" : "") + (state.g_bGuidingWest ? "W" : "");
    }
    bool AnyTimerRuns() const {
        const frmHandBox& box = driver->handBox;
        return box.tmrNorthStop.Enabled() || box.tmrSouthStop.Enabled() || box.tmrEastStop.Enabled() ||
               box.tmrWestStop.Enabled();
    }
    /// Whether the simulated mount stands but for its tracking.
    void ExpectOnlyTracking() {
        EXPECT_NEAR(mount->Picture().polarSpeed, 0.0, 1e-9);
        EXPECT_NEAR(mount->Picture().hourSpeed, 15.04107 / 3600.0, 1e-4);
    }

    std::int64_t startMs = 0;
    std::int64_t returnedMs = -1;  ///< when the last pulse call came back
};

}  // namespace kestrane
