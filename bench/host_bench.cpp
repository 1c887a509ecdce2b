// What the host library's parts cost: reading records by a plan, numbers as text, packages, the schema reader.
//
// A record of eight bytes or of 64 holds signals of 12 bits, of which every fourth is signed; factors as real
// descriptions have them. Figures are for one signal, one number, one package, one schema.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>
#include <random>
#include <vector>

#include "introspection/generator/json_printer.hpp"
#include "introspection/xtypes/signal/make_signal_type.hpp"
#include "introspection/xtypes/struct_type.hpp"
#include "qorc/dynamic_data.h"
#include "tavi/arena.hpp"
#include "tavi/package_builder.hpp"
#include "tavi/record_plan.hpp"
#include "tavi/schema_reader.hpp"
#include "tavi/value_text.hpp"

namespace {

using namespace qor::introspection::xtypes;
using tavi::host::reading;
using tavi::host::record_plan;

std::shared_ptr<struct_type> message(std::uint64_t bytes, signal_byte_order order, bool rational) {
    auto type = std::make_shared<struct_type>("Message");
    const std::uint64_t count = bytes * 8 / 12;
    for (std::uint64_t i = 0; i < count; ++i) {
        const std::uint64_t bit = 12 * i;
        const bool motorola = order == signal_byte_order::inconsistent_big_endian;
        std::shared_ptr<dynamic_type> signal;
        make_signal_type(type_kind::float64, i % 4 == 0 ? type_kind::int16 : type_kind::uint16, signal, order,
                         static_cast<std::uint32_t>(motorola ? 12 - bit % 8 : bit % 8), 12, rational ? 0.5 : 0.0, 0.25,
                         -40, rational ? 1e-3 : 0.0, 0, 1, "", signal_encoding::unspecified);
        type->add_member_at({"Signal" + std::to_string(i), signal.get()}, bit / 8, 0, false);
    }
    type->set_memory_size(bytes);
    return type;
}

// Many records, so that the branches of one are not learnt by heart.
std::vector<std::vector<std::uint8_t>> records(std::uint64_t bytes) {
    std::mt19937 random(1);
    std::vector<std::vector<std::uint8_t>> result(1024, std::vector<std::uint8_t>(bytes));
    for (auto& record : result) {
        for (auto& byte : record) {
            byte = static_cast<std::uint8_t>(random());
        }
    }
    return result;
}

signal_byte_order order_of(const benchmark::State& state) {
    return state.range(1) == 0 ? signal_byte_order::little_endian : signal_byte_order::inconsistent_big_endian;
}

// Arguments of the three below: bytes of the record, 0 for Intel and 1 for Motorola, 1 for rational conversion.
void count_signals(benchmark::State& state, const record_plan& plan) {
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(plan.rows().size()));
}

void read_doubles(benchmark::State& state) {
    const auto type = message(static_cast<std::uint64_t>(state.range(0)), order_of(state), state.range(2) != 0);
    const record_plan plan(*type);
    const auto data = records(static_cast<std::uint64_t>(state.range(0)));
    std::vector<double> values(plan.rows().size());
    std::vector<std::uint32_t> rows(plan.rows().size());
    std::size_t next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(plan.read_doubles(data[next++ % data.size()], values, rows));
        benchmark::ClobberMemory();
    }
    count_signals(state, plan);
}
BENCHMARK(read_doubles)->ArgsProduct({{2, 8, 64}, {0, 1}, {0}})->Args({8, 0, 1});

void read_readings(benchmark::State& state) {
    const auto type = message(static_cast<std::uint64_t>(state.range(0)), order_of(state), state.range(2) != 0);
    const record_plan plan(*type);
    const auto data = records(static_cast<std::uint64_t>(state.range(0)));
    std::vector<reading> values(plan.rows().size());
    std::size_t next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(plan.read(data[next++ % data.size()], values));
        benchmark::ClobberMemory();
    }
    count_signals(state, plan);
}
BENCHMARK(read_readings)->ArgsProduct({{8, 64}, {0, 1}, {0}});

