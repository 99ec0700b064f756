#pragma once

#include "platform/system_services.h"

namespace kestrane {

/// Registered drivers in "Kestrane/ASCOM/Profile.ini" of the common data folder: a section for each device type, a key
/// for each driver id, the description as its value. The file is read again at each call and replaced in one step. When
/// the file system refuses, the store stays as it was; nothing is raised.
class FileProfileStore final : public ProfileStore {
public:
    explicit FileProfileStore(Folders& folders);

    void Register(std::string_view deviceType, std::string_view driverId, std::string_view description) override;
    void Unregister(std::string_view deviceType, std::string_view driverId) override;
    bool IsRegistered(std::string_view deviceType, std::string_view driverId) override;
    /// Always true: the store needs nothing that a machine may not have.
    bool Available() override;

private:
    std::filesystem::path Path();

    Folders& folders_;
};

}  // namespace kestrane
