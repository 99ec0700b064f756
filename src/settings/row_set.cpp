#include "settings/row_set.h"

#include <sqlite3.h>
#include <utility>

namespace kestrane {
namespace {

constexpr bool IsDiskFault(int status) {
    switch (status & 0xFF) {
        case SQLITE_FULL:
        case SQLITE_READONLY:
        case SQLITE_IOERR:
        case SQLITE_CANTOPEN:
        case SQLITE_PERM:
        case SQLITE_CORRUPT:
        case SQLITE_NOTADB:
            return true;
        default:
            return false;
    }
}

}  // namespace

void RaiseSqliteFailure(int status, const char* message) {
    // The last one is the status of a write-ahead log when other programs used it for too long.
    if (status == SQLITE_BUSY || status == SQLITE_LOCKED || status == SQLITE_PROTOCOL) {
        throw FileLocked();
    }
    if (IsDiskFault(status)) {
        throw DiskFault(static_cast<std::uint32_t>(status), message);
    }
    throw RunTimeError(static_cast<std::uint32_t>(status), message);
}

bool DiskFault::NoDatabase() const {
    return Number() == SQLITE_NOTADB;
}

FileLocked::FileLocked() : RunTimeError(SQLITE_BUSY, "database is locked") {}

void FinalizeStatement::operator()(sqlite3_stmt* statement) const {
    sqlite3_finalize(statement);
}

RowSet::RowSet(Statement statement) : statement_(std::move(statement)) {
    MoveNext();
}

void RowSet::MoveNext() {
    const int status = sqlite3_step(statement_.get());
    if (status != SQLITE_ROW && status != SQLITE_DONE) {
        RaiseSqliteFailure(status, sqlite3_errmsg(sqlite3_db_handle(statement_.get())));
    }
    atEnd_ = status == SQLITE_DONE;
}

bool RowSet::IsNull(int column) const {
    return sqlite3_column_type(statement_.get(), column) == SQLITE_NULL;
}

bool RowSet::IsReal(int column) const {
    return sqlite3_column_type(statement_.get(), column) == SQLITE_FLOAT;
}

std::string RowSet::Text(int column) const {
    const auto* text =
        static_cast<const char*>(static_cast<const void*>(sqlite3_column_text(statement_.get(), column)));
    if (text == nullptr) {
        throw RunTimeError(RunTimeError::kInvalidUseOfNull, "Invalid use of Null");
    }
    return std::string(text, static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column)));
}

std::string RowSet::TextOrEmpty(int column) const {
    return IsNull(column) ? std::string() : Text(column);
}

double RowSet::Number(int column) const {
    return sqlite3_column_double(statement_.get(), column);
}

std::int16_t RowSet::Id() const {
    const std::int64_t id = sqlite3_column_int64(statement_.get(), 0);
    if (!std::in_range<std::int16_t>(id)) {
        throw RunTimeError(RunTimeError::kOverflow, "Overflow");
    }
    return static_cast<std::int16_t>(id);
}

RowSet RunStatement(sqlite3& connection, std::string_view sql) {
    sqlite3_stmt* prepared = nullptr;
    const char* rest = nullptr;
    const int status = sqlite3_prepare_v2(&connection, sql.data(), static_cast<int>(sql.size()), &prepared, &rest);
    RowSet::Statement statement(prepared);
    if (status != SQLITE_OK) {
        RaiseSqliteFailure(status, sqlite3_errmsg(&connection));
    }
    if (!statement || rest != sql.data() + sql.size()) {
        throw RunTimeError(SQLITE_MISUSE, "One statement at a time");
    }
    return RowSet(std::move(statement));
}

}  // namespace kestrane
