#include "platform/posix/posix_folders.h"

#include "platform/posix/environment.h"

namespace kestrane {

std::filesystem::path PosixFolders::CommonAppData() {
    return FolderFromEnvironment("KESTRANE_COMMON_APPDATA", "XDG_DATA_HOME", ".local/share");
}

std::filesystem::path PosixFolders::Documents() {
    return FolderFromEnvironment("KESTRANE_DOCUMENTS", nullptr, "Documents");
}

std::filesystem::path PosixFolders::OfProgram() {
    std::error_code none;
    return std::filesystem::read_symlink("/proc/self/exe", none).parent_path();
}

}  // namespace kestrane
