#include "alpaca/responses.h"

#include "kernel/base/json_text.h"

namespace kestrane::alpaca {
namespace {

constexpr std::uint32_t kDriverErrorBase = 0x80040000;
constexpr std::uint32_t kFirstAlpacaError = 0x400;
constexpr std::uint32_t kLastAlpacaError = 0xFFF;
constexpr std::int32_t kUnspecifiedError = 0x4FF;

http::Answer JsonAnswer(const TransactionIds& ids, std::string_view jsonValue, std::int32_t number,
                        std::string_view message) {
    http::Answer answer{.contentType = "application/json", .body = "{"};
    if (!jsonValue.empty()) {
        answer.body += "\"Value\":";
        answer.body += jsonValue;
        answer.body += ",";
    }
    answer.body += "\"ClientTransactionID\":" + JsonOf(ids.client);
    answer.body += ",\"ServerTransactionID\":" + JsonOf(ids.server);
    answer.body += ",\"ErrorNumber\":" + JsonOf(number);
    answer.body += ",\"ErrorMessage\":" + JsonOf(message) + "}";
    return answer;
}

}  // namespace

http::Answer ValueAnswer(const TransactionIds& ids, std::string_view jsonValue) {
    return JsonAnswer(ids, jsonValue, 0, "");
}

http::Answer ErrorAnswer(const TransactionIds& ids, std::int32_t number, std::string_view message) {
    return JsonAnswer(ids, "", number, message);
}

std::int32_t AlpacaErrorNumber(std::uint32_t driverNumber) {
    const std::uint32_t number = driverNumber - kDriverErrorBase;
    const bool inRange = number >= kFirstAlpacaError && number <= kLastAlpacaError;
    return inRange ? static_cast<std::int32_t>(number) : kUnspecifiedError;
}

}  // namespace kestrane::alpaca
