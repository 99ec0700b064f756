#pragma once

#include <filesystem>
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
