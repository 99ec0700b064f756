#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/port_names.h"

namespace kestrane {

/// One serial line as bytes: 8 data bits, no parity, 1 stop bit, no flow control. Logic thread only. No member raises:
/// a line that is gone reads as silence and drops what is written.
class SerialPort {
public:
    virtual ~SerialPort() = default;

    /// Opens port number `port` ("COMn" without its letters, 1 up) at `speed` baud. Returns 0 when it is open, else
    /// the error code of the system (not 0). Opening an open port closes it first and opens it again.
    virtual int Open(std::int32_t port, std::int32_t speed) = 0;
    virtual void Close() = 0;
    virtual bool IsOpen() = 0;

    virtual void Write(std::string_view bytes) = 0;

    /// Waits for bytes for at most `timeoutMs`; cached reads of clients run meanwhile (`CallKind::Read`), nothing else
    /// does. Returns what is there, at most `maxCount` bytes, as soon as there is one; empty at the time limit, and at
    /// once while the device is known to be gone. A time limit of 0 only looks.
    virtual std::string Read(std::size_t maxCount, std::int32_t timeoutMs) = 0;

    /// Whether the last write or read found the device of an open port gone. The next one looks whether it is back.
    virtual bool DeviceIsGone() = 0;
    /// The device of the last opening, in the system's words; empty when there is none.
    virtual std::string DeviceName() = 0;
};

/// A serial port that has a number.
struct SerialPortEntry {
    std::int32_t number = 0;  ///< 1 up
    std::string name;         ///< "COM" and the number
    std::string device;       ///< the device of this number, in the system's words
    bool present = false;     ///< whether the device is there now

    friend bool operator==(const SerialPortEntry&, const SerialPortEntry&) = default;
};

struct SerialPortList {
    std::vector<SerialPortEntry> ports;  ///< by number, each number once
    /// Those of them that had no number before this listing.
    std::vector<SerialPortEntry> numberedNow;
    /// What could not be read or numbered, one sentence each for a person to read. Empty when all went well.
    std::vector<std::string> troubles;
};

class SerialPorts {
public:
    virtual ~SerialPorts() = default;

    /// The ports that have a number. A device that has none yet is given the lowest free one first and keeps it for
    /// ever, also while it is unplugged. Never raises; logic thread only.
    virtual SerialPortList ListPorts() = 0;

    /// The port in the words of its user: its name, and the device of that number where there is one.
    virtual std::string Describe(std::int32_t port) { return PortName(port); }
    /// Why `SerialPort::Open` gave an error for the port, and what to do about it: part of a sentence for a person.
    virtual std::string WhyNotOpened(std::int32_t /*port*/, int error) { return "error " + std::to_string(error); }

    /// A closed port object, owned by the caller.
    virtual std::unique_ptr<SerialPort> CreatePort() = 0;
};

}  // namespace kestrane
