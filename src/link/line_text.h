#pragma once

#include <string>
#include <string_view>

/// Texts of the driver are UTF-8; on a serial line a character is one byte.
namespace kestrane {

/// Characters beyond 0xFF become "?"; bytes that are no UTF-8 go out as they are.
std::string ToLine(std::string_view text);

std::string FromLine(std::string_view bytes);

}  // namespace kestrane
