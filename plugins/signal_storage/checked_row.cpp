#include "plugins/signal_storage/checked_row.hpp"

#include <algorithm>
#include <bit>
#include <cmath>

#include "plugins/signal_storage/little_endian.hpp"

namespace qor::storage {

namespace {

using double_bytes = std::array<std::uint8_t, sizeof(double)>;

double_bytes to_bytes(double value) noexcept {
    double_bytes bytes;
    store_little_endian(std::bit_cast<std::uint64_t>(value), bytes.data());
    return bytes;
}

// Most coefficients are 0 or 1. A negative zero is not the integer 0.
bool is_small_integer(double value) noexcept {
    constexpr double exact_integers = 9007199254740992.0; // 2^53
    return std::fabs(value) < exact_integers && std::trunc(value) == value && !(value == 0 && std::signbit(value));
}

std::span<const std::uint8_t> bytes_of(std::string_view text) noexcept {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

template<typename Function>
std::string joined(const std::vector<column>& columns, const char* separator, Function text_of) {
    std::string text;
    for (const column& column : columns) {
        text += text.empty() ? "" : separator;
        text += text_of(column);
    }
    return text;
}

std::string name_of(const column& column) {
    return column.name;
}

} // namespace

void row_hasher::append(std::span<const std::uint8_t> bytes) noexcept {
    make_space(bytes.size());
    if (bytes.size() > buffer_.size()) {
        hash_.update(bytes);
        return;
    }
    std::copy(bytes.begin(), bytes.end(), buffer_.begin() + static_cast<std::ptrdiff_t>(buffered_));
    buffered_ += bytes.size();
}

void row_hasher::append_sized(std::span<const std::uint8_t> bytes, bool is_null) noexcept {
    append_integer(is_null ? 0 : std::uint64_t{bytes.size()} + 1);
    append(bytes);
}

void row_hasher::operator()(const char*, const char*, const double* value) {
    if (value == nullptr) {
        return;
    }
    if (is_small_integer(*value)) {
        append_integer(1);
        append_integer(static_cast<std::uint64_t>(static_cast<std::int64_t>(*value)));
    } else {
        append_integer(0);
        append(to_bytes(*value));
    }
}

void row_hasher::operator()(const char*, const char*, const char* const* text) {
    if (text != nullptr) {
        append_sized(*text != nullptr ? bytes_of(*text) : std::span<const std::uint8_t>(), *text == nullptr);
    }
}

void row_hasher::operator()(const char*, const char*, const std::string_view* text) {
    if (text != nullptr) {
        append_sized(bytes_of(*text), text->data() == nullptr);
    }
}

void row_hasher::operator()(const char*, const char*, const std::span<const std::uint8_t>* blob) {
    if (blob != nullptr) {
        append_sized(*blob, false);
    }
}

row_digest row_hasher::finish() noexcept {
    hash_.update({buffer_.data(), buffered_});
    return hash_.finish_row();
}

// SQLite takes a NaN for NULL, so that one is kept as its eight bytes. Integers need no space in a row when they are 0
// or 1.
void row_binder::operator()(const char*, const char*, const double* value) {
    ++parameter_;
    if (value == nullptr) {
        return;
    }
    if (std::isnan(*value)) {
        target_.bind_copy(parameter_, to_bytes(*value));
    } else if (is_small_integer(*value)) {
        target_.bind(parameter_, static_cast<std::uint64_t>(static_cast<std::int64_t>(*value)));
    } else {
        target_.bind(parameter_, *value);
    }
}

void row_binder::operator()(const char*, const char*, const char* const* text) {
    ++parameter_;
    if (text != nullptr) {
        target_.bind(parameter_, *text);
    }
}

void row_binder::operator()(const char*, const char*, const std::string_view* text) {
    ++parameter_;
    if (text != nullptr && text->data() != nullptr) {
        target_.bind(parameter_, *text);
    }
}

void row_binder::operator()(const char*, const char*, const std::span<const std::uint8_t>* blob) {
    ++parameter_;
    if (blob != nullptr) {
        target_.bind(parameter_, *blob);
    }
}

void row_reader::operator()(const char*, const char*, double* value) noexcept {
    const int column = column_++;
    if (value == nullptr) {
        return;
    }
    switch (source_.type(column)) {
    case SQLITE_INTEGER:
        *value = static_cast<double>(source_.integer(column));
        break;
    case SQLITE_BLOB:
        *value = source_.size(column) == sizeof(double)
                     ? std::bit_cast<double>(load_little_endian<std::uint64_t>(source_.blob(column)))
                     : 0;
        break;
    default:
        *value = source_.real(column);
        break;
    }
}

void row_reader::operator()(const char*, const char*, const char** text) {
    const int column = column_++;
    if (text != nullptr) {
        *text = source_.text(column);
    }
}

void row_reader::operator()(const char*, const char*, std::string_view* text) {
    const int column = column_++;
    if (text == nullptr) {
        return;
    }
    const char* const bytes = source_.text(column);
    *text = bytes != nullptr ? std::string_view(bytes, source_.size(column)) : std::string_view();
}

void row_reader::operator()(const char*, const char*, std::span<const std::uint8_t>* blob) {
    const int column = column_++;
    if (blob != nullptr) {
        const std::uint8_t* const bytes = source_.blob(column);
        *blob = {bytes, bytes != nullptr ? source_.size(column) : 0};
    }
}

std::string create_table_sql(const std::string& table, const std::vector<column>& columns) {
    const auto definition = [](const column& column) { return std::string(column.name) + ' ' + column.type; };
    return "CREATE TABLE " + table + " (\n    " + joined(columns, ",\n    ", definition) + "\n)";
}

std::string insert_sql(const std::string& table, const std::vector<column>& columns) {
    const auto place = [](const column&) { return std::string("?"); };
    return "INSERT INTO " + table + " (" + joined(columns, ", ", name_of) + ") VALUES (" + joined(columns, ",", place) +
           ')';
}

std::string select_sql(const std::string& table, const std::vector<column>& columns, const std::string& condition) {
    return "SELECT " + joined(columns, ", ", name_of) + " FROM " + table + ' ' + condition;
}

} // namespace qor::storage
