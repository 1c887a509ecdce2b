#include "tavi/record_plan.hpp"

#include <algorithm>
#include <limits>

#include "host/src/plan/plan_compiler.hpp"
#include "host/src/plan/plan_runner.hpp"
#include "tavi/value_text.hpp"

namespace tavi::host {

namespace xtypes = qor::introspection::xtypes;

using namespace plan_runner;

struct record_plan::compiled : plan_code {};

record_plan::record_plan(const xtypes::dynamic_type& type, const node_tree* tree, std::uint64_t offset)
    : record_size_(type.instance_size()) {
    plan_compiler compiler(type, tree, offset);
    compiler.compile();
    rows_ = std::move(compiler.rows());
    names_subscribed_level_ = compiler.names_subscribed_level();
    run_from(std::make_unique<const compiled>(compiled{std::move(compiler.code())}));
}

void record_plan::run_from(std::unique_ptr<const compiled> code) noexcept {
    compiled_ = std::move(code);
    first_ = compiled_->rows.data();
    end_ = first_ + compiled_->rows.size();
    whole_size_ = compiled_->is_conditional ? std::numeric_limits<std::uint64_t>::max() : whole_size(*compiled_);
}

record_plan::record_plan(record_plan&&) noexcept = default;
record_plan& record_plan::operator=(record_plan&&) noexcept = default;
record_plan::~record_plan() = default;

void record_plan::keep_rows(std::span<const std::uint32_t> wanted) {
    const plan_code& all = *compiled_;
    auto kept = std::make_unique<compiled>(compiled{all});
    kept->rows.clear();
    kept->segments.clear();
    kept->is_conditional = false;
    std::fill(kept->code_of_row.begin(), kept->code_of_row.end(), plan_code::no_row);
    for (plan_segment segment : all.segments) {
        const auto first = static_cast<std::uint32_t>(kept->rows.size());
        for (; segment.first_row != segment.end_row; ++segment.first_row) {
            const fast_row& row = all.rows[segment.first_row];
            if (std::binary_search(wanted.begin(), wanted.end(), row.row)) {
                kept->code_of_row[row.row] = static_cast<std::uint32_t>(kept->rows.size());
                kept->segment_of_row[row.row] = static_cast<std::uint32_t>(kept->segments.size());
                kept->rows.push_back(row);
            }
        }
        segment.first_row = first;
        segment.end_row = static_cast<std::uint32_t>(kept->rows.size());
        if (segment.end_row != first) {
            kept->is_conditional = kept->is_conditional || segment.first_condition != segment.end_condition;
            kept->segments.push_back(segment);
        }
    }
    run_from(std::move(kept));
}

std::span<const reading> record_plan::read(std::span<const std::uint8_t> record, std::span<reading> out) const {
    const reading_writer start(out.data());
    const reading_writer writer = record.size() >= whole_size_
                                      ? run_rows(*compiled_, first_, end_, record, whole_record(record.data()), start)
                                      : run(*compiled_, record, start);
    return {out.data(), writer.end()};
}

std::size_t record_plan::read_doubles(std::span<const std::uint8_t> record, std::span<double> values,
                                      std::span<std::uint32_t> row_indices) const {
    const double_writer start(values.data(), row_indices.data());
    const double_writer writer = record.size() >= whole_size_
                                     ? run_rows(*compiled_, first_, end_, record, whole_record(record.data()), start)
                                     : run(*compiled_, record, start);
    return static_cast<std::size_t>(writer.end() - values.data());
}

std::optional<reading> record_plan::read_row(std::span<const std::uint8_t> record, std::size_t row) const {
    const plan_code& code = *compiled_;
    const std::uint32_t index = code.code_of_row[row];
    if (index == plan_code::no_row || record.size() < rows_[row].end) {
        return std::nullopt;
    }
    const plan_segment& segment = code.segments[code.segment_of_row[row]];
    if (segment.first_condition != segment.end_condition && !segment_filter(code, record).has(segment)) {
        return std::nullopt;
    }
    const fast_row& found = code.rows[index];
    if (found.method == plan_method::decode) {
        return decode_reading(code.slow_rows[found.window], found.row, record);
    }
    reading result{};
    const bool whole = record.size() - found.window >= word_size;
    store_reading(result, whole ? whole_record(record.data()).word(found) : cut_record(record).word(found), found);
    return result;
}

char* record_plan::write_text(const reading& value, char* out) const noexcept {
    switch (value.kind) {
    case value_kind::signed_integer:
        return write_value(out, value.signed_value);
    case value_kind::unsigned_integer:
        return write_value(out, value.unsigned_value);
    default:
        return write_value(out, value.floating_value, rows_[value.row].decimals);
    }
}

std::string record_plan::text(const reading& value) const {
    char text[value_text_room];
    return std::string(text, write_text(value, text));
}

std::optional<std::int64_t> record_plan::stored_value(std::span<const std::uint8_t> record, std::size_t row) const {
    const plan_code& code = *compiled_;
    if (!read_row(record, row)) {
        return std::nullopt;
    }
    const fast_row& found = code.rows[code.code_of_row[row]];
    if (found.method <= plan_method::narrow_real) {
        return integer_of(cut_record(record).word(found), found);
    }
    if (found.method != plan_method::decode || code.slow_rows[found.window].stored == nullptr) {
        return std::nullopt;
    }
    const slow_row& slow = code.slow_rows[found.window];
    std::int64_t value = 0;
    slow.stored->decode(xtypes::type_kind::int64, reinterpret_cast<std::uint8_t*>(&value),
                        record.data() + std::min<std::uint64_t>(slow.instance, record.size()));
    return value;
}

const std::string* record_plan::label(std::span<const std::uint8_t> record, std::size_t row) const {
    const auto& table = rows_[row].value_table;
    if (table.empty()) {
        return nullptr;
    }
    const auto stored = stored_value(record, row);
    if (!stored) {
        return nullptr;
    }
    const auto found =
        std::lower_bound(table.begin(), table.end(), *stored,
                         [](const value_table_entry& entry, std::int64_t value) { return entry.stored_value < value; });
    return found != table.end() && found->stored_value == *stored ? &found->text : nullptr;
}

} // namespace tavi::host
