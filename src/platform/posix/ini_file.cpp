#include "platform/posix/ini_file.h"

#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <system_error>
#include <unistd.h>

namespace kestrane {
namespace {

constexpr std::uintmax_t kMaxLength = 1024 * 1024;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

constexpr char Lower(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + 32) : letter;
}

bool SameName(std::string_view left, std::string_view right) {
    return std::ranges::equal(left, right, {}, Lower, Lower);
}

std::string_view Trimmed(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r";
    const auto first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::string OneLine(std::string_view text) {
    std::string line(text);
    std::ranges::replace_if(
        line, [](char letter) { return letter >= '\0' && letter < ' '; }, ' ');
    return line;
}

bool WriteWhole(int file, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = ::write(file, text.data(), text.size());
        if (written <= 0) {
            return false;
        }
        text.remove_prefix(static_cast<std::size_t>(written));
    }
    return ::fsync(file) == 0;
}

}  // namespace

IniFile IniFile::Load(const std::filesystem::path& path) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error) || std::filesystem::file_size(path, error) > kMaxLength) {
        return {};
    }
    std::ifstream file(path, std::ios::binary);
    return Parse(std::string(std::istreambuf_iterator<char>(file), {}));
}

IniFile IniFile::Parse(std::string_view text) {
    if (text.starts_with(kByteOrderMark)) {
        text.remove_prefix(kByteOrderMark.size());
    }
    IniFile file;
    while (!text.empty()) {
        const auto length = std::min(text.find('\n'), text.size());
        const std::string_view line = Trimmed(text.substr(0, length));
        text.remove_prefix(std::min(length + 1, text.size()));
        const auto equals = line.find('=');
        if (line.starts_with(';') || line.starts_with('#')) {
            continue;
        }
        if (line.starts_with('[') && line.ends_with(']')) {
            file.sections_.push_back({std::string(Trimmed(line.substr(1, line.size() - 2))), {}});
        } else if (equals != std::string_view::npos && !file.sections_.empty()) {
            file.sections_.back().entries.push_back(
                {std::string(Trimmed(line.substr(0, equals))), std::string(Trimmed(line.substr(equals + 1)))});
        }
    }
    return file;
}

std::optional<std::string> IniFile::Find(std::string_view section, std::string_view key) const {
    for (const Section& candidate : sections_) {
        for (const Entry& entry : candidate.entries) {
            if (SameName(candidate.name, section) && SameName(entry.key, key)) {
                return entry.value;
            }
        }
    }
    return std::nullopt;
}

void IniFile::Set(std::string_view section, std::string_view key, std::string_view value) {
    auto& entries = SectionNamed(OneLine(section)).entries;
    const std::string name = OneLine(key);
    const auto entry = std::ranges::find_if(entries, [&](const Entry& e) { return SameName(e.key, name); });
    if (entry != entries.end()) {
        entry->value = OneLine(value);
    } else {
        entries.push_back({name, OneLine(value)});
    }
}

void IniFile::Remove(std::string_view section, std::string_view key) {
    for (Section& candidate : sections_) {
        if (SameName(candidate.name, section)) {
            std::erase_if(candidate.entries, [&](const Entry& entry) { return SameName(entry.key, key); });
        }
    }
}

std::string IniFile::ToText() const {
    std::string text;
    for (const Section& section : sections_) {
        text += "[" + section.name + "]\n";
        for (const Entry& entry : section.entries) {
            text += entry.key + "=" + entry.value + "\n";
        }
    }
    return text;
}

bool IniFile::Save(const std::filesystem::path& path) const {
    std::error_code error;
    std::filesystem::create_directories(path.parent_path(), error);
    const std::filesystem::path fresh = path.string() + "." + std::to_string(getpid()) + ".new";
    const int file = ::open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (file < 0) {
        return false;
    }
    const bool written = WriteWhole(file, ToText());
    const bool closed = ::close(file) == 0;
    if (written && closed && std::rename(fresh.c_str(), path.c_str()) == 0) {
        return true;
    }
    ::unlink(fresh.c_str());
    return false;
}

IniFile::Section& IniFile::SectionNamed(std::string_view name) {
    const auto section = std::ranges::find_if(sections_, [&](const Section& s) { return SameName(s.name, name); });
    if (section != sections_.end()) {
        return *section;
    }
    return sections_.emplace_back(Section{std::string(name), {}});
}

}  // namespace kestrane
