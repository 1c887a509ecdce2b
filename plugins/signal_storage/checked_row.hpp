// Rows of the catalogue's tables, each guarded by a digest over its columns.
//
// The columns of a table are listed once, in the record that holds a row:
//
//     template<typename Row, typename Visitor>
//     static void visit_columns(Row& row, Visitor&& visit) {
//         visit("position", "INTEGER PRIMARY KEY", &row.place.position);
//         visit("cycle", "INTEGER", row.node.kind == QOR_TYPE_NODE_VIEW ? &row.node.view.cycle : nullptr);
//         ...
//     }
//
// SQL texts, binding, reading and the digest are visitors of that list. A null pointer is a column that this row does
// not use: it holds NULL, and the digest passes over it. Which columns are null may depend on columns before them, but
// on nothing else.
//
// The last column of each table is row_digest: the digest of the packed row, XOR a seal. The seal of a description's
// rows is taken from the digest of the whole description, so that a row of another description, or of another writing
// of the same one, does not match either.
//
// Packed, integers take seven bits a byte, low bits first, the high bit set in all bytes but the last: 300 is AC 02.
// Reals that are whole numbers are such integers after a byte 1, others their eight bytes after a byte 0. Texts and
// blobs come after their length plus one; a 0 is a text that is absent.
#ifndef PLUGINS_SIGNAL_STORAGE_CHECKED_ROW_HPP
#define PLUGINS_SIGNAL_STORAGE_CHECKED_ROW_HPP

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "plugins/signal_storage/digest.hpp"
#include "plugins/signal_storage/statement.hpp"

namespace qor::storage {

class row_hasher {
public:
    void operator()(const char*, const char*, const std::unsigned_integral auto* value) {
        if (value != nullptr) {
            append_integer(*value);
        }
    }
    void operator()(const char*, const char*, const double* value);
    void operator()(const char*, const char*, const char* const* text);
    void operator()(const char*, const char*, const std::string_view* text);
    void operator()(const char*, const char*, const std::span<const std::uint8_t>* blob);

    row_digest finish() noexcept;

private:
    void append_integer(std::uint64_t value) noexcept {
        make_space(longest_integer);
        for (; value > 0x7f; value >>= 7) {
            buffer_[buffered_++] = static_cast<std::uint8_t>(value | 0x80);
        }
        buffer_[buffered_++] = static_cast<std::uint8_t>(value);
    }
    void append(std::span<const std::uint8_t> bytes) noexcept;
    void append_sized(std::span<const std::uint8_t> bytes, bool is_null) noexcept;

    // So that `size` bytes fit into the buffer.
    void make_space(std::size_t size) noexcept {
        if (size > buffer_.size() - buffered_) {
            hash_.update({buffer_.data(), std::exchange(buffered_, 0)});
        }
    }

    static constexpr std::size_t longest_integer = 10;

    digest_builder hash_{sizeof(row_digest)};
    std::array<std::uint8_t, 512> buffer_; // few calls of the hash instead of one for each column
    std::size_t buffered_ = 0;
};

class row_binder {
public:
    // Binds parameters from the first on. Texts and blobs of the row must live until the statement has run.
    explicit row_binder(execution& target) : target_(target) { target_.clear(); }

    void operator()(const char*, const char*, const std::unsigned_integral auto* value) {
        ++parameter_;
        if (value != nullptr) {
            target_.bind(parameter_, std::uint64_t{*value});
        }
    }
    void operator()(const char*, const char*, const double* value);
    void operator()(const char*, const char*, const char* const* text);
    void operator()(const char*, const char*, const std::string_view* text);
    void operator()(const char*, const char*, const std::span<const std::uint8_t>* blob);

    void bind_digest(row_digest value) { target_.bind(parameter_ + 1, value); }

private:
    execution& target_;
    int parameter_ = 0;
};

// Gives what is there, converted where its type is another: whether it is what was written, the digest says.
class row_reader {
public:
    explicit row_reader(const execution& source) : source_(source) {}

    template<std::unsigned_integral T>
    void operator()(const char*, const char*, T* value) noexcept {
        const int column = column_++;
        if (value != nullptr) {
            *value = static_cast<T>(static_cast<std::uint64_t>(source_.integer(column)));
        }
    }
    void operator()(const char*, const char*, double* value) noexcept;
    void operator()(const char*, const char*, const char** text);
    void operator()(const char*, const char*, std::string_view* text);
    void operator()(const char*, const char*, std::span<const std::uint8_t>* blob);

    row_digest read_digest() const noexcept { return static_cast<row_digest>(source_.integer(column_)); }

private:
    const execution& source_;
    int column_ = 0;
};

struct column {
    const char* name;
    const char* type;
};

// Those of the list and row_digest.
template<typename Row>
std::vector<column> columns_of() {
    std::vector<column> columns;
    const Row row;
    Row::visit_columns(row, [&](const char* name, const char* type, const void*) { columns.push_back({name, type}); });
    columns.push_back({"row_digest", "INTEGER NOT NULL"});
    return columns;
}

std::string create_table_sql(const std::string& table, const std::vector<column>& columns);
std::string insert_sql(const std::string& table, const std::vector<column>& columns);
// `condition`  what follows the table's name
std::string select_sql(const std::string& table, const std::vector<column>& columns, const std::string& condition);

template<typename Row>
row_digest hash_row(const Row& row) {
    row_hasher hasher;
    Row::visit_columns(row, hasher);
    return hasher.finish();
}

// Runs an insertion made by insert_sql. `hash` is that of the row, from hash_row.
template<typename Row>
void insert_row(execution& insertion, const Row& row, row_digest hash, row_digest seal) {
    row_binder binder(insertion);
    Row::visit_columns(row, binder);
    binder.bind_digest(hash ^ seal);
    insertion.run();
}

// Reads the columns of a statement made by select_sql. Texts and blobs point into the statement's row: valid until its
// next step. Returns whether the row matches its digest.
template<typename Row>
[[nodiscard]] bool read_row(const execution& source, Row& row, row_digest seal) {
    row_reader reader(source);
    Row::visit_columns(row, reader);
    return (hash_row(row) ^ seal) == reader.read_digest();
}

} // namespace qor::storage

#endif
