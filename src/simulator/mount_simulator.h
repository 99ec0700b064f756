#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/clock.h"

namespace kestrane {

/// Where a tube points, and from which side of the pier. The side may be one that a goto would not choose: a mount that
/// has followed a star past the meridian has its counterweight up.
struct MountPointing {
    double hourAngle = 0;    ///< hours, west positive
    double declination = 0;  ///< degrees
    bool westSide = false;
};

/// How a goto turns the hour axis when it changes the side of the pier.
enum class GotoPath {
    CounterweightDown,  ///< with the counterweight below the tube on the way, as newer firmware does
    ShorterWay,         ///< the shorter way round, even over the top; a target within a degree keeps the side
};

/// The properties of a simulated mount.
struct MountSimulatorOptions {
    std::string firmware = "VKC4-P02-08";  ///< text of the version reply; its beginning chooses the family
    double latitude = 47.0;                ///< degrees, north positive
    double longitudeWest = 350.0;          ///< degrees, 0 to 360, west positive (350 is 10 degrees east)
    bool longFormat = true;                ///< long format at power-on
    bool shortAngles = false;              ///< in short format angles have no seconds either: sDD*MM, DDD*MM
    bool parkedAtPowerOn = true;           ///< power-on state: RA 0, Dec 90, not initialised; else it tracks
    std::optional<MountPointing> start;    ///< of a mount that tracks; nothing for 3 h west, 45 degrees from the pole
    GotoPath gotoPath = GotoPath::CounterweightDown;
    std::string mountForm = "0";      ///< reply to the mount form query
    double slewSpeed = 5.0;           ///< degrees per second at the slew rate 1200, both axes
    double slewAcceleration = 5.0;    ///< degrees per second squared
    std::int32_t replyLatencyMs = 5;  ///< from the end of a command to the first byte of its reply
    std::int32_t byteTimeUs = 1042;   ///< time of one byte on the line: 9600 baud
    double minimumElevation = 0.0;    ///< degrees; a target between it and the horizon is refused with "2"
};

/// A reply about to leave the mount, which a misbehaviour may change. Bytes go out in order, each part after its delay;
/// no part means silence.
struct SimulatedReply {
    std::string command;  ///< what is answered, without frame: "GR", "Sr12:34:56.7"
    std::string name;     ///< the same without its argument: "GR", "Sr"
    struct Part {
        std::int32_t delayMs = 0;  ///< from the end of the part before; added to the latency for the first part
        std::string bytes;
    };
    std::vector<Part> parts;
};

/// Something that goes wrong with a healthy mount; added by name: `DropsReply{"GR", 2}`.
class Misbehaviour {
public:
    virtual ~Misbehaviour() = default;
    /// Each reply passes here before it goes out.
    virtual void Change(SimulatedReply& reply);
    /// Degrees before its end at which a goto stops suddenly; 0 for none.
    virtual double StallsShortBy() const;
    /// Whether a stalled goto is still reported as running.
    virtual bool StalledStillSlews() const;
    /// Sent over and over for as long as the mount has this misbehaviour; empty for none.
    virtual std::string_view Babble() const;
};

/// What the mount is doing, for tests: a copy, made at the call.
struct MountPicture {
    double rightAscension = 0;  ///< hours, as reported (0 before the mount is initialised)
    double declination = 0;     ///< degrees, as reported (90 before the mount is initialised)
    double altitude = 0;        ///< degrees
    double azimuth = 0;         ///< degrees
    double hourAngle = 0;       ///< hours
    double siderealTime = 0;    ///< hours

    double hourAxis = 0;   ///< degrees; 0 with the counterweight down, grows with the turn of the sky
    double polarAxis = 0;  ///< degrees from the pole; above 0 with the tube east of the pier
    double hourSpeed = 0;  ///< degrees per second, tracking included
    double polarSpeed = 0;
    bool westSide = false;

    bool initialised = false;
    bool parked = false;
    bool slewing = false;
    char tracking = '9';  ///< letter of the status string
    bool longFormat = true;

    double latitude = 0;       ///< degrees
    double longitudeWest = 0;  ///< degrees, 0 to below 360
    DateTime localTime;
    double zone = 0;                ///< hours, UTC minus local time
    std::int64_t clockSetByMs = 0;  ///< by how much commands moved the mount's local time since the start
    double meridianDelay = 0;       ///< hours
    double raBacklash = 0;          ///< arc-seconds
    double decBacklash = 0;         ///< arc-seconds

    double guideRate = 0;      ///< multiple of sidereal
    double centeringRate = 0;  ///< multiple of sidereal
    double slewRate = 0;       ///< multiple of sidereal
    char pem = 'O';            ///< letter of the status string
    int reticle = 0;
    bool swappedEastWest = false;
    bool swappedNorthSouth = false;
    bool held = false;

    double focuserPosition = 0;  ///< milliseconds at fast speed, minus counts down; slow speed counts a quarter
    int focuserRuns = 0;         ///< 1, -1, 0 stopped
    bool focuserFast = true;
};

/// The mount's side of the line: bytes in, bytes out, moved by the clock given to it. Answers the whole command
/// catalogue and nothing else; unknown commands are kept in `UnknownCommands`. One thread.
class MountSimulator {
public:
    MountSimulator(Clock& clock, MountSimulatorOptions options);
    ~MountSimulator();

    /// Bytes from the driver arrive now.
    void Write(std::string_view bytes);
    /// Takes off the line and returns what the mount has sent by now, at most `maxCount` bytes.
    std::string Read(std::size_t maxCount);
    /// Milliseconds until the next byte is there: 0 when one waits already, nothing when none is on its way.
    std::optional<std::int32_t> NextByteIn();

    void Add(std::unique_ptr<Misbehaviour> misbehaviour);
    void ClearMisbehaviours();
    /// A dead line: nothing comes in, nothing goes out, what was on its way is lost.
    void SetLineDead(bool dead);
    /// Unsolicited bytes, from now.
    void Send(std::string_view bytes);

    /// Every complete command so far, as it came ("GR", "#" for a lone end of input).
    const std::vector<std::string>& Commands() const;
    /// Commands that are not of the protocol, or have an argument that is not valid; none of them was answered.
    const std::vector<std::string>& UnknownCommands() const;
    /// Commands of the protocol that this firmware lacks; none of them was answered.
    const std::vector<std::string>& UnsupportedCommands() const;
    /// Bytes that came outside any command.
    std::size_t GarbageBytes() const;

    MountPicture Picture();
    /// Fault character of the status string; '0' for none.
    void SetFault(char fault);
    /// Auto-park as the status string shows it.
    void SetAutoPark(bool on);
    /// Moves the mount to this direction at once, and it is initialised, whatever it was doing; tracking goes on.
    void Place(const MountPointing& pointing);
    /// Called with the two axes (degrees, as in `MountPicture`) after each step of their motion: each millisecond while
    /// a speed changes or a goto runs, else whenever the mount is looked at. An empty function ends it.
    void WatchAxes(std::function<void(double hourAxis, double polarAxis)> observer);

private:
    class Implementation;
    std::unique_ptr<Implementation> implementation_;
};

}  // namespace kestrane
