// What comes back from the companion, or from something else in its place. The first byte of the input is the sequence
// number, the rest are the replies, each up to a "#".

#include <cstdint>
#include <string>

#include "kernel/base/conversions.h"
#include "kernel/base/text.h"
#include "link/command_exchange.h"
#include "link/line_text.h"
#include "link_world.h"

namespace {

using namespace kestrane;
using fuzz::Require;

constexpr int kMostReads = 3;

/// A line on which the input comes, and then nothing more.
class InputLine final : public MountLink {
public:
    std::string rest;
    int reads = 0;

    bool Connected() override { return true; }
    void Connected(bool) override {}
    std::int32_t Port() override { return 1; }
    void Port(std::int32_t) override {}
    std::int32_t Speed() override { return 9600; }
    void Speed(std::int32_t) override {}
    std::int32_t ReceiveTimeoutMS() override { return 500; }
    void ReceiveTimeoutMS(std::int32_t) override {}
    std::int32_t ReceiveTimeout() override { return 1; }
    void ReceiveTimeout(std::int32_t) override {}
    void ClearBuffers() override { rest.clear(); }
    std::string Receive() override { return std::exchange(rest, {}); }
    std::string ReceiveCounted(std::int32_t) override { return {}; }
    std::string ReceiveTerminated(std::string_view terminator) override {
        ++reads;
        if (rest.empty()) {
            throw RunTimeError(RunTimeError::kInvalidProcedureCall, "silent");
        }
        const std::size_t end = rest.find(terminator);
        const std::string reply = rest.substr(0, end == std::string::npos ? end : end + 1);
        rest.erase(0, reply.size());
        return reply;
    }
    ReceivedCharacter ReceiveCharacter() override { return {}; }
    std::string TakeLateBytes() override { return {}; }
    void Transmit(std::string_view) override {}
    void GetReadTimeouts(std::int32_t&, std::int32_t&, std::int32_t&) override {}
};

std::string TakeReply(std::string_view& input) {
    const std::size_t end = input.find('#');
    const std::string reply(input.substr(0, end == std::string_view::npos ? end : end + 1));
    input.remove_prefix(reply.size());
    return reply;
}

/// A byte of the line above 0x7F is two bytes here.
std::string WithoutLast(std::string text) {
    const std::size_t last = text.empty() ? 0 : static_cast<unsigned char>(text.back()) < 0x80 ? 1 : 2;
    text.resize(text.size() - last);
    return text;
}

/// The number of a reply that has the companion's head; -1 for none, and for one that is too large.
std::int64_t NumberOf(const std::string& number, Log& log) {
    try {
        return RoundHalfEven(Val_Global(number, log));
    } catch (const DriverError&) {
        return -1;
    }
}

/// What the exchange must give, by the rules of the wrap.
std::string Expected(std::string_view input, std::int64_t sequence, Log& log) {
    for (int read = 1;; ++read) {
        std::string reply = TakeReply(input);
        if (reply.rfind("QUAY,", 0) != 0) {
            return WithoutLast(reply);
        }
        reply.erase(0, 5);
        const std::size_t first = reply.find(',');
        const std::string afterEcho = first == std::string::npos ? reply : reply.substr(first + 1);
        const std::size_t second = afterEcho.find(',');
        const bool hasNumber = first != std::string::npos ? second != std::string::npos : false;
        const std::int64_t received = hasNumber ? NumberOf(afterEcho.substr(0, second), log) : -1;
        if (received == sequence) {
            return WithoutLast(afterEcho.substr(second + 1));
        }
        const std::int64_t lag = sequence - received;
        if ((lag != 1 && lag != 2) || read == kMostReads) {
            return {};
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    static fuzz::LinkWorld world;
    static std::unique_ptr<MountLink> link = std::make_unique<InputLine>();
    static CommandExchange exchange({world.essentials, link, [](std::string_view) { return std::string(); }, [] {}});
    auto& line = static_cast<InputLine&>(*link);
    const std::string replies = FromLine(fuzz::TextOf(data + 1, size - 1));
    line.rest = replies;
    line.reads = 0;
    world.state.g_bQuayLink = true;
    world.state.g_nQuaySeq = data[0];
    const std::string result = exchange.CommandString("GR", false);
    Require(line.reads <= kMostReads, "a companion that lags is read three times at most");
    Require(result == Expected(replies, data[0], world.log), "the reply that bears the number, or nothing");
    Require(world.state.g_nQuaySeq == data[0] + 1, "the number goes on by one");
    return 0;
}
