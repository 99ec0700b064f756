#pragma once

#include "platform/system_services.h"

namespace kestrane {

/// Folders as the environment and the conventions of the desktop name them. Read at each call; nothing is created.
class PosixFolders final : public Folders {
public:
    /// `KESTRANE_COMMON_APPDATA`, else `XDG_DATA_HOME`, else "~/.local/share".
    std::filesystem::path CommonAppData() override;
    /// `KESTRANE_DOCUMENTS`, else "~/Documents".
    std::filesystem::path Documents() override;
    std::filesystem::path OfProgram() override;
};

}  // namespace kestrane
