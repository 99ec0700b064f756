#include "link/ascom_serial.h"

#include <cassert>
#include <utility>

#include "kernel/base/errors.h"

namespace kestrane {
namespace {

[[noreturn]] void Raise(std::uint32_t number, std::string message) {
    throw DriverError(number, std::string(AscomSerial::kSource), std::move(message));
}

std::string RequireSome(std::string text) {
    if (text.empty()) {
        Raise(AscomSerial::kReadTimeout, "Timed out waiting for received data");
    }
    return text;
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
    openError_ = port_->Open(number_, speed_);
    if (openError_ != 0) {
        Raise(kCannotOpen, "Cannot open COM" + std::to_string(number_) + ": error " + std::to_string(openError_));
    }
}

std::string AscomSerial::Receive() {
    RequireConnected();
    return RequireSome(reader_.Waiting(timeoutMs_));
}

std::string AscomSerial::ReceiveCounted(std::int32_t count) {
    RequireConnected();
    if (count <= 0) {
        return {};
    }
    return RequireSome(reader_.Counted(static_cast<std::size_t>(count), timeoutMs_));
}

std::string AscomSerial::ReceiveTerminated(std::string_view terminator) {
    assert(!terminator.empty());
    RequireConnected();
    return RequireSome(reader_.Terminated(terminator, timeoutMs_));
}

std::string AscomSerial::TakeWaiting() {
    return port_->IsOpen() ? reader_.Waiting(0) : std::string();
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
