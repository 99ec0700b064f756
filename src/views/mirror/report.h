#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "platform/screen_area.h"

/// What a view reports of a person's hands. Pure functions.
namespace kestrane::mirror {

enum class Deed { Click, DblClick, Change, Hold, Beat, Release, Stop, Close, Icon, Lines, Snapshot, Place, Tray, Keep };

/// The value of a change, as it came.
using ReportedValue = std::variant<std::monostate, bool, std::int32_t, std::string>;

/// One message of a view. What its deed does not have is empty or 0.
struct Report {
    Deed deed = Deed::Beat;
    std::string form;
    std::string control;
    std::string stream;
    std::string message;  ///< of the icon
    ReportedValue value;
    std::uint64_t opening = 0;  ///< of the window; 0: none
    std::uint64_t beat = 0;     ///< 0: none
    std::uint64_t hold = 0;     ///< 0: none
    std::uint64_t from = 0;
    std::optional<ScreenArea> at;      ///< of a window, or of the tray
    std::optional<ScreenArea> screen;  ///< with the tray
    std::optional<std::uint64_t> id;   ///< the view wants an answer with this number
};

/// Takes a message apart. Nothing for a text that is no JSON object, for an unknown deed, and for one with a member of
/// the wrong kind or without one that it needs. Numbers are whole, from 0 to 2^53 - 1; those of a value have 32 bits.
std::optional<Report> ParseReport(std::string_view text);

}  // namespace kestrane::mirror
