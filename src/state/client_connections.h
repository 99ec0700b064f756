#pragma once

#include "state/driver_state.h"

namespace kestrane {

enum class ClientKind { Telescope = 0, Focuser = 1 };

/// What a device object needs from the manager of the shared link.
class ClientConnections {
public:
    virtual ~ClientConnections() = default;

    /// Opens the link if it is closed, proves that a mount answers, and counts the client. Pumps while it waits.
    /// Raises the transport's own error when the link could not be set up, 0x80040402 when no mount answered.
    virtual void OpenConnection(ClientKind kind) = 0;
    /// Takes the client off the count; the link stays open.
    virtual void CloseConnection(ClientKind kind) = 0;
    virtual bool IsClientConnected(ClientKind kind) = 0;

    /// Shows the counts of device objects on the hand box.
    virtual void UpdateClientsLabel() = 0;
    /// Ends the process when no client holds an object of either kind. A park on its way comes to its end first.
    virtual void ExitIfNoClients() = 0;
};

/// Whether a park is on its way whose end only the driver can bring about. One that stands away from its place, or that
/// cannot be heard, is not.
inline bool ParkIsOnItsWay(const DriverState& state) {
    const bool moves = state.g_bSlewing || state.g_bSafeSlewPending || state.g_bSlewCompletePending;
    return state.g_bParking && moves && !state.g_bLostComms;
}

/// What a device class needs from the start-up procedures when its first object is made.
class DeviceRegistration {
public:
    virtual ~DeviceRegistration() = default;

    /// Registers the class with the platform. When a platform object is missing, the message is shown, the process is
    /// asked to end, and the result is false.
    virtual bool RegisterTelescope() = 0;
    virtual bool RegisterFocuser() = 0;
    /// Loads the astronomy library on the first real connect.
    virtual void EnsureDriverHelper() = 0;
};

}  // namespace kestrane
