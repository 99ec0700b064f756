#include "platform/posix/posix_folders.h"

#include "platform/posix/environment.h"

namespace kestrane {

std::filesystem::path PosixFolders::CommonAppData() {
    return FolderFromEnvironment("KESTRANE_COMMON_APPDATA", "XDG_DATA_HOME", ".local/share");
}

std::filesystem::path PosixFolders::Documents() {
    return FolderFromEnvironment("KESTRANE_DOCUMENTS", nullptr, "Documents");
}

}  // namespace kestrane
