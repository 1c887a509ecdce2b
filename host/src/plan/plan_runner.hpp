// The inner loop of a record_plan: takes the rows of a record, each by the way that its code says, to a writer.
#ifndef HOST_SRC_PLAN_PLAN_RUNNER_HPP
#define HOST_SRC_PLAN_PLAN_RUNNER_HPP

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <span>

#include "host/src/plan/plan_code.hpp"
#include "introspection/xtypes/bytes.hpp"
#include "tavi/record_plan.hpp"

namespace tavi::host::plan_runner {

namespace xtypes = qor::introspection::xtypes;

inline constexpr std::size_t word_size = 8;

inline std::uint64_t load(const std::uint8_t* bytes, bool high_first) noexcept {
    std::uint64_t word;
    std::memcpy(&word, bytes, sizeof word);
    const std::uint64_t swapped = xtypes::reverse_bytes(word);
    return high_first == (std::endian::native == std::endian::little) ? swapped : word;
}

// Bytes of a record that can be read by windows.
class whole_record {
public:
    explicit whole_record(const std::uint8_t* bytes) noexcept : bytes_(bytes) {}

    static constexpr bool has(const fast_row&) noexcept { return true; }
    std::uint64_t word(const fast_row& row) const noexcept { return load(bytes_ + row.window, row.high_first); }

private:
    const std::uint8_t* bytes_;
};

// A record that may end before a row, or before the end of a row's window.
class cut_record {
public:
    explicit cut_record(std::span<const std::uint8_t> bytes) noexcept : bytes_(bytes) {}

    bool has(const fast_row& row) const noexcept { return row.end <= bytes_.size(); }
    std::uint64_t word(const fast_row& row) const noexcept {
        std::array<std::uint8_t, word_size> window{};
        const std::size_t there = bytes_.size() - std::min<std::size_t>(row.window, bytes_.size());
        std::memcpy(window.data(), bytes_.data() + row.window, std::min(there, word_size));
        return load(window.data(), row.high_first);
    }

private:
    std::span<const std::uint8_t> bytes_;
};

// Fewer than eight bytes as eight, the rest zero. Made in a register: a load of a word behind stores of its bytes
// waits.
inline std::array<std::uint8_t, word_size> padded(std::span<const std::uint8_t> bytes) noexcept {
    std::array<std::uint8_t, word_size> result{};
    const std::size_t size = bytes.size();
    if constexpr (std::endian::native == std::endian::little) {
        std::uint64_t word = 0;
        if (size >= 4) {
            std::uint32_t first;
            std::uint32_t last;
            std::memcpy(&first, bytes.data(), sizeof first);
            std::memcpy(&last, bytes.data() + size - sizeof last, sizeof last);
            word = first | std::uint64_t{last} << 8 * (size - sizeof last);
        } else if (size > 0) {
            word = bytes[0] | std::uint64_t{bytes[size / 2]} << 8 * (size / 2) |
                   std::uint64_t{bytes[size - 1]} << 8 * (size - 1);
        }
        std::memcpy(result.data(), &word, sizeof word);
    } else {
        std::copy(bytes.begin(), bytes.end(), result.begin());
    }
    return result;
}

// Which segments are in a record. Rows that depend on one selector usually stand together, so its last values are kept.
class segment_filter {
public:
    segment_filter(const plan_code& code, std::span<const std::uint8_t> record) noexcept
        : code_(code), record_(record) {}

    bool has(const plan_segment& segment) noexcept {
        for (std::uint32_t i = segment.first_condition; i < segment.end_condition; ++i) {
            if (!holds(code_.conditions[i])) {
                return false;
            }
        }
        return true;
    }

private:
    struct known_value {
        std::uint32_t selector = plan_code::no_row;
        std::optional<std::uint64_t> ordinal;
    };