void read_text(benchmark::State& state) {
    const auto type = message(static_cast<std::uint64_t>(state.range(0)), order_of(state), state.range(2) != 0);
    const record_plan plan(*type);
    const auto data = records(static_cast<std::uint64_t>(state.range(0)));
    std::vector<reading> values(plan.rows().size());
    char text[tavi::host::value_text_room];
    std::size_t next = 0;
    for (auto _ : state) {
        for (const reading& value : plan.read(data[next++ % data.size()], values)) {
            benchmark::DoNotOptimize(plan.write_text(value, text));
        }
        benchmark::ClobberMemory();
    }
    count_signals(state, plan);
}
BENCHMARK(read_text)->ArgsProduct({{8}, {0, 1}, {0}});

// One row of a message, as for few chosen signals.
void read_row(benchmark::State& state) {
    const auto type = message(8, signal_byte_order::little_endian, false);
    const record_plan plan(*type);
    const auto data = records(8);
    std::size_t next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(plan.read_row(data[next++ % data.size()], 3));
    }
}
BENCHMARK(read_row);

// What decode of the type costs for the same signal.
void decode_by_type(benchmark::State& state) {
    const auto type = message(8, order_of(state), state.range(2) != 0);
    const auto data = records(8);
    const auto& signal = *type->member(std::uint64_t{1}).type;
    const std::uint64_t offset = type->member(std::uint64_t{1}).offset;
    std::size_t next = 0;
    for (auto _ : state) {
        double value = 0;
        signal.decode(type_kind::float64, reinterpret_cast<std::uint8_t*>(&value),
                      data[next++ % data.size()].data() + offset);
        benchmark::DoNotOptimize(value);
    }
}
BENCHMARK(decode_by_type)->ArgsProduct({{8}, {0, 1}, {0, 1}});

// Arguments: digits behind the point of the numbers; 1 for the way without a hint.
void write_number(benchmark::State& state) {
    std::mt19937 random(1);
    const double factor = state.range(0) == 0 ? 1 : state.range(0) == 2 ? 0.25 : 1.0 / 3;
    std::vector<double> values(1024);
    for (double& value : values) {
        value = factor * static_cast<double>(random() % 4096) - 40;
    }
    const std::uint8_t hint = state.range(1) != 0 ? tavi::host::no_decimals_hint : tavi::host::decimals_of(factor, -40);
    char text[tavi::host::value_text_room];
    std::size_t next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(tavi::host::write_value(text, values[next++ % values.size()], hint));
        benchmark::ClobberMemory();
    }
}
BENCHMARK(write_number)->ArgsProduct({{0, 2, 17}, {0, 1}});

void build_can_package(benchmark::State& state) {
    tavi::host::can_package package;
    const std::vector<std::uint8_t> data(static_cast<std::size_t>(state.range(0)), 7);
    std::uint32_t id = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(&package.build(++id & 0x7FF, 0, data));
        benchmark::ClobberMemory();
    }
}
BENCHMARK(build_can_package)->Arg(8)->Arg(64);

// A record and its array from the arena against the C heap.
void record_from_arena(benchmark::State& state) {
    tavi::host::arena memory;
    for (auto _ : state) {
        qor_memory_allocator_t* const table = memory.allocator();
        qor_dynamic_data_t* record = nullptr;
        benchmark::DoNotOptimize(table->calloc(1, sizeof(void*), table->context));
        qor_dynamic_data_create_ex(table, 8, &record, nullptr);
        benchmark::DoNotOptimize(record);
        memory.reset();
    }
}
BENCHMARK(record_from_arena);

void record_from_heap(benchmark::State& state) {
    qor_memory_allocator_t* const table = qor_get_default_allocator();
    for (auto _ : state) {
        qor_dynamic_data_t* record = nullptr;
        void* const array = table->calloc(1, sizeof(void*), table->context);
        qor_dynamic_data_create_ex(table, 8, &record, nullptr);
        benchmark::DoNotOptimize(record);
        qor_dynamic_data_destroy(table, record, nullptr);
        table->free(array, table->context);
    }
}
BENCHMARK(record_from_heap);

void read_schema(benchmark::State& state) {
    const auto type = message(64, signal_byte_order::little_endian, false);
    const std::string text = qor::introspection::generator::json_printer::print(*type, false);
    for (auto _ : state) {
        benchmark::DoNotOptimize(tavi::host::read_schema(text));
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK(read_schema);

} // namespace
