#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "kernel/base/counters.h"
#include "kernel/base/errors.h"
#include "kernel/base/log.h"
#include "link/ascom_serial.h"
#include "link/ks_serial_library.h"
#include "link/mount_link.h"
#include "platform/clock.h"
#include "platform/serial_port.h"
#include "settings/persist.h"

namespace kestrane {

/// What the serial link needs from its surroundings. All of it outlives the link.
struct SerialNeeds {
    SerialPorts& ports;
    Clock& clock;
    Log& log;
    Counters& counters;
    AlarmFilter& alarmFilter;
    SwallowLedger& ledger;
    Persist& persist;
};

/// The link to a mount on a serial port. It uses one of two back ends, chosen at creation by the setting
/// `chkUseASCOMSerialObject`: the driver's own serial layer, or the platform's serial object. All members run with
/// errors ignored, but two errors reach the caller: that of `ReceiveTerminated`, and what the platform's object raises
/// while it opens (the driver's own layer only stays closed). Alarm letters are removed from every text read, but not
/// from the head of a companion's reply, which does not come from the mount ("QUAY," holds a "Y"). Texts are
/// UTF-8 here and one byte for each character on the line: 0xDF goes out as one byte and comes back as the same
/// character, one beyond 0xFF goes out as "?". An open that fails numbers adapters that were plugged in since the
/// start, and is tried once more when the port is one of those present. Closed at creation, closed and logged at
/// destruction.
class classSerial final : public MountLink {
public:
    explicit classSerial(SerialNeeds needs);
    ~classSerial() override;

    bool Connected() override;
    bool CanSend() override { return Connected() && !device_->DeviceIsGone(); }
    /// True on an open link repeats the opening; see `KsSerialLibrary::KsSerConnectToPort` and
    /// `AscomSerial::Connected`.
    void Connected(bool connect) override;

    std::int32_t OpenError() override { return isUsingAscom_ ? serialObject_->OpenError() : openError_; }

    std::int32_t Port() override { return port_; }
    void Port(std::int32_t port) override { port_ = port; }
    std::int32_t Speed() override { return speed_; }
    void Speed(std::int32_t baud) override { speed_ = baud; }

    std::int32_t ReceiveTimeoutMS() override { return receiveTimeoutMs_; }
    void ReceiveTimeoutMS(std::int32_t milliseconds) override;
    /// Milliseconds divided by 1000, halves to the even second.
    std::int32_t ReceiveTimeout() override;
    /// A value too large for milliseconds in 32 bits is ignored.
    void ReceiveTimeout(std::int32_t seconds) override;

    /// Empties the line: reads until 1 ms brings nothing, for 2000 ms at most. Logs the number of bytes, alarm letters
    /// included. The heads of companion replies are spared wherever they are in one read; a head that is split between
    /// two reads is not recognised.
    void ClearBuffers() override;
    std::string Receive() override;
    std::string ReceiveCounted(std::int32_t count) override;
    /// A text shorter than the terminator, also an empty one, raises run-time error 5 and counts nothing: this shows a
    /// line that is silent or closed.
    std::string ReceiveTerminated(std::string_view terminator) override;
    ReceivedCharacter ReceiveCharacter() override;
    /// Spares the heads of companion replies, like `ClearBuffers`.
    std::string TakeLateBytes() override;
    void Transmit(std::string_view text) override;

    /// Leaves all three unchanged with the platform's object or on a closed port.
    void GetReadTimeouts(std::int32_t& total, std::int32_t& multiplier, std::int32_t& interval) override;

private:
    void OpenSerialObject();
    void OpenLibrary();
    bool NumbersThisPort();
    void LogOpening(std::string_view backEnd);
    /// Sets the limit of the open back end only; the stored limit stays.
    void SetReadLimit(std::int32_t milliseconds);
    std::int32_t AlarmsCounted() const;
    ReceivedCharacter LastOfDoubledReply(std::string reply);
    /// Logs that the device has gone, or is back.
    void NoteDevice();
    std::string ReadWaiting();
    std::string ReadCounted(std::int32_t count);
    std::string ReadTerminated(std::string_view terminator);

    SerialNeeds needs_;
    std::int32_t port_ = 1;  ///< number, without "COM"
    std::int32_t openError_ = 0;
    std::int32_t speed_ = 9600;            ///< baud
    std::int32_t receiveTimeoutMs_ = 250;  ///< read limit
    bool isUsingAscom_;
    SerialPort* device_ = nullptr;               ///< owned by the back end
    bool deviceGone_ = false;                    ///< as it was logged last
    std::unique_ptr<AscomSerial> serialObject_;  ///< present when it is the back end
    std::unique_ptr<KsSerialLibrary> library_;   ///< present otherwise
};

}  // namespace kestrane
