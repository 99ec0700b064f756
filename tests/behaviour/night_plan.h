#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "simulator/mount_simulator.h"

namespace kestrane {

/// What a client of the night calls. The order decides what each seed brings, so new ones go to the end.
enum class ClientCall {
    SlewToCoordinates,
    SlewToCoordinatesAsync,
    SlewToTarget,
    SlewToTargetAsync,
    SlewToAltAz,
    SlewToAltAzAsync,
    MoveAxis,
    EndAxis,
    AbortSlew,
    Tracking,
    TrackingRate,
    RightAscensionRate,
    DeclinationRate,
    GuideRate,
    SlewSettleTime,
    Slewing,
    AtPark,
    Position,
    Site,
    SetSite,
    UtcDate,
    SetUtcDate,
    PierSide,
    Reconnect,
    CommandString,
    CommandBlind,
    CommandBool,
    DriverVerb,
    Count,
};

/// One call of one client, at its time.
struct PlannedCall {
    std::int64_t atMs = 0;
    std::size_t client = 0;  ///< 0 to 2
    ClientCall call = ClientCall::Slewing;
    double first = 0;   ///< of the call's arguments
    double second = 0;  ///< hours, degrees, degrees per second or an index, as the call takes it
};

/// A press of a control of the hand box.
struct PlannedPress {
    std::int64_t atMs = 0;
    std::size_t control = 0;  ///< index of `kPressedControls`
};

/// Something that goes wrong on the line.
struct PlannedFault {
    enum class Kind { Drop, Late, Cut, Double, Corrupt, Alarm, Storm, Stall, DeadLine, Count };
    std::int64_t atMs = 0;
    Kind kind = Kind::Drop;
    std::string command;     ///< whose reply is hit; empty for any
    std::int32_t size = 0;   ///< times, milliseconds or percent, by kind
    std::uint32_t seed = 0;  ///< of a storm
};

/// A stop that is asked for while an exchange is under way.
struct PlannedStop {
    std::size_t exchange = 0;  ///< the number of the text to the mount, from 1
    std::size_t client = 0;
    bool byDriver = false;  ///< the driver's own stop, as of the hand box
};

/// The controls that a person presses, by their names.
inline constexpr std::string_view kPressedControls[] = {
    "btnRateZero",
    "btnRateSidereal",
    "btnRateLunar",
    "btnRateSolar",
    "btnRateCustom",
    "btnSyncMountTime",
    "btnGetLongLat",
    "btnSetMeridianDelay",
    "btnClearMeridianDelay",
    "btnResetErrorCounts",
    "chkEnableKingRate",
    "chkCalcAzAlt",
    "chkCalcLST",
    "chkKeepMountTimeSyncedToPcTime",
    "btnMore",
    "lblLST",
};

/// Everything that a night brings, from its seed alone: the same seed is the same night for every version of the
/// driver.
struct NightPlan {
    explicit NightPlan(std::uint32_t seed);

    Tick firstTick;
    MountSimulatorOptions mount;
    std::vector<std::pair<std::string, std::string>> settings;
    std::vector<PlannedCall> calls;
    std::vector<PlannedPress> presses;
    std::vector<PlannedFault> faults;
    std::vector<PlannedStop> stops;
    std::int64_t patienceEndsMs = 0;  ///< from here on whatever still moves is stopped every three seconds
    std::int64_t endMs = 0;
};

}  // namespace kestrane
