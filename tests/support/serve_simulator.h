#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

#include "simulator/companion.h"
#include "simulator/http_adapter.h"
#include "support/virtual_http.h"
#include "support/virtual_serial_ports.h"

namespace kestrane {

/// What the driver gets of an answer of the simulated mount's surroundings.
inline VirtualHttp::Answer DriverGets(const HttpRequest& request, const WebAnswer& answer) {
    const auto failed = [&](const std::string& why, std::int32_t afterMs) {
        const bool sent = answer.outcome != WebAnswer::Outcome::NoConnection;
        return VirtualHttp::Answer{.afterMs = afterMs,
                                   .reply = {.status = 0, .body = {}, .error = why, .reached = sent, .sent = sent}};
    };
    const HttpLimits& limits = request.limits;
    switch (answer.outcome) {
        case WebAnswer::Outcome::NoConnection:
            return failed(request.host + " took no connection within " + std::to_string(limits.connectMs) + " ms",
                          std::min(limits.connectMs, limits.receiveMs));
        case WebAnswer::Outcome::NoReply:
            return failed("no whole reply within " + std::to_string(limits.receiveMs) + " ms", 0);
        case WebAnswer::Outcome::Reply:
            break;
    }
    return {.afterMs = 0, .reply = {.status = answer.status, .body = answer.body, .error = {}}};
}

/// Puts a mount's adapter, which must outlive it, at the far end of all requests, whatever their host.
inline void ServeAdapter(VirtualHttp& http, HttpAdapter& adapter) {
    http.Serve([&adapter](const HttpRequest& request) -> std::optional<VirtualHttp::Answer> {
        return DriverGets(request, request.method == HttpRequest::Method::Get
                                       ? adapter.Get(request.target, request.limits.receiveMs)
                                       : WebAnswer{.status = 405, .body = {}});
    });
}

/// The same for the companion's REST interface.
inline void ServeRest(VirtualHttp& http, SimulatedCompanion& companion) {
    http.Serve([&companion](const HttpRequest& request) -> std::optional<VirtualHttp::Answer> {
        return DriverGets(request, request.method == HttpRequest::Method::Post
                                       ? companion.Post(request.target, request.body, request.limits.receiveMs)
                                       : WebAnswer{.status = 405, .body = {}});
    });
}

/// The companion's virtual serial port. What it sent while the port was not open is lost.
class CompanionLine final : public LineEnd {
public:
    explicit CompanionLine(SimulatedCompanion& companion) : companion_(companion) {}

    std::function<void(std::string_view bytes)> onWrite;  ///< called before the companion gets the bytes

    void Write(std::string_view bytes) override {
        if (onWrite) {
            onWrite(bytes);
        }
        companion_.Write(bytes);
    }
    std::string Read(std::size_t maxCount) override { return companion_.Read(maxCount); }
    std::optional<std::int32_t> NextByteIn() override { return companion_.NextByteIn(); }
    void Opened() override { companion_.Read(std::numeric_limits<std::size_t>::max()); }

private:
    SimulatedCompanion& companion_;
};

}  // namespace kestrane
