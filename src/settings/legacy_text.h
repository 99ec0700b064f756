#pragma once

#include <string>
#include <string_view>

namespace kestrane {

/// A line of a file that an older version wrote, as UTF-8. Text in UTF-8 stays as it is; any other text is read in the
/// western code page of that time (1252), in which every byte has a character: nothing is lost or refused.
std::string Utf8OfLegacyText(std::string_view bytes);

}  // namespace kestrane
