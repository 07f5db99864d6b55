// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

struct sqlite3;
struct sqlite3_stmt;

// The little of SQLite that the store needs. Internal to the store: these classes throw DatabaseFailure, and the store
// turns it into a StoreError before it reaches a caller. One thread at a time.

namespace norvex::service::store::sqlite {

struct DatabaseFailure {
    // SQLite's extended result code.
    int code = 0;
    // errno of the last failed call to the system; 0 when there was none.
    int systemError = 0;
    std::string detail;
};

class Connection {
  public:
    // `location` is a path, or a URI beginning with "file:"; flags are SQLITE_OPEN_*. Waits up to `waitMilliseconds`
    // for locks of other processes, now and in every later call.
    Connection(const std::string& location, int flags, int waitMilliseconds);
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
    ~Connection();

    sqlite3* Handle() const { return handle_; }
    // Runs statements that give no rows.
    void Execute(const char* statements);
    std::int64_t LastInsertedRow() const;
    // Rows changed by the last statement.
    std::int64_t ChangedRows() const;
    [[noreturn]] void Fail(int code) const;

  private:
    sqlite3* handle_ = nullptr;
};

// One prepared statement. Parameters count from 1, columns from 0.
class Statement {
  public:
    Statement(Connection& connection, std::string_view text);
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;
    ~Statement();

    // Bind the next parameter.
    Statement& Bind(std::int64_t value);
    Statement& Bind(double value);
    Statement& Bind(std::string_view text);
    Statement& BindNull();

    // Returns: true when there is a row.
    bool Step();
    // Runs a statement that gives no rows, and makes it ready for new parameters.
    void Run();
    // Makes it ready for new parameters, whatever rows are left.
    void Reset();

    bool IsNull(int column) const;
    std::int64_t Integer(int column) const;
    double Real(int column) const;
    std::string Text(int column) const;

  private:
    void Check(int code) const;

    Connection& connection_;
    sqlite3_stmt* handle_ = nullptr;
    int nextParameter_ = 1;
};

// One consistent view of the database, or a change of it that happens wholly or not at all: what is not committed is
// undone.
class Transaction {
  public:
    enum class Kind : std::uint8_t { Read, Write };

    Transaction(Connection& connection, Kind kind);
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;
    ~Transaction();

    // Returns once the changes are on the disk.
    void Commit();

  private:
    Connection& connection_;
};

// The one number that a query gives.
std::int64_t QueryInteger(Connection& connection, std::string_view text);

}  // namespace norvex::service::store::sqlite
