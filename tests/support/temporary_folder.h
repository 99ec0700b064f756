#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "platform/system_services.h"

namespace kestrane {

/// The whole content of a file; empty when there is none.
std::string ContentOf(const std::filesystem::path& file);

/// A folder that is removed together with its owner, whatever it then holds.
class TemporaryFolder {
public:
    enum class Place {
        Memory,  ///< if the machine has such a place: there a setting's wait for the disk costs nothing
        Disk,    ///< where programs may run
    };

    explicit TemporaryFolder(Place place = Place::Memory);
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& Path() const { return path_; }
    /// Writes a file in it, and makes the folders on the way; returns the file's path.
    std::filesystem::path Write(const std::filesystem::path& name, std::string_view text) const;
    /// The content of a file in it.
    std::string Read(const std::filesystem::path& name) const { return ContentOf(path_ / name); }

private:
    std::filesystem::path path_;
};

/// The folders of a machine, two separate ones.
class TemporaryFolders final : public Folders {
public:
    TemporaryFolders();

    std::filesystem::path CommonAppData() override { return Root() / "common"; }
    std::filesystem::path Documents() override { return Root() / "documents"; }
    std::filesystem::path OfProgram() override { return Root() / "program"; }
    const std::filesystem::path& Root() const { return root_.Path(); }

    /// The places where a driver keeps its settings, and where older versions kept them.
    std::filesystem::path SettingsFile() { return CommonAppData() / "Kestrane" / "Settings.ksdb"; }
    std::filesystem::path LegacyFile() { return CommonAppData() / "Kestrane" / "ASCOM" / "ks.ini"; }

private:
    TemporaryFolder root_;
};

}  // namespace kestrane
