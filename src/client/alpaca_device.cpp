#include "client/alpaca_device.h"

#include <algorithm>
#include <array>
#include <boost/json/src.hpp>
#include <charconv>
#include <cmath>
#include <random>

namespace kestrane::client {
namespace {

namespace json = boost::json;

/// Members whose answer may wait for the mount, in lower case.
constexpr std::array<std::string_view, 9> kPatientMembers{"connected",         "unpark",       "findhome",
                                                          "slewtocoordinates", "slewtotarget", "slewtoaltaz",
                                                          "commandblind",      "commandbool",  "commandstring"};

/// The duration of a guide pulse in seconds; 0 when it is none.
double PulseSeconds(const Values& values) {
    std::int32_t milliseconds = 0;
    for (const auto& [key, value] : values) {
        if (key == "Duration") {
            std::from_chars(value.data(), value.data() + value.size(), milliseconds);
        }
    }
    return std::max(milliseconds, 0) / 1000.0;
}

std::string Lowered(std::string_view text) {
    std::string lowered(text);
    std::transform(lowered.begin(), lowered.end(), lowered.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return lowered;
}

/// The first line of a body that is no JSON, cut to a length that a person reads.
std::string FirstLine(const std::string& body) {
    constexpr std::size_t kMost = 200;
    return body.substr(0, std::min(body.find_first_of("\r\n"), kMost));
}

/// Each run of the program has numbers of its own: a driver takes an equal request for a repeat of the earlier one.
std::uint32_t RandomTransaction() {
    constexpr std::uint32_t kHighest = 2'000'000'000;  // leaves room to count on
    return std::random_device{}() % kHighest;
}

const json::value* Field(const json::object& object, std::string_view name) {
    return object.if_contains(name);
}

}  // namespace

AlpacaReply ParseReply(const HttpReply& reply) {
    if (reply.status != 200) {
        throw DeviceError(0, "the server refused the request with status " + std::to_string(reply.status) + ": " +
                                 FirstLine(reply.body));
    }
    boost::system::error_code error;
    const json::value document = json::parse(reply.body, error);
    const json::object* object = error ? nullptr : document.if_object();
    if (object == nullptr) {
        throw DeviceError(0, "the answer is not one of an Alpaca device: " + FirstLine(reply.body));
    }
    AlpacaReply parsed;
    if (const auto* value = Field(*object, "Value")) {
        parsed.value = *value;
    }
    if (const auto* number = Field(*object, "ErrorNumber"); number != nullptr && number->is_int64()) {
        parsed.errorNumber = number->get_int64();
    }
    if (const auto* message = Field(*object, "ErrorMessage"); message != nullptr && message->is_string()) {
        parsed.errorMessage = std::string(message->get_string());
    }
    return parsed;
}

std::string PercentEncoded(std::string_view text) {
    constexpr std::string_view kPlain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";
    constexpr std::string_view kHex = "0123456789ABCDEF";
    std::string encoded;
    for (const char character : text) {
        if (kPlain.find(character) != std::string_view::npos) {
            encoded += character;
        } else {
            const auto byte = static_cast<unsigned char>(character);
            encoded += '%';
            encoded += kHex[byte >> 4U];
            encoded += kHex[byte & 0x0FU];
        }
    }
    return encoded;
}

std::string FormEncoded(const Values& values) {
    std::string form;
    for (const auto& [key, value] : values) {
        form += (form.empty() ? "" : "&") + PercentEncoded(key) + "=" + PercentEncoded(value);
    }
    return form;
}

AlpacaDevice::AlpacaDevice(Address address, Limits limits)
    : address_(std::move(address)),
      limits_(limits),
      connection_(address_.host, address_.port),
      transaction_(RandomTransaction()) {}

json::value AlpacaDevice::Get(std::string_view member, const Values& values) {
    return Call(HttpConnection::Verb::Get, member, values);
}

json::value AlpacaDevice::Put(std::string_view member, const Values& values) {
    return Call(HttpConnection::Verb::Put, member, values);
}

double AlpacaDevice::LimitOfPut(const Limits& limits, std::string_view member, const Values& values) {
    if (member == "park") {
        return limits.park;
    }
    if (member == "pulseguide") {
        return limits.brief + PulseSeconds(values);
    }
    const bool isPatient = std::ranges::find(kPatientMembers, member) != kPatientMembers.end();
    return isPatient ? limits.patient : limits.brief;
}

json::value AlpacaDevice::Call(HttpConnection::Verb verb, std::string_view member, Values values) {
    const std::string name = Lowered(member);
    const bool isPut = verb == HttpConnection::Verb::Put;
    values.emplace_back("ClientID", std::to_string(address_.clientId));
    values.emplace_back("ClientTransactionID", std::to_string(++transaction_));

    HttpConnection::Request request;
    request.verb = verb;
    request.target = "/api/v1/" + address_.type + "/" + std::to_string(address_.device) + "/" + PercentEncoded(name);
    (isPut ? request.form : request.target) += (isPut ? "" : "?") + FormEncoded(values);
    const double seconds = isPut ? LimitOfPut(limits_, name, values) : limits_.brief;
    request.limit = std::chrono::milliseconds(std::llround(seconds * 1000.0));
    request.whileWaiting = whileWaiting_;

    AlpacaReply reply = ParseReply(connection_.Send(request));
    if (reply.errorNumber != 0) {
        throw DeviceError(reply.errorNumber, reply.errorMessage);
    }
    return std::move(reply.value);
}

double AlpacaDevice::Number(std::string_view member) {
    const json::value value = Get(member);
    if (!value.is_number()) {
        throw DeviceError(0, "the device's " + std::string(member) + " is no number");
    }
    return value.to_number<double>();
}

bool AlpacaDevice::Flag(std::string_view member) {
    const json::value value = Get(member);
    if (!value.is_bool()) {
        throw DeviceError(0, "the device's " + std::string(member) + " is neither true nor false");
    }
    return value.get_bool();
}

std::optional<json::value> AlpacaDevice::TryGet(std::string_view member) {
    try {
        return Get(member);
    } catch (const DeviceError&) {
        return std::nullopt;
    }
}

std::optional<double> AlpacaDevice::TryNumber(std::string_view member) {
    const auto value = TryGet(member);
    if (!value || !value->is_number()) {
        return std::nullopt;
    }
    return value->to_number<double>();
}

std::optional<bool> AlpacaDevice::TryFlag(std::string_view member) {
    const auto value = TryGet(member);
    return value && value->is_bool() ? std::optional(value->get_bool()) : std::nullopt;
}

}  // namespace kestrane::client
