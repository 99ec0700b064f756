#include "simulator/http_adapter.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "simulator/mount_exchange.h"

namespace kestrane {
namespace {

constexpr std::string_view kCommandPath = "/cmd.cgi?CMD=";
constexpr unsigned kBadRequest = 400;
constexpr unsigned kNotFound = 404;

/// Nothing when a "%" is not followed by two hexadecimal digits.
std::optional<std::string> PercentDecoded(std::string_view text) {
    std::string decoded;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] != '%') {
            decoded += text[at];
            continue;
        }
        const std::string_view digits = text.substr(at + 1, 2);
        unsigned char code = 0;
        const char* const end = digits.data() + digits.size();
        const auto [stop, error] = std::from_chars(digits.data(), end, code, 16);
        if (digits.size() != 2 || error != std::errc{} || stop != end) {
            return std::nullopt;
        }
        decoded += static_cast<char>(code);
        at += 2;
    }
    return decoded;
}

WebAnswer Answered(std::string body) {
    return {.outcome = WebAnswer::Outcome::Reply, .status = 200, .body = std::move(body)};
}
WebAnswer Refused(unsigned status) {
    return {.outcome = WebAnswer::Outcome::Reply, .status = status, .body = {}};
}
WebAnswer NotConnected() {
    return {.outcome = WebAnswer::Outcome::NoConnection, .status = 0, .body = {}};
}

}  // namespace

WebAnswer HttpAdapter::Get(std::string_view target, std::int32_t limitMs) {
    if (auto answer = AnswerOfReboot()) {
        return *std::move(answer);
    }
    if (fault_ == Fault::Unplugged) {
        return NotConnected();
    }
    if (!target.starts_with(kCommandPath)) {
        return Refused(kNotFound);
    }
    const std::optional<std::string> command = PercentDecoded(target.substr(kCommandPath.size()));
    if (!command) {
        return Refused(kBadRequest);
    }
    if (fault_ == Fault::Silent) {
        return SilenceUntil(clock_.GetTickCount(), limitMs);
    }
    return AnswerOfMount(*command, limitMs);
}

void HttpAdapter::SetFault(Fault fault) {
    fault_ = fault;
    replyBefore_.clear();
}

void HttpAdapter::Reboot(std::int32_t withoutConnectionMs, std::int32_t withPageMs) {
    rebootsSince_ = clock_.GetTickCount();
    rebootWithoutConnectionMs_ = withoutConnectionMs;
    rebootWithPageMs_ = withPageMs;
}

std::optional<WebAnswer> HttpAdapter::AnswerOfReboot() {
    if (!rebootsSince_) {
        return std::nullopt;
    }
    const std::int32_t gone = clock_.GetTickCount() - *rebootsSince_;
    if (gone < rebootWithoutConnectionMs_) {
        return NotConnected();
    }
    if (gone < rebootWithoutConnectionMs_ + rebootWithPageMs_) {
        return Answered("<html><body>Starting, please wait.</body></html>");
    }
    rebootsSince_.reset();
    return std::nullopt;
}

WebAnswer HttpAdapter::AnswerOfMount(const std::string& command, std::int32_t limitMs) {
    const Tick start = clock_.GetTickCount();
    commands_.push_back(command);
    std::optional<std::string> reply = simulator::AskMount(mount_, clock_, command, limitMs);
    if (fault_ == Fault::AnswersForAnother) {
        reply = std::exchange(replyBefore_, reply.value_or(""));
    }
    const std::int32_t left = limitMs - (clock_.GetTickCount() - start);
    if (!reply || fault_ == Fault::LosesReplies || delayMs_ > left) {
        return SilenceUntil(start, limitMs);
    }
    clock_.Sleep(delayMs_);
    return Answered(*std::move(reply));
}

WebAnswer HttpAdapter::SilenceUntil(Tick start, std::int32_t limitMs) {
    clock_.Sleep(std::max(limitMs - (clock_.GetTickCount() - start), 0));
    return {.outcome = WebAnswer::Outcome::NoReply, .status = 0, .body = {}};
}

}  // namespace kestrane
