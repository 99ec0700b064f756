#include "state/mount_rates.h"

namespace kestrane {

void MountRates::UpdateMountRates(std::string_view type, bool /*force*/) {
    needs_.state.g_sMountRateType = type;
}

}  // namespace kestrane
