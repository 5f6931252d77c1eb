// SPDX-License-Identifier: GPL-2.0-or-later
#include "Sqlite.h"

#include "host/console/Output.h"

#include <fmt/format.h>
#include <sqlite3.h>

#include <filesystem>
#include <system_error>

namespace vantorel::host::sqlite {

namespace {

/// A failure in words for the one who named the file.
std::string wordsFor(int code, int systemError, const char* message)
{
    switch (code & 0xFF) {
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        return "another process is busy with it; try again";
    case SQLITE_READONLY:
    case SQLITE_PERM:
        return "it may not be written to";
    case SQLITE_FULL:
        return "the disk is full; nothing was changed";
    case SQLITE_CANTOPEN:
        return systemError == 0 ? message : reason(systemError);
    case SQLITE_NOTADB:
        return "it is no history";
    case SQLITE_CORRUPT:
        return "it is damaged; `PRAGMA integrity_check` of sqlite3 tells where";
    default:
        return message;
    }
}

/// The path as SQLite takes it in the place where parameters may follow.
std::string uriOf(const std::string& path)
{
    std::string uri = "file:";
    for (const char c : std::filesystem::absolute(path).string()) {
        const bool isPlain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '/' ||
                             c == '.' || c == '-' || c == '_';
        uri += isPlain ? std::string(1, c) : fmt::format("%{:02X}", static_cast<unsigned char>(c));
    }
    return uri;
}

} // namespace

void Connection::Closer::operator()(sqlite3* handle) const
{
    sqlite3_close(handle);
}

void Connection::Finalizer::operator()(sqlite3_stmt* handle) const
{
    sqlite3_finalize(handle);
}

Connection::Connection(const std::string& path, Use use, std::chrono::milliseconds patience) : path_(path)
{
    int code = open(uriOf(path), use, patience);
    // Where nothing may be written, not even the files beside a database that readers and writers share, it is read as
    // it lies; but not while a writer's part of it lies beside it.
    std::error_code ignored;
    if (code != SQLITE_OK && use == Use::read && std::filesystem::exists(path, ignored) &&
        !std::filesystem::exists(path + "-wal", ignored))
        code = open(uriOf(path) + "?immutable=1", use, patience);
    if (code != SQLITE_OK)
        fail(code);
}

int Connection::open(const std::string& uri, Use use, std::chrono::milliseconds patience)
{
    const int flags =
        SQLITE_OPEN_URI | (use == Use::read ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
    sqlite3* handle = nullptr;
    const int code = sqlite3_open_v2(uri.c_str(), &handle, flags, nullptr);
    handle_.reset(handle);
    if (code != SQLITE_OK)
        return code;
    sqlite3_busy_timeout(handle, static_cast<int>(patience.count()));
    // A file that somebody else made may hold anything.
    sqlite3_db_config(handle, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(handle, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    // The file is not looked at before it is first asked for something.
    return sqlite3_exec(handle, "PRAGMA schema_version", nullptr, nullptr, nullptr);
}

void Connection::fail(int code) const
{
    if (!handle_)
        throw CommandError(path_, sqlite3_errstr(code));
    throw CommandError(path_, wordsFor(code, sqlite3_system_errno(handle_.get()), sqlite3_errmsg(handle_.get())));
}

void Connection::check(int code) const
{
    if (code != SQLITE_OK)
        fail(code);
}

void Connection::run(const std::string& sql)
{
    check(sqlite3_exec(handle_.get(), sql.c_str(), nullptr, nullptr, nullptr));
}

sqlite3_stmt* Connection::prepared(const std::string& sql)
{
    auto& statement = prepared_[sql];
    if (!statement) {
        sqlite3_stmt* handle = nullptr;
        const int code = sqlite3_prepare_v3(handle_.get(), sql.data(), static_cast<int>(sql.size()),
                                            SQLITE_PREPARE_PERSISTENT, &handle, nullptr);
        statement.reset(handle);
        check(code);
    }
    return statement.get();
}

std::int64_t Connection::changedRows() const
{
    return sqlite3_changes64(handle_.get());
}

void Connection::bind(sqlite3_stmt* statement, int place, std::int64_t value) const
{
    check(sqlite3_bind_int64(statement, place, value));
}

void Connection::bind(sqlite3_stmt* statement, int place, const std::string& text) const
{
    check(sqlite3_bind_text64(statement, place, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8));
}

void Connection::bind(sqlite3_stmt* statement, int place, DataView bytes) const
{
    // The address of no bytes may be null, which would stand for null.
    check(bytes.empty() ? sqlite3_bind_zeroblob(statement, place, 0)
                        : sqlite3_bind_blob64(statement, place, bytes.data(), bytes.size(), SQLITE_STATIC));
}

void Connection::bind(sqlite3_stmt* statement, int place, const std::optional<std::int64_t>& value) const
{
    check(value ? sqlite3_bind_int64(statement, place, *value) : sqlite3_bind_null(statement, place));
}

Rows::~Rows()
{
    sqlite3_reset(statement_); // which tells a failure of `next` once more
}

bool Rows::next()
{
    const int code = sqlite3_step(statement_);
    if (code != SQLITE_ROW && code != SQLITE_DONE)
        connection_->fail(code);
    return code == SQLITE_ROW;
}

std::int64_t Rows::number(int column) const
{
    return sqlite3_column_int64(statement_, column);
}

std::string Rows::text(int column) const
{
    const auto* const text = reinterpret_cast<const char*>(sqlite3_column_text(statement_, column));
    return text ? std::string(text, static_cast<std::size_t>(sqlite3_column_bytes(statement_, column))) : "";
}

Data Rows::bytes(int column) const
{
    const auto* const bytes = static_cast<const std::uint8_t*>(sqlite3_column_blob(statement_, column));
    return bytes ? Data(bytes, bytes + sqlite3_column_bytes(statement_, column)) : Data();
}

Transaction::Transaction(Connection& connection) : connection_(&connection)
{
    connection.run("BEGIN IMMEDIATE");
}

Transaction::~Transaction()
{
    try {
        if (connection_)
            connection_->run("ROLLBACK");
    } catch (const CommandError&) { // SQLite has ended it already, as on a full disk
        static_cast<void>(0);
    }
}

void Transaction::commit()
{
    connection_->run("COMMIT");
    connection_ = nullptr;
}

} // namespace vantorel::host::sqlite
