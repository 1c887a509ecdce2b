// What a record_plan runs: its rows as small records for a tight loop, see plan_compiler.hpp for how they are made.
#ifndef HOST_SRC_PLAN_PLAN_CODE_HPP
#define HOST_SRC_PLAN_PLAN_CODE_HPP

#include <cstdint>
#include <memory>
#include <vector>

#include "introspection/xtypes/signal/signal_type_base.hpp"
#include "qorcpp/presence.hpp"

namespace tavi::host {

// How the bits of a row become its value. Up to narrow_real the row is an integer of fewer than 64 bits (64 when it is
// signed) whose value as a double is `factor * integer + offset`.
enum class plan_method : std::uint8_t {
    signed_integer,
    unsigned_integer,
    real,
    narrow_real, // rounded to a float
    stored_float,
    stored_double,
    decode, // by the signal type, see slow_row
};

// A row's bits lie in the eight bytes of the record from `window` on. To read them: load, with the high byte first or
// last; shift left; shift right with the sign; clear the upper bits of what has none. Half a cache line, and no branch
// that depends on the row: rows of all kinds follow one another.
struct fast_row {
    double factor;
    double offset;
    // For decode: index into plan_code::slow_rows.
    std::uint32_t window;
    // Index into record_plan::rows.
    std::uint32_t row;
    // The row is read when the record has this many bytes. Not for decode.
    std::uint32_t end;
    std::uint8_t left;
    std::uint8_t right;
    plan_method method;
    std::uint8_t clear : 7;
    std::uint8_t high_first : 1;
};

static_assert(sizeof(fast_row) == 32);

// A row that its signal type reads.
struct slow_row {
    std::shared_ptr<const qor::introspection::xtypes::signal_type_base> type;
    // Where an instance of the type begins in the record.
    std::uint64_t instance;
    std::uint64_t end;
    // The same bits without conversion; null for rows that hold no integer.
    std::shared_ptr<const qor::introspection::xtypes::dynamic_type> stored;
};

// A condition on one selector: the ranges from first_range up to end_range of plan_code::ranges.
struct plan_condition {
    std::uint32_t selector;
    std::uint32_t first_range;
    std::uint32_t end_range;
};

// Rows in a row that are there under the same conditions.
struct plan_segment {
    std::uint32_t first_row;
    std::uint32_t end_row;
    std::uint32_t first_condition;
    std::uint32_t end_condition;
};

struct alignas(64) plan_code {
    static constexpr std::uint32_t no_row = UINT32_MAX;

    // What every record asks for comes first.
    std::vector<fast_row> rows;
    // A record of this many bytes has the bytes of every fast row.
    std::uint64_t fast_size = 0;
    // Some segment has a condition.
    bool is_conditional = false;
    std::vector<plan_segment> segments;
    std::vector<plan_condition> conditions;
    std::vector<slow_row> slow_rows;
    std::vector<qor::presence_selector> selectors;
    std::vector<qor::presence_range> ranges;
    // By index of record_plan::rows: the index into `rows` (no_row for one that cannot be read) and into `segments`.
    std::vector<std::uint32_t> code_of_row;
    std::vector<std::uint32_t> segment_of_row;
};

} // namespace tavi::host

#endif
