#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/serial_port.hpp>
#include <boost/system/error_code.hpp>
#include <chrono>
#include <filesystem>
#include <functional>

#include "platform/posix/sliced_wait.h"
#include "platform/serial_port.h"

namespace kestrane {

/// A serial device or pseudo-terminal in raw mode. While it is open the device has an exclusive advisory lock, so that
/// two of our programs never share a line; a locked device fails to open with EWOULDBLOCK. Opening discards nothing:
/// bytes that wait on the line are read like any others.
///
/// When a device goes away while it is open, the port stays open and silent, and a read returns at once. Each later
/// write or read checks whether the device is back under its number and opens it again, so that nobody has to do
/// anything after a cable is put back.
class PosixSerialPort final : public SerialPort {
public:
    static constexpr std::chrono::milliseconds kWriteLimit{200};

    /// `portFolder` holds one symbolic link "COMn" for each port number. `writeLimit` is the time for a whole write,
    /// however much of it the line has taken by then; see `Write`.
    /// `letReadsIn` runs the cached reads that wait; called again and again while a read waits for bytes. When it
    /// returns false the read ends, as at its limit.
    explicit PosixSerialPort(std::filesystem::path portFolder, std::chrono::milliseconds writeLimit = kWriteLimit,
                             std::function<bool()> letReadsIn = {});

    /// ENOENT when no device has the number, ENOTTY when the link names no terminal, EINVAL for a speed that the device
    /// does not support.
    int Open(std::int32_t port, std::int32_t speed) override;
    void Close() override;
    bool IsOpen() override;
    /// What the line has not taken at the write limit is lost. From then on writes are dropped at once, without a wait,
    /// until the line takes bytes again.
    void Write(std::string_view bytes) override;
    std::string Read(std::size_t maxCount, std::int32_t timeoutMs) override;
    bool DeviceIsGone() override { return open_ && !device_.is_open(); }
    std::string DeviceName() override;

private:
    std::filesystem::path LinkPath() const;
    boost::system::error_code OpenDevice();
    void CloseDevice();
    /// Whether the device is there; first tries to open one that was gone.
    bool HaveDevice();

    const std::filesystem::path portFolder_;
    const std::chrono::milliseconds writeLimit_;
    const SlicedWait wait_;
    std::int32_t number_ = 0;
    std::int32_t speed_ = 0;
    bool open_ = false;   ///< between `Open` and `Close`, whether the device is there or not
    bool stuck_ = false;  ///< the last write missed its limit
    boost::asio::io_context context_{1};
    boost::asio::serial_port device_{context_};
};

}  // namespace kestrane
