#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "kernel/base/counters.h"
#include "kernel/base/log.h"
#include "kernel/base/text.h"
#include "link/mount_link.h"
#include "platform/http.h"
#include "platform/system_services.h"
#include "settings/persist.h"

namespace kestrane {

/// What the link over IP needs from its surroundings. All of it outlives the link.
struct TcpNeeds {
    Http& http;
    Log& log;
    Counters& counters;
    AlarmFilter& alarmFilter;
    Persist& persist;
    ApplicationSettings& applicationSettings;
    MessageBoxes& messageBoxes;
};

/// The link to a mount over HTTP, made to look like a stream of bytes: each `Transmit` is one whole request, whose
/// reply is added to a buffer, and the reads take from that buffer and never wait. It has two forms: an adapter in the
/// mount, asked by GET, and the companion's REST interface, asked by POST. Nothing is held open between requests as far
/// as this class knows, so opening it proves nothing. A request that fails is logged and adds nothing. No read raises:
/// one that finds nothing gives an empty text.
class classTCPComm final : public MountLink {
public:
    /// Reads the settings of the four limits and of the form; logs them.
    explicit classTCPComm(TcpNeeds needs);
    ~classTCPComm() override;
    classTCPComm(const classTCPComm&) = delete;
    classTCPComm& operator=(const classTCPComm&) = delete;

    /// Host name or address of the mount's adapter; may carry ":port".
    const std::string& IpAddress() const { return ipAddress_; }
    void IpAddress(std::string_view address) { ipAddress_ = Trim(address); }
    /// Host of the companion's REST interface; at first this machine.
    const std::string& QuayIpAddress() const { return quayIpAddress_; }
    void QuayIpAddress(std::string_view address) { quayIpAddress_ = address; }
    std::int32_t QuayIpPort() const { return quayIpPort_; }
    void QuayIpPort(std::int32_t port) { quayIpPort_ = port; }
    /// Whether commands go to the companion's REST interface and not to the adapter.
    bool UseQuayRestApi() const { return useQuayRestApi_; }
    void UseQuayRestApi(bool use) { useQuayRestApi_ = use; }

    bool IsOverIp() const override { return true; }
    std::string WhyNothingCame() const override;
    bool Connected() override { return connected_; }
    /// Keeps the flag; there is nothing to open.
    void Connected(bool connect) override;
    /// Whether the last request went out, and nobody but the mount's side answered: else the mount may not have
    /// heard it.
    bool CanSend() override { return connected_ && lastWentOut_; }

    // Kept, without any effect.
    std::int32_t Port() override { return port_; }
    void Port(std::int32_t port) override { port_ = port; }
    std::int32_t Speed() override { return speed_; }
    void Speed(std::int32_t baud) override { speed_ = baud; }

    /// The receive limit of requests.
    std::int32_t ReceiveTimeoutMS() override { return limits_.receiveMs; }
    void ReceiveTimeoutMS(std::int32_t milliseconds) override;
    std::int32_t ReceiveTimeout() override;
    /// A value too large for milliseconds in 32 bits is ignored.
    void ReceiveTimeout(std::int32_t seconds) override;

    void ClearBuffers() override;
    std::string Receive() override;
    /// Intentional: what is left after a read of `count` is not the rest but the buffer from its character number
    /// (length - count - 1) on; where that is below 1 the buffer stays as it was. A short buffer is taken whole.
    std::string ReceiveCounted(std::int32_t count) override;
    /// Intentional: what stands after the terminator is replaced by the text of `IpAddress` from the next character's
    /// position on. Without a terminator the buffer keeps its text.
    std::string ReceiveTerminated(std::string_view terminator) override;
    /// Drops all when the read left the buffer as it was, so that emptying it comes to an end.
    std::string DrainOne() override;
    ReceivedCharacter ReceiveCharacter() override { return {.reply = ReceiveCounted(1)}; }
    std::string TakeLateBytes() override;
    void Transmit(std::string_view text) override;
    /// The receive limit first, the others 0.
    void GetReadTimeouts(std::int32_t& total, std::int32_t& multiplier, std::int32_t& interval) override;

    // One request each. False, with the reason in `message`, when no reply came that can be a mount's: status 200, for
    // the adapter at most 256 bytes without "<", for the companion at most 4096 bytes that begin with "{". An empty one
    // may be a mount's.
    bool SendCgi(std::string_view host, std::string_view command, std::int32_t timeoutMs, std::string& response,
                 std::string& message);
    /// False also when the companion reports no success; the response then counts all the same.
    bool SendRest(std::string_view command, std::int32_t timeoutMs, std::string& response, std::string& message);
    /// Asks an adapter and shows its reply in a message box; `text` is that reply.
    void TestIP(std::string_view host, std::string_view command, std::string& text);

private:
    HttpRequest CgiRequest(std::string_view host, std::string_view command) const;
    HttpRequest RestRequest(std::string_view command) const;
    void NoteOutcome(const HttpReply& reply, const std::string& fault);
    void PassLimits();
    void Info(const std::string& text);
    void Debug(const std::string& text);

    TcpNeeds needs_;
    bool debug_;
    std::string ipAddress_;
    std::int32_t port_ = 0;
    std::int32_t speed_ = 0;
    std::string quayIpAddress_;
    std::int32_t quayIpPort_;
    HttpLimits limits_;
    bool useQuayRestApi_;
    bool connected_ = false;
    bool lastWentOut_ = true;  ///< true before the first request
    std::string lastFault_;    ///< why the last request brought no reply of a mount; empty when it did
    bool lastFaultNamesHost_ = false;
    std::string buffer_;  ///< replies not read yet, one byte a character
};

}  // namespace kestrane
