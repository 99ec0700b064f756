#pragma once

#include "platform/system_services.h"

namespace kestrane {

/// The utility object is part of these programs, so it is always there.
class PosixUtility final : public UtilityService {
public:
    bool Available() override { return true; }
};

}  // namespace kestrane
