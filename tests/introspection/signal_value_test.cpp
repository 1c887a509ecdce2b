// Reading and writing values, with numbers worked out by hand; decode_differential_test takes all the others.
#include <bit>

#include "introspection/xtypes/bit_reader.hpp"
#include "introspection/xtypes/bit_writer.hpp"
#include "tests/introspection/type_fixture.hpp"

namespace {

using namespace tavi::test;

constexpr type_kind i8 = type_kind::int8, u8 = type_kind::uint8, u16 = type_kind::uint16, i16 = type_kind::int16;
constexpr type_kind i32 = type_kind::int32, i64 = type_kind::int64, u64 = type_kind::uint64;
constexpr type_kind f32 = type_kind::float32, f64 = type_kind::float64;

template<typename T>
bytes bytes_of(T value) {
    bytes result(sizeof(value));
    store(result.data(), value);
    return result;
}

TEST(decode, worked_examples) {
    const auto real = [](double value) { return bytes_of(value); };
    const signal_options linear = {.raw = u16, .offset = 4, .length = 12, .c = {0, 0.5, -40, 0, 0, 1}};
    const signal_options shifted = {.raw = u64, .length = 64, .c = {0, 1, 0.5, 0, 0, 1}};
    const signal_options pole = {.c = {0, 1, 0, 0, 0, 0}};
    const signal_options single = {.raw = f32, .length = 32, .c = {0, 2, 1, 0, 0, 1}};
    const bytes infinity = {0, 0, 0x80, 0x7F};
    const bytes count = {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF, 0x10};
    const std::tuple<signal_options, bytes, type_kind, bytes> table[] = {
        {{.raw = u16, .offset = 12, .length = 12, .order = 2}, {0xAB, 0xCD}, f64, real(0x0ABC)},
        {{.raw = u8, .offset = 3, .length = 6, .order = 2}, {0xFF}, f64, real(0x1F)}, // one bit lies before the data
        {{.raw = u64, .length = 0}, {0xFF}, f64, real(0)},
        {{.raw = u8, .length = 4, .encoding = 1}, {0xB}, f64, real(11)},
        {{.raw = i8, .length = 4, .encoding = 1}, {0xB}, f64, real(-3)},
        {{.raw = i8, .length = 4, .encoding = 2}, {0xB}, f64, real(-4)},
        {{.raw = i8, .encoding = 2}, {0x80}, f64, real(-127)},
        {linear, {0x3A, 0xC1}, f64, real(1505.5)},
        {{.c = {1, 2, 3, 0.5, 0.25, 1}}, {4}, f64, real(2.7)},
        {{.c = {1e20, -4e20, 1, 0, 0, 2}}, {4}, f64, real(0.5)}, // the constant is added last
        {{.raw = u64, .length = 64}, bytes_of(0x8000000000000401), f64, real(0x1p63 + 2048)}, // rounded once
        {shifted, bytes_of(0x8000000000000401), f64, real(0x1p63)},                           // and twice
        {{.raw = f32, .length = 33}, bytes_of(0xFFFFFFFF3F800000), f64, real(1.0)},
        {linear, {0x3A, 0xC1}, i32, bytes_of(1505)},
        {linear, {0x3A, 0xC1}, u8, {225}},
        {{.c = {0, -1, 0, 0, 0, 1}}, {1}, u64, bytes_of(~std::uint64_t{0})},
        {pole, {5}, i32, bytes_of(0)},
        {pole, {5}, f64, bytes_of(0x7FF8000000000000)},
        {single, infinity, i32, bytes_of(0x80000000)},
        {single, bytes_of(16777217.0F), i32, bytes_of(33554432)}, // rounded to float before it is cut
        {{.raw = u64, .offset = 4, .length = 64}, count, u64, bytes_of(0x0EFCDAB896745230)},
        {{.raw = u64, .offset = 68, .length = 64, .order = 2}, count, u64, bytes_of(0x123456789ABCDEF1)},
    };
    for (const auto& [options, source, kind, expected] : table) {
        bytes value(expected.size());
        make(options)->decode(kind, value.data(), source.data());
        EXPECT_EQ(value, expected) << make(options)->name() << " as " << kind_name(kind);
    }
    bytes own(4, 0xEE);
    make({.converted = i16, .raw = i8})->decode(type_kind::boolean, own.data(), bytes{0xFF}.data());
    EXPECT_EQ(own, (bytes{0xFF, 0xFF, 0xEE, 0xEE}));
}

// Order, offset and length, then the first byte and how many.
TEST(bit_reader, touches_the_bytes_of_the_bits_alone) {
    const std::uint32_t table[][5] = {{0, 12, 4, 1, 1}, {0, 12, 5, 1, 2},  {0, 7, 64, 0, 9},  {0, 16, 24, 2, 3},
                                      {0, 3, 50, 0, 7}, {2, 12, 12, 0, 2}, {2, 28, 4, 3, 1},  {2, 0, 64, 0, 8},
                                      {2, 3, 6, 0, 1},  {2, 67, 62, 0, 9}, {2, 100, 9, 11, 2}};
    for (const auto& row : table) {
        const bit_reader reader(static_cast<signal_byte_order>(row[0]), row[1], row[2], 64, 64);
        EXPECT_EQ(reader.first_byte(), row[3]) << row[1] << " " << row[2];
        EXPECT_EQ(reader.byte_count(), row[4]) << row[1] << " " << row[2];
    }
}

TEST(encode, writes_whole_bytes_of_the_raw_value) {
    const signal_options single = {.raw = f32, .length = 32, .c = {0, 2, 0, 0, 0, 1}};
    const signal_options twice = {.converted = f64, .raw = f64, .length = 64};
    const type_kind own = type_kind::boolean; // stands for the converted kind
    // Where it is written, the first byte was 0x40, the others 0.
    const std::tuple<signal_options, type_kind, bytes, bytes> table[] = {
        {{.raw = u16, .length = 16}, u16, {1, 0}, {0x41, 0}},
        {{.raw = u16, .offset = 4, .length = 16}, u16, {0xCD, 0xAB}, {0xFC, 0x0A}}, // counts in the value
        {{.order = 7}, u8, {1}, {0x40}},
        {{.converted = f64, .raw = i16, .length = 16}, own, bytes_of(2.9), {0x42, 0}},
        {{.raw = i8, .encoding = 1}, i64, bytes_of(std::int64_t{-3}), {0xC3}},
        {{.raw = i8, .encoding = 2}, i64, bytes_of(std::int64_t{-3}), {0x42}},
        {{.raw = i16, .encoding = 2}, i64, bytes_of(std::int64_t{-5}), {0x44}},
        // At full length of 32 or 64 bits the mask is 0.
        {{.raw = i32, .length = 32, .encoding = 2}, i32, bytes_of(-3), {0xFD, 0xFF, 0xFF, 0xFF}},
        {{.raw = i64, .length = 32, .encoding = 2}, i32, bytes_of(-3), {0x42, 0, 0, 0}},
        {{.raw = i32, .length = 32}, i32, bytes_of(-3), {0x43, 0, 0, 0x80}},
        {single, f32, bytes_of(1.5F), {0x40, 0, 0xC0, 0x3F}}, // the factor is not inverted
        {twice, f32, bytes_of(1.5F), {0x40, 0, 0, 0, 0, 0, 0xF8, 0x3F}},
        {twice, f64, bytes_of(0x400000003FC00000), {0x40, 0, 0, 0, 0, 0, 0xF8, 0x3F}}, // by its first four bytes
        {twice, u64, bytes_of(0x8000000000000401), {0x40, 0, 0, 0, 0, 0, 0xE0, 0x43}},
        // The word that is written has 64 bits; what goes beyond is 0.
        {{.raw = f64, .length = 72}, f32, bytes_of(1.0F), {0x40, 0, 0, 0, 0, 0, 0xF0, 0x3F, 0}},
    };
    for (const auto& [options, kind, given, written] : table) {
        bytes result(written.size() + 1);
        result[0] = 0x40;
        bytes expected = written;
        expected.push_back(0);
        make(options)->encode(kind, given.data(), result.data());
        EXPECT_EQ(result, expected) << make(options)->name() << " from " << kind_name(kind);
    }
}

TEST(signal_values, refusals_leave_the_destination_alone) {
    const signal_options outside = {.raw = u16, .offset = 4, .length = 12, .order = 2};
    const std::string order = "signal reading for the current byte order is not supported";
    const struct {
        bool decode;
        signal_options options;
        type_kind kind;
        std::string text;
    } table[] = {
        {true, {.order = 1}, u8, order},
        {true, {.length = 0, .order = 9}, u8, order},
        {true, outside, u8, "invalid bit offset 4, cannot read the complete signal data"},
        {false, {.c = {0, 2, 0, 0, 0, 1}}, u8, "conversion type not supported"},
        {false, {.c = {0, 2, 0, 0, 0, 1}}, f32, "specificed encoding not supported"},
        {false, {.raw = f32}, f64, "specificed encoding not supported"},
        {false, {.order = 1}, u8, "big endian signal encoding not supported"},
        {false, {.order = 2}, u8, "inconsistent big endian signal encoding not supported"},
    };
    const bytes source(8, 1);
    for (const auto& row : table) {
        bytes result(8, 0xEE);
        EXPECT_EQ(thrown<std::runtime_error>([&] {
                      const auto type = make(row.options);
                      row.decode ? type->decode(row.kind, result.data(), source.data())
                                 : type->encode(row.kind, source.data(), result.data());
                  }),
                  row.text);
        EXPECT_EQ(result, bytes(8, 0xEE));
    }
    std::uint64_t word = 0;
    EXPECT_EQ(thrown<std::out_of_range>([&] { set_bit(word, 64); }), "invalid bitset<N> position");
}

} // namespace
