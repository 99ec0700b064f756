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

/// What a simulated mount is built as.
struct MountSimulatorOptions {
    std::string firmware = "VKC4-P02-08";  ///< text of the version reply
    double latitude = 47.0;                ///< degrees, north positive
    double longitudeWest = 350.0;          ///< degrees, 0 to 360, west positive (350 is 10 degrees east)
    bool longFormat = true;                ///< long format at power-on
    bool parkedAtPowerOn = true;           ///< power-on state: RA 0, Dec 90, not initialised
    std::string mountForm = "0";           ///< reply to the mount form query
    double slewSpeed = 5.0;                ///< degrees per second at full speed, both axes
    double slewAcceleration = 5.0;         ///< degrees per second squared
    std::int32_t replyLatencyMs = 5;       ///< from the end of a command to the first byte of its reply
    std::int32_t byteTimeUs = 1042;        ///< time of one byte on the line: 9600 baud
    double minimumElevation = 0.0;         ///< degrees; a target between it and the horizon is refused with "2"
};

/// A reply about to leave the mount, which a misbehaviour may change. Bytes go out in order, each part after its
/// delay; no part is silence.
struct SimulatedReply {
    std::string command;  ///< what is answered, without frame: "GR"; "\5" commands as they are
    struct Part {
        std::int32_t delayMs = 0;  ///< on top of the latency, from the part before
        std::string bytes;
    };
    std::vector<Part> parts;
};

/// Something that goes wrong with a healthy mount; laid on top by name: `DropsReply{"GR", 2}`.
class Misbehaviour {
public:
    virtual ~Misbehaviour() = default;
    virtual void Change(SimulatedReply& reply) = 0;
};

/// The mount's side of the line: bytes in, bytes out, moved by the clock handed to it. Answers the whole command
/// catalogue; nothing else is answered, and what is not known is kept in `UnknownCommands`. One thread.
class MountSimulator {
public:
    MountSimulator(Clock& clock, MountSimulatorOptions options);
    ~MountSimulator();

    /// Bytes from the driver arrive now.
    void Write(std::string_view bytes);
    /// What the mount has sent by now, at most `maxCount` bytes, and takes it off the line.
    std::string Read(std::size_t maxCount);
    /// Milliseconds until the next byte is there: 0 when one waits, nothing when none is on its way.
    std::optional<std::int32_t> NextByteIn();

    void Add(std::unique_ptr<Misbehaviour> misbehaviour);
    void ClearMisbehaviours();
    /// A dead line: nothing comes in, nothing goes out, what was on its way is lost.
    void SetLineDead(bool dead);
    /// Unsolicited bytes, from now.
    void Send(std::string_view bytes);

    /// Every complete command so far, as it came ("GR", "#" for a lone end of input).
    const std::vector<std::string>& Commands() const;
    const std::vector<std::string>& UnknownCommands() const;

private:
    class Implementation;
    std::unique_ptr<Implementation> implementation_;
};

}  // namespace kestrane