    bool holds(const plan_condition& condition) noexcept {
        known_value& known = known_[condition.selector % known_.size()];
        if (known.selector != condition.selector) {
            known = {condition.selector, code_.selectors[condition.selector].read(record_)};
        }
        const auto* const ranges = code_.ranges.data();
        return known.ordinal &&
               std::any_of(ranges + condition.first_range, ranges + condition.end_range, [&](const auto& range) {
                   return *known.ordinal >= range.first && *known.ordinal <= range.last;
               });
    }

    const plan_code& code_;
    std::span<const std::uint8_t> record_;
    std::array<known_value, 4> known_{};
};

inline std::int64_t integer_of(std::uint64_t word, const fast_row& row) noexcept {
    const std::int64_t extended = static_cast<std::int64_t>(word << row.left) >> row.right;
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(extended) & ~std::uint64_t{0} >> row.clear);
}

inline double linear(std::int64_t integer, const fast_row& row) noexcept {
    return row.factor * static_cast<double>(integer) + row.offset;
}

// As the signal types: what is not finite becomes the one quiet NaN, and a result is rounded to what is stored.
template<typename Stored>
double stored_real(Stored stored, const fast_row& row) noexcept {
    if (!std::isfinite(stored)) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    if (row.factor == 1 && row.offset == 0) {
        return stored;
    }
    return static_cast<Stored>(row.factor * static_cast<double>(stored) + row.offset);
}

inline double special_real(std::uint64_t word, const fast_row& row) noexcept {
    const std::uint64_t bits = word << row.left >> row.right;
    return row.method == plan_method::stored_float
               ? stored_real(std::bit_cast<float>(static_cast<std::uint32_t>(bits)), row)
               : stored_real(std::bit_cast<double>(bits), row);
}

inline double decode_double(const slow_row& slow, std::span<const std::uint8_t> record) {
    double value = 0;
    slow.type->decode(xtypes::type_kind::float64, reinterpret_cast<std::uint8_t*>(&value),
                      record.data() + std::min<std::uint64_t>(slow.instance, record.size()));
    return value;
}

template<typename Value>
Value decode_as(const slow_row& slow, xtypes::type_kind kind, const std::uint8_t* instance) {
    Value value{};
    slow.type->decode(kind, reinterpret_cast<std::uint8_t*>(&value), instance);
    return value;
}

inline reading decode_reading(const slow_row& slow, std::uint32_t row, std::span<const std::uint8_t> record) {
    using kind = xtypes::type_kind;
    const std::uint8_t* const at = record.data() + std::min<std::uint64_t>(slow.instance, record.size());
    reading result{};
    result.row = row;
    const kind converted = xtypes::without_signal(slow.type->kind());
    switch (converted) {
    case kind::char8:
    case kind::int8:
        // One byte, its sign extended.
        result.signed_value = std::int64_t{decode_as<std::uint8_t>(slow, converted, at) ^ 0x80} - 0x80;
        break;
    case kind::int16:
        result.signed_value = decode_as<std::int16_t>(slow, converted, at);
        break;
    case kind::int32:
        result.signed_value = decode_as<std::int32_t>(slow, converted, at);
        break;
    case kind::int64:
        result.signed_value = decode_as<std::int64_t>(slow, converted, at);
        break;
    case kind::float32:
        result.kind = value_kind::floating;
        result.floating_value = decode_as<float>(slow, converted, at);
        break;
    case kind::float64:
        result.kind = value_kind::floating;
        result.floating_value = decode_as<double>(slow, converted, at);
        break;
    default:
        // Low byte first or last, a narrow unsigned value fills only its part of the zeroed variable.
        result.kind = value_kind::unsigned_integer;
        result.unsigned_value = converted == kind::uint8    ? decode_as<std::uint8_t>(slow, converted, at)
                                : converted == kind::uint16 ? decode_as<std::uint16_t>(slow, converted, at)
                                : converted == kind::uint32 ? decode_as<std::uint32_t>(slow, converted, at)
                                                            : decode_as<std::uint64_t>(slow, kind::uint64, at);
    }
    return result;
}

