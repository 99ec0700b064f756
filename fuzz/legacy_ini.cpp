// A user's old ini file: edited by hand, by other programs, on other systems. The first line of the input is the key,
// the rest is the file.

#include "settings/legacy_ini.h"

#include <algorithm>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "settings/legacy_text.h"
#include "support.h"

namespace {

using namespace kestrane;
using fuzz::Require;

constexpr std::string_view kSection = "[default]";
constexpr std::string_view kFallback = "the caller's default";

/// A file in memory with a path like any other.
class FileInMemory {
public:
    FileInMemory() : file_(::memfd_create("ini", 0)) { Require(file_ >= 0, "there is a file in memory"); }
    ~FileInMemory() { ::close(file_); }
    FileInMemory(const FileInMemory&) = delete;
    FileInMemory& operator=(const FileInMemory&) = delete;

    std::filesystem::path Path() const { return "/proc/self/fd/" + std::to_string(file_); }
    void Write(std::string_view content) const {
        Require(::ftruncate(file_, 0) == 0, "the file can be emptied");
        Require(::pwrite(file_, content.data(), content.size(), 0) == static_cast<ssize_t>(content.size()),
                "the file can be written");
    }
    std::string Read() const {
        struct stat facts {};
        Require(::fstat(file_, &facts) == 0, "the file has a size");
        std::string content(static_cast<std::size_t>(facts.st_size), '\0');
        Require(::pread(file_, content.data(), content.size(), 0) == facts.st_size, "the file can be read");
        return content;
    }

private:
    int file_;
};

std::string Lower(std::string_view text) {
    std::string lower;
    for (const char c : text) {
        lower += c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
    }
    return lower;
}

/// The lines of a file by a walk over its characters: they end at CR, at LF or at both in that order.
std::vector<std::string> NaiveLines(std::string_view content) {
    if (content.starts_with("\xEF\xBB\xBF")) {
        content.remove_prefix(3);
    }
    std::vector<std::string> lines(1);
    char before = '\0';
    for (const char c : content) {
        if (c == '\r' || (c == '\n' && before != '\r')) {
            lines.emplace_back();
        } else if (c != '\n') {
            lines.back() += c;
        }
        before = c;
    }
    return lines;
}

/// The last header above each line counts; the first line "key=" below the right one gives the value.
std::string NaiveLookUp(std::string_view content, std::string_view key) {
    std::string header;
    for (const std::string& line : NaiveLines(content)) {
        if (line.find('[') != std::string_view::npos) {
            header = line;
            continue;
        }
        const bool longEnough = line.size() > key.size();
        if (Lower(header) == kSection && longEnough && Lower(line.substr(0, key.size())) == Lower(key) &&
            line[key.size()] == '=') {
            return Utf8OfLegacyText(line.substr(key.size() + 1));
        }
    }
    return std::string(kFallback);
}

/// Every line with a "=" and without a "[", blanks around it taken off, a "," behind it.
std::string NaiveAll(std::string_view content) {
    std::string all;
    for (const std::string& whole : NaiveLines(content)) {
        std::string_view line = whole;
        if (line.find('=') == std::string_view::npos || line.find('[') != std::string_view::npos) {
            continue;
        }
        while (line.starts_with(' ')) {
            line.remove_prefix(1);
        }
        while (line.ends_with(' ')) {
            line.remove_suffix(1);
        }
        all.append(line).append(",");
    }
    return all;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const FileInMemory file;
    const std::string_view input = fuzz::TextOf(data, size);
    const std::size_t endOfKey = std::min(input.find('\n'), size);
    const std::string key(input.substr(0, endOfKey));
    const std::string_view content = input.substr(std::min(endOfKey + 1, size));
    file.Write(content);

    const std::string value = ReadLegacyValue(file.Path(), kSection, key, kFallback);
    Require(value == NaiveLookUp(content, key), "the look-up finds the key's first line in the section");
    Require(ReadLegacyValue(file.Path(), kSection, Lower(key), kFallback) == value, "the case of a key does not count");
    Require(ReadAllLegacyValues(file.Path()) == NaiveAll(content), "all values stand in the order of the file");
    Require(file.Read() == content, "the file stays as it was");
    return 0;
}
