#pragma once

#include "platform/system_services.h"

namespace kestrane {

/// A system without a version record and a process token: only the administrator test has an answer (the root user).
class PosixSystemInfo final : public SystemInfo {
public:
    std::optional<OsVersion> GetVersion() override;
    bool ShellAdminTest() override;
    std::optional<int> TokenElevationType() override;
};

}  // namespace kestrane
