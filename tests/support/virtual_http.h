#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/http.h"
#include "support/virtual_clock.h"

namespace kestrane {

/// HTTP with the server that a test wants, on virtual time. Without a server nothing listens.
class VirtualHttp final : public Http {
public:
    struct Answer {
        std::int32_t afterMs = 0;  ///< later than the receive limit: too late
        HttpReply reply;
    };
    /// Nothing for a server that stays silent. It may sleep itself.
    using Server = std::function<std::optional<Answer>(const HttpRequest&)>;

    explicit VirtualHttp(VirtualClock& clock) : clock_(clock) {}

    void Serve(Server server) { server_ = std::move(server); }
    void StopServing() { server_ = {}; }
    static Answer Ok(const std::string& body, std::int32_t afterMs = 0) {
        return {.afterMs = afterMs, .reply = {.status = 200, .body = body, .error = {}}};
    }

    const std::vector<HttpRequest>& Requests() const { return requests_; }

    HttpReply Send(const HttpRequest& request) override {
        requests_.push_back(request);
        if (!server_) {
            HttpReply refused = Failed(request.host + " takes no connection: Connection refused");
            refused.reached = false;
            refused.sent = false;
            return refused;
        }
        const VirtualClock::LetsReadsIn reads(clock_);
        const std::optional<Answer> answer = server_(request);
        if (!answer || answer->afterMs > request.limits.receiveMs) {
            clock_.SleepWithReads(request.limits.receiveMs);
            return Failed("no whole reply within " + std::to_string(request.limits.receiveMs) + " ms");
        }
        clock_.SleepWithReads(answer->afterMs);
        if (answer->reply.body.size() > request.mostBodyBytes) {
            HttpReply tooLong = Failed("the reply is longer than " + std::to_string(request.mostBodyBytes) + " bytes");
            tooLong.foreign = true;
            return tooLong;
        }
        return answer->reply;
    }

private:
    static HttpReply Failed(const std::string& why) { return {.status = 0, .body = {}, .error = why}; }

    VirtualClock& clock_;
    Server server_;
    std::vector<HttpRequest> requests_;
};

}  // namespace kestrane
