#include "platform/posix/posix_application_settings.h"

#include "platform/posix/environment.h"
#include "platform/posix/ini_file.h"

namespace kestrane {

std::string PosixApplicationSettings::Get(std::string_view application, std::string_view section, std::string_view key,
                                          std::string_view fallback) {
    const IniFile file = IniFile::Load(UserConfigFolder() / (std::string(application) + ".ini"));
    return file.Find(section, key).value_or(std::string(fallback));
}

}  // namespace kestrane
