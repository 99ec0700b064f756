#pragma once

#include <boost/json/value.hpp>
#include <cstdint>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "client/http_connection.h"

namespace kestrane::client {

/// The device, or the program that serves it, answered with a failure.
class DeviceError : public std::runtime_error {
public:
    DeviceError(std::int64_t number, const std::string& message) : std::runtime_error(message), number_(number) {}

    /// The device's ErrorNumber; 0 when the request did not get as far as the device.
    std::int64_t Number() const { return number_; }

private:
    std::int64_t number_;
};

/// The answer to one request, taken apart. A missing value is null.
struct AlpacaReply {
    boost::json::value value;
    std::int64_t errorNumber = 0;
    std::string errorMessage;
};

/// Takes a reply apart; missing fields are allowed. Raises `DeviceError` for a status other than 200 and for a body
/// that is no JSON object; an error of the device itself is left in the reply.
AlpacaReply ParseReply(const HttpReply& reply);

/// Bytes outside letters, digits and "-._~" as "%XX".
std::string PercentEncoded(std::string_view text);

using Values = std::vector<std::pair<std::string, std::string>>;

/// "KEY=VALUE&..." encoded; empty for none.
std::string FormEncoded(const Values& values);

/// One Alpaca device as one client sees it, over one kept connection.
class AlpacaDevice {
public:
    struct Address {
        std::string host;
        std::uint16_t port = 0;
        std::string type;  ///< "telescope" or "focuser"
        std::uint32_t device = 0;
        std::uint32_t clientId = 0;
    };
    /// The longest wait for an answer in seconds: of most members, of those that move or connect before they answer,
    /// and of a park, which may make other moves first.
    struct Limits {
        double brief = 10.0;
        double patient = 120.0;
        double park = 600.0;
    };
    /// The limit of a PUT to a member in lower case. A guide pulse may be answered at its end: its duration is added.
    static double LimitOfPut(const Limits& limits, std::string_view member, const Values& values);

    AlpacaDevice(Address address, Limits limits);

    /// Called a few times a second while an answer is awaited.
    void WhileWaiting(std::function<void()> call) { whileWaiting_ = std::move(call); }

    /// Reads a member, named in any case. Raises `DeviceError`, `Unreachable`.
    boost::json::value Get(std::string_view member, const Values& values = {});
    /// Writes or calls a member; its value, null for none.
    boost::json::value Put(std::string_view member, const Values& values = {});

    /// Members whose value is a number or a flag; a value of another kind is a `DeviceError` with number 0.
    double Number(std::string_view member);
    bool Flag(std::string_view member);

    /// Nothing when the device reports an error or the value is of another kind: for members that a device may lack.
    /// Raises `Unreachable` only.
    std::optional<boost::json::value> TryGet(std::string_view member);
    std::optional<double> TryNumber(std::string_view member);
    std::optional<bool> TryFlag(std::string_view member);

    const Address& Where() const { return address_; }

private:
    boost::json::value Call(HttpConnection::Verb verb, std::string_view member, Values values);

    Address address_;
    Limits limits_;
    HttpConnection connection_;
    std::uint32_t transaction_;  ///< of the last request
    std::function<void()> whileWaiting_;
};

}  // namespace kestrane::client
