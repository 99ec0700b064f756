#include "link/ks_serial_library.h"

#include <algorithm>
#include <cassert>
#include <utility>

namespace kestrane {

KsSerialLibrary::KsSerialLibrary(std::unique_ptr<SerialPort> port, Clock& clock)
    : port_(std::move(port)), reader_(*port_, clock) {}

std::int32_t KsSerialLibrary::KsSerConnectToPort(std::int32_t port, std::int32_t speed, std::int32_t timeoutMs) {
    timeoutMs_ = timeoutMs;
    if (port_->IsOpen() && port == number_ && speed == speed_) {
        return 0;
    }
    reader_.Forget();
    number_ = port;
    speed_ = speed;
    return port_->Open(port, speed);
}

std::int32_t KsSerialLibrary::KsSerDisconnectFromPort() {
    reader_.Forget();
    port_->Close();
    return 0;
}

std::int32_t KsSerialLibrary::KsSerConnected() {
    return port_->IsOpen() ? 1 : 0;
}

std::int32_t KsSerialLibrary::KsSerSetReceiveTimeout(std::int32_t timeoutMs) {
    timeoutMs_ = timeoutMs;
    return 0;
}

std::int32_t KsSerialLibrary::KsSerTransmitString(std::string_view text) {
    if (!port_->IsOpen()) {
        return 1;
    }
    port_->Write(text);
    return 0;
}

std::int32_t KsSerialLibrary::KsSerReceiveString(std::string& text) {
    text = port_->IsOpen() ? reader_.Waiting(timeoutMs_) : std::string();
    return static_cast<std::int32_t>(text.size());
}

std::int32_t KsSerialLibrary::KsSerReceiveStringByCount(std::string& text, std::int32_t count) {
    const auto wanted = static_cast<std::size_t>(std::max(count, 0));
    text = port_->IsOpen() ? reader_.Counted(wanted, timeoutMs_) : std::string();
    return static_cast<std::int32_t>(text.size());
}

std::int32_t KsSerialLibrary::KsSerReceiveStringUntilTerminator(std::string& text, std::string_view terminator) {
    assert(!terminator.empty());
    text = port_->IsOpen() ? reader_.Terminated(terminator, timeoutMs_) : std::string();
    return static_cast<std::int32_t>(text.size());
}

std::string KsSerialLibrary::KsSerTakeWaiting() {
    return port_->IsOpen() ? reader_.Waiting(0) : std::string();
}

std::int32_t KsSerialLibrary::KsSerClearBuffers() {
    if (port_->IsOpen()) {
        reader_.Waiting(0);
    }
    return 0;
}

}  // namespace kestrane
