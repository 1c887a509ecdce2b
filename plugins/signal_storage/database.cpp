#include "plugins/signal_storage/database.hpp"

#include <charconv>
#include <new>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include "plugins/signal_storage/statement.hpp"
#include "plugins/signal_storage/uri_parameter.hpp"
#include "qorcpp/errors.hpp"

namespace qor::storage {

namespace {

constexpr int default_busy_timeout_ms = 5000;
constexpr int longest_busy_timeout_ms = 86400000;

bool asks_for_reading_only(const std::string& uri) {
    return uri_parameter(uri, "mode") == "ro" || is_true(uri_parameter(uri, "immutable").value_or(""));
}

} // namespace

database::database(const std::string& uri, const open_options& options) : name_(uri) {
    if (uri.empty()) {
        throw std::invalid_argument("the URI of the signal storage is empty; a catalogue in memory is "
                                    "'file:signal_storage?mode=memory'");
    }
    try {
        open(uri, options);
        configure();
    } catch (...) {
        sqlite3_close_v2(handle_);
        throw;
    }
}

database::~database() {
    sqlite3_close_v2(handle_);
}

// Parameters are looked at before SQLite opens the file, since opening makes one that is missing.
void database::open(const std::string& uri, const open_options& options) {
    const int busy_timeout = busy_timeout_of(uri);
    read_only_ = options.read_only || asks_for_reading_only(uri);
    // Calls are serialised by the owner of the connection, so that SQLite need not lock once more.
    int flags = SQLITE_OPEN_URI | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_PRIVATECACHE | SQLITE_OPEN_EXRESCODE;
    if (read_only_) {
        flags |= SQLITE_OPEN_READONLY;
    } else {
        flags |= SQLITE_OPEN_READWRITE | (options.must_exist ? 0 : SQLITE_OPEN_CREATE);
    }
    const int status = sqlite3_open_v2(uri.c_str(), &handle_, flags, nullptr);
    if (status != SQLITE_OK) {
        fail(status);
    }
    const char* const filename = sqlite3_db_filename(handle_, "main");
    in_memory_ = filename == nullptr || *filename == '\0';
    if (!in_memory_) {
        const char* const file_system = sqlite3_uri_parameter(filename, "vfs");
        in_memory_ = file_system != nullptr && std::string_view(file_system) == "memdb";
        name_ = filename;
    }
    sqlite3_busy_timeout(handle_, busy_timeout);
    // Without the right to write SQLite opens for reading and fails at the first write only.
    if (!read_only_ && sqlite3_db_readonly(handle_, "main") == 1) {
        fail("the file cannot be written; add '?mode=ro' to its URI to read it only");
    }
}

int database::busy_timeout_of(const std::string& uri) const {
    const std::optional<std::string> text = uri_parameter(uri, "busy_timeout");
    if (!text) {
        return default_busy_timeout_ms;
    }
    int value = -1;
    const char* const end = text->data() + text->size();
    const auto [stop, fault] = std::from_chars(text->data(), end, value);
    if (fault != std::errc() || stop != end || value < 0 || value > longest_busy_timeout_ms) {
        fail("the URI's busy_timeout is not a number of milliseconds between 0 and 86400000");
    }
    return value;
}

void database::configure() {
    // The file may come from anywhere: what is in its schema is not trusted.
    sqlite3_db_config(handle_, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(handle_, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
    sqlite3_db_config(handle_, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    // A description reaches the file at its commit. Pages written before it would each wait for readers to leave.
    execute("PRAGMA cache_spill = OFF");
}

void database::execute(const char* sql) {
    const int status = sqlite3_exec(handle_, sql, nullptr, nullptr, nullptr);
    if (status != SQLITE_OK) {
        fail(status);
    }
}

void database::roll_back() noexcept {
    // SQLite ends a transaction by itself after some failures; a second ROLLBACK would be an error of no interest.
    if (sqlite3_get_autocommit(handle_) == 0) {
        sqlite3_exec(handle_, "ROLLBACK", nullptr, nullptr, nullptr);
    }
}

std::int64_t database::query_integer(const char* sql) {
    statement query(*this, sql);
    execution row(query);
    return row.next() ? row.integer(0) : 0;
}

std::uint32_t database::data_version() const noexcept {
    std::uint32_t version = 0;
    sqlite3_file_control(handle_, "main", SQLITE_FCNTL_DATA_VERSION, &version);
    return version;
}

void database::fail(int status) const {
    switch (status & 0xff) {
    case SQLITE_NOMEM:
        throw std::bad_alloc();
    case SQLITE_BUSY:
        throw runtime::timed_out_error("signal storage '" + name_ + "': the file is locked by another process");
    default:
        fail(handle_ != nullptr ? sqlite3_errmsg(handle_) : sqlite3_errstr(status));
    }
}

void database::fail(const std::string& text) const {
    throw std::runtime_error("signal storage '" + name_ + "': " + text);
}

transaction::transaction(database& owner) : database_(owner) {
    database_.roll_back();
    database_.execute("BEGIN IMMEDIATE");
}

transaction::~transaction() {
    if (open_) {
        database_.roll_back();
    }
}

void transaction::commit() {
    database_.execute("COMMIT");
    open_ = false;
}

} // namespace qor::storage
