// What one read of a signal costs through the virtual call: the figures to compare are linear, rational and Motorola.
// Each iteration decodes from another place of a buffer that fits into the first cache.
#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include <benchmark/benchmark.h>

#include "introspection/xtypes/signal/make_signal_type.hpp"

namespace {

using namespace qor::introspection::xtypes;

constexpr std::size_t buffer_size = 4096;

std::vector<std::uint8_t> make_payload() {
    std::vector<std::uint8_t> payload(buffer_size + 16);
    std::uint32_t state = 1;
    for (std::uint8_t& byte : payload) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<std::uint8_t>(state >> 24);
    }
    return payload;
}

struct scenario {
    type_kind raw = type_kind::uint16;
    type_kind converted = type_kind::float64;
    signal_byte_order order = signal_byte_order::little_endian;
    std::uint32_t bit_offset = 4;
    std::uint32_t bit_length = 12;
    std::array<double, 6> c = {0, 0.25, -40, 0, 0, 1};
    signal_encoding encoding = signal_encoding::unspecified;
};

std::shared_ptr<dynamic_type> make(const scenario& s) {
    std::shared_ptr<dynamic_type> type;
    make_signal_type(s.converted, s.raw, type, s.order, s.bit_offset, s.bit_length, s.c[0], s.c[1], s.c[2], s.c[3],
                     s.c[4], s.c[5], "", s.encoding);
    return type;
}

void decode(benchmark::State& state, const scenario& s) {
    const std::shared_ptr<dynamic_type> type = make(s);
    const std::vector<std::uint8_t> payload = make_payload();
    std::size_t place = 0;
    for (auto _ : state) {
        double value;
        type->decode(type_kind::float64, reinterpret_cast<std::uint8_t*>(&value), payload.data() + place);
        benchmark::DoNotOptimize(value);
        place = (place + 8) % buffer_size;
    }
}

void decode_record(benchmark::State& state) {
    // Sixteen signals of mixed kinds, as a long message has them; the figure is for one signal.
    std::vector<std::shared_ptr<dynamic_type>> types;
    for (std::uint32_t i = 0; i < 16; ++i) {
        scenario s;
        s.order = i % 3 == 0 ? signal_byte_order::inconsistent_big_endian : signal_byte_order::little_endian;
        s.raw = i % 4 == 1 ? type_kind::int32 : type_kind::uint32;
        s.bit_length = 1 + 7 * i % 23;
        s.bit_offset = 24 + 3 * i;
        s.c = i % 5 == 0 ? std::array<double, 6>{0, 1, 0, 0, 0, 1} : s.c;
        types.push_back(make(s));
    }
    const std::vector<std::uint8_t> payload = make_payload();
    std::size_t place = 0;
    std::size_t next = 0;
    for (auto _ : state) {
        double value;
        types[next]->decode(type_kind::float64, reinterpret_cast<std::uint8_t*>(&value), payload.data() + place);
        benchmark::DoNotOptimize(value);
        next = (next + 1) % 16;
        place = (place + 8) % buffer_size;
    }
}

constexpr std::array<double, 6> identity = {0, 1, 0, 0, 0, 1};
constexpr std::array<double, 6> rational = {0, 0.5, 3, 0, 0.001, 2};
constexpr signal_byte_order motorola = signal_byte_order::inconsistent_big_endian;

BENCHMARK_CAPTURE(decode, linear_12_bits, scenario{});
BENCHMARK_CAPTURE(decode, linear_12_bits_motorola, scenario{.order = motorola, .bit_offset = 12});
BENCHMARK_CAPTURE(decode, rational_12_bits, scenario{.c = rational});
BENCHMARK_CAPTURE(decode, identity_12_bits, scenario{.c = identity});
BENCHMARK_CAPTURE(decode, linear_8_bits, scenario{.raw = type_kind::uint8, .bit_offset = 0, .bit_length = 8});
BENCHMARK_CAPTURE(decode, linear_16_bits_signed, scenario{.raw = type_kind::int16, .bit_offset = 0, .bit_length = 16});
BENCHMARK_CAPTURE(decode, linear_40_bits, scenario{.raw = type_kind::uint64, .bit_offset = 3, .bit_length = 40});
BENCHMARK_CAPTURE(decode, linear_40_bits_motorola,
                  scenario{.raw = type_kind::uint64, .order = motorola, .bit_offset = 43, .bit_length = 40});
BENCHMARK_CAPTURE(decode, linear_64_bits_in_nine_bytes,
                  scenario{.raw = type_kind::int64, .bit_offset = 3, .bit_length = 64});
BENCHMARK_CAPTURE(decode, sign_magnitude_12_bits,
                  scenario{.raw = type_kind::int16, .encoding = signal_encoding::sign_magnitude});
BENCHMARK_CAPTURE(decode, raw_float, scenario{.raw = type_kind::float32, .bit_offset = 0, .bit_length = 32});
BENCHMARK(decode_record);

} // namespace
