#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "link/serial_reader.h"
#include "platform/clock.h"
#include "platform/serial_port.h"

namespace kestrane {

/// The platform's serial object, for users who chose it: the same line as the driver's own serial layer, but failures
/// are raised. Each error is a `DriverError` with the source `kSource`. A read that brings nothing within its limit
/// raises; one that brings too little returns what came, so that the callers see its alarm letters and its fault. Text
/// is passed byte for byte. Logic thread only; nothing pumps.
class AscomSerial {
public:
    static constexpr std::string_view kSource = "ASCOM.Utilities.Serial";

    /// Numbers of the errors that this object raises.
    static constexpr std::uint32_t kCannotOpen = 0x80040481;
    static constexpr std::uint32_t kNotConnected = 0x80040482;
    static constexpr std::uint32_t kReadTimeout = 0x80040483;

    /// `clock` outlives the object.
    AscomSerial(std::unique_ptr<SerialPort> port, Clock& clock);
    ~AscomSerial();

    std::int32_t Port() const { return number_; }
    void Port(std::int32_t port) { number_ = port; }
    std::int32_t Speed() const { return speed_; }
    void Speed(std::int32_t baud) { speed_ = baud; }

    /// Total limit of one read in milliseconds, from its start; see `SerialReader`.
    std::int32_t ReceiveTimeoutMS() const { return timeoutMs_; }
    void ReceiveTimeoutMS(std::int32_t milliseconds) { timeoutMs_ = milliseconds; }

    /// The system's error of the last opening; 0 when it succeeded, or there was none.
    std::int32_t OpenError() const { return openError_; }

    bool Connected();
    /// True opens the port with `Port` and `Speed`, and opens an open one again; raises `kCannotOpen`.
    void Connected(bool connect);

    // The transfers raise `kNotConnected` on a closed port, the reads `kReadTimeout` when nothing at all comes
    // within the limit.

    /// All bytes that wait, at least one.
    std::string Receive();
    /// `count` bytes, or what came of them within the limit; 0 and below read nothing.
    std::string ReceiveCounted(std::int32_t count);
    /// Up to and with the terminator, or what came within the limit.
    std::string ReceiveTerminated(std::string_view terminator);
    /// The bytes that wait, without any wait and without an error; empty on a closed port.
    std::string TakeWaiting();
    void Transmit(std::string_view text);

private:
    void RequireConnected();

    std::unique_ptr<SerialPort> port_;
    SerialReader reader_;
    std::int32_t number_ = 1;
    std::int32_t speed_ = 9600;
    std::int32_t openError_ = 0;
    std::int32_t timeoutMs_ = 5000;
};

}  // namespace kestrane
