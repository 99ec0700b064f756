#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "ui/setup/setup_needs.h"
#include "ui/setup/setup_site.h"

namespace kestrane {

/// The buttons of the setup dialog that talk to the mount, over the road that the dialog shows. The link of the process
/// is used where it is such a road, and left open or closed as it was; else one of their own. Each failure ends in a
/// message box. Logic thread only.
class SetupChecks {
public:
    SetupChecks(SetupNeeds& needs, SetupSite& site, SetupValidation& validation);

private:
    void CheckMount();
    void GetLongLat();
    void SendLongLat();

    bool UsesLinkOfProcess() const;
    std::unique_ptr<MountLink> MakeLink() const;
    bool OnLinkOfWindow(const std::function<bool(MountLink&)>& work);
    bool AskPosition(double& westLongitude, double& latitude);
    bool SendPosition(const std::string& longitude, const std::string& latitude);
    std::string PlaceOfMount() const;
    void Say(const std::string& text);

    SetupNeeds& needs_;
    frmInitialSetup& form_;
    SetupSite& site_;
    SetupValidation& validation_;
};

}  // namespace kestrane
