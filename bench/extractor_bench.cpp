// What the extractor costs: a package by the number of subscriptions, a subscription, a registration.
//
//   process_unserved/N   a package that nobody subscribed to, beside N subscriptions to whole messages of other ids
//   process_message/N    a package that serves one whole message, beside N - 1 others: one record of 8 bytes
//   process_signals/N    a package that serves N signals of one message: N records
//   subscribe            a whole message of 8 signals, and its end
//   find_node            the schema of one signal, of which finding the node is a part
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>

#include "tavi/extractor.hpp"
#include "tavi/package_builder.hpp"
#include "tavi/record_list.hpp"

namespace {

using tavi::host::extractor;

constexpr int signals_per_message = 8;

// `count` messages with ids from 1 on, each of eight signals of eight bits.
std::string description_of(int count) {
    std::string text = "VERSION \"\"\n";
    for (int id = 1; id <= count; ++id) {
        text +=
            "BO_ " + std::to_string(0x80000000u + static_cast<unsigned>(id)) + " M" + std::to_string(id) + ": 8 X\n";
        for (int signal = 0; signal < signals_per_message; ++signal) {
            text += " SG_ S" + std::to_string(signal) + " : " + std::to_string(8 * signal) +
                    "|8@1+ (0.5,-10) [0|0] \"km/h\" X\n";
        }
    }
    return text;
}

extractor with_messages(int count) {
    extractor result;
    result.register_source(1, 0, "can0", {{"bench.dbc", "dbc", description_of(count)}});
    return result;
}

void run_packages(benchmark::State& state, extractor& extractor, std::uint32_t id) {
    tavi::host::can_package package;
    package.set_source(1, 0);
    const std::uint8_t data[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    tavi::host::record_list records;
    const auto& built = package.build(id | 0x80000000u, 0, data);
    for (auto _ : state) {
        extractor.process(built, tavi::host::lenient, records);
        benchmark::DoNotOptimize(records.size());
    }
    state.counters["records"] = static_cast<double>(records.size());
}

void process_unserved(benchmark::State& state) {
    const int count = static_cast<int>(state.range(0));
    extractor extractor = with_messages(count);
    for (int id = 1; id <= count; ++id) {
        extractor.subscribe("can0.CAN.M" + std::to_string(id), tavi::host::lenient);
    }
    run_packages(state, extractor, 0x1FFFFFFF);
}
BENCHMARK(process_unserved)->Arg(1)->Arg(10)->Arg(100)->Arg(1000);

void process_message(benchmark::State& state) {
    const int count = static_cast<int>(state.range(0));
    extractor extractor = with_messages(count);
    for (int id = 1; id <= count; ++id) {
        extractor.subscribe("can0.CAN.M" + std::to_string(id), tavi::host::lenient);
    }
    run_packages(state, extractor, static_cast<std::uint32_t>(count / 2 + 1));
}
BENCHMARK(process_message)->Arg(1)->Arg(10)->Arg(100)->Arg(1000);

void process_signals(benchmark::State& state) {
    extractor extractor = with_messages(1);
    for (int signal = 0; signal < state.range(0); ++signal) {
        extractor.subscribe("can0.CAN.M1.S" + std::to_string(signal), tavi::host::lenient);
    }
    run_packages(state, extractor, 1);
}
BENCHMARK(process_signals)->Arg(1)->Arg(8);

void subscribe(benchmark::State& state) {
    extractor extractor = with_messages(1000);
    for (auto _ : state) {
        extractor.unsubscribe(extractor.subscribe("can0.CAN.M500", tavi::host::lenient));
    }
}
BENCHMARK(subscribe)->Unit(benchmark::kMicrosecond);

void find_node(benchmark::State& state) {
    extractor extractor = with_messages(1000);
    for (auto _ : state) {
        benchmark::DoNotOptimize(extractor.schema("can0.CAN.M500.S3"));
    }
}
BENCHMARK(find_node)->Unit(benchmark::kMicrosecond);

} // namespace
