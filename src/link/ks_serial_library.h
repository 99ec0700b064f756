#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "link/serial_reader.h"
#include "platform/clock.h"
#include "platform/serial_port.h"

namespace kestrane {

/// The driver's own serial layer: one port with timed reads. The line is set to 8 data bits, no parity, 1 stop bit and
/// no flow control. No function raises; a closed port drops what is written and reads as empty text. Text is passed
/// byte for byte. Logic thread only; nothing pumps.
///
/// The read limit is the total time of one read, counted from its start; see `SerialReader`.
class KsSerialLibrary {
public:
    /// `clock` outlives the library.
    KsSerialLibrary(std::unique_ptr<SerialPort> port, Clock& clock);

    /// Opens port number `port` (1 up) at `speed` baud with a read limit in milliseconds. 0 on success, else the
    /// system's error code, and the port is closed. When the port is already open with that number and speed, it sets
    /// the read limit and does nothing else: no byte is lost, and a device that resets when it is opened is left alone.
    /// With another number or speed it opens the port again. A device that has gone away is taken up again by itself
    /// once it is back; the port stays open meanwhile.
    std::int32_t KsSerConnectToPort(std::int32_t port, std::int32_t speed, std::int32_t timeoutMs);
    /// Closes the port and drops what was received and not read. Always 0.
    std::int32_t KsSerDisconnectFromPort();
    /// 1 while the port is open, else 0.
    std::int32_t KsSerConnected();

    /// Sets the read limit. Always 0.
    std::int32_t KsSerSetReceiveTimeout(std::int32_t timeoutMs);

    /// 0 when the port is open, else 1 and nothing is sent.
    std::int32_t KsSerTransmitString(std::string_view text);

    /// Each read replaces `text` and returns its new length.
    std::int32_t KsSerReceiveString(std::string& text);
    std::int32_t KsSerReceiveStringByCount(std::string& text, std::int32_t count);
    std::int32_t KsSerReceiveStringUntilTerminator(std::string& text, std::string_view terminator);

    /// The bytes that wait, without any wait; empty on a closed port.
    std::string KsSerTakeWaiting();

    /// The time-out triple of the port, in milliseconds: the read limit, and 0 for the two parts that a total limit
    /// does not use.
    std::int32_t KsSerGetReadTotalTimeout() const { return timeoutMs_; }
    std::int32_t KsSerGetReadTotalTimeoutMultiplier() const { return 0; }
    std::int32_t KsSerGetReadIntervalTimeout() const { return 0; }

    /// Drops what was received and not read. The driver empties its line by reading instead. Always 0.
    std::int32_t KsSerClearBuffers();

private:
    std::unique_ptr<SerialPort> port_;
    SerialReader reader_;
    std::int32_t number_ = 0;  ///< of the last opening, like the speed
    std::int32_t speed_ = 0;
    std::int32_t timeoutMs_ = 0;
};

}  // namespace kestrane
