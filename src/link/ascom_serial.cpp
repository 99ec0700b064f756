#include "link/ascom_serial.h"

#include <algorithm>
#include <cassert>
#include <utility>

#include "kernel/base/errors.h"

namespace kestrane {
namespace {

[[noreturn]] void Raise(std::uint32_t number, std::string message) {
    throw DriverError(number, std::string(AscomSerial::kSource), std::move(message));
}

[[noreturn]] void RaiseTimeout() {
    Raise(AscomSerial::kReadTimeout, "Timed out waiting for received data");
}

}  // namespace

AscomSerial::AscomSerial(std::unique_ptr<SerialPort> port, Clock& clock)
    : port_(std::move(port)), reader_(*port_, clock) {}

AscomSerial::~AscomSerial() {
    port_->Close();
}

bool AscomSerial::Connected() {
    return port_->IsOpen();
}

void AscomSerial::Connected(bool connect) {
    reader_.Forget();
    if (!connect) {
        port_->Close();
        return;
    }
    const int error = port_->Open(number_, speed_);
    if (error != 0) {
        Raise(kCannotOpen, "Cannot open COM" + std::to_string(number_) + ": error " + std::to_string(error));
    }
}

std::string AscomSerial::Receive() {
    RequireConnected();
    std::string text = reader_.Waiting(timeoutMs_);
    if (text.empty()) {
        RaiseTimeout();
    }
    return text;
}

std::string AscomSerial::ReceiveCounted(std::int32_t count) {
    RequireConnected();
    const auto wanted = static_cast<std::size_t>(std::max(count, 0));
    std::string text = reader_.Counted(wanted, timeoutMs_);
    if (text.size() < wanted) {
        RaiseTimeout();
    }
    return text;
}

std::string AscomSerial::ReceiveTerminated(std::string_view terminator) {
    assert(!terminator.empty());
    RequireConnected();
    std::string text = reader_.Terminated(terminator, timeoutMs_);
    if (!text.ends_with(terminator)) {
        RaiseTimeout();
    }
    return text;
}

void AscomSerial::Transmit(std::string_view text) {
    RequireConnected();
    port_->Write(text);
}

void AscomSerial::RequireConnected() {
    if (!port_->IsOpen()) {
        Raise(kNotConnected, "The serial port is not connected");
    }
}

}  // namespace kestrane