static_assert(static_cast<int>(plan_method::signed_integer) == static_cast<int>(value_kind::signed_integer) &&
              static_cast<int>(plan_method::unsigned_integer) == static_cast<int>(value_kind::unsigned_integer));

inline void store_reading(reading& result, std::uint64_t word, const fast_row& row) noexcept {
    result.row = row.row;
    result.kind = std::min(static_cast<value_kind>(row.method), value_kind::floating);
    if (row.method >= plan_method::narrow_real) {
        result.floating_value = row.method == plan_method::narrow_real
                                    ? static_cast<float>(linear(integer_of(word, row), row))
                                    : special_real(word, row);
        return;
    }
    const std::int64_t integer = integer_of(word, row);
    const auto real = std::bit_cast<std::uint64_t>(linear(integer, row));
    result.unsigned_value = row.method == plan_method::real ? real : static_cast<std::uint64_t>(integer);
}

// Writers take the rows of a record one by one. They are handed on by value, so that their places stay in registers.
class reading_writer {
public:
    explicit reading_writer(reading* at) noexcept : at_(at) {}

    void fast(const fast_row& row, std::uint64_t word) noexcept { store_reading(*at_++, word, row); }
    void slow(const fast_row& row, const slow_row& other, std::span<const std::uint8_t> record) {
        *at_++ = decode_reading(other, row.row, record);
    }

    reading* end() const noexcept { return at_; }

private:
    reading* at_;
};

class double_writer {
public:
    double_writer(double* values, std::uint32_t* rows) noexcept : values_(values), rows_(rows) {}

    void fast(const fast_row& row, std::uint64_t word) noexcept {
        *rows_++ = row.row;
        *values_++ =
            row.method <= plan_method::narrow_real ? linear(integer_of(word, row), row) : special_real(word, row);
    }
    void slow(const fast_row& row, const slow_row& other, std::span<const std::uint8_t> record) {
        *rows_++ = row.row;
        *values_++ = decode_double(other, record);
    }

    double* end() const noexcept { return values_; }

private:
    double* values_;
    std::uint32_t* rows_;
};

template<typename Record, typename Writer>
Writer run_rows(const plan_code& code, const fast_row* row, const fast_row* end, std::span<const std::uint8_t> bytes,
                Record record, Writer writer) {
    for (; row != end; ++row) {
        if (row->method != plan_method::decode) {
            if (record.has(*row)) {
                writer.fast(*row, record.word(*row));
            }
        } else if (const slow_row& other = code.slow_rows[row->window]; other.end <= bytes.size()) {
            writer.slow(*row, other, bytes);
        }
    }
    return writer;
}

// From this size on all windows lie in a record.
inline std::uint64_t whole_size(const plan_code& code) noexcept {
    return std::max<std::uint64_t>(code.fast_size, word_size);
}

// Hands each row that the record has to the writer.
template<typename Record, typename Writer>
Writer run(const plan_code& code, std::span<const std::uint8_t> bytes, Record record, Writer writer) {
    const fast_row* const rows = code.rows.data();
    if (!code.is_conditional) {
        return run_rows(code, rows, rows + code.rows.size(), bytes, record, writer);
    }
    segment_filter filter(code, bytes);
    for (const plan_segment& segment : code.segments) {
        if (filter.has(segment)) {
            writer = run_rows(code, rows + segment.first_row, rows + segment.end_row, bytes, record, writer);
        }
    }
    return writer;
}

// The same with the record in the form that costs least.
template<typename Writer>
Writer run(const plan_code& code, std::span<const std::uint8_t> record, Writer writer) {
    if (record.size() >= whole_size(code)) {
        return run(code, record, whole_record(record.data()), writer);
    }
    if (record.size() >= code.fast_size) {
        // Fewer than eight bytes, all there: one copy makes them a word, and each row's window is this word.
        const std::array<std::uint8_t, word_size> word = padded(record);
        return run(code, record, whole_record(word.data()), writer);
    }
    return run(code, record, cut_record(record), writer);
}

} // namespace tavi::host::plan_runner

#endif
