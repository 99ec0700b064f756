#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "kernel/base/errors.h"

struct sqlite3;
struct sqlite3_stmt;

namespace kestrane {

/// A statement met the lock of a second program: nothing happened, and the same statement may succeed later.
class FileLocked final : public RunTimeError {
public:
    FileLocked();
};

/// A statement that the disk or the file itself refused (full, read-only, unreadable, damaged); the number is SQLite's.
/// Nothing happened, and the same statement may succeed once somebody has mended that.
class DiskFault final : public RunTimeError {
public:
    using RunTimeError::RunTimeError;
    /// Whether the file holds something else than a database.
    bool NoDatabase() const;
};

/// Raises the failure of a call of SQLite as `FileLocked`, `DiskFault` or another `RunTimeError`.
[[noreturn]] void RaiseSqliteFailure(int status, const char* message);

struct FinalizeStatement {
    void operator()(sqlite3_stmt* statement) const;
};

/// The result of one statement of the settings file, read forward row by row. Columns count from 0. Closes itself, and
/// must end before the connection that made it. Every member that fails raises a `RunTimeError`.
class RowSet {
public:
    using Statement = std::unique_ptr<sqlite3_stmt, FinalizeStatement>;

    /// Takes a statement that has not run yet and runs it up to its first row, or to its end.
    explicit RowSet(Statement statement);

    bool AtEnd() const { return atEnd_; }
    void MoveNext();

    bool IsNull(int column) const;
    /// Whether the value is stored as a number with a fraction or an exponent.
    bool IsReal(int column) const;
    /// A NULL has no text: run-time error 94.
    std::string Text(int column) const;
    /// The same, empty for a NULL.
    std::string TextOrEmpty(int column) const;
    /// 0 for NULL and for a value that is no number.
    double Number(int column) const;
    /// The row's own index; beyond 16 bits it is run-time error 6.
    std::int16_t Id() const;

private:
    Statement statement_;
    bool atEnd_ = false;
};

/// Runs the one statement in `sql`, which may end with a semicolon. A text with no statement or with several runs
/// nothing and fails, and so does one that holds a NUL.
RowSet RunStatement(sqlite3& connection, std::string_view sql);

}  // namespace kestrane
