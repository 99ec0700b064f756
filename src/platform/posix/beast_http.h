#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/http.h"
#include "platform/posix/host_names.h"
#include "platform/posix/sliced_wait.h"

namespace kestrane {

/// Requests over the machine's network. One connection is kept for the next request to the same host, unless it has
/// rested for longer than `kLongestRest`, or the other side has closed it, or has said more than was asked for. After a
/// request without a whole reply none is kept, so a late reply can never be taken for that to a later request.
class BeastHttp final : public Http {
public:
    static constexpr std::chrono::seconds kLongestRest{5};

    /// `letReadsIn` is called again and again while a request waits, see `SlicedWait`. When it answers false a request
    /// still goes out, and its reply is no longer awaited. What such a request leaves unheard is withdrawn, unless
    /// `isEnding`, whether the process is about to end, was true before the request began: it may be the last stop.
    explicit BeastHttp(std::function<bool()> letReadsIn = {}, HostNames::Lookup lookup = HostNames::SystemLookup,
                       std::chrono::milliseconds longestRest = kLongestRest, std::function<bool()> isEnding = {})
        : wait_(std::move(letReadsIn)),
          isEnding_(std::move(isEnding)),
          hostNames_(std::move(lookup)),
          longestRest_(longestRest) {}

    HttpReply Send(const HttpRequest& request) override;

private:
    using TimePoint = SlicedWait::TimePoint;
    struct Place {
        std::string host;
        std::uint16_t port = 0;

        friend bool operator==(const Place&, const Place&) = default;
    };

    static Place PlaceOf(const HttpRequest& request);
    bool KeptServes(const Place& place);
    void Open(const Place& place, const HttpLimits& limits);
    boost::system::error_code Connect(const boost::asio::ip::tcp::endpoint& endpoint, TimePoint deadline);
    bool Write(std::string_view bytes, std::int32_t limitMs);
    std::string Read(TimePoint deadline, std::int32_t limitMs);
    HttpReply Receive(const HttpRequest& request);
    bool WithdrawsWhatIsUnheard();
    void Close();

    const SlicedWait wait_;
    const std::function<bool()> isEnding_;
    HostNames hostNames_;
    const std::chrono::milliseconds longestRest_;
    boost::asio::io_context context_{1};
    boost::asio::ip::tcp::socket socket_{context_};
    std::optional<Place> connectedTo_;
    TimePoint restsSince_{};
    std::size_t firstAddress_ = 0;  ///< the one to try first; the next one after a failure
};

}  // namespace kestrane
