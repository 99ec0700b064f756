#include "settings/legacy_ini.h"

#include <fstream>
#include <system_error>
#include <vector>

#include "kernel/base/errors.h"
#include "kernel/base/text.h"

namespace kestrane {
namespace {

[[noreturn]] void RaiseFileAccess() {
    throw RunTimeError(RunTimeError::kFileAccess, "Path/File access error");
}

std::vector<std::string> ReadLines(const std::filesystem::path& file) {
    std::error_code failure;
    if (std::filesystem::is_directory(file, failure)) {
        RaiseFileAccess();  // a stream would open it and find it empty
    }
    if (!std::filesystem::exists(file, failure)) {
        std::ofstream created(file, std::ios::binary);
    }
    std::filesystem::permissions(file, std::filesystem::perms::owner_write, std::filesystem::perm_options::add,
                                 failure);
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
        RaiseFileAccess();
    }
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        if (line.ends_with('\r')) {
            line.pop_back();
        }
        lines.push_back(line);
    }
    if (stream.bad()) {
        RaiseFileAccess();
    }
    return lines;
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
            return line.substr(prefix.size());
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
