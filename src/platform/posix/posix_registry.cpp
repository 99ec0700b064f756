#include "platform/posix/posix_registry.h"

#include "platform/posix/environment.h"
#include "platform/posix/ini_file.h"

namespace kestrane {
namespace {

constexpr std::uint32_t kText = 1;

}  // namespace

std::optional<RegistryValue> PosixRegistry::Read(std::string_view key, std::string_view value) {
    const auto backslash = key.find('\\');
    if (backslash == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string fileName = std::string(key.substr(0, backslash)) + ".ini";
    const auto text = IniFile::Load(UserConfigFolder() / fileName).Find(key.substr(backslash + 1), value);
    if (!text) {
        return std::nullopt;
    }
    return RegistryValue{kText, *text + '\0'};
}

}  // namespace kestrane
