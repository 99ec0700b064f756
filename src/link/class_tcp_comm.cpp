#include "link/class_tcp_comm.h"

#include "kernel/base/text.h"

namespace kestrane {

void classTCPComm::Connected(bool connect) {
    if (connect) {
        log_.LogMessage("TCP", LogLevel::Error, "No IP transport in this build: the link stays closed");
    }
}

std::int32_t classTCPComm::ReceiveTimeout() {
    return RoundHalfEven(receiveTimeoutMs_ / 1000.0);
}

void classTCPComm::ReceiveTimeout(std::int32_t seconds) {
    const std::int64_t milliseconds = std::int64_t{seconds} * 1000;
    if (milliseconds == static_cast<std::int32_t>(milliseconds)) {
        receiveTimeoutMs_ = static_cast<std::int32_t>(milliseconds);
    }
}

void classTCPComm::GetReadTimeouts(std::int32_t& total, std::int32_t& multiplier, std::int32_t& interval) {
    total = receiveTimeoutMs_;
    multiplier = 0;
    interval = 0;
}

}  // namespace kestrane
