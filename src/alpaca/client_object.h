#pragma once

#include <memory>
#include <string_view>

#include "alpaca/device_kind.h"

/// One client's object of a device.
namespace kestrane::alpaca {

/// A device object as the server sees it. Destroying it releases the object; the driver ends its process when the last
/// one is released. Logic thread only.
class DeviceObject {
public:
    virtual ~DeviceObject() = default;
    /// A telescope's `Connected`, a focuser's `Link`. May pump; raises what the driver raises.
    virtual bool Connected() = 0;
    virtual void Connected(bool connect) = 0;
    /// Whether a motion runs that goes on until its client ends it.
    virtual bool MovesOn() { return false; }
    /// Ends such motions; raises nothing. One that the mount did not hear end goes on.
    virtual void EndMotions() {}
    /// Logs that a member was stopped before it could begin.
    virtual void DoesNotBegin(std::string_view /*member*/) {}
};

class DeviceFactory {
public:
    virtual ~DeviceFactory() = default;
    virtual std::unique_ptr<DeviceObject> Create(DeviceKind kind) = 0;
};

/// A device object with the balance of its `Connected` writes: those of true minus those of false.
class ClientObject {
public:
    explicit ClientObject(std::unique_ptr<DeviceObject> device) : device_(std::move(device)) {}

    DeviceObject& Device() { return *device_; }

    /// Writes to the device and counts the write if it did not fail: each write counts, also one that changes nothing.
    void Connected(bool connect);
    bool IsConnected() const { return connects_ > 0; }
    /// Writes false until the balance is 0.
    void Disconnect();

private:
    std::unique_ptr<DeviceObject> device_;
    int connects_ = 0;
};

}  // namespace kestrane::alpaca
