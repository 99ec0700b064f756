#include "platform/posix/posix_serial_port.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <unistd.h>
#include <utility>

#include "platform/port_names.h"

namespace kestrane {
namespace {

namespace asio = boost::asio;
using SteadyClock = std::chrono::steady_clock;
using ErrorCode = boost::system::error_code;

/// The most that one read takes; at any speed that mounts use, far less arrives between two reads.
constexpr std::size_t kReadChunk = 4096;

bool IsTemporary(int error) {
    return error == EAGAIN || error == EINTR;
}

ErrorCode LockForUs(int device) {
    if (fcntl(device, F_SETFD, FD_CLOEXEC) != 0 || flock(device, LOCK_EX | LOCK_NB) != 0) {
        return {errno, boost::system::system_category()};
    }
    return {};
}

ErrorCode SetLine(asio::serial_port& device, std::int32_t speed) {
    using Port = asio::serial_port;
    ErrorCode error;
    const auto set = [&](const auto& option) {
        if (!error) {
            device.set_option(option, error);
        }
    };
    set(Port::baud_rate(static_cast<unsigned int>(speed)));
    set(Port::character_size(8));
    set(Port::parity(Port::parity::none));
    set(Port::stop_bits(Port::stop_bits::one));
    set(Port::flow_control(Port::flow_control::none));
    return error;
}

}  // namespace

PosixSerialPort::PosixSerialPort(std::filesystem::path portFolder, std::chrono::milliseconds writeLimit,
                                 std::function<bool()> letReadsIn)
    : portFolder_(std::move(portFolder)), writeLimit_(writeLimit), wait_(std::move(letReadsIn)) {}

std::filesystem::path PosixSerialPort::LinkPath() const {
    return portFolder_ / PortName(number_);
}

std::string PosixSerialPort::DeviceName() {
    std::error_code noLink;
    return std::filesystem::read_symlink(LinkPath(), noLink).string();
}

int PosixSerialPort::Open(std::int32_t port, std::int32_t speed) {
    Close();
    if (speed <= 0) {
        return EINVAL;  // speed 0 would hang up the line
    }
    number_ = port;
    speed_ = speed;
    const ErrorCode error = OpenDevice();
    open_ = !error;
    return error.value();
}

ErrorCode PosixSerialPort::OpenDevice() {
    ErrorCode error;
    device_.open(LinkPath().string(), error);
    if (!error) {
        error = LockForUs(device_.native_handle());
    }
    if (!error) {
        error = SetLine(device_, speed_);
    }
    if (error) {
        CloseDevice();
    }
    return error;
}

void PosixSerialPort::CloseDevice() {
    stuck_ = false;
    ErrorCode ignored;
    device_.close(ignored);
}

void PosixSerialPort::Close() {
    CloseDevice();
    open_ = false;
}

bool PosixSerialPort::IsOpen() {
    return open_;
}

bool PosixSerialPort::HaveDevice() {
    return device_.is_open() || !OpenDevice();
}

void PosixSerialPort::Write(std::string_view bytes) {
    if (!IsOpen() || !HaveDevice()) {
        return;
    }
    const int device = device_.native_handle();
    const auto start = SteadyClock::now();
    if (stuck_ && !WaitForDescriptor(device, POLLOUT, start)) {
        return;
    }
    stuck_ = false;
    const auto deadline = start + writeLimit_;
    while (!bytes.empty() && !stuck_) {
        const ssize_t written = ::write(device, bytes.data(), bytes.size());
        if (written > 0) {
            bytes.remove_prefix(static_cast<std::size_t>(written));
        } else if (written < 0 && !IsTemporary(errno)) {
            CloseDevice();
            return;
        }
        stuck_ = !bytes.empty() && (SteadyClock::now() >= deadline || !WaitForDescriptor(device, POLLOUT, deadline));
    }
}

std::string PosixSerialPort::Read(std::size_t maxCount, std::int32_t timeoutMs) {
    if (!IsOpen() || maxCount == 0 || !HaveDevice()) {
        return {};
    }
    const auto deadline = SteadyClock::now() + std::chrono::milliseconds(timeoutMs);
    const int device = device_.native_handle();
    std::array<char, kReadChunk> buffer;
    for (;;) {
        const ssize_t count = ::read(device, buffer.data(), std::min(maxCount, buffer.size()));
        if (count > 0) {
            return {buffer.data(), static_cast<std::size_t>(count)};
        }
        if (count == 0 || !IsTemporary(errno)) {
            CloseDevice();
            return {};
        }
        // A reply whose bytes come one by one is many short waits: the first thing in each is to let reads in.
        if (!wait_.Await(device, POLLIN, deadline)) {
            return {};
        }
    }
}

}  // namespace kestrane
