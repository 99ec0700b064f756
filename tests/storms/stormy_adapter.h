#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "simulator/http_adapter.h"
#include "storms/stormy_line.h"
#include "support/virtual_http.h"

namespace kestrane {

/// What ails a network adapter for a while.
enum class AdapterFault {
    None,
    Slow,               ///< each answer comes 300 ms later
    TooSlow,            ///< the mount hears each command, but no answer comes in time
    Silent,             ///< takes requests, and neither the mount hears them nor does an answer come
    Unplugged,          ///< takes no connection
    Reboots,            ///< takes no connection, and in the second half of the time answers with a page
    AnswersForAnother,  ///< gives the answer to the request before
};

/// The network adapter of a simulated mount, with each fault for one request now and then, or one of them for a while.
/// The clock, the mount and the source of faults outlive it.
class StormyAdapter final : public StormyRoad {
public:
    StormyAdapter(Clock& clock, MountSimulator& mount, Chance& chance);

    /// From now on, until another one is begun; a reboot is over after `lengthMs`.
    void Begin(AdapterFault fault, std::int64_t lengthMs);

    std::optional<VirtualHttp::Answer> Answer(const HttpRequest& request);

    /// A request comes whole or not at all.
    bool TakeForged() override { return false; }
    int GoodRaReplies() const override { return goodRa_; }
    int GoodDecReplies() const override { return goodDec_; }

private:
    AdapterFault OneFault();

    HttpAdapter adapter_;
    Chance& chance_;
    AdapterFault lasting_ = AdapterFault::None;
    AdapterFault now_ = AdapterFault::None;
    std::string replyBefore_;
    int goodRa_ = 0;
    int goodDec_ = 0;
};

}  // namespace kestrane
