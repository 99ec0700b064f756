#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "kernel/base/log.h"
#include "link/mount_link.h"

namespace kestrane {

/// The link to a mount on an IP address. This build has no IP transport: the link stays closed, what is sent is
/// dropped, and every read gives an empty text, without an error. The properties keep what they are given.
class classTCPComm final : public MountLink {
public:
    /// `log` outlives the link.
    explicit classTCPComm(Log& log) : log_(log) {}

    /// Host name or address of the mount's adapter.
    const std::string& IpAddress() const { return ipAddress_; }
    void IpAddress(std::string_view address) { ipAddress_ = address; }

    bool Connected() override { return false; }
    /// True leaves the link closed and logs an error.
    void Connected(bool connect) override;

    std::int32_t Port() override { return port_; }
    void Port(std::int32_t port) override { port_ = port; }
    std::int32_t Speed() override { return speed_; }
    void Speed(std::int32_t baud) override { speed_ = baud; }
    std::int32_t ReceiveTimeoutMS() override { return receiveTimeoutMs_; }
    void ReceiveTimeoutMS(std::int32_t milliseconds) override { receiveTimeoutMs_ = milliseconds; }
    std::int32_t ReceiveTimeout() override;
    /// A value too large for milliseconds in 32 bits is ignored.
    void ReceiveTimeout(std::int32_t seconds) override;

    void ClearBuffers() override {}
    std::string Receive() override { return {}; }
    std::string ReceiveCounted(std::int32_t) override { return {}; }
    std::string ReceiveTerminated(std::string_view) override { return {}; }
    ReceivedCharacter ReceiveCharacter() override { return {}; }
    std::string TakeLateBytes() override { return {}; }
    void Transmit(std::string_view) override {}
    /// The read limit first, the others 0.
    void GetReadTimeouts(std::int32_t& total, std::int32_t& multiplier, std::int32_t& interval) override;

private:
    Log& log_;
    std::string ipAddress_;
    std::int32_t port_ = 0;
    std::int32_t speed_ = 0;
    std::int32_t receiveTimeoutMs_ = 250;
};

}  // namespace kestrane
