#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/serial_port.h"
#include "support/virtual_clock.h"

namespace kestrane {

/// The far end of a serial line, of any kind.
class LineEnd {
public:
    virtual ~LineEnd() = default;
    /// Bytes from the driver arrive now.
    virtual void Write(std::string_view bytes) = 0;
    /// Takes off the line and returns what has been sent by now, at most `maxCount` bytes.
    virtual std::string Read(std::size_t maxCount) = 0;
    /// Milliseconds until the next byte is there: 0 when one waits already, nothing when none is on its way.
    virtual std::optional<std::int32_t> NextByteIn() = 0;
    /// The driver has opened the port.
    virtual void Opened() {}
    /// A read of the driver has ended without a byte, after `waitedMs` milliseconds.
    virtual void Silence(std::int32_t /*waitedMs*/) {}
};

/// Serial ports by number, each with or without something at its far end. A read moves virtual time to the next byte or
/// to its limit, and never pumps.
class VirtualSerialPorts final : public SerialPorts {
public:
    static constexpr int kNoSuchPort = 2;    ///< result of `Open` when nothing is connected
    static constexpr int kAccessDenied = 5;  ///< result when another port object has the port open

    struct Opening {
        std::int32_t port = 0;
        std::int32_t speed = 0;
        int result = 0;
    };

    explicit VirtualSerialPorts(VirtualClock& clock) : clock_(clock) {}

    std::unique_ptr<SerialPort> CreatePort() override;

    /// Each device that `PlugIn` announced has its number from the first listing on; a port to which something was
    /// connected by its number is listed too. What was there once is later listed as absent.
    SerialPortList ListPorts() override;
    /// A device that has no number yet.
    void PlugIn(std::string_view device) { waiting_.emplace_back(device, nullptr); }
    /// The same with something at its far end, which must be disconnected before it ends.
    void PlugIn(std::string_view device, LineEnd& end) { waiting_.emplace_back(device, &end); }
    int Listings() const { return listings_; }
    /// The troubles that the listings report from now on.
    void SetTroubles(std::vector<std::string> troubles) { troubles_ = std::move(troubles); }

    /// Connects something to a port and replaces what was there. `end` must be disconnected before it ends.
    void Connect(std::int32_t port, LineEnd& end);
    /// The same, but the ports own the far end.
    void Connect(std::int32_t port, std::unique_ptr<LineEnd> end);
    /// Replaces the far end of a port; whoever has the port open does not notice. For one script after another.
    void Splice(std::int32_t port, LineEnd& end);
    /// Pulls the plug, even of an open port: it reads as silence, drops what is written, and opening it fails.
    void Disconnect(std::int32_t port);
    /// The result of opening that port from now on; 0 makes it work again.
    void SetOpenError(std::int32_t port, int error) { openErrors_[port] = error; }

    const std::vector<Opening>& Openings() const { return openings_; }
    /// Number of reads so far, also from a closed port.
    int Reads() const { return reads_; }
    bool IsOpen(std::int32_t port) const;

private:
    class Port;

    struct KnownPort {
        std::string device;
        bool present = true;
    };

    SerialPortEntry EntryOf(std::int32_t number) const;
    LineEnd* EndAt(std::int32_t port) const;
    int TryOpen(Port& opener, std::int32_t port);

    VirtualClock& clock_;
    std::map<std::int32_t, LineEnd*> ends_;
    std::map<std::int32_t, std::unique_ptr<LineEnd>> keptEnds_;
    std::map<std::int32_t, int> openErrors_;
    std::map<std::int32_t, Port*> open_;
    std::vector<Opening> openings_;
    int reads_ = 0;
    std::map<std::int32_t, KnownPort> known_;
    std::vector<std::pair<std::string, LineEnd*>> waiting_;
    std::vector<std::string> troubles_;
    int listings_ = 0;
};

}  // namespace kestrane
