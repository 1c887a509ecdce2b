// cpp_host DESCRIPTION.dbc LOG: prints the values of the messages that are called Engine... in a candump log.
#include <cstdio>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "tavi/candump_reader.hpp"
#include "tavi/extractor.hpp"
#include "tavi/package_builder.hpp"
#include "tavi/record_plan.hpp"
#include "tavi/schema_reader.hpp"
#include "tavi/url_pattern.hpp"

namespace host = tavi::host;

namespace {

constexpr std::uint16_t source_id = 0x10;

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
    std::ifstream log(log_file, std::ios::binary);
    host::candump_reader reader([&](char* buffer, std::size_t room) {
        log.read(buffer, static_cast<std::streamsize>(room));
        return static_cast<std::size_t>(log.gcount());
    });
    host::candump_frame frame;
    host::can_package package;
    package.set_source(source_id, 0);
    host::record_list records;
    std::vector<host::reading> readings;
    for (auto outcome = reader.next(frame); outcome != host::candump_reader::outcome::end;
         outcome = reader.next(frame)) {
        if (outcome == host::candump_reader::outcome::damaged) {
            std::fprintf(stderr, "line %llu is no frame\n", static_cast<unsigned long long>(reader.line_number()));
            continue;
        }
        extractor.process(package.build(frame.id, frame.flags, {frame.data.data(), frame.length}), host::lenient,
                          records);
        for (const qor_dynamic_data_t& record : records) {
            const host::record_plan& plan = plans.at(record.subscription_handle);
            readings.resize(plan.rows().size());
            for (const host::reading& value : plan.read(host::bytes_of(record), readings)) {
                const host::plan_row& row = plan.rows()[value.row];
                const std::string* const label = plan.label(host::bytes_of(record), value.row);
                std::printf("%.*s %s = %s %s\n", static_cast<int>(frame.time.size()), frame.time.data(),
                            row.name.c_str(), plan.text(value).c_str(),
                            label != nullptr ? label->c_str() : row.unit.c_str());
            }
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
