// Prepared statements, kept for the life of a connection, and their runs.
#ifndef PLUGINS_SIGNAL_STORAGE_STATEMENT_HPP
#define PLUGINS_SIGNAL_STORAGE_STATEMENT_HPP

#include <cstdint>
#include <span>
#include <string_view>

#include <sqlite3.h>

#include "plugins/signal_storage/database.hpp"

namespace qor::storage {

// Prepared at its first run, so that opening a storage costs nothing for what is not asked.
class statement {
public:
    // `sql` is a literal: it must outlive the object.
    statement(database& owner, const char* sql) noexcept : database_(owner), sql_(sql) {}
    ~statement();
    statement(const statement&) = delete;
    statement& operator=(const statement&) = delete;

private:
    friend class execution;

    sqlite3_stmt* prepared();

    database& database_;
    const char* sql_;
    sqlite3_stmt* handle_ = nullptr;
};

// One run of a statement: values in, rows out. The statement is free for the next run when this goes out of scope;
// there is one run of a statement at a time. Parameters count from 1, columns from 0.
// Throws: what database::fail throws.
class execution {
public:
    explicit execution(statement& source);
    ~execution();
    execution(const execution&) = delete;
    execution& operator=(const execution&) = delete;

    // Texts and blobs are not copied: they must live until the last next() or run().
    void bind(int parameter, std::uint64_t value);
    void bind(int parameter, double value);
    void bind(int parameter, std::string_view text);
    void bind(int parameter, const char* text); // null gives NULL
    void bind(int parameter, std::span<const std::uint8_t> blob);
    void clear();

    // True with a row, false at the end.
    bool next();

    // Ends the rows, so that other values can be bound.
    void reset() noexcept { sqlite3_reset(handle_); }

    // For a statement without rows: runs it and makes it ready to run with other values.
    void run();

    int type(int column) const noexcept { return sqlite3_column_type(handle_, column); }
    std::int64_t integer(int column) const noexcept { return sqlite3_column_int64(handle_, column); }
    double real(int column) const noexcept { return sqlite3_column_double(handle_, column); }
    // Null for NULL; valid until the next row.
    const char* text(int column) const noexcept;
    // The bytes of the text or blob that was asked for last in this column.
    std::size_t size(int column) const noexcept;
    const std::uint8_t* blob(int column) const noexcept;

private:
    void check(int status) const;

    database& database_;
    sqlite3_stmt* handle_;
};

} // namespace qor::storage

#endif
