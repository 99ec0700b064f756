#include "storms/stormy_adapter.h"

#include <algorithm>
#include <array>
#include <utility>

#include "support/serve_simulator.h"

namespace kestrane {
namespace {

constexpr std::int32_t kSlowMs = 300;
constexpr std::string_view kQueryHead = "/cmd.cgi?CMD=";
constexpr std::array kSingleFaults{AdapterFault::Slow, AdapterFault::TooSlow, AdapterFault::Silent,
                                   AdapterFault::Unplugged, AdapterFault::AnswersForAnother};

HttpAdapter::Fault FaultOf(AdapterFault fault) {
    switch (fault) {
        case AdapterFault::TooSlow:
            return HttpAdapter::Fault::LosesReplies;
        case AdapterFault::Silent:
            return HttpAdapter::Fault::Silent;
        case AdapterFault::Unplugged:
            return HttpAdapter::Fault::Unplugged;
        default:
            return HttpAdapter::Fault::None;
    }
}

}  // namespace

StormyAdapter::StormyAdapter(Clock& clock, MountSimulator& mount, Chance& chance)
    : adapter_(clock, mount), chance_(chance) {}

void StormyAdapter::Begin(AdapterFault fault, std::int64_t lengthMs) {
    lasting_ = fault;
    const auto half = static_cast<std::int32_t>(lengthMs / 2);
    if (fault == AdapterFault::Reboots) {
        adapter_.Reboot(half, half);
    }
}

AdapterFault StormyAdapter::OneFault() {
    if (lasting_ != AdapterFault::None || !chance_.Strikes()) {
        return lasting_;
    }
    return kSingleFaults.at(chance_.Below(kSingleFaults.size()));
}

std::optional<VirtualHttp::Answer> StormyAdapter::Answer(const HttpRequest& request) {
    const AdapterFault fault = OneFault();
    if (fault != now_) {
        now_ = fault;
        adapter_.SetFault(FaultOf(fault));
        adapter_.SetDelay(fault == AdapterFault::Slow ? kSlowMs : 0);
    }
    const std::size_t commandsBefore = adapter_.Commands().size();
    WebAnswer answer = adapter_.Get(request.target, request.limits.receiveMs);
    if (answer.outcome == WebAnswer::Outcome::Reply) {
        const std::string before = std::exchange(replyBefore_, answer.body);
        answer.body = fault == AdapterFault::AnswersForAnother ? before : answer.body;
    }
    const bool heard = adapter_.Commands().size() > commandsBefore;
    const std::string command = heard ? adapter_.Commands().back() : request.target.substr(kQueryHead.size());
    if (onWrite) {
        onWrite(command);
    }
    Mark("> " + command + (heard ? "" : " is not heard") + (fault == AdapterFault::None ? "" : ", with a fault"));
    MarkRead(answer.body);
    const bool isGood = fault == AdapterFault::None && answer.outcome == WebAnswer::Outcome::Reply;
    goodRa_ += isGood && command == ":GR#" && std::ranges::count(answer.body, ':') == 2 ? 1 : 0;
    goodDec_ += isGood && command == ":GD#" && std::ranges::count(answer.body, ':') == 1 ? 1 : 0;
    return DriverGets(request, answer);
}

}  // namespace kestrane
