#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace kestrane {

/// Bytes of the UTF-8 character at the front of a text that is not empty; 0 when there is no well-formed one.
std::size_t Utf8Length(std::string_view text);

/// Whether all of the text is UTF-8.
bool IsUtf8(std::string_view text);

/// Takes the last character off a text; an empty one stays empty.
void DropLastCharacter(std::string& text);

/// Appends a character up to U+FFFF that is no surrogate.
void AppendUtf8(std::string& text, std::uint32_t character);

}  // namespace kestrane
