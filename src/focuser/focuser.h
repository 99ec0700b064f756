#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "focuser/focus_motor.h"
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
    FocusMotor& motor;
    std::function<void()> runFirstConnection;  ///< the first-connection step of the telescope side
    std::function<void()> showSetup;           ///< shows the setup window and waits until it is closed
};

/// The focuser on the mount's auxiliary port as clients see it: relative and open-loop, where a step is a time. All
/// objects share one motor (see `FocusMotor`). Members log on origin "FOCUSER". Logic thread only.
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

    /// Moves by so many steps: positive is out, negative in; returns at once. 0 stops the motor. Nothing happens while
    /// no focuser client is connected. 0x80040402 beyond the greatest step count. See `FocusMotor::Move`.
    void Move(std::int32_t NewPosition);
    /// Stops the motor; nothing happens while no focuser client is connected.
    void Halt();
    /// Shows the setup window and waits until it is closed; pumps. Then reloads the shared values.
    void SetupDialog();

    bool Absolute();              ///< false
    bool IsMoving();              ///< while a run or its pause is under way
    std::int32_t MaxIncrement();  ///< steps of one move
    std::int32_t MaxStep();       ///< the same
    bool TempComp();              ///< false
    bool TempCompAvailable();     ///< false
    // The motor has no encoder and no thermometer: these raise 0x80040400.
    std::int32_t Position();
    double StepSize();
    void TempComp(bool compensate);
    double Temperature();
    int InterfaceVersion();  ///< 2
    std::string Name();
    std::string Description();
    std::string DriverInfo();
    std::string DriverVersion();

    /// Objects of all clients; writing stores the count, the permanent slot included.
    std::int16_t ClientCount();
    void ClientCount(std::int16_t count);

    /// Reloads the shared values from the settings.
    void UpdateValues() { needs_.motor.UpdateValues(); }
    /// Logs that a member was stopped before it could begin.
    void DoesNotBegin(std::string_view member);

private:
    void Note(LogLevel level, std::string_view text);
    [[noreturn]] void RefuseMember(std::string_view logged, std::string_view property);
    bool LogGet(std::string_view name, bool value);
    std::int32_t LogGet(std::string_view name, std::int32_t value);
    std::string LogGet(std::string_view name, std::string value);

    FocuserNeeds needs_;
    Essentials driver_;
    DriverState& state_;
};

}  // namespace kestrane
