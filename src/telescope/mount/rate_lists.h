#pragma once

#include "telescope/telescope_core.h"

namespace kestrane {

/// Makes the lists of rates that the clients of this process share, where they are not made yet.
void MakeClientRateLists(TelescopeNeeds& needs);

}  // namespace kestrane
