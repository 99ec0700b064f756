#pragma once

#include "platform/system_services.h"

namespace kestrane {

/// A system without a version record and a process token: the name and the administrator test (the root user)
/// have answers.
class PosixSystemInfo final : public SystemInfo {
public:
    std::optional<OsVersion> GetVersion() override;
    /// Distribution, kernel and its release.
    std::string Name() override;
    bool ShellAdminTest() override;
    std::optional<int> TokenElevationType() override;
};

}  // namespace kestrane
