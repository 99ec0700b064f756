#pragma once

#include "platform/system_services.h"

namespace kestrane {

/// Settings of other programs in "<application>.ini" of the user's configuration folder. Read again at each call.
class PosixApplicationSettings final : public ApplicationSettings {
public:
    std::string Get(std::string_view application, std::string_view section, std::string_view key,
                    std::string_view fallback) override;
};

}  // namespace kestrane
