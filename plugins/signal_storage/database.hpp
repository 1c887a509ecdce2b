// The connection to SQLite: opening, its settings, failures as exceptions.
#ifndef PLUGINS_SIGNAL_STORAGE_DATABASE_HPP
#define PLUGINS_SIGNAL_STORAGE_DATABASE_HPP

#include <cstdint>
#include <string>

#include <sqlite3.h>

#include "plugins/signal_storage/open_options.hpp"

namespace qor::storage {

// Thread: one at a time; whoever owns it locks.
class database {
public:
    // See catalogue::open. Throws: what fail() throws, with the file's name.
    database(const std::string& uri, const open_options& options);
    ~database();
    database(const database&) = delete;
    database& operator=(const database&) = delete;

    sqlite3* handle() const noexcept { return handle_; }

    // The file's path, the URI for a database in memory: for messages.
    const std::string& name() const noexcept { return name_; }

    // Also with the file system "memdb" of SQLite, whose names are not those of files.
    bool in_memory() const noexcept { return in_memory_; }
    bool read_only() const noexcept { return read_only_; }

    // Runs statements that give no rows; what they give is dropped.
    void execute(const char* sql);

    // Ends a transaction that is open, also one that an earlier failure left open.
    void roll_back() noexcept;

    // The first column of the first row, 0 without a row.
    std::int64_t query_integer(const char* sql);

    // Changes with each commit of this or another connection. Requires: a transaction that has read something.
    std::uint32_t data_version() const noexcept;

    // Throws for a status of SQLite other than success: runtime::timed_out_error for a lock that was not released in
    // time, std::bad_alloc, std::runtime_error "signal storage 'NAME': TEXT".
    [[noreturn]] void fail(int status) const;
    [[noreturn]] void fail(const std::string& text) const;

private:
    void open(const std::string& uri, const open_options& options);
    int busy_timeout_of(const std::string& uri) const;
    void configure();

    sqlite3* handle_ = nullptr;
    std::string name_;
    bool in_memory_ = false;
    bool read_only_ = false;
};

// BEGIN IMMEDIATE, which takes the write lock at once, to COMMIT; what was not committed when it goes out of scope is
// rolled back.
class transaction {
public:
    explicit transaction(database& owner);
    ~transaction();
    transaction(const transaction&) = delete;
    transaction& operator=(const transaction&) = delete;

    void commit();

private:
    database& database_;
    bool open_ = true;
};

} // namespace qor::storage

#endif
