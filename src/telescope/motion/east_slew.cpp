#include "telescope/motion/east_slew.h"

#include "kernel/base/conversions.h"
#include "settings/persist.h"
#include "state/driver_state.h"
#include "telescope/motion/park_geometry.h"

namespace kestrane {

std::optional<double> EastSlewHours(Essentials driver) {
    const bool isWanted = driver.persist.ReadFlag(setting::chkSlewEast);
    const double hours = Val_Global(driver.persist.Read(setting::txtSlewEastFirstHours), driver.log);
    const bool isNeeded = WouldCrossPole(driver.state.g_nSideOfPier, driver.state.g_dHourAngle);
    return isWanted && isNeeded && CanSlewEast(hours) ? std::optional(hours) : std::nullopt;
}

}  // namespace kestrane
