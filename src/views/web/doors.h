#pragma once

#include <optional>
#include <string_view>

/// Who may open the hand box as a page. Pure functions.
namespace kestrane::web {

enum class Doors {
    Local,  ///< this machine alone; the default
    Look,   ///< others are shown everything and may stop
    Lan,    ///< everybody whom the server hears may do everything
    Off,    ///< nobody; there is no page
};

enum class May { Nothing, Stop, All };

/// "local", "look", "lan" or "off", in these letters; nothing for any other word.
std::optional<Doors> DoorsOf(std::string_view word);

/// What the client at an IP address may do. Its own address decides, not the one at which the server listens: only a
/// loopback address is this machine.
May MayOf(Doors doors, std::string_view remoteAddress);

}  // namespace kestrane::web
