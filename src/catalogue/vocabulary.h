#pragma once

#include <array>
#include <cstdint>
#include <string_view>

/// Numbers that the driver stores, shows and gives to clients by value, each under one name. The enumerations have the
/// type of the state that holds them, and convert to it.
namespace kestrane {

/// The side of the pier on which the mount is.
namespace pier_side {
enum : std::int16_t { East = 0, West = 1 };
inline constexpr std::string_view kEastText = "East";  ///< the mount's reply, and what people see
inline constexpr std::string_view kWestText = "West";
}  // namespace pier_side

/// The rate that the hand box shows; each from 0 up has a button and an indicator.
namespace displayed_rate {
enum : std::int16_t { NoneYet = -1, Off = 0, Sidereal = 1, Lunar = 2, Solar = 3, Custom = 4 };
}  // namespace displayed_rate

/// The tracking rates of clients.
namespace tracking_rate {
enum : std::int32_t { Sidereal = 0, Lunar = 1, Solar = 2, King = 3 };
}  // namespace tracking_rate

/// The arguments of the mount's command for the tracking rate. The first three choose a rate and start the tracking.
namespace wire_rate {
inline constexpr std::string_view kLunar = "0";
inline constexpr std::string_view kSolar = "1";
inline constexpr std::string_view kSidereal = "2";
inline constexpr std::string_view kKingOff = "3";
inline constexpr std::string_view kKingOn = "8";
inline constexpr std::string_view kStopTracking = "9";
}  // namespace wire_rate

/// The axes that `MoveAxis` can run.
namespace mount_axis {
enum : std::int32_t { Primary = 0, Secondary = 1 };
}  // namespace mount_axis

/// A guide rate that the mount has.
struct GuideRateRow {
    double multiple;            ///< of the sidereal rate
    std::string_view setting;   ///< the value of setting `cbxInitGuideRate`
    char status;                ///< its character in the status text
    std::string_view text;      ///< as shown to people
    std::string_view argument;  ///< of the wire's command for it
};

inline constexpr std::array<GuideRateRow, 3> kGuideRates{{
    {0.25, "0", '0', "0.25x", "0"},
    {0.5, "1", '1', "0.50x", "1"},
    {1.0, "2", '2', "1.00x", "2"},
}};

/// The last entry of the lists of slew rates: a rate of one's own.
inline constexpr std::string_view kCustomRate = "Custom";

/// The verb of the driver that gives the mount the PC's time, date and zone; what the driver itself sends too.
inline constexpr std::string_view kInitTimeVerb = "InitTime";
/// The verb that initializes the mount, with a comma and an init string after it.
inline constexpr std::string_view kInitMountVerb = "InitMount";
/// The verb that unparks the mount, with a comma and the position after it.
inline constexpr std::string_view kUnparkVerb = "UnparkMount";
/// The same to park it.
inline constexpr std::string_view kParkVerb = "ParkMount";
/// The verb that cancels a park.
inline constexpr std::string_view kCancelParkVerb = "CancelPark";
/// The head of a text that never reaches the mount: a verb of the driver comes after it.
inline constexpr std::string_view kDriverCommandHead = "RAW,";

inline constexpr double kSiderealSpeed = 15.04107;  ///< arc-seconds per second
inline constexpr double kArcSecondsPerDegree = 3600.0;

/// The position that a mount reports after power-on, until it is given its real one.
inline constexpr double kPowerOnRa = 0.0;    ///< hours
inline constexpr double kPowerOnDec = 90.0;  ///< degrees

}  // namespace kestrane
