#include "behaviour/night_plan.h"

#include <algorithm>
#include <array>
#include <random>

#include "support/virtual_clock.h"

namespace kestrane {
namespace {

constexpr std::int64_t kBusyFromMs = 3'000;  // the clients connect before
constexpr std::int64_t kBusyUntilMs = 24'000;
constexpr std::int64_t kPatienceEndsMs = 36'000;
constexpr std::int64_t kEndMs = 45'000;

constexpr std::array<std::string_view, 9> kFirmwares{
    "VKC4-P02-08", "VKC4-P01-01", "VKC4-P01-03", "VKC5-P01-00", "VTRKC3", "U", "V1.2", "D", "E4"};

struct SettingRow {
    std::string_view key;
    std::array<std::string_view, 2> values;
};

constexpr std::array<SettingRow, 17> kSettings{{
    {"DisableSafeSlew", {"0", "1"}},
    {"SafeSlewRaDec", {"1", "0"}},
    {"chkAutoCalibrateOnFirstSlew", {"1", "0"}},
    {"chkKeepMountTimeSyncedToPcTime", {"1", "0"}},
    {"chkAutoEnableTracking", {"0", "1"}},
    {"chkRaMoveAxisOfZeroStopsTracking", {"0", "1"}},
    {"chkEnableKingRate", {"0", "1"}},
    {"chkSetSlewRate", {"0", "1"}},
    {"cbxInitSlewRate", {"2", "1"}},
    {"chkCalcAzAlt", {"1", "0"}},
    {"chkCalcLST", {"0", "1"}},
    {"DontUseGOSForSlew", {"0", "1"}},
    {"DontQueryGOS", {"0", "1"}},
    {"Retry", {"2", "0"}},
    {"Controller", {"3", "4"}},
    {"chkUseRCAL", {"1", "0"}},
    {"LogWhenParked", {"1", "0"}},
}};

constexpr std::array<std::string_view, 14> kFaultyCommands{"GR", "GD", "GA", "GZ", "GS",  "GL", "pS",
                                                           "Sr", "Sd", "MS", "Sa", "GOS", "RR", ""};

class Dice {
public:
    explicit Dice(std::uint32_t seed) : random_(seed) {}

    std::uint32_t Below(std::uint32_t limit) { return static_cast<std::uint32_t>(random_() % limit); }
    bool Chance(std::uint32_t percent) { return Below(100) < percent; }
    double Between(double low, double high) { return low + (high - low) * (Below(1'000'000) / 1e6); }
    std::int64_t BusyTime() { return kBusyFromMs + Below(static_cast<std::uint32_t>(kBusyUntilMs - kBusyFromMs)); }

private:
    std::mt19937 random_;
};

MountSimulatorOptions PlanMount(Dice& dice) {
    MountSimulatorOptions mount;
    mount.firmware = kFirmwares[dice.Below(kFirmwares.size())];
    mount.latitude = (dice.Chance(50) ? 1 : -1) * dice.Between(1, 80);
    mount.longitudeWest = dice.Between(0, 360);
    mount.parkedAtPowerOn = dice.Chance(5);
    mount.slewSpeed = mount.slewAcceleration = dice.Chance(50) ? 60.0 : 20.0;
    mount.gotoPath = dice.Chance(50) ? GotoPath::ShorterWay : GotoPath::CounterweightDown;
    mount.replyLatencyMs = dice.Chance(20) ? 120 : 5;
    if (dice.Chance(70)) {
        mount.start = MountPointing{dice.Between(-6, 6), dice.Between(-40, 80), dice.Chance(50)};
    }
    return mount;
}

/// Slews, motions and stops come more often than the rest.
ClientCall SomeCall(Dice& dice) {
    constexpr auto count = static_cast<std::uint32_t>(ClientCall::Count);
    constexpr auto moving = static_cast<std::uint32_t>(ClientCall::AbortSlew) + 1;
    return static_cast<ClientCall>(dice.Chance(45) ? dice.Below(moving) : dice.Below(count));
}

PlannedCall PlanCall(Dice& dice) {
    PlannedCall call;
    call.atMs = dice.BusyTime();
    call.client = dice.Below(3);
    call.call = SomeCall(dice);
    switch (call.call) {
        case ClientCall::SlewToAltAz:
        case ClientCall::SlewToAltAzAsync:
            call.first = dice.Between(0, 360);
            call.second = dice.Between(-5, 88);
            break;
        case ClientCall::MoveAxis:
            call.first = dice.Below(12) == 0 ? 2 : dice.Below(2);
            call.second = dice.Between(-3, 3);
            break;
        case ClientCall::EndAxis:
            call.first = dice.Below(2);
            break;
        case ClientCall::RightAscensionRate:
        case ClientCall::DeclinationRate:
            call.first = dice.Chance(30) ? 0.0 : dice.Between(-0.5, 0.5);
            break;
        case ClientCall::SetSite:
            call.first = dice.Between(-90, 90);
            call.second = dice.Between(-180, 180);
            break;
        default:
            // Of the sky; others take an index of it.
            call.first = dice.Between(0, dice.Chance(3) ? 25 : 23.99);
            call.second = dice.Between(-30, 80);
    }
    return call;
}

PlannedFault PlanFault(Dice& dice) {
    PlannedFault fault;
    fault.atMs = dice.BusyTime();
    fault.kind = static_cast<PlannedFault::Kind>(dice.Below(static_cast<std::uint32_t>(PlannedFault::Kind::Count)));
    fault.command = kFaultyCommands[dice.Below(kFaultyCommands.size())];
    fault.size = static_cast<std::int32_t>(1 + dice.Below(4));
    fault.seed = dice.Below(1'000'000);
    return fault;
}

}  // namespace

NightPlan::NightPlan(std::uint32_t seed) : patienceEndsMs(kPatienceEndsMs), endMs(kEndMs) {
    Dice dice(seed);
    constexpr std::array kTicks{VirtualClock::kZero, VirtualClock::kBeforeSignChange, VirtualClock::kBeforeWrap};
    firstTick = kTicks[dice.Below(kTicks.size())] + static_cast<std::int32_t>(dice.Below(60'000));
    mount = PlanMount(dice);
    settings.emplace_back("chkEnableDebugLog", "1");
    for (const SettingRow& row : kSettings) {
        settings.emplace_back(row.key, row.values[dice.Chance(25) ? 1 : 0]);
    }
    for (std::uint32_t left = 6 + dice.Below(14); left > 0; --left) {
        calls.push_back(PlanCall(dice));
    }
    for (std::uint32_t left = dice.Below(4); left > 0; --left) {
        presses.push_back({dice.BusyTime(), dice.Below(std::size(kPressedControls))});
    }
    for (std::uint32_t left = dice.Chance(50) ? dice.Below(5) : 0; left > 0; --left) {
        faults.push_back(PlanFault(dice));
    }
    for (std::uint32_t left = dice.Chance(60) ? 1 + dice.Below(4) : 0; left > 0; --left) {
        stops.push_back({60 + dice.Below(400), dice.Below(3), dice.Chance(30)});
    }
}

}  // namespace kestrane
