#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "kernel/base/errors.h"
#include "kernel/base/log.h"
#include "link/mount_link.h"
#include "settings/persist.h"
#include "state/client_connections.h"
#include "state/driver_state.h"
#include "state/essentials.h"

namespace kestrane {

/// What a focuser object needs from its surroundings. All of it outlives the object.
struct FocuserNeeds {
    Essentials driver;
    const std::unique_ptr<MountLink>& link;
    ClientConnections& connections;
    DeviceRegistration& registration;
    std::function<void()> runFirstConnection;  ///< the first-connection step of the telescope side
};

/// The focuser on the mount's auxiliary port as clients see it: relative and open-loop, where a step is a time. Members
/// log on origin "FOCUSER". Logic thread only.
class Focuser {
public:
    explicit Focuser(FocuserNeeds needs);

    void Class_Initialize();
    void Class_Terminate();

    /// Whether a focuser client is connected.
    bool Link();
    /// True opens the shared link for the first client of either kind (the transport's own error reaches the client;
    /// 0x80040402 when no mount answers); pumps. False takes one off the count.
    void Link(bool connect);

    bool Absolute();              ///< false
    bool IsMoving();              ///< false: this build runs no motor
    std::int32_t MaxIncrement();  ///< steps of one move
    std::int32_t MaxStep();       ///< the same
    bool TempComp();              ///< false
    bool TempCompAvailable();     ///< false
    int InterfaceVersion();       ///< 2
    std::string Name();
    std::string Description();
    std::string DriverInfo();
    std::string DriverVersion();

    /// Objects of all clients; writing stores the count, the permanent slot included.
    std::int16_t ClientCount();
    void ClientCount(std::int16_t count);

    /// Reloads the shared values from the settings.
    void UpdateValues();

private:
    bool LogGet(std::string_view name, bool value);
    std::int32_t LogGet(std::string_view name, std::int32_t value);
    std::string LogGet(std::string_view name, std::string value);

    FocuserNeeds needs_;
    Essentials driver_;
    DriverState& state_;
};

}  // namespace kestrane
