#pragma once

#include <memory>
#include <string_view>

#include "alpaca/client_object.h"
#include "kernel/driver.h"

namespace kestrane::alpaca {

/// A client's telescope object as the server holds it.
class ServedTelescope final : public DeviceObject {
public:
    explicit ServedTelescope(TelescopeObject telescope) : telescope_(std::move(telescope)) {}

    bool Connected() override { return telescope_->Connected(); }
    void Connected(bool connect) override { telescope_->Connected(connect); }
    bool MovesOn() override { return telescope_->Axes().Runs(); }
    void EndMotions() override { telescope_->StopOwnAxes("The client has gone: its axes are stopped"); }
    void DoesNotBegin(std::string_view member) override { telescope_->DoesNotBegin(member); }
    Telescope& Device() { return *telescope_; }

private:
    TelescopeObject telescope_;
};

/// A client's focuser object as the server holds it; its `Connected` is the focuser's `Link`.
class ServedFocuser final : public DeviceObject {
public:
    explicit ServedFocuser(FocuserObject focuser) : focuser_(std::move(focuser)) {}

    bool Connected() override { return focuser_->Link(); }
    void Connected(bool connect) override { focuser_->Link(connect); }
    void DoesNotBegin(std::string_view member) override { focuser_->DoesNotBegin(member); }
    Focuser& Device() { return *focuser_; }

private:
    FocuserObject focuser_;
};

/// Makes the clients' objects in the driver.
class DriverDevices final : public DeviceFactory {
public:
    explicit DriverDevices(Driver& driver) : driver_(driver) {}

    std::unique_ptr<DeviceObject> Create(DeviceKind kind) override;

private:
    Driver& driver_;
};

}  // namespace kestrane::alpaca
