#include "settings/legacy_ini.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <system_error>
#include <vector>

#include "kernel/base/errors.h"
#include "kernel/base/text.h"
#include "settings/legacy_text.h"

namespace kestrane {
namespace {

/// Lines end at a carriage return, a line feed or both in that order; a byte-order mark at the start does not belong to
/// them.
std::vector<std::string> Lines(std::string_view text) {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (text.starts_with(kByteOrderMark)) {
        text.remove_prefix(kByteOrderMark.size());
    }
    std::vector<std::string> lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find_first_of("\r\n"), text.size());
        lines.emplace_back(text.substr(0, end));
        text.remove_prefix(end);
        text.remove_prefix(text.starts_with("\r\n") ? 2 : text.empty() ? 0 : 1);
    }
    return lines;
}

std::vector<std::string> ReadLines(const std::filesystem::path& file) {
    std::error_code failure;
    const std::filesystem::file_status status = std::filesystem::status(file, failure);
    if (status.type() == std::filesystem::file_type::not_found) {
        std::ofstream created(file, std::ios::binary);
        return {};
    }
    if (!std::filesystem::is_regular_file(status)) {
        RaiseFileAccess();  // a directory would be found empty, a pipe would be waited for
    }
    std::filesystem::permissions(file, std::filesystem::perms::owner_write, std::filesystem::perm_options::add,
                                 failure);
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
        RaiseFileAccess();
    }
    const std::string text{std::istreambuf_iterator<char>(stream), {}};
    if (stream.bad()) {
        RaiseFileAccess();
    }
    return Lines(text);
}

bool IsHeader(std::string_view line) {
    return line.find('[') != std::string_view::npos;
}

}  // namespace

std::string ReadLegacyValue(const std::filesystem::path& file, std::string_view section, std::string_view key,
                            std::string_view fallback) {
    const std::string prefix = ToLower(key) + "=";
    bool inSection = false;
    for (const std::string& line : ReadLines(file)) {
        const std::string lowerLine = ToLower(line);
        if (IsHeader(line)) {
            inSection = lowerLine == section;
        } else if (inSection && lowerLine.starts_with(prefix)) {
            return Utf8OfLegacyText(line.substr(prefix.size()));
        }
    }
    return std::string(fallback);
}

std::string ReadAllLegacyValues(const std::filesystem::path& file) {
    std::string all;
    for (const std::string& line : ReadLines(file)) {
        const std::string trimmed = Trim(line);
        if (!IsHeader(trimmed) && trimmed.find('=') != std::string::npos) {
            all.append(trimmed).append(",");
        }
    }
    return all;
}

}  // namespace kestrane
