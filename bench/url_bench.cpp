// What a URL expression costs: parsing usual ones, resolving one, and how parsing grows with texts that nobody writes
// but a hostile caller. The complexity runs have to stay linear.
#include <string>

#include <benchmark/benchmark.h>

#include "qor_tavi_extractor/src/url/driver.hpp"
#include "qor_tavi_extractor/src/url/url_context.hpp"

namespace {

using qor::tavi::detail::driver;

void parse(benchmark::State& state, const std::string& expression) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(driver().parse(expression));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(expression.size()));
}

BENCHMARK_CAPTURE(parse, by_number, std::string("10#2.View.Group.Signal"));
BENCHMARK_CAPTURE(parse, by_name, std::string("can0.CAN.EngineData.EngineSpeed"));
BENCHMARK_CAPTURE(parse, quoted_with_filters, std::string("'Front.Radar'.Raw Objects.Object[last()].distance[3]"));

void resolve(benchmark::State& state) {
    const auto context = driver().parse("10#2.View.Object[last()].Signal[3]");
    qor_type_node_t nodes[3] = {};
    nodes[0].kind = QOR_TYPE_NODE_VIEW;
    nodes[1].kind = QOR_TYPE_NODE_OBJECT;
    nodes[1].object.element_count = 4;
    nodes[2].kind = QOR_TYPE_NODE_SIGNAL;
    nodes[2].signal.element_count = 8;
    const qor_type_node_sequence_t hierarchy = {nodes, 3};
    for (auto _ : state) {
        benchmark::DoNotOptimize(context->resolve(hierarchy));
    }
}
BENCHMARK(resolve);

std::string repeated(const char* piece, std::int64_t count) {
    std::string text;
    for (std::int64_t i = 0; i < count; ++i) {
        text += piece;
    }
    return text;
}

// The parse may fail: a refusal has to be as cheap.
void parse_hostile(benchmark::State& state, const char* before, const char* piece, const char* after) {
    const std::string expression = before + repeated(piece, state.range(0)) + after;
    for (auto _ : state) {
        try {
            benchmark::DoNotOptimize(driver().parse(expression));
        } catch (const std::exception& error) {
            benchmark::DoNotOptimize(error.what());
        }
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(expression.size()));
    state.SetComplexityN(state.range(0));
}

void hostile_sizes(benchmark::internal::Benchmark* benchmark) {
    benchmark->RangeMultiplier(8)->Range(1 << 11, 1 << 20)->Complexity()->Unit(benchmark::kMicrosecond);
}

BENCHMARK_CAPTURE(parse_hostile, long_name, "a.b.", "x", "")->Apply(hostile_sizes);
BENCHMARK_CAPTURE(parse_hostile, many_levels, "a.b.c", ".c", "")->Apply(hostile_sizes);
BENCHMARK_CAPTURE(parse_hostile, doubled_quotes, "\"", "\"\"", "\".b.c")->Apply(hostile_sizes);
BENCHMARK_CAPTURE(parse_hostile, escaped_quotes, "\"", "\\\"", "")->Apply(hostile_sizes);
BENCHMARK_CAPTURE(parse_hostile, escapes_behind_a_literal, "'\\'", "\\x", "")->Apply(hostile_sizes);
BENCHMARK_CAPTURE(parse_hostile, nested_calls, "a.b.c[", "x(", "")->Apply(hostile_sizes);
BENCHMARK_CAPTURE(parse_hostile, digits, "", "1", "#1.b.c")->Apply(hostile_sizes);

} // namespace
