// cpp_host DESCRIPTION.dbc LOG: prints the values of the messages that are called Engine... in a recording.
#include <array>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "tavi/extractor.hpp"
#include "tavi/package_builder.hpp"
#include "tavi/record_plan.hpp"
#include "tavi/recording.hpp"
#include "tavi/schema_reader.hpp"
#include "tavi/url_pattern.hpp"

namespace host = tavi::host;

namespace {

constexpr std::uint16_t source_id = 0x10;

// The values of the records that a frame gave.
void print(const host::record_list& records, const std::map<std::uint64_t, host::record_plan>& plans,
           const std::string& time, std::vector<host::reading>& readings) {
    for (const qor_dynamic_data_t& record : records) {
        const host::record_plan& plan = plans.at(record.subscription_handle);
        readings.resize(plan.rows().size());
        for (const host::reading& value : plan.read(host::bytes_of(record), readings)) {
            const host::plan_row& row = plan.rows()[value.row];
            const std::string* const label = plan.label(host::bytes_of(record), value.row);
            std::printf("%s %s = %s %s\n", time.c_str(), row.name.c_str(), plan.text(value).c_str(),
                        label != nullptr ? label->c_str() : row.unit.c_str());
        }
    }
}

int run(const char* description, const char* log_file) {
    std::ifstream file(description, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};

    // 1. One extractor, its catalogue in memory; one source with one description.
    host::extractor extractor;
    extractor.register_source(source_id, 0, "can0", {{description, "dbc", text}});

    // 2. Below the view "CAN" stand the messages. Each one that is wanted becomes a subscription and a plan.
    const host::nodes views = extractor.roots("can0");
    const host::url_pattern wanted("CAN.Engine*");
    const host::node_tree catalogue = extractor.tree(views[0]);
    std::map<std::uint64_t, host::record_plan> plans;
    for (const host::node_tree& message : catalogue.trees) {
        const std::string path = std::string(views[0].name) + '.' + message.node->name;
        if (wanted.matches(path)) {
            const std::uint64_t handle = extractor.subscribe("can0." + path);
            const auto type = host::read_schema(extractor.subscription_schema(handle));
            plans.emplace(handle, host::record_plan(*type, &message));
        }
    }

    // 3. Each frame of the log becomes a package, each package the records that it serves, each record its values.
    const host::recording_readers readers;
    host::recording log(readers, host::open_file(log_file));
    host::recording_batch batch;
    host::package_builder package;
    package.set_source(source_id, 0);
    package.set_format("can");
    host::record_list records;
    std::vector<host::reading> readings;
    std::array<char, 32> buffer{};
    while (log.next(batch)) {
        for (const qor_recorded_package_t& frame : batch.packages) {
            const std::string time(host::time_text_of(frame, buffer));
            extractor.process(package.build({frame.payload, frame.payload_size}), host::lenient, records);
            print(records, plans, time, readings);
        }
        for (const host::recording_fault& fault : batch.faults) {
            std::fprintf(stderr, "line %llu cannot be read\n", static_cast<unsigned long long>(fault.place));
        }
    }
    return 0;
}

} // namespace

int main(int argument_count, char** arguments) {
    if (argument_count != 3) {
        std::fputs("usage: cpp_host DESCRIPTION.dbc LOG\n", stderr);
        return 2;
    }
    try {
        return run(arguments[1], arguments[2]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "cpp_host: %s\n", error.what());
        return 1;
    }
}
