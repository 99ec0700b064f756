#pragma once

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <optional>
#include <stdlib.h>
#include <string>

#include "platform/system_services.h"

namespace kestrane::test {

/// Sets an environment variable, or unsets it, until the end of the scope.
class ScopedVariable {
public:
    ScopedVariable(const char* name, const std::optional<std::string>& value) : name_(name) {
        if (const char* before = getenv(name)) {
            before_ = before;
        }
        Put(value);
    }
    ~ScopedVariable() { Put(before_); }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

private:
    void Put(const std::optional<std::string>& value) {
        if (value) {
            setenv(name_, value->c_str(), 1);
        } else {
            unsetenv(name_);
        }
    }

    const char* name_;
    std::optional<std::string> before_;
};

/// A folder of its own below the system's temporary one, gone at the end of the scope.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string pattern = std::filesystem::temp_directory_path() / "kestrane-posix-XXXXXX";
        path_ = mkdtemp(pattern.data());
    }
    ~TemporaryFolder() { std::filesystem::remove_all(path_); }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& Path() const { return path_; }

    std::filesystem::path Write(const std::filesystem::path& name, std::string_view text) const {
        const std::filesystem::path file = path_ / name;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << text;
        return file;
    }
    std::string Read(const std::filesystem::path& name) const {
        std::ifstream file(path_ / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    std::filesystem::path path_;
};

/// Folders that a test chooses.
class FixedFolders final : public Folders {
public:
    explicit FixedFolders(std::filesystem::path data) : data_(std::move(data)) {}
    std::filesystem::path CommonAppData() override { return data_; }
    std::filesystem::path Documents() override { return data_ / "Documents"; }

private:
    std::filesystem::path data_;
};

}  // namespace kestrane::test
