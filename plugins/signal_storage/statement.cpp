#include "plugins/signal_storage/statement.hpp"

#include <new>

namespace qor::storage {

statement::~statement() {
    sqlite3_finalize(handle_);
}

sqlite3_stmt* statement::prepared() {
    if (handle_ == nullptr) {
        const int status =
            sqlite3_prepare_v3(database_.handle(), sql_.c_str(), -1, SQLITE_PREPARE_PERSISTENT, &handle_, nullptr);
        if (status != SQLITE_OK) {
            database_.fail(status);
        }
    }
    return handle_;
}

execution::execution(statement& source) : database_(source.database_), handle_(source.prepared()) {}

execution::~execution() {
    sqlite3_reset(handle_);
}

void execution::check(int status) const {
    if (status != SQLITE_OK) {
        database_.fail(status);
    }
}

void execution::bind(int parameter, std::uint64_t value) {
    check(sqlite3_bind_int64(handle_, parameter, static_cast<sqlite3_int64>(value)));
}

void execution::bind(int parameter, double value) {
    check(sqlite3_bind_double(handle_, parameter, value));
}

void execution::bind(int parameter, std::string_view text) {
    check(sqlite3_bind_text64(handle_, parameter, text.data() != nullptr ? text.data() : "", text.size(), SQLITE_STATIC,
                              SQLITE_UTF8));
}

void execution::bind(int parameter, const char* text) {
    if (text == nullptr) {
        check(sqlite3_bind_null(handle_, parameter));
    } else {
        bind(parameter, std::string_view(text));
    }
}

void execution::bind(int parameter, std::span<const std::uint8_t> blob) {
    const void* const bytes = blob.data() != nullptr ? static_cast<const void*>(blob.data()) : "";
    check(sqlite3_bind_blob64(handle_, parameter, bytes, blob.size(), SQLITE_STATIC));
}

void execution::bind_copy(int parameter, std::span<const std::uint8_t> blob) {
    check(sqlite3_bind_blob64(handle_, parameter, blob.data(), blob.size(), SQLITE_TRANSIENT));
}

void execution::clear() {
    sqlite3_clear_bindings(handle_);
}

bool execution::next() {
    const int status = sqlite3_step(handle_);
    if (status != SQLITE_ROW && status != SQLITE_DONE) {
        database_.fail(status);
    }
    return status == SQLITE_ROW;
}

void execution::run() {
    while (next()) {
    }
    sqlite3_reset(handle_);
}

// SQLite copies what a page holds in parts or without a zero at its end.
void execution::check_memory() const {
    if (sqlite3_errcode(database_.handle()) == SQLITE_NOMEM) {
        throw std::bad_alloc();
    }
}

const char* execution::text(int column) const {
    const auto* const text = reinterpret_cast<const char*>(sqlite3_column_text(handle_, column));
    if (text == nullptr) {
        check_memory();
    }
    return text;
}

const std::uint8_t* execution::blob(int column) const {
    const auto* const bytes = static_cast<const std::uint8_t*>(sqlite3_column_blob(handle_, column));
    if (bytes == nullptr) {
        check_memory();
    }
    return bytes;
}

std::size_t execution::size(int column) const noexcept {
    return static_cast<std::size_t>(sqlite3_column_bytes(handle_, column));
}

} // namespace qor::storage
