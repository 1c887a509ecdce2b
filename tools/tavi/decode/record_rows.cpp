#include "tools/tavi/decode/record_rows.hpp"

#include <algorithm>

namespace tavi::tool {

row_texts make_rows(const row_writer& writer, const std::string& source_name, const message& subscribed,
                    const message_plan& plan) {
    const auto& rows = plan.plan.rows();
    row_texts texts;
    auto wanted = plan.rows.begin();
    for (std::uint32_t row = 0; row < rows.size(); ++row) {
        if (wanted == plan.rows.end() || *wanted != row) {
            texts.add({}, {});
            continue;
        }
        ++wanted;
        writer.add_row(texts, source_name + '.' + row_path(subscribed, plan.plan, row), rows[row].unit);
    }
    return texts;
}

void report_unreadable(const message& subscribed, const message_plan& plan, const catalogue& source,
                       message_sink& messages) {
    const std::string& description = source.descriptions()[subscribed.description].path;
    const qor_type_node_t* told = nullptr; // elements of an array follow one another
    for (const std::uint32_t number : plan.rows) {
        const host::plan_row& row = plan.plan.rows()[number];
        if (!row.unreadable.empty() && row.node != told) {
            told = row.node;
            const std::string cause =
                "signal '" + row_path(subscribed, plan.plan, number) + "' is left out: " + row.unreadable;
            messages.report({topic::left_out, description, 0, 0, cause, {}, {}});
        }
    }
    if (told != nullptr) {
        source.refuse_if_strict(subscribed.description);
    }
}

std::uint64_t write_record(row_writer& writer, const message_plan& plan, const row_texts& rows,
                           std::span<const std::uint8_t> record, std::vector<host::reading>& readings) {
    if (readings.size() < plan.plan.rows().size()) {
        readings.resize(plan.plan.rows().size());
    }
    const auto present = plan.plan.read(record, readings);
    for (const host::reading& value : present) {
        writer.write(rows, plan.plan, value);
    }
    return present.size();
}

std::size_t lost_values(const message_plan& plan, std::span<const std::uint8_t> record) {
    if (record.size() >= plan.plan.record_size()) {
        return 0;
    }
    std::vector<std::uint8_t> filled(record.begin(), record.end());
    filled.resize(plan.plan.record_size());
    return static_cast<std::size_t>(std::count_if(plan.rows.begin(), plan.rows.end(), [&](std::uint32_t row) {
        return plan.plan.read_row(filled, row) && !plan.plan.read_row(record, row);
    }));
}

} // namespace tavi::tool
