#pragma once

#include "platform/system_services.h"

namespace kestrane {

/// Stands in for the registry: the key "application\section" is the section of "<application>.ini" in the user's
/// configuration folder, and every value in it is a text. Read again at each call.
class PosixRegistry final : public Registry {
public:
    std::optional<RegistryValue> Read(std::string_view key, std::string_view value) override;
};

}  // namespace kestrane
