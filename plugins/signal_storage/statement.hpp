// Prepared statements, kept for the life of a connection, and their runs.
#ifndef PLUGINS_SIGNAL_STORAGE_STATEMENT_HPP
#define PLUGINS_SIGNAL_STORAGE_STATEMENT_HPP

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include <sqlite3.h>

#include "plugins/signal_storage/database.hpp"

namespace qor::storage {

// Prepared at its first run, so that opening a storage costs nothing for questions that do not come.
class statement {
public:
    statement(database& owner, std::string sql) noexcept : database_(owner), sql_(std::move(sql)) {}
    ~statement();
    statement(const statement&) = delete;
    statement& operator=(const statement&) = delete;

    // Prepares it already: a later run then needs no memory for that.
    sqlite3_stmt* prepared();

private:
    friend class execution;

    database& database_;
    const std::string sql_;
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
    void bind_copy(int parameter, std::span<const std::uint8_t> blob); // for one that does not live so long
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
    // Null for NULL; valid until the next row. Throws: std::bad_alloc.
    const char* text(int column) const;
    const std::uint8_t* blob(int column) const; // null for an empty blob too
    // The bytes of the text or blob that was read last from this column.
    std::size_t size(int column) const noexcept;

private:
    void check(int status) const;
    void check_memory() const;

    database& database_;
    sqlite3_stmt* handle_;
};

} // namespace qor::storage

#endif
