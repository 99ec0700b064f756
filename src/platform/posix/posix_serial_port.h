#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/serial_port.hpp>
#include <chrono>
#include <filesystem>

#include "platform/serial_port.h"

namespace kestrane {

/// A serial device or pseudo-terminal in raw mode. While it is open the device carries an exclusive advisory lock, so
/// that two of our programs never share a line; a locked device fails to open with EWOULDBLOCK. Opening purges
/// nothing: bytes that wait on the line are read like any others.
///
/// A device that goes away while it is open stays open and silent until `Close`; `Open` finds it again when it is
/// back.
class PosixSerialPort final : public SerialPort {
public:
    static constexpr std::chrono::milliseconds kStuckLineLimit{1000};

    /// `portFolder` holds one symbolic link "COMn" for each port number. A line that takes no byte for
    /// `stuckLineLimit` loses the rest of what was being written.
    explicit PosixSerialPort(std::filesystem::path portFolder,
                             std::chrono::milliseconds stuckLineLimit = kStuckLineLimit);

    /// ENOENT when no device bears the number, ENOTTY when the link names no terminal, EINVAL for a speed that the
    /// device does not know.
    int Open(std::int32_t port, std::int32_t speed) override;
    void Close() override;
    bool IsOpen() override;
    void Write(std::string_view bytes) override;
    std::string Read(std::size_t maxCount, std::int32_t timeoutMs) override;

private:
    const std::filesystem::path portFolder_;
    const std::chrono::milliseconds stuckLineLimit_;
    boost::asio::io_context context_{1};
    boost::asio::serial_port device_{context_};
};

}  // namespace kestrane
