#include "views/web/doors.h"

#include <algorithm>
#include <array>
#include <boost/asio/ip/address.hpp>
#include <string>
#include <utility>

namespace kestrane::web {
namespace {

constexpr std::array kWords{
    std::pair{std::string_view("local"), Doors::Local},
    std::pair{std::string_view("look"), Doors::Look},
    std::pair{std::string_view("lan"), Doors::Lan},
    std::pair{std::string_view("off"), Doors::Off},
};

bool IsThisMachine(std::string_view remoteAddress) {
    boost::system::error_code error;
    const auto address = boost::asio::ip::make_address(std::string(remoteAddress), error);
    return !error && address.is_loopback();
}

}  // namespace

std::optional<Doors> DoorsOf(std::string_view word) {
    const auto* const row = std::ranges::find(kWords, word, &decltype(kWords)::value_type::first);
    return row == kWords.end() ? std::nullopt : std::optional(row->second);
}

May MayOf(Doors doors, std::string_view remoteAddress) {
    if (doors == Doors::Off) {
        return May::Nothing;
    }
    if (doors == Doors::Lan || IsThisMachine(remoteAddress)) {
        return May::All;
    }
    return doors == Doors::Look ? May::Stop : May::Nothing;
}

}  // namespace kestrane::web
