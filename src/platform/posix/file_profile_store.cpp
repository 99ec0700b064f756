#include "platform/posix/file_profile_store.h"

#include "platform/posix/ini_file.h"

namespace kestrane {

FileProfileStore::FileProfileStore(Folders& folders) : folders_(folders) {}

void FileProfileStore::Register(std::string_view deviceType, std::string_view driverId, std::string_view description) {
    IniFile file = IniFile::Load(Path());
    if (file.Find(deviceType, driverId) == description) {
        return;
    }
    file.Set(deviceType, driverId, description);
    file.Save(Path());
}

void FileProfileStore::Unregister(std::string_view deviceType, std::string_view driverId) {
    IniFile file = IniFile::Load(Path());
    if (!file.Find(deviceType, driverId)) {
        return;
    }
    file.Remove(deviceType, driverId);
    file.Save(Path());
}

bool FileProfileStore::IsRegistered(std::string_view deviceType, std::string_view driverId) {
    return IniFile::Load(Path()).Find(deviceType, driverId).has_value();
}

bool FileProfileStore::Available() {
    return true;
}

std::filesystem::path FileProfileStore::Path() {
    return folders_.CommonAppData() / "Kestrane" / "ASCOM" / "Profile.ini";
}

}  // namespace kestrane
