#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace kestrane {

/// The other end of a socket that carries lines: what a program on the desktop has of the driver.
class LineClient {
public:
    /// Takes the descriptor over; -1: not connected.
    explicit LineClient(int socket) : socket_(socket) {}
    /// Connects to a socket of the file system, if somebody listens there.
    explicit LineClient(const std::filesystem::path& path);
    ~LineClient() { Close(); }
    LineClient(const LineClient&) = delete;
    LineClient& operator=(const LineClient&) = delete;

    bool IsConnected() const { return socket_ >= 0; }
    void SendBytes(const std::string& bytes) const;
    void Send(const std::string& line) const { SendBytes(line + "\n"); }
    /// Waits for a line; nothing when the other end has closed.
    std::optional<std::string> Read();
    void Close();

private:
    int socket_;
    std::string got_;
};

}  // namespace kestrane
