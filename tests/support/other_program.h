#pragma once

#include <filesystem>
#include <memory>
#include <sqlite3.h>

namespace kestrane {

/// Another program with the settings file open.
class OtherProgram {
public:
    explicit OtherProgram(const std::filesystem::path& file) {
        sqlite3* opened = nullptr;
        sqlite3_open(file.c_str(), &opened);
        connection_.reset(opened);
    }
    bool Run(const char* sql) { return sqlite3_exec(connection_.get(), sql, nullptr, nullptr, nullptr) == SQLITE_OK; }

private:
    struct Close {
        void operator()(sqlite3* connection) const { sqlite3_close(connection); }
    };
    std::unique_ptr<sqlite3, Close> connection_;
};

}  // namespace kestrane
