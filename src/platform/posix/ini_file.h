#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kestrane {

/// A text of "[section]" lines and "key=value" lines. Section and key names match in any case (of ASCII letters);
/// blanks around names and values do not count; lines that begin with ";" or "#", lines of no known form and keys
/// before the first section are skipped. When a key occurs twice, the first one counts; a section may come in several
/// pieces.
class IniFile {
public:
    /// An empty one when the file is missing, cannot be read or is longer than any settings file (1 MiB).
    static IniFile Load(const std::filesystem::path& path);
    static IniFile Parse(std::string_view text);

    std::optional<std::string> Find(std::string_view section, std::string_view key) const;
    /// Replaces the value or adds the key. Line ends and other control characters in a text become blanks.
    void Set(std::string_view section, std::string_view key, std::string_view value);
    void Remove(std::string_view section, std::string_view key);

    std::string ToText() const;
    /// Replaces the file in one step, so that a reader sees the old text or the new one; its folder is made when it
    /// is missing. False when the file system refuses; the old file is untouched then.
    bool Save(const std::filesystem::path& path) const;

private:
    struct Entry {
        std::string key;
        std::string value;
    };
    struct Section {
        std::string name;
        std::vector<Entry> entries;
    };

    Section& SectionNamed(std::string_view name);

    std::vector<Section> sections_;
};

}  // namespace kestrane
