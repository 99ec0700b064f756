#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/clock.h"

/// What is sent back: JSON values, answer bodies, and the whole text of an HTTP answer. Pure functions.
namespace kestrane::server {

/// JSON texts. Doubles are the shortest form that reads back as the same number; one that is no number raises
/// `std::domain_error`. Texts that are no UTF-8 are taken as Latin-1.
std::string JsonOf(bool value);
std::string JsonOf(int value);
std::string JsonOf(std::uint32_t value);
std::string JsonOf(double value);
std::string JsonOf(std::string_view value);
std::string JsonOf(const std::string& value);
std::string JsonOf(const char* value);
std::string JsonOf(std::span<const std::string> values);
std::string JsonOf(std::span<const int> values);
/// A date as `yyyy-MM-ddTHH:mm:ss.fffffffZ`.
std::string JsonOf(const DateTime& utc);

/// The numbers that every JSON answer repeats.
struct RequestIds {
    std::uint32_t client = 0;
    std::uint32_t transaction = 0;  ///< the client's
    std::uint32_t server = 0;       ///< from 1 up
};

/// A complete answer: status, kind of content, content.
struct HttpAnswer {
    int status = 200;
    std::string_view contentType = "application/json";
    std::string body;
};

/// Success; `jsonValue` may be empty for members without a value.
HttpAnswer ValueAnswer(const RequestIds& ids, std::string_view jsonValue);
/// Failure of the driver: status 200 with the Alpaca error number and the driver's message.
HttpAnswer ErrorAnswer(const RequestIds& ids, std::int32_t number, std::string_view message);
/// A request that did not reach the driver, or broke it: one line of plain text.
HttpAnswer RefusalAnswer(int status, std::string_view line);
HttpAnswer PageAnswer(std::string html);

/// The Alpaca number of a driver's error: less 0x80040000 for the driver's own range; the number of an unspecified
/// error (0x4FF) for all others, so that no client meets a number that means something else to it.
std::int32_t AlpacaErrorNumber(std::uint32_t driverNumber);

/// How the connection goes on after the answer, and what of the answer the request's form allows.
struct AnswerForm {
    bool keepAlive = true;
    bool oldProtocol = false;  ///< HTTP/1.0
    bool headOnly = false;     ///< the answer to HEAD has no body
};

/// Status line, headers and body in one text.
std::string HttpText(const HttpAnswer& answer, const AnswerForm& form);

}  // namespace kestrane::server
