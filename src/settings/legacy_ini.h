#pragma once

#include <filesystem>
#include <string>
#include <string_view>

/// The plain ini file that held the settings before the settings file existed: "[section]" lines and "key=value" lines.
/// Never written, except that it is created empty when it is missing, and made writable for its owner. A file that
/// cannot be read is a run-time error (75).
namespace kestrane {

/// The value under the key (in any case) in the section: the text after "=" up to the end of the line, as UTF-8 (see
/// `Utf8OfLegacyText`) and else unchanged; `fallback` when there is none.
std::string ReadLegacyValue(const std::filesystem::path& file, std::string_view section, std::string_view key,
                            std::string_view fallback);

/// All "name=value" lines, trimmed, each with a "," after it.
std::string ReadAllLegacyValues(const std::filesystem::path& file);

}  // namespace kestrane
