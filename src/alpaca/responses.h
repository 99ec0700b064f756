#pragma once

#include <cstdint>
#include <string_view>

#include "http/answer.h"

/// The JSON answers of device and management requests. Pure functions.
namespace kestrane::alpaca {

/// The transaction numbers that every JSON answer repeats.
struct TransactionIds {
    std::uint32_t client = 0;  ///< given by the client
    std::uint32_t server = 0;  ///< from 1 up
};

/// Success; `jsonValue` may be empty for members without a value.
http::Answer ValueAnswer(const TransactionIds& ids, std::string_view jsonValue);
/// Failure of the driver: status 200 with the Alpaca error number and the driver's message.
http::Answer ErrorAnswer(const TransactionIds& ids, std::int32_t number, std::string_view message);

/// The Alpaca number of a driver's error: the number less 0x80040000 in the driver's own range; the number of an
/// unspecified error (0x4FF) for all others, so that no client gets a number that has another meaning there.
std::int32_t AlpacaErrorNumber(std::uint32_t driverNumber);

}  // namespace kestrane::alpaca
