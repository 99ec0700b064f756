// What a mount's adapter or the companion's REST interface, or whoever else has the address, may answer. The first byte
// of the input chooses the form and the status, the rest is the body.

#include "link/adapter_reply.h"

#include <algorithm>

#include "link/class_tcp_comm.h"
#include "link/line_text.h"
#include "link_world.h"

namespace {

using namespace kestrane;
using fuzz::Require;

class ThisReply final : public Http {
public:
    HttpReply Send(const HttpRequest& request) override {
        return reply.body.size() > request.mostBodyBytes ? HttpReply{.status = 0, .body = {}, .error = "too long"}
                                                         : reply;
    }
    HttpReply reply;
};

std::string NaiveTrimmed(const std::string& body) {
    std::size_t length = body.size();
    while (length > 0 && body.size() - length < 3 && (body[length - 1] == '\r' || body[length - 1] == '\n')) {
        --length;
    }
    return body.substr(0, length);
}

bool BeginsAnObject(const std::string& body) {
    const auto first =
        std::ranges::find_if(body, [](char c) { return c != ' ' && c != '\t' && c != '\r' && c != '\n'; });
    return first != body.end() && *first == '{';
}

/// A body without a text proves no other server.
bool IsBlank(const std::string& body) {
    return body.find_first_not_of(" \t\r\n") == std::string::npos;
}

/// The buffer must come to an end however it is read.
void CheckReads(classTCPComm& link, std::size_t bytes) {
    link.Transmit(":GR#");
    std::size_t reads = 0;
    while (!link.DrainOne().empty()) {
        Require(++reads <= bytes, "reading one by one comes to an end");
    }
    link.Transmit(":GR#");
    Require(link.ReceiveTerminated("#").size() <= 2 * bytes, "a read up to the end gives no more than has come");
    link.ClearBuffers();
    Require(link.Receive().empty(), "an emptied buffer is empty");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    static fuzz::LinkWorld world;
    static ThisReply http;
    static classTCPComm link(
        {http, world.log, world.counters, world.alarmFilter, world.persist, world.applications, world.boxes});
    const bool isRest = (data[0] & 1) != 0;
    const bool isOk = (data[0] & 2) == 0;
    const std::string body(fuzz::TextOf(data + 1, size - 1));
    http.reply = {.status = isOk ? 200U : 404U, .body = body, .error = {}};
    world.errorLines = 0;
    link.UseQuayRestApi(isRest);
    std::string response;
    std::string message;
    if (isRest) {
        const bool success = link.SendRest(":GR#", 250, response, message);
        const bool isReply = isOk && body.size() <= 4096 && BeginsAnObject(body);
        const RestReply fields = StripResponse(NaiveTrimmed(body), world.log);
        Require(success == (isReply && fields.success), "the companion's word counts, of its own replies only");
        Require(response == (isReply ? fields.response : ""), "what is no reply of the companion adds nothing");
        const bool isEmpty = isOk && body.size() <= 4096 && IsBlank(body);
        Require(world.errorLines == (isReply || isEmpty ? 0 : 1), "what is no reply is told once");
    } else {
        const bool good = link.SendCgi("mount", ":GR#", 250, response, message);
        const bool isReply = isOk && body.size() <= 256 && body.find('<') == std::string::npos;
        Require(good == isReply, "a reply has status 200, is short and no page");
        Require(response == (isReply ? FromLine(NaiveTrimmed(body)) : ""),
                "the reply without its line ends, or nothing");
        Require(world.errorLines == (isReply ? 0 : 1) && message.empty() == isReply, "what is no reply is told once");
    }
    CheckReads(link, size);
    return 0;
}
