#include "link/class_tcp_comm.h"

#include <algorithm>
#include <utility>

#include "kernel/base/application_info.h"
#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "link/adapter_reply.h"
#include "link/line_text.h"
#include "link/mount_alarms.h"
#include "settings/companion_settings.h"
#include "settings/setting_keys.h"

namespace kestrane {
namespace {

constexpr std::string_view kTcp = "TCP";
constexpr std::string_view kQuay = "QUAY";
constexpr std::string_view kLoopback = "127.0.0.1";
constexpr std::size_t kMostCgiBytes = 256;
constexpr std::size_t kMostRestBytes = 4096;
constexpr unsigned kStatusOk = 200;
constexpr double kLongestLimitMs = 60'000.0;

/// A setting that is no number or below 1 counts as its default.
std::int32_t ReadMilliseconds(TcpNeeds& needs, const SettingKey& key) {
    const double value = PlainDecimal(needs.persist.Read(key), needs.log).value_or(0.0);
    return value < 1.0 ? std::stoi(std::string(key.fallback)) : RoundHalfEven(std::min(value, kLongestLimitMs));
}

/// Why a reply is none of a mount's; empty when it may be one.
std::string WhyNoReply(const HttpReply& reply) {
    if (!reply.error.empty()) {
        return reply.error;
    }
    return reply.status == kStatusOk ? std::string{} : "the reply has the status " + std::to_string(reply.status);
}

std::string WhyNoCgiReply(const HttpReply& reply) {
    const std::string why = WhyNoReply(reply);
    return why.empty() && reply.body.find('<') != std::string::npos ? "the reply is a page and not the mount's" : why;
}

/// One without a text says nothing about who gave it.
std::string WhyNoRestReply(const HttpReply& reply) {
    const std::string why = WhyNoReply(reply);
    const std::size_t start = reply.body.find_first_not_of(" \t\r\n");
    const bool isOther = start != std::string::npos && reply.body[start] != '{';
    return why.empty() && isOther ? "the reply is not the companion's" : why;
}

}  // namespace

classTCPComm::classTCPComm(TcpNeeds needs)
    : needs_(needs),
      debug_(needs_.persist.ReadFlag(setting::IpDebug)),
      quayIpAddress_(kLoopback),
      quayIpPort_(CompanionSettings(needs_.applicationSettings).RestPort()),
      limits_{.resolveMs = ReadMilliseconds(needs_, setting::IpResolveTimeoutMSecs),
              .connectMs = ReadMilliseconds(needs_, setting::IpConnectTimeoutMSecs),
              .sendMs = ReadMilliseconds(needs_, setting::IpSendTimeoutMSecs),
              .receiveMs = ReadMilliseconds(needs_, setting::IpReceiveTimeoutMSecs)},
      useQuayRestApi_(needs_.persist.Read(setting::chkQuayRestApi) == "1") {
    Info("Created HTTP object...");
    PassLimits();
}

classTCPComm::~classTCPComm() {
    Debug("Terminating and releasing HTTP object...");
}

void classTCPComm::Connected(bool connect) {
    connected_ = connect;
    Debug("Connected = " + std::string(TrueFalse(connect)) + ", Timeout = " + std::to_string(limits_.receiveMs) + "ms");
}

void classTCPComm::ReceiveTimeoutMS(std::int32_t milliseconds) {
    limits_.receiveMs = milliseconds;
    PassLimits();
}

std::int32_t classTCPComm::ReceiveTimeout() {
    return RoundHalfEven(limits_.receiveMs / 1000.0);
}

void classTCPComm::ReceiveTimeout(std::int32_t seconds) {
    const std::int64_t milliseconds = std::int64_t{seconds} * 1000;
    if (milliseconds == static_cast<std::int32_t>(milliseconds)) {
        ReceiveTimeoutMS(static_cast<std::int32_t>(milliseconds));
    }
}

void classTCPComm::ClearBuffers() {
    const std::size_t length = std::exchange(buffer_, {}).size();
    Debug("CommClearBuffers removed " + std::to_string(length) + " bytes");
}

std::string classTCPComm::Receive() {
    const std::string text = std::exchange(buffer_, {});
    Debug("Receive = " + FromLine(text) + ", Len = " + std::to_string(text.size()) + " bytes");
    return FromLine(text);
}

std::string classTCPComm::ReceiveCounted(std::int32_t count) {
    const auto length = static_cast<std::int64_t>(buffer_.size());
    std::string text = buffer_.substr(0, static_cast<std::size_t>(std::max(count, 0)));
    if (count >= length) {
        buffer_.clear();
    } else if (const std::int64_t rest = length - count - 1; rest >= 1) {
        buffer_.erase(0, static_cast<std::size_t>(rest - 1));
    }
    if (count > length) {
        needs_.counters.CountReceiveCountedError();
    }
    Debug("ReceiveCounted = " + FromLine(text) + ", Len = " + std::to_string(text.size()) + " bytes");
    return FromLine(text);
}

std::string classTCPComm::ReceiveTerminated(std::string_view terminator) {
    std::string text;
    const std::size_t found = buffer_.find(ToLine(terminator));
    if (found == std::string::npos) {
        needs_.counters.CountReceiveTerminatedError();
    } else {
        const std::size_t length = found + terminator.size();
        text = buffer_.substr(0, length);
        const bool isAll = buffer_.size() == length;
        buffer_ = isAll || ipAddress_.size() <= length ? std::string{} : ipAddress_.substr(length);
    }
    Debug("ReceiveTerminated = " + std::to_string(text.size()) + " bytes");
    return FromLine(text);
}

std::string classTCPComm::DrainOne() {
    const std::string before = buffer_;
    std::string character = ReceiveCounted(1);
    if (!before.empty() && buffer_ == before) {
        ClearBuffers();
    }
    return character;
}

std::string classTCPComm::TakeLateBytes() {
    return FromLine(std::exchange(buffer_, {}));
}

void classTCPComm::Transmit(std::string_view text) {
    std::string response;
    std::string message;
    if (useQuayRestApi_) {
        SendRest(text, limits_.receiveMs, response, message);
    } else {
        SendCgi(ipAddress_, text, limits_.receiveMs, response, message);
    }
    RemoveAlarmsFromAll(needs_.alarmFilter, response);
    buffer_ += ToLine(response);
    Debug("Transmit: " + std::string(text) + ", Cumulative response buffer: " + FromLine(buffer_));
}

void classTCPComm::GetReadTimeouts(std::int32_t& total, std::int32_t& multiplier, std::int32_t& interval) {
    total = limits_.receiveMs;
    multiplier = 0;
    interval = 0;
}

/// A reply that is not the mount's comes from somebody who keeps the mount from hearing.
void classTCPComm::NoteOutcome(const HttpReply& reply, const std::string& fault) {
    const bool cameFromAnother = reply.foreign || (reply.error.empty() && !fault.empty());
    lastWentOut_ = reply.sent && !cameFromAnother;
    lastFault_ = fault;
    lastFaultNamesHost_ = !reply.reached;
}

std::string classTCPComm::WhyNothingCame() const {
    const std::string address = useQuayRestApi_ ? quayIpAddress_ + ":" + std::to_string(quayIpPort_) : ipAddress_;
    if (address.empty()) {
        return "no address is set";
    }
    return lastFaultNamesHost_ ? lastFault_ : address + ": " + (lastFault_.empty() ? "nothing answered" : lastFault_);
}

bool classTCPComm::SendCgi(std::string_view host, std::string_view command, std::int32_t timeoutMs,
                           std::string& response, std::string& message) {
    response.clear();
    HttpRequest request = CgiRequest(host, command);
    request.limits.receiveMs = timeoutMs;
    const HttpReply reply = needs_.http.Send(request);
    message = WhyNoCgiReply(reply);
    NoteOutcome(reply, message);
    const std::string sent = "Sent: " + std::string(command);
    if (!message.empty()) {
        needs_.log.LogMessage(kTcp, LogLevel::Error, sent + ", ErrorMessage = " + message);
        return false;
    }
    response = FromLine(TrimLineEnds(reply.body));
    Debug(sent + ", Response = " + response);
    return true;
}

bool classTCPComm::SendRest(std::string_view command, std::int32_t timeoutMs, std::string& response,
                            std::string& message) {
    response.clear();
    HttpRequest request = RestRequest(command);
    request.limits.receiveMs = timeoutMs;
    const HttpReply reply = needs_.http.Send(request);
    message = WhyNoRestReply(reply);
    NoteOutcome(reply, message);
    const std::string sent = "Sent: " + std::string(command) + ", Response = ";
    if (!message.empty()) {
        needs_.log.LogMessage(
            kQuay, LogLevel::Error,
            "URI: http://" + request.host + request.target + ", " + sent + response + ", ErrorMessage = " + message);
        return false;
    }
    const std::string body = TrimLineEnds(reply.body);
    const RestReply fields = StripResponse(body, needs_.log);
    response = fields.response;
    message = fields.message;
    needs_.log.LogMessage(kQuay, LogLevel::Info, sent + body + ", Raw = " + response + ", ReturnMessage = " + message);
    return fields.success;
}

void classTCPComm::TestIP(std::string_view host, std::string_view command, std::string& text) {
    HttpRequest request = CgiRequest(host, command);
    request.mostBodyBytes = kMostRestBytes;  // a page of the adapter is shown too
    const HttpReply reply = needs_.http.Send(request);
    text = reply.error.empty() ? FromLine(reply.body) : reply.error;
    needs_.messageBoxes.Show(text, application::kTitle, MessageIcon::None);
}

HttpRequest classTCPComm::CgiRequest(std::string_view host, std::string_view command) const {
    return {.method = HttpRequest::Method::Get,
            .host = std::string(host),
            .target = "/cmd.cgi?CMD=" + EncodeUrl(command),
            .headers = {},
            .body = {},
            .limits = limits_,
            .mostBodyBytes = kMostCgiBytes};
}

HttpRequest classTCPComm::RestRequest(std::string_view command) const {
    return {.method = HttpRequest::Method::Post,
            .host = quayIpAddress_ + ":" + std::to_string(quayIpPort_),
            .target = "/api/mount/sendcmd",
            .headers = {{"Content-Type", "application/json"}, {"Accept", "*/*"}},
            .body = RestBody(command),
            .limits = limits_,
            .mostBodyBytes = kMostRestBytes};
}

void classTCPComm::PassLimits() {
    const auto part = [](std::string_view name, std::int32_t value) {
        return std::string(name) + "=" + std::to_string(value) + "ms";
    };
    Info("Timeouts-> " + part("Resolve", limits_.resolveMs) + ", " + part("Connect", limits_.connectMs) + ", " +
         part("Send", limits_.sendMs) + ", " + part("Receive", limits_.receiveMs));
}

void classTCPComm::Info(const std::string& text) {
    needs_.log.LogMessage(kTcp, LogLevel::Info, text);
}

void classTCPComm::Debug(const std::string& text) {
    if (debug_) {
        Info(text);
    }
}

}  // namespace kestrane
