#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>

namespace kestrane {

/// A folder for the settings and logs of one benchmark; gone at its end.
class DataFolder {
public:
    DataFolder() : path_(std::filesystem::temp_directory_path() / ("kestrane-bench-" + std::to_string(getpid()))) {
        std::filesystem::create_directories(path_);
        setenv("KESTRANE_COMMON_APPDATA", path_.c_str(), 1);
    }
    ~DataFolder() { std::filesystem::remove_all(path_); }
    DataFolder(const DataFolder&) = delete;
    DataFolder& operator=(const DataFolder&) = delete;
    const std::filesystem::path& Path() const { return path_; }

private:
    std::filesystem::path path_;
};

}  // namespace kestrane
