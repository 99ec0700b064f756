#include "link/class_serial.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "kernel/base/text.h"
#include "link/line_text.h"
#include "link/mount_alarms.h"
#include "platform/port_names.h"
#include "settings/setting_keys.h"

namespace kestrane {
namespace {

constexpr std::int32_t kDrainReadLimitMs = 1;
constexpr std::int32_t kDrainTimeMs = 2000;
constexpr int kMostAlarmsBeforeReply = 3;  // one of each letter
constexpr std::string_view kMotionAccepted = "0";

/// Whether `text` ends with `terminator`, ignoring case. Raises run-time error 5 when the text is shorter.
bool EndsWithTerminator(std::string_view text, std::string_view terminator) {
    if (text.empty() || text.size() < terminator.size()) {
        throw RunTimeError(RunTimeError::kInvalidProcedureCall, "Invalid procedure call or argument");
    }
    return ToLower(text.substr(text.size() - terminator.size())) == ToLower(terminator);
}

}  // namespace

classSerial::classSerial(SerialNeeds needs)
    : needs_(needs), isUsingAscom_(needs_.persist.ReadFlag(setting::chkUseASCOMSerialObject)) {
    std::unique_ptr<SerialPort> port = needs_.ports.CreatePort();
    device_ = port.get();
    if (isUsingAscom_) {
        serialObject_ = std::make_unique<AscomSerial>(std::move(port), needs_.clock);
    } else {
        library_ = std::make_unique<KsSerialLibrary>(std::move(port), needs_.clock);
    }
}

classSerial::~classSerial() {
    needs_.log.LogMessage("Serial", LogLevel::Info, "Terminating and releasing serial object...");
    if (isUsingAscom_) {
        ResumeNext errors{needs_.ledger, "classSerial destruction"};
        errors.Step([&] { serialObject_->Connected(false); });
    } else {
        library_->KsSerDisconnectFromPort();
    }
}

bool classSerial::Connected() {
    return isUsingAscom_ ? serialObject_->Connected() : library_->KsSerConnected() != 0;
}

void classSerial::Connected(bool connect) {
    if (!connect) {
        deviceGone_ = false;  // a closed port has no device to miss
    }
    if (isUsingAscom_ && connect) {
        OpenSerialObject();
    } else if (isUsingAscom_) {
        ResumeNext errors{needs_.ledger, "classSerial.Connected"};
        errors.Step([&] { serialObject_->Connected(false); });
    } else if (connect) {
        OpenLibrary();
    } else {
        library_->KsSerDisconnectFromPort();
    }
}

/// An error that the object raises while it opens goes to the caller: it says more to a client than a port that stays
/// closed.
void classSerial::OpenSerialObject() {
    ResumeNext errors{needs_.ledger, "classSerial.Connected"};
    errors.Step([&] { serialObject_->Port(port_); });
    errors.Step([&] { serialObject_->Speed(speed_); });
    errors.Step([&] { serialObject_->ReceiveTimeoutMS(receiveTimeoutMs_); });
    LogOpening("ASCOM Serial");
    try {
        serialObject_->Connected(true);
    } catch (const DriverError&) {
        if (!NumbersThisPort()) {
            throw;
        }
        serialObject_->Connected(true);
    }
}

/// Adapters get their numbers at the start; one that was plugged in later gets it here. Whether the port is there now.
bool classSerial::NumbersThisPort() {
    const SerialPortList list = needs_.ports.ListPorts();
    for (const SerialPortEntry& entry : list.numberedNow) {
        needs_.log.LogMessage("Serial", LogLevel::Warning, entry.name + " is " + entry.device + " from now on");
    }
    return std::ranges::any_of(list.ports,
                               [&](const SerialPortEntry& entry) { return entry.number == port_ && entry.present; });
}

void classSerial::OpenLibrary() {
    LogOpening("KS Serial");
    const auto connect = [&] { return library_->KsSerConnectToPort(port_, speed_, receiveTimeoutMs_); };
    std::int32_t error = connect();
    if (error != 0 && NumbersThisPort()) {
        error = connect();
    }
    openError_ = error;
    if (error != 0) {
        needs_.log.LogMessage("Serial", LogLevel::Error, "Failed to connect: Error = " + std::to_string(error));
    }
}

void classSerial::LogOpening(std::string_view backEnd) {
    needs_.log.LogMessage("Serial", LogLevel::Info,
                          std::string(backEnd) + " - Port = " + std::to_string(port_) + ", Speed = " +
                              std::to_string(speed_) + ", Timeout = " + std::to_string(receiveTimeoutMs_) + "ms");
}

void classSerial::ReceiveTimeoutMS(std::int32_t milliseconds) {
    receiveTimeoutMs_ = milliseconds;
    if (Connected()) {
        needs_.log.LogMessage("Serial", LogLevel::Info,
                              "Setting serial receive timeout (mSecs): " + std::to_string(milliseconds));
        SetReadLimit(milliseconds);
    }
}

std::int32_t classSerial::ReceiveTimeout() {
    return RoundHalfEven(receiveTimeoutMs_ / 1000.0);
}

void classSerial::ReceiveTimeout(std::int32_t seconds) {
    ResumeNext errors{needs_.ledger, "classSerial.ReceiveTimeout"};
    errors.Step([&] {
        const std::int64_t milliseconds = std::int64_t{seconds} * 1000;
        if (milliseconds > std::numeric_limits<std::int32_t>::max() ||
            milliseconds < std::numeric_limits<std::int32_t>::min()) {
            throw RunTimeError(RunTimeError::kOverflow, "Overflow");
        }
        ReceiveTimeoutMS(static_cast<std::int32_t>(milliseconds));
    });
}

void classSerial::ClearBuffers() {
    ResumeNext errors{needs_.ledger, "classSerial.ClearBuffers"};
    std::size_t bytes = 0;
    const Tick start = needs_.clock.GetTickCount();
    if (Connected()) {
        SetReadLimit(kDrainReadLimitMs);
        std::string text;
        do {
            text.clear();  // a read that raises brought nothing
            errors.Assign(text, [&] { return ReadWaiting(); });
            bytes += text.size();
            RemoveAlarmsFromAll(needs_.alarmFilter, text);
        } while (!text.empty() && needs_.clock.GetTickCount() - start < kDrainTimeMs);
        SetReadLimit(receiveTimeoutMs_);
    }
    needs_.log.LogMessage("ClearBuffers", LogLevel::Info,
                          "Removed " + std::to_string(bytes) + " bytes in " +
                              std::to_string(needs_.clock.GetTickCount() - start) + " Ticks");
}

std::string classSerial::Receive() {
    std::string text;
    if (Connected()) {
        ResumeNext errors{needs_.ledger, "classSerial.Receive"};
        errors.Assign(text, [&] { return ReadWaiting(); });
        RemoveAlarms(needs_.alarmFilter, text);
    }
    return FromLine(text);
}

std::string classSerial::ReceiveCounted(std::int32_t count) {
    std::string text;
    if (Connected()) {
        ResumeNext errors{needs_.ledger, "classSerial.ReceiveCounted"};
        errors.Assign(text, [&] { return ReadCounted(count); });
        RemoveAlarms(needs_.alarmFilter, text);
    }
    if (static_cast<std::int64_t>(text.size()) != count) {
        needs_.counters.CountReceiveCountedError();
    }
    return FromLine(text);
}

std::string classSerial::ReceiveTerminated(std::string_view terminator) {
    std::string text;
    if (Connected()) {
        ResumeNext errors{needs_.ledger, "classSerial.ReceiveTerminated"};
        errors.Assign(text, [&] { return ReadTerminated(terminator); });
        RemoveAlarms(needs_.alarmFilter, text);
    }
    if (!EndsWithTerminator(text, terminator)) {
        needs_.counters.CountReceiveTerminatedError();
    }
    return FromLine(text);
}

ReceivedCharacter classSerial::ReceiveCharacter() {
    std::string text;
    for (int alarms = 0; alarms <= kMostAlarmsBeforeReply; ++alarms) {
        const std::int32_t before = AlarmsCounted();
        text = ReceiveCounted(1);
        if (!text.empty() || AlarmsCounted() == before) {
            break;
        }
    }
    return LastOfDoubledReply(std::move(text));
}

/// The byte of an earlier reply may come while this command goes out, and is read in place of the answer. "0" starts
/// motion, so it must not be taken for a late byte of something else.
ReceivedCharacter classSerial::LastOfDoubledReply(std::string reply) {
    if (reply.empty() || reply == kMotionAccepted) {
        return {.reply = std::move(reply)};
    }
    const std::string rest = TakeLateBytes();
    if (!rest.empty()) {
        needs_.counters.CountRetransmit();
        needs_.log.LogMessage("Serial", LogLevel::Warning,
                              "More than the reply of one character was there: '" + reply + rest + "'");
    }
    const bool takesRest = rest == kMotionAccepted;
    return {.reply = takesRest ? rest : reply, .afterAnother = takesRest};
}

std::int32_t classSerial::AlarmsCounted() const {
    const CounterState& counters = needs_.counters.Values();
    return counters.g_nMotorStalls + counters.g_nServoFaults + counters.g_nLowPower;
}

std::string classSerial::TakeLateBytes() {
    std::string text = isUsingAscom_ ? serialObject_->TakeWaiting() : library_->KsSerTakeWaiting();
    if (!text.empty()) {
        RemoveAlarmsFromAll(needs_.alarmFilter, text);
    }
    return FromLine(text);
}

void classSerial::Transmit(std::string_view characters) {
    const std::string text = ToLine(characters);
    if (isUsingAscom_) {
        ResumeNext errors{needs_.ledger, "classSerial.Transmit"};
        errors.Step([&] { serialObject_->Transmit(text); });
    } else if (library_->KsSerConnected() != 0) {
        library_->KsSerTransmitString(text);
    }
    NoteDevice();
}

void classSerial::NoteDevice() {
    if (device_->DeviceIsGone() == deviceGone_) {
        return;
    }
    deviceGone_ = !deviceGone_;
    std::string name = PortName(port_);
    if (const std::string device = device_->DeviceName(); !device.empty()) {
        name += " (" + device + ")";
    }
    needs_.log.LogMessage(
        "Serial", LogLevel::Warning,
        deviceGone_ ? name + " is gone. Check its cable: the driver goes on when it is back." : name + " is back.");
}

void classSerial::GetReadTimeouts(std::int32_t& total, std::int32_t& multiplier, std::int32_t& interval) {
    if (!isUsingAscom_ && library_->KsSerConnected() != 0) {
        total = library_->KsSerGetReadTotalTimeout();
        multiplier = library_->KsSerGetReadTotalTimeoutMultiplier();
        interval = library_->KsSerGetReadIntervalTimeout();
    }
}

void classSerial::SetReadLimit(std::int32_t milliseconds) {
    if (isUsingAscom_) {
        serialObject_->ReceiveTimeoutMS(milliseconds);
    } else {
        library_->KsSerSetReceiveTimeout(milliseconds);
    }
}

std::string classSerial::ReadWaiting() {
    if (isUsingAscom_) {
        return serialObject_->Receive();
    }
    std::string text;
    library_->KsSerReceiveString(text);
    NoteDevice();
    return text;
}

std::string classSerial::ReadCounted(std::int32_t count) {
    if (isUsingAscom_) {
        return serialObject_->ReceiveCounted(count);
    }
    std::string text;
    library_->KsSerReceiveStringByCount(text, count);
    NoteDevice();
    return text;
}

std::string classSerial::ReadTerminated(std::string_view terminator) {
    if (isUsingAscom_) {
        return serialObject_->ReceiveTerminated(terminator);
    }
    std::string text;
    library_->KsSerReceiveStringUntilTerminator(text, terminator);
    NoteDevice();
    return text;
}

}  // namespace kestrane
