#pragma once

#include <cstdint>
#include <memory>
#include <string>

struct sqlite3_stmt;

namespace kestrane {

struct FinalizeStatement {
    void operator()(sqlite3_stmt* statement) const;
};

/// What one statement of the settings file gave back, walked forward row by row. Columns count from 0. Closes itself,
/// and must go before the connection that made it. Every member that fails raises a `RunTimeError`.
class RowSet {
public:
    using Statement = std::unique_ptr<sqlite3_stmt, FinalizeStatement>;

    /// Takes a statement that has not run yet and runs it up to its first row, or to its end.
    explicit RowSet(Statement statement);

    bool AtEnd() const { return atEnd_; }
    void MoveNext();

    /// A NULL has no text: run-time error 94.
    std::string Text(int column) const;
    /// 0 for NULL and for what is no number.
    double Number(int column) const;
    /// The row's own index; beyond 16 bits it is run-time error 6.
    std::int16_t Id() const;

private:
    Statement statement_;
    bool atEnd_ = false;
};

}  // namespace kestrane
