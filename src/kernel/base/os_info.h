#pragma once

#include <string>

#include "platform/system_services.h"

namespace kestrane {

/// Whether the process runs elevated: full elevation of its token on the NT family from version 6 on, else the answer
/// of the shell's own test. When a test fails, the answer is no.
bool IsAdmin(SystemInfo& system);

/// Name of the operating system for the log header, by its version record or by the name that it gives itself;
/// "unknown" where it has neither.
std::string GetOsName(SystemInfo& system);

}  // namespace kestrane
