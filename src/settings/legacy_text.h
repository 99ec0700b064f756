#pragma once

#include <string>
#include <string_view>

namespace kestrane {

/// A line of a file that an older version wrote, as UTF-8. What is UTF-8 stays as it is; any other text is taken for
/// the western code page of that time (1252), in which every byte has its character: nothing is lost or refused.
std::string Utf8OfLegacyText(std::string_view bytes);

}  // namespace kestrane
