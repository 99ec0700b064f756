#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "kernel/driver.h"
#include "simulator/mount_simulator.h"
#include "storms/stormy_adapter.h"
#include "storms/stormy_line.h"
#include "support/virtual_platform.h"

namespace kestrane {

/// What went wrong in a night, counted.
struct StormReport {
    int faults = 0;                  ///< of the line, or cables that were out
    int slews = 0;                   ///< that the client asked for
    int stuckFlags = 0;              ///< that did not fall after the storm
    int unaskedMotions = 0;          ///< gotos that no client asked for, and motions that nobody watches
    int wrongWrites = 0;             ///< values of time, zone, delay or site that the driver sent without cause
    int outlivedReadings = 0;        ///< wrong coordinates that a good reply did not put right
    std::vector<std::string> notes;  ///< each of them with its time

    bool Clean() const { return stuckFlags + unaskedMotions + wrongWrites + outlivedReadings == 0; }
    void Add(const StormReport& other);
};

/// A driver on virtual time with one client that slews, stops and moves axes, and a mount on a line that has faults all
/// the time. Every moment the mount is looked at from outside.
class StormNight {
public:
    struct Plan {
        std::string firmware;
        std::uint32_t seed = 1;
        double probability = 0;  ///< of a fault, for each command and each reply, 0 to 1
        std::int64_t lengthMs = 0;
        bool calibrates = false;       ///< its first slew measures the directions
        bool overIp = false;           ///< over the mount's network adapter, not a serial line
        std::ostream* tail = nullptr;  ///< gets what last went over the line before anything went wrong
    };

    explicit StormNight(const Plan& plan);
    ~StormNight();

    /// Storms for as long as the plan says, and then a calm.
    StormReport Run();
    /// What a slew has come to.
    struct Progress {
        const DriverState& state;
        const MountPicture& mount;
        std::int64_t sinceMs;     ///< its begin
        std::uint32_t legsTaken;  ///< by the mount
    };
    using Moment = std::function<bool(const Progress&)>;
    /// One slew, over the meridian; from the moment on the cable is out for `outMs`. A slew that never comes to the
    /// moment runs undisturbed.
    StormReport RunCableOut(const Moment& moment, std::int64_t outMs);
    /// The same with a fault of the adapter.
    StormReport RunAdapterFault(const Moment& moment, AdapterFault fault, std::int64_t outMs);

private:
    StormReport RunOutage(const Moment& moment, std::int64_t outMs, const std::function<void(bool begins)>& outage);
    void ConnectRoad();
    void Cycle();
    void Slew();
    void SlewTo(double ra, double dec);
    void StandBeforeTwoLegs();
    void WaitForEndOfSlew();
    double HourAngleRa(double hoursEast);
    double RandomDec();
    void Abort();
    void MoveAnAxis();
    /// Lets time pass, with a client that reads once a second.
    void Watch(std::int64_t milliseconds);
    void Read();
    void Look();
    void LookForUnaskedMotion(const MountPicture& picture);
    void LookAtCoordinates(const MountPicture& picture);
    void LookAtStuckFlags();
    void OnWrite(std::string_view bytes);
    void LookAtSetting(std::string_view command, std::string_view argument);
    bool IsWrongSetting(std::string_view command, std::string_view argument);
    bool IsClockTime(double hours);
    void Note(int StormReport::*count, const std::string& text);
    /// Calls a member; false when it raised.
    bool Try(const std::function<void()>& call);

    /// A coordinate that is wrong, until it is right again.
    struct WrongReading {
        std::int64_t since = -1;  ///< -1 while it is right
        int goodReplies = 0;      ///< there had been when it was first seen
    };
    void LookAtOne(WrongReading& reading, bool right, int goodReplies, std::string_view name);

    Plan plan_;
    Chance line_;
    Chance choice_;
    VirtualPlatform machine_;
    MountSimulator mount_;
    std::unique_ptr<Driver> driver_;
    TelescopeObject client_;
    std::unique_ptr<StormyAdapter> adapter_;  ///< null over a serial line
    StormyRoad* stormy_ = nullptr;            ///< the adapter, or the line, which the port owns
    double meridianDelay_ = 0;
    std::string half_;  ///< of a command that is being written
    StormReport report_;

    bool slewAsked_ = false;  ///< and not known to be over
    bool axisAsked_ = false;
    bool wasSlewing_ = false;
    bool forged_ = false;  ///< what the mount does now may come of a command that the line has made
    std::int64_t unwatchedSince_ = -1;
    std::int64_t lastMotion_ = 0;
    WrongReading ra_;
    WrongReading dec_;
};

}  // namespace kestrane
