#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kestrane::http {

/// One answer as it came over the line.
struct RawAnswer {
    int status = 0;
    std::string head;  ///< status line and headers, with the blank line
    std::string body;
};

/// A client that sends bytes as they are. Every wait ends after 20 s, which fails the test.
class RawClient {
public:
    /// Connects to 127.0.0.1.
    explicit RawClient(std::uint16_t port);
    ~RawClient();
    RawClient(RawClient&& other) noexcept;
    RawClient& operator=(RawClient&&) = delete;

    /// False when the server has closed.
    bool Send(std::string_view bytes);
    /// The next answer; nothing when the connection ends before it is complete. `hasBody` false for HEAD.
    std::optional<RawAnswer> Read(bool hasBody = true);
    std::optional<RawAnswer> Get(const std::string& target, const std::string& headers = "");
    std::optional<RawAnswer> Put(const std::string& target, const std::string& body, const std::string& headers = "");
    /// Waits until the server closes; true when it did so without a further byte.
    bool WaitForClose();
    /// Closes the sending side only.
    void FinishSending();
    /// Closes with a reset, as a client does that is ended in the middle.
    void Reset();

    static std::string GetText(const std::string& target, const std::string& headers = "");
    static std::string PutText(const std::string& target, const std::string& body, const std::string& headers = "");

private:
    bool Receive();

    int socket_;
    std::string received_;
};

/// A listening socket on a free port of 127.0.0.1.
int ListenOnLoopback();
std::uint16_t PortOfSocket(int socket);

}  // namespace kestrane::http
