#pragma once

#include <filesystem>
#include <string>

#include "alpaca/device_kind.h"

namespace kestrane::alpaca {

/// The unique ids of the devices, made once and kept in a small file of `name=id` lines. Nothing is read or written
/// before the first id is needed. An id that cannot be kept (a full disk) is used for this run. One thread.
class DeviceIds {
public:
    explicit DeviceIds(std::filesystem::path file) : file_(std::move(file)) {}

    /// A random (version 4) UUID.
    const std::string& IdOf(DeviceKind device);

private:
    void Load();
    bool CompleteMissing();
    void Save() const;
    std::string& Slot(DeviceKind device) { return device == DeviceKind::Telescope ? telescope_ : focuser_; }

    std::filesystem::path file_;
    bool loaded_ = false;
    std::string telescope_;
    std::string focuser_;
};

}  // namespace kestrane::alpaca
