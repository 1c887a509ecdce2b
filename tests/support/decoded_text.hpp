// A package through an extractor, as lines that people can read.
#ifndef TESTS_SUPPORT_DECODED_TEXT_HPP
#define TESTS_SUPPORT_DECODED_TEXT_HPP

#include <string>
#include <string_view>
#include <vector>

#include "tavi/extractor.hpp"
#include "tavi/package_builder.hpp"
#include "tavi/record_plan.hpp"
#include "tavi/schema_reader.hpp"

namespace tavi::test {

// One line a record: "URL: name=value unit, name=value". A single signal goes without its name.
inline std::vector<std::string> decoded_text(host::extractor& extractor, const qor_package_t& package,
                                             host::tolerance cut = host::strict) {
    host::record_list records;
    extractor.process(package, cut, records);
    std::vector<std::string> lines;
    for (const qor_dynamic_data_t& record : records) {
        const host::record_plan plan(*host::read_schema(extractor.subscription_schema(record.subscription_handle)));
        std::vector<host::reading> readings(plan.rows().size());
        std::string line = extractor.url(record.subscription_handle) + ":";
        for (const host::reading& value : plan.read(host::bytes_of(record), readings)) {
            const host::plan_row& row = plan.rows()[value.row];
            line += (line.back() == ':' ? " " : ", ") + (plan.rows().size() > 1 ? row.name + "=" : "");
            line += plan.text(value) + (row.unit.empty() ? "" : " " + row.unit);
        }
        lines.push_back(line);
    }
    return lines;
}

// A package of text or bytes.
inline const qor_package_t& build_package(host::package_builder& builder, std::string_view payload) {
    return builder.build({reinterpret_cast<const std::uint8_t*>(payload.data()), payload.size()});
}

} // namespace tavi::test

#endif
