// Reads the values out of records: a subscription's type, flattened once into rows, each one value.
//
//     record_plan plan(*read_schema(extractor.subscription_schema(handle)));
//     std::vector<reading> readings(plan.rows().size());
//     for (const reading& value : plan.read(bytes_of(record), readings)) {
//         ... plan.rows()[value.row].name, plan.text(value) ...
//     }
//
// A row whose bytes are not all in the record is passed over, so that a record that was cut short gives what it covers.
// Values are exactly those of `decode` of the signal types.
#ifndef TAVI_RECORD_PLAN_HPP
#define TAVI_RECORD_PLAN_HPP

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "introspection/xtypes/dynamic_type.hpp"
#include "qorcpp/presence.hpp"
#include "tavi/nodes.hpp"

namespace tavi::host {

struct fast_row;

// How the physical value of a row is held, by the converted kind of its signal: floats are widened to doubles.
enum class value_kind : std::uint8_t { signed_integer, unsigned_integer, floating };

// One value of a record.
struct reading {
    // Index into record_plan::rows.
    std::uint32_t row;
    value_kind kind;
    union {
        std::int64_t signed_value;
        std::uint64_t unsigned_value;
        double floating_value;
    };
};

struct value_table_entry {
    std::int64_t stored_value;
    std::string text;
};

// What a row says of itself.
struct plan_row {
    // The path below the subscription, for example "Group.Signal[3]"; indices count from 0.
    std::string name;
    // Empty when there is none.
    std::string unit;
    value_kind kind = value_kind::floating;
    // The bytes of the record that it reads: first, and one behind the last.
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
    // See value_text.hpp.
    std::uint8_t decimals = 255;
    // Texts of stored values, ascending; only when the plan was made with nodes.
    std::vector<value_table_entry> value_table;
    // The signal's node, for comment, minimum and the rest; null when the plan was made without nodes.
    const qor_type_node_t* node = nullptr;
    // Why no record can be read, for example a byte order that has no reading; empty for a row that can be. Rows with a
    // reason are passed over.
    std::string unreadable;
};

// Made once for a subscription, then only read: any number of threads may use one plan.
class record_plan {
public:
    // type  the type of the subscription, as read_schema gives it
    // tree  what the catalogue says of the node that was subscribed to and of all below it, or null; it must outlive
    //       the plan. From it come units, value tables and the conditions under which multiplexed rows are in a record.
    //       Without it units are the suffixes of the signal types, all rows count as present, and a structure whose
    //       only member has the structure's name is taken for a single signal or a whole array.
    // offset  where the record begins in its object, counted in bytes; conditions that lie outside the record cannot be
    //         asked and count as met, since the matcher asked them (a single multiplexed signal).
    //
    // Throws: std::invalid_argument for a type that holds more than row_limit values, a member that is no structure,
    // array or signal or a presence text that is none.
    explicit record_plan(const qor::introspection::xtypes::dynamic_type& type, const node_tree* tree = nullptr,
                         std::uint64_t offset = 0);
    record_plan(record_plan&&) noexcept;
    record_plan& operator=(record_plan&&) noexcept;
    ~record_plan();

    static constexpr std::size_t row_limit = 1'000'000;

    // From then on only these rows, given in ascending order, are read; what rows() says of the others stays.
    void keep_rows(std::span<const std::uint32_t> wanted);

    // In the order of the type, array elements in ascending order.
    const std::vector<plan_row>& rows() const noexcept { return rows_; }

    // Bytes of a whole record.
    std::uint64_t record_size() const noexcept { return record_size_; }

    // Whether row names begin with the name of the subscribed level itself, so that a full name is made with the path
    // of the level above it: for single signals and for arrays as a whole.
    bool names_subscribed_level() const noexcept { return names_subscribed_level_; }

    // Reads the physical values of a record, as its signals' converted kinds hold them, in the order of the rows.
    // Returns the filled part of `out`. Requires: out.size() >= rows().size().
    std::span<const reading> read(std::span<const std::uint8_t> record, std::span<reading> out) const;

    // Reads all values as doubles: what decode to float64 gives. The values go to `values`, the indices of their rows
    // to `row_indices`; returns their count. Requires: room for rows().size() in both.
    std::size_t read_doubles(std::span<const std::uint8_t> record, std::span<double> values,
                             std::span<std::uint32_t> row_indices) const;

    // One row alone; nothing when it is not in the record. Requires: row < rows().size().
    std::optional<reading> read_row(std::span<const std::uint8_t> record, std::size_t row) const;

    // A value as text (value_text.hpp). write_text needs room for value_text_room bytes and returns the place behind
    // the text.
    char* write_text(const reading& value, char* out) const noexcept;
    std::string text(const reading& value) const;

    // The number in the bits before conversion, and what the row's value table says of it; nothing when the row is not
    // in the record, holds a floating value, or (for the label) the table has no entry.
    std::optional<std::int64_t> stored_value(std::span<const std::uint8_t> record, std::size_t row) const;
    const std::string* label(std::span<const std::uint8_t> record, std::size_t row) const;

private:
    struct compiled;

    void run_from(std::unique_ptr<const compiled> code) noexcept;

    // What every record needs stands here, one step away: the rows, and the size from which on a record has all of
    // them without further question.
    const fast_row* first_ = nullptr;
    const fast_row* end_ = nullptr;
    std::uint64_t whole_size_ = 0;
    std::unique_ptr<const compiled> compiled_;
    std::vector<plan_row> rows_;
    std::uint64_t record_size_ = 0;
    bool names_subscribed_level_ = false;
};

} // namespace tavi::host

#endif
