// Any bytes as the text of a schema: what is accepted is printed as a text that gives the same type again, and records
// of that type can be read, whole and cut short.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "introspection/generator/json_printer.hpp"
#include "tavi/record_plan.hpp"
#include "tavi/schema_reader.hpp"

namespace {

using qor::introspection::xtypes::dynamic_type;

constexpr std::uint64_t largest_record = 4096;

std::string print(const dynamic_type& type) {
    return qor::introspection::generator::json_printer::print(type, false);
}

void read_records(const dynamic_type& type) {
    tavi::host::record_plan plan(type);
    if (plan.record_size() > largest_record) {
        return;
    }
    std::vector<tavi::host::reading> readings(plan.rows().size());
    std::vector<double> values(readings.size());
    std::vector<std::uint32_t> rows(readings.size());
    for (const std::size_t size : {plan.record_size(), plan.record_size() / 2, std::uint64_t{0}}) {
        // Of exactly that size, so that a byte too many is seen.
        const std::vector<std::uint8_t> record(size, 0xA5);
        const auto read = plan.read(record, readings);
        if (read.size() != plan.read_doubles(record, values, rows)) {
            std::abort();
        }
        for (const tavi::host::reading& value : read) {
            plan.text(value);
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        const auto type = tavi::host::read_schema({reinterpret_cast<const char*>(data), size});
        const std::string text = print(*type);
        const std::string again = print(*tavi::host::read_schema(text));
        if (text != again) {
            std::fprintf(stderr, "printed: %s\nread and printed again: %s\n", text.c_str(), again.c_str());
            std::abort();
        }
        read_records(*type);
    } catch (const tavi::host::schema_error&) {
        // It says where.
    } catch (const std::invalid_argument&) {
        // A type that no plan can be made of.
    }
    return 0;
}
