// Reading and writing values, with numbers worked out by hand; decode_differential_test takes all the others.
#include <bit>

#include "introspection/xtypes/signal/bit_writer.hpp"
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

std::string real(double value) {
    return text_of(bytes_of(value));
}

TEST(decode, worked_examples) {
    const signal_options linear = {.raw = u16, .offset = 4, .length = 12, .c = {0, 0.5, -40, 0, 0, 1}};
    const signal_options shifted = {.raw = u64, .length = 64, .c = {0, 1, 0.5, 0, 0, 1}};
    const signal_options pole = {.c = {0, 1, 0, 0, 0, 0}};
    const signal_options single = {.raw = f32, .length = 32, .c = {0, 2, 1, 0, 0, 1}};
    const bytes infinity = {0, 0, 0x80, 0x7F};
    const bytes count = {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF, 0x10};
    const signal_options outside = {.raw = u16, .offset = 4, .length = 12, .order = 2};
    const std::string order = "signal reading for the current byte order is not supported";
    const std::tuple<signal_options, bytes, type_kind, std::string> table[] = {
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
        {linear, {0x3A, 0xC1}, i32, text_of(bytes_of(1505))},
        {linear, {0x3A, 0xC1}, u8, "e1"},
        {{.c = {0, -1, 0, 0, 0, 1}}, {1}, u64, text_of(bytes_of(~std::uint64_t{0}))},
        {pole, {5}, i32, text_of(bytes_of(0))},
        {pole, {5}, f64, text_of(bytes_of(0x7FF8000000000000))},
        {single, infinity, i32, text_of(bytes_of(0x80000000))},
        {single, bytes_of(16777217.0F), i32, text_of(bytes_of(33554432))}, // rounded to float before it is cut
        {{.raw = u64, .offset = 4, .length = 64}, count, u64, text_of(bytes_of(0x0EFCDAB896745230))},
        {{.raw = u64, .offset = 68, .length = 64, .order = 2}, count, u64, text_of(bytes_of(0x123456789ABCDEF1))},
        {{.converted = i16, .raw = i8}, {0xFF}, type_kind::boolean, "ff ff"}, // its own kind
        {{.order = 1}, {1}, u8, order},
        {{.length = 0, .order = 9}, {1}, u8, order},
        {outside, {1}, u8, "invalid bit offset 4, cannot read the complete signal data"},
    };
    for (const auto& [options, source, kind, value] : table) {
        const std::shared_ptr<dynamic_type> type = make(options);
        EXPECT_EQ(written([&, kind = kind, from = source.data()](auto* place) { type->decode(kind, place, from); }),
                  value)
            << type->name() << " as " << kind_name(kind);
    }
}

TEST(encode, writes_whole_bytes_of_the_raw_value) {
    const signal_options single = {.raw = f32, .length = 32, .c = {0, 2, 0, 0, 0, 1}};
    const signal_options twice = {.converted = f64, .raw = f64, .length = 64};
    const type_kind own = type_kind::boolean; // stands for the converted kind
    // Where it is written, the first byte was 0x40, the others 0; those that stay 0 at the end are left out.
    const signal_options linear = {.c = {0, 2, 0, 0, 0, 1}};
    const std::tuple<signal_options, type_kind, bytes, std::string> table[] = {
        {{.raw = u16, .length = 16}, u16, {1, 0}, "41"},
        {{.raw = u16, .offset = 4, .length = 16}, u16, {0xCD, 0xAB}, "fc 0a"}, // counts in the value
        {{.order = 7}, u8, {1}, ""},
        {{.converted = f64, .raw = i16, .length = 16}, own, bytes_of(2.9), "42"},
        {{.raw = i8, .encoding = 1}, i64, bytes_of(std::int64_t{-3}), "c3"},
        {{.raw = i8, .encoding = 2}, i64, bytes_of(std::int64_t{-3}), "42"},
        {{.raw = i16, .encoding = 2}, i64, bytes_of(std::int64_t{-5}), "44"},
        // At full length of 32 or 64 bits the mask is 0.
        {{.raw = i32, .length = 32, .encoding = 2}, i32, bytes_of(-3), "fd ff ff ff"},
        {{.raw = i64, .length = 32, .encoding = 2}, i32, bytes_of(-3), "42"},
        {{.raw = i32, .length = 32}, i32, bytes_of(-3), "43 00 00 80"},
        {single, f32, bytes_of(1.5F), "40 00 c0 3f"}, // the factor is not inverted
        {twice, f32, bytes_of(1.5F), "40 00 00 00 00 00 f8 3f"},
        {twice, f64, bytes_of(0x400000003FC00000), "40 00 00 00 00 00 f8 3f"}, // by its first four bytes
        {twice, u64, bytes_of(0x8000000000000401), "40 00 00 00 00 00 e0 43"},
        // The word that is written has 64 bits; what goes beyond is 0.
        {{.raw = f64, .length = 72}, f32, bytes_of(1.0F), "40 00 00 00 00 00 f0 3f"},
        {linear, u8, {1}, "conversion type not supported"},
        {linear, f32, bytes_of(1.0F), "specificed encoding not supported"},
        {{.raw = f32}, f64, bytes_of(1.0), "specificed encoding not supported"},
        {{.order = 1}, u8, {1}, "big endian signal encoding not supported"},
        {{.order = 2}, u8, {1}, "inconsistent big endian signal encoding not supported"},
    };
    bytes first(16);
    first[0] = 0x40;
    for (const auto& [options, kind, given, result] : table) {
        const std::shared_ptr<dynamic_type> type = make(options);
        EXPECT_EQ(
            written([&, kind = kind, from = given.data()](auto* place) { type->encode(kind, from, place); }, first),
            result)
            << type->name() << " from " << kind_name(kind);
    }
    std::uint64_t word = 0;
    EXPECT_EQ(thrown<std::out_of_range>([&] { set_bit(word, 64); }), "invalid bitset<N> position");
}

} // namespace
