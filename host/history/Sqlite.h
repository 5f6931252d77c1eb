// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "vantorel/base/Data.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>

struct sqlite3;
struct sqlite3_stmt;

/// A database of SQLite whose handles close themselves. Every failure is a `CommandError` that names the file.
namespace vantorel::host::sqlite {

class Connection;

/// What a statement gives, row by row. The statement may be run again when this is gone.
class Rows {
public:
    explicit Rows(const Connection& connection, sqlite3_stmt* statement)
        : connection_(&connection), statement_(statement)
    {}
    ~Rows();
    Rows(const Rows&) = delete;
    Rows& operator=(const Rows&) = delete;

    /// Goes to the first or the next row; false at the end.
    bool next();

    // Columns of the row, from 0 on; 0 or empty where it holds null.
    [[nodiscard]] std::int64_t number(int column) const;
    [[nodiscard]] std::string text(int column) const;
    [[nodiscard]] Data bytes(int column) const;

private:
    const Connection* connection_;
    sqlite3_stmt* statement_;
};

class Connection {
public:
    enum class Use : std::uint8_t {
        read,  ///< nothing is written, nor made
        write, ///< the file is made if it is not there
    };

    /// Opens the database. A lock that another process holds is waited for this long.
    Connection(const std::string& path, Use use, std::chrono::milliseconds patience);

    /// Runs statements that give nothing back.
    void run(const std::string& sql);

    /// Runs one statement with these values in the places `?1`, `?2`, ... Texts and bytes have to stay until the rows
    /// are gone. A statement is prepared when it is first run.
    template <typename... Values>
    [[nodiscard]] Rows query(const std::string& sql, const Values&... values)
    {
        sqlite3_stmt* const statement = prepared(sql);
        int place = 0;
        (bind(statement, ++place, values), ...);
        return Rows(*this, statement);
    }

    /// Runs one statement that gives no rows; gives how many it changed.
    template <typename... Values>
    std::int64_t perform(const std::string& sql, const Values&... values)
    {
        query(sql, values...).next();
        return changedRows();
    }

    /// The first number that a statement gives; 0 when it gives none.
    template <typename... Values>
    [[nodiscard]] std::int64_t number(const std::string& sql, const Values&... values)
    {
        Rows rows = query(sql, values...);
        return rows.next() ? rows.number(0) : 0;
    }

    [[nodiscard]] const std::string& path() const { return path_; }

    /// Throws what became of the last call.
    [[noreturn]] void fail(int code) const;

private:
    struct Closer {
        void operator()(sqlite3* handle) const;
    };
    struct Finalizer {
        void operator()(sqlite3_stmt* handle) const;
    };

    int open(const std::string& uri, Use use, std::chrono::milliseconds patience);
    sqlite3_stmt* prepared(const std::string& sql);
    [[nodiscard]] std::int64_t changedRows() const;
    void check(int code) const;
    void bind(sqlite3_stmt* statement, int place, std::int64_t value) const;
    void bind(sqlite3_stmt* statement, int place, const std::string& text) const;
    void bind(sqlite3_stmt* statement, int place, DataView bytes) const;
    void bind(sqlite3_stmt* statement, int place, const std::optional<std::int64_t>& value) const;

    std::string path_;
    std::unique_ptr<sqlite3, Closer> handle_;
    std::unordered_map<std::string, std::unique_ptr<sqlite3_stmt, Finalizer>> prepared_; ///< gone before the handle
};

/// A change that is made as a whole, or not at all where it ends without `commit`. Other writers wait from the
/// beginning to the end of it.
class Transaction {
public:
    explicit Transaction(Connection& connection);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    void commit();

private:
    Connection* connection_; ///< null once it is committed
};

} // namespace vantorel::host::sqlite
