// Reading a DBC and making its nodes, before any storage: the shipped sample, and a generated file of the size of the
// largest real ones and of ten times that. A file of your own: TAVI_BENCH_DBC=FILE.
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include <benchmark/benchmark.h>

#include "plugins/dbc_parser/dbc_mapper.hpp"
#include "plugins/dbc_parser/dbc_reader.hpp"

namespace {

std::string read_content(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// A message has seven signals; half of the signals have value tables, each has a comment and an attribute.
std::string generated(std::int64_t messages) {
    std::string text = "VERSION \"\"\nBU_: A B\n";
    std::string details = "BA_DEF_ SG_ \"GenSigStartValue\" FLOAT 0 1000;\nBA_DEF_DEF_ \"GenSigStartValue\" 0;\n";
    for (std::int64_t message = 0; message < messages; ++message) {
        const std::string id = std::to_string(0x80000000u + static_cast<std::uint32_t>(message));
        text += "\nBO_ " + id + " Message" + std::to_string(message) + ": 8 A\n";
        for (int number = 0; number < 7; ++number) {
            const std::string signal = "SignalNumber" + std::to_string(number);
            text += " SG_ " + signal + " : " + std::to_string(8 * number + 7) +
                    "|8@0+ (0.25,-40) [-40|23.75] \"km/h\" A,B\n";
            details += "CM_ SG_ " + id + " " + signal + " \"What this signal says about the car.\";\n";
            details += "BA_ \"GenSigStartValue\" SG_ " + id + " " + signal + " 160;\n";
            if (number % 2 == 0) {
                details += "VAL_ " + id + " " + signal + " 3 \"Invalid\" 2 \"Not available\" 1 \"On\" 0 \"Off\" ;\n";
            }
        }
    }
    return text + details;
}

std::uint32_t add_nodes(void* context, const qor_type_node_t*, std::uint64_t count, std::uint64_t* ids,
                        qor_error_details_t**) {
    for (std::uint64_t index = 0; index < count; ++index) {
        ids[index] = ++*static_cast<std::uint64_t*>(context);
    }
    return 0;
}

void parse(benchmark::State& state, const std::string& text) {
    if (text.empty()) {
        state.SkipWithError("no text");
        return;
    }
    std::uint64_t nodes = 0;
    qor_signal_storage_context_t storage{};
    storage.add_nodes = add_nodes;
    storage.add_text = [](void*, std::uint64_t, const char*, const char*, qor_error_details_t**) -> std::uint32_t {
        return 0;
    };
    storage.context = &nodes;
    for ([[maybe_unused]] const auto _ : state) {
        nodes = 0;
        dbc_parser::dbc_cursor cursor(text);
        const dbc_parser::warning_sink warn = [](std::size_t, const std::string&) {};
        auto file = dbc_parser::read_file(cursor, warn, nullptr);
        dbc_parser::settle_names_and_layout(file, warn);
        qor::sdk::node_writer catalogue(storage);
        dbc_parser::write_file(file, catalogue);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(text.size()) * state.iterations());
    state.counters["nodes"] = static_cast<double>(nodes);
    state.counters["bytes"] = static_cast<double>(text.size());
}

void parse_sample(benchmark::State& state) {
    parse(state, read_content(TAVI_SOURCE_DIR "/examples/sample_drive/sample.dbc"));
}
BENCHMARK(parse_sample)->Unit(benchmark::kMicrosecond);

void parse_generated(benchmark::State& state) {
    parse(state, generated(state.range(0)));
}
BENCHMARK(parse_generated)->Arg(350)->Arg(3500)->Unit(benchmark::kMillisecond);

void parse_own(benchmark::State& state) {
    const char* const path = std::getenv("TAVI_BENCH_DBC");
    parse(state, path != nullptr ? read_content(path) : "");
}
BENCHMARK(parse_own)->Unit(benchmark::kMillisecond);

} // namespace
