#pragma once

#include <string_view>

#include "state/mount_commands.h"
#include "state/site_query.h"

namespace kestrane {

/// Whether a stop of all motion is one command or two, of which one may be lost.
enum class StopForm { Single, Pair };

/// What the queries and the poll need from the driver's own telescope object.
class TelescopeActions {
public:
    virtual ~TelescopeActions() = default;

    virtual MountCommands& Commands() = 0;
    /// Takes a status text apart into flags and displays.
    virtual void ParseGOS(std::string_view status) = 0;
    /// Fills the hand box after a connect, or again when the mount reports that it lost its position.
    virtual void InitUI() = 0;
    /// Starts the second leg of a two-leg slew. May raise.
    virtual void StartSecondLeg(double rightAscension, double declination) = 0;
    /// Stops all motion once more.
    virtual void StopAgain(StopForm form) = 0;
    /// A move of a park has ended: starts its second leg, or finishes or cancels the park. Raises nothing.
    virtual void HandleParkComplete() = 0;
    /// Asks the mount for the site's latitude and keeps it. May raise.
    virtual SiteAnswer ReadSiteLatitude() = 0;
};

}  // namespace kestrane
