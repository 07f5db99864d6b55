// SPDX-License-Identifier: Apache-2.0
#include "service/store/Sqlite.h"

#include <sqlite3.h>

#include <cerrno>

namespace norvex::service::store::sqlite {

Connection::Connection(const std::string& location, int flags, int waitMilliseconds) {
    const int code = sqlite3_open_v2(location.c_str(), &handle_, flags, nullptr);
    if (code != SQLITE_OK) {
        DatabaseFailure failure{code, handle_ == nullptr ? ENOMEM : sqlite3_system_errno(handle_),
                                sqlite3_errstr(code)};
        sqlite3_close_v2(handle_);
        throw failure;
    }
    sqlite3_extended_result_codes(handle_, 1);
    sqlite3_busy_timeout(handle_, waitMilliseconds);
}

Connection::~Connection() {
    sqlite3_close_v2(handle_);
}

void Connection::Execute(const char* statements) {
    errno = 0;
    const int code = sqlite3_exec(handle_, statements, nullptr, nullptr, nullptr);
    if (code != SQLITE_OK) {
        Fail(code);
    }
}

std::int64_t Connection::LastInsertedRow() const {
    return sqlite3_last_insert_rowid(handle_);
}

std::int64_t Connection::ChangedRows() const {
    return sqlite3_changes64(handle_);
}

void Connection::Fail(int code) const {
    // SQLite does not keep the system's error of a failed commit; what the last failed call left is that one.
    const int left = errno;
    const int kept = sqlite3_system_errno(handle_);
    throw DatabaseFailure{code, kept != 0 ? kept : left, sqlite3_errmsg(handle_)};
}

Statement::Statement(Connection& connection, std::string_view text) : connection_(connection) {
    Check(sqlite3_prepare_v2(connection.Handle(), text.data(), static_cast<int>(text.size()), &handle_, nullptr));
}

Statement::~Statement() {
    sqlite3_finalize(handle_);
}

void Statement::Check(int code) const {
    if (code != SQLITE_OK) {
        connection_.Fail(code);
    }
}

Statement& Statement::Bind(std::int64_t value) {
    Check(sqlite3_bind_int64(handle_, nextParameter_++, value));
    return *this;
}

Statement& Statement::Bind(double value) {
    Check(sqlite3_bind_double(handle_, nextParameter_++, value));
    return *this;
}

Statement& Statement::Bind(std::string_view text) {
    // A null pointer would bind NULL instead of an empty text.
    const char* bytes = text.data() == nullptr ? "" : text.data();
    Check(sqlite3_bind_text64(handle_, nextParameter_++, bytes, text.size(), SQLITE_TRANSIENT, SQLITE_UTF8));
    return *this;
}

Statement& Statement::BindNull() {
    Check(sqlite3_bind_null(handle_, nextParameter_++));
    return *this;
}

bool Statement::Step() {
    errno = 0;
    const int code = sqlite3_step(handle_);
    if (code != SQLITE_ROW && code != SQLITE_DONE) {
        connection_.Fail(code);
    }
    return code == SQLITE_ROW;
}

void Statement::Run() {
    Step();
    Reset();
}

void Statement::Reset() {
    Check(sqlite3_reset(handle_));
    nextParameter_ = 1;
}

bool Statement::IsNull(int column) const {
    return sqlite3_column_type(handle_, column) == SQLITE_NULL;
}

std::int64_t Statement::Integer(int column) const {
    return sqlite3_column_int64(handle_, column);
}

double Statement::Real(int column) const {
    return sqlite3_column_double(handle_, column);
}

std::string Statement::Text(int column) const {
    const void* bytes = sqlite3_column_text(handle_, column);
    const int length = sqlite3_column_bytes(handle_, column);
    return bytes == nullptr ? std::string()
                            : std::string(static_cast<const char*>(bytes), static_cast<std::size_t>(length));
}

Transaction::Transaction(Connection& connection, Kind kind) : connection_(connection) {
    // Taking the write lock at once lets a second writer wait; a lock taken later would fail instead.
    connection_.Execute(kind == Kind::Write ? "BEGIN IMMEDIATE" : "BEGIN");
}

Transaction::~Transaction() {
    if (sqlite3_get_autocommit(connection_.Handle()) == 0) {
        // A failure leaves the transaction to be undone when the connection closes.
        sqlite3_exec(connection_.Handle(), "ROLLBACK", nullptr, nullptr, nullptr);
    }
}

void Transaction::Commit() {
    connection_.Execute("COMMIT");
}

std::int64_t QueryInteger(Connection& connection, std::string_view text) {
    Statement statement(connection, text);
    return statement.Step() ? statement.Integer(0) : 0;
}

}  // namespace norvex::service::store::sqlite
