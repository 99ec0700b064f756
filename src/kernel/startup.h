#pragma once

#include <functional>
#include <memory>

#include "kernel/base/counters.h"
#include "kernel/base/errors.h"
#include "kernel/base/log.h"
#include "kernel/profile.h"
#include "link/link_factory.h"
#include "link/mount_link.h"
#include "platform/platform.h"
#include "settings/persist.h"
#include "state/client_connections.h"
#include "state/driver_state.h"
#include "state/essentials.h"

namespace kestrane {

struct StartupNeeds {
    Essentials driver;
    Platform& platform;
    MessageBoxes& messageBoxes;
    const LinkFactory& links;
    std::unique_ptr<MountLink>& link;
    std::function<void()> showMountInfo;  ///< the caption of the mount's frame, without a port
};

/// The steps of the start of the process, and the registration of each device class when its first object is created.
/// Logic thread only.
class Startup final : public DeviceRegistration {
public:
    explicit Startup(StartupNeeds needs) : needs_(std::move(needs)), driver_(needs_.driver) {}

    /// Everything from the first state of the process to the point where clients' objects are served.
    void Run();
    /// Builds the link from the settings, once per process. After a failure there is no link.
    void CreateLink();

    /// Creates the platform's utility object if it is absent; a failure is swallowed.
    void EnsureUtil();
    bool UtilAvailable();

    // DeviceRegistration
    bool RegisterTelescope() override;
    bool RegisterFocuser() override;
    void EnsureDriverHelper() override;

    const Profile* g_Profile() const { return profile_.get(); }

private:
    void ListPorts();
    void CreateProfile();
    bool Refuse(std::string_view message);

    StartupNeeds needs_;
    Essentials driver_;
    std::unique_ptr<Profile> profile_;
    bool utilCreated_ = false;
    bool driverHelperCreated_ = false;
};

/// The refusal of a start that no client asked for.
void RefuseStandAloneStart(MessageBoxes& messageBoxes);

}  // namespace kestrane
