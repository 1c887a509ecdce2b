// Reading and writing values, with numbers worked out by hand.
#include <bit>
#include <cmath>
#include <limits>

#include "introspection/xtypes/bit_reader.hpp"
#include "introspection/xtypes/bit_writer.hpp"
#include "introspection/xtypes/scalar_kinds.hpp"
#include "tests/introspection/type_fixture.hpp"

namespace {

using namespace tavi::test;

template<typename T>
T decode(const signal_options& options, const bytes& source) {
    T value{};
    make(options)->decode(scalar_of<T>().kind, reinterpret_cast<std::uint8_t*>(&value), source.data());
    return value;
}

bytes le(std::uint64_t value, std::size_t size = 8) {
    bytes result;
    for (std::size_t i = 0; i < size; ++i) {
        result.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
    }
    return result;
}

TEST(decode, bits_in_both_orders) {
    const type_kind u8 = type_kind::uint8;
    const type_kind u16 = type_kind::uint16;
    const type_kind u64 = type_kind::uint64;
    const bytes count = {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF, 0x10};
    const struct {
        signal_options options;
        bytes source;
        std::uint64_t expected;
    } table[] = {
        {{.raw = u8, .offset = 4}, {0xA5, 0x3C}, 0xCA},
        {{.raw = u8, .offset = 3}, {0xA8, 0x05}, 0xB5},
        {{.raw = u16, .length = 8}, {0xA5, 0x3C}, 0xA5},
        {{.raw = u16, .offset = 12, .length = 12, .order = 2}, {0xAB, 0xCD}, 0x0ABC},
        {{.raw = u16, .length = 16}, {0xAB, 0xCD}, 0xCDAB},
        {{.raw = u16, .length = 16, .order = 2}, {0xAB, 0xCD}, 0xABCD},
        {{.raw = u16, .offset = 8, .length = 16, .order = 2}, {0xAB, 0xCD}, 0xABCD},
        {{.raw = u8, .offset = 3, .length = 5, .order = 2}, {0xFF}, 0x1F},
        // One bit lies before the data, and reads as 0.
        {{.raw = u8, .offset = 3, .length = 6, .order = 2}, {0xFF}, 0x1F},
        {{.raw = u64, .length = 64}, count, 0xEFCDAB8967452301},
        {{.raw = u64, .length = 64, .order = 2}, count, 0x0123456789ABCDEF},
        {{.raw = u64, .offset = 4, .length = 64}, count, 0x0EFCDAB896745230},
        {{.raw = u64, .offset = 68, .length = 64, .order = 2}, count, 0x123456789ABCDEF1},
        {{.raw = u64, .offset = 8, .length = 24}, count, 0x674523},
        {{.raw = u64, .offset = 36, .length = 24, .order = 2}, count, 0x345678},
        {{.raw = u64, .offset = 8, .length = 40}, count, 0xAB89674523},
        {{.raw = u64, .length = 0}, {}, 0},
    };
    for (const auto& row : table) {
        signal_options options = row.options;
        options.encoding = 1; // without meaning for numbers without sign
        EXPECT_EQ(decode<std::uint64_t>(options, row.source), row.expected) << make(options)->name();
    }
}

TEST(decode, refuses_what_cannot_be_read) {
    std::uint64_t value = 42;
    const auto failure = [&](const signal_options& options) {
        const bytes source(16);
        return thrown<std::runtime_error>(
            [&] { make(options)->decode(type_kind::uint64, reinterpret_cast<std::uint8_t*>(&value), source.data()); });
    };
    const std::string order = "signal reading for the current byte order is not supported";
    EXPECT_EQ(failure({.order = 1}), order);
    EXPECT_EQ(failure({.length = 0, .order = 9}), order);
    EXPECT_EQ(failure({.raw = type_kind::uint16, .offset = 4, .length = 12, .order = 2}),
              "invalid bit offset 4, cannot read the complete signal data");
    EXPECT_EQ(failure({.raw = type_kind::uint32, .offset = 8, .length = 17, .order = 2}),
              "invalid bit offset 8, cannot read the complete signal data");
    EXPECT_EQ(value, 42u);
}

TEST(bit_reader, touches_the_bytes_of_the_bits_alone) {
    const struct {
        std::uint8_t order;
        std::uint32_t offset;
        std::uint32_t length;
        std::size_t first;
        std::size_t count;
    } table[] = {{0, 12, 4, 1, 1}, {0, 12, 5, 1, 2},  {0, 7, 64, 0, 9},  {0, 16, 24, 2, 3},
                 {0, 3, 50, 0, 7}, {2, 12, 12, 0, 2}, {2, 28, 4, 3, 1},  {2, 0, 64, 0, 8},
                 {2, 0, 8, 0, 1},  {2, 3, 6, 0, 1},   {2, 67, 62, 0, 9}, {2, 100, 9, 11, 2}};
    for (const auto& row : table) {
        const bit_reader reader(static_cast<signal_byte_order>(row.order), row.offset, row.length, 64, 64);
        EXPECT_EQ(reader.first_byte(), row.first) << row.offset << " " << row.length;
        EXPECT_EQ(reader.byte_count(), row.count) << row.offset << " " << row.length;
    }
}

TEST(decode, sign_encodings) {
    const struct {
        std::uint32_t encoding;
        std::uint32_t length;
        std::uint8_t bits;
        std::int8_t expected;
    } table[] = {
        {0, 4, 0xB, -5}, {1, 4, 0xB, -3}, {2, 4, 0xB, -4}, {3, 4, 0xB, -5},    {7, 4, 0xB, -5},    {2, 4, 0xF, 0},
        {1, 4, 0x8, 0},  {1, 8, 0x80, 0}, {2, 8, 0xFF, 0}, {2, 8, 0x80, -127}, {0, 8, 0x80, -128}, {1, 8, 0xFF, -127},
        {2, 4, 0x7, 7},  {0, 1, 1, -1},   {2, 1, 1, 0},    {1, 1, 1, 0},       {1, 0, 0xFF, 0},    {0, 4, 0xF7, 7},
    };
    for (type_kind raw : {type_kind::int8, type_kind::char8}) {
        for (const auto& row : table) {
            EXPECT_EQ(decode<std::int8_t>({.raw = raw, .length = row.length, .encoding = row.encoding}, {row.bits}),
                      row.expected)
                << row.encoding << " " << row.length << " " << int{row.bits};
        }
    }
    EXPECT_EQ(decode<std::int64_t>({.raw = type_kind::int64, .length = 64, .encoding = 1}, le(0x8000000000000005)), -5);
    EXPECT_EQ(decode<std::int64_t>({.raw = type_kind::int64, .length = 64, .encoding = 2}, le(~std::uint64_t{4})), -4);
}

TEST(decode, linear) {
    const signal_options options = {.converted = type_kind::float32,
                                    .raw = type_kind::uint16,
                                    .offset = 4,
                                    .length = 12,
                                    .c = {0, 0.5, -40, 0, 0, 1}};
    const bytes source = {0x3A, 0xC1};
    EXPECT_EQ(decode<float>(options, source), 1505.5F);
    EXPECT_EQ(decode<double>(options, source), 1505.5);
    EXPECT_EQ(decode<std::int32_t>(options, source), 1505);
    EXPECT_EQ(decode<std::uint8_t>(options, source), 225);
    const signal_options tenth = {.c = {0, 0.1, 0, 0, 0, 1}};
    EXPECT_EQ(decode<double>(tenth, {3}), 0.30000000000000004);
    EXPECT_EQ(decode<std::int32_t>(tenth, {3}), 0);
    const signal_options negated = {.raw = type_kind::uint8, .c = {0, -1, 0, 0, 0, 1}};
    EXPECT_EQ(decode<std::uint64_t>(negated, {1}), 0xFFFFFFFFFFFFFFFFu);
    EXPECT_EQ(decode<double>({.raw = type_kind::uint64, .length = 64, .c = {0, 1, 1, 0, 0, 1}}, le(0x8000000000000401)),
              0x1p63);
}

TEST(decode, identity_keeps_the_number) {
    const signal_options minus = {.raw = type_kind::int8};
    EXPECT_EQ(decode<std::uint32_t>(minus, {0xFF}), 0xFFFFFFFFu);
    EXPECT_EQ(decode<double>(minus, {0xFF}), -1.0);
    const signal_options wide = {.raw = type_kind::uint64, .length = 64};
    EXPECT_EQ(decode<std::uint8_t>(wide, le(0xFFFFFFFFFFFFFF07)), 7);
    EXPECT_EQ(decode<double>(wide, le(0x8000000000000401)), 0x1p63 + 2048); // rounded once
    EXPECT_EQ(decode<float>(wide, le(0xFFFFFFFFFFFFFFFF)), 0x1p64F);
}

TEST(decode, kinds_outside_the_eleven_read_the_own_kind) {
    const auto type = make({.converted = type_kind::int16, .raw = type_kind::int8});
    for (type_kind kind : {type_kind::boolean, type_kind{0x6006}, type_kind{0}, type_kind::structure}) {
        bytes result(4, 0xEE);
        type->decode(kind, result.data(), bytes{0xFF}.data());
        EXPECT_EQ(result, (bytes{0xFF, 0xFF, 0xEE, 0xEE}));
    }
}

TEST(decode, rational) {
    const signal_options pole = {.c = {0, 1, 0, 0, 0, 0}};
    EXPECT_EQ(decode<std::int32_t>(pole, {5}), 0);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(decode<double>(pole, {5})), 0x7FF8000000000000u);
    EXPECT_EQ(std::bit_cast<std::uint32_t>(decode<float>(pole, {5})), 0x7FC00000u);
    // (x^2 + 2x + 3) / (x^2 / 2 + x / 4 + 1) at 4: 27 / 10
    EXPECT_EQ(decode<double>({.c = {1, 2, 3, 0.5, 0.25, 1}}, {4}), 2.7);
    // The constant is added last: the squares cancel first, and 1 is not lost in them.
    EXPECT_EQ(decode<double>({.c = {1e20, -4e20, 1, 0, 0, 2}}, {4}), 0.5);
    EXPECT_TRUE(std::isnan(decode<double>({.c = {0, 1, 0, 0, 0, std::nan("")}}, {4})));
}

TEST(decode, raw_reals) {
    const signal_options single = {.raw = type_kind::float32, .length = 32, .c = {0, 2, 1, 0, 0, 1}};
    EXPECT_EQ(decode<double>(single, le(std::bit_cast<std::uint32_t>(1.5F))), 4.0);
    const bytes infinity = le(0x7F800000, 4);
    EXPECT_EQ(std::bit_cast<std::uint32_t>(decode<float>(single, infinity)), 0x7FC00000u);
    EXPECT_EQ(std::bit_cast<std::uint64_t>(decode<double>(single, infinity)), 0x7FF8000000000000u);
    EXPECT_EQ(decode<std::uint32_t>(single, infinity), 0u);
    EXPECT_EQ(decode<std::int32_t>(single, infinity), std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(decode<std::int16_t>(single, infinity), 0);
    // Rounded to float before it is cut: 33554434 + 1 has no float.
    EXPECT_EQ(decode<std::int32_t>(single, le(std::bit_cast<std::uint32_t>(16777217.0F))), 33554432);
    const signal_options twice = {.raw = type_kind::float64, .length = 64};
    EXPECT_EQ(decode<std::uint64_t>(twice, le(std::bit_cast<std::uint64_t>(1e300))), 0x8000000000000000u);
    EXPECT_EQ(decode<float>(twice, le(std::bit_cast<std::uint64_t>(0.1))), 0.1F);
    const signal_options pole = {.raw = type_kind::float32, .length = 32, .c = {0, 1, 0, 0, 0, 0}};
    EXPECT_EQ(decode<std::int32_t>(pole, le(0)), std::numeric_limits<std::int32_t>::min()); // NaN first, then cut
    // Of more bits than the variable has, the low ones count.
    EXPECT_EQ(decode<float>({.raw = type_kind::float32, .length = 33}, le(0xFFFFFFFF3F800000)), 1.0F);
    bytes result(6, 0xEE);
    make({.raw = type_kind::float32, .length = 200})->read_bits(result.data(), bytes(25, 0x11).data());
    EXPECT_EQ(result, (bytes{0x11, 0x11, 0x11, 0x11, 0xEE, 0xEE}));
}

// The destination after `value` was encoded as its own kind; it held `before`.
template<typename T>
bytes encode(const signal_options& options, T value, const bytes& before, type_kind kind = scalar_of<T>().kind) {
    bytes result = before;
    make(options)->encode(kind, reinterpret_cast<const std::uint8_t*>(&value), result.data());
    return result;
}

TEST(encode, integers) {
    const signal_options u8 = {.raw = type_kind::uint8};
    const signal_options u16 = {.raw = type_kind::uint16, .length = 16};
    EXPECT_EQ(encode<std::int8_t>(u8, -1, {0x00}), bytes{0xFF});
    EXPECT_EQ(encode<std::uint16_t>(u16, 1, {0x80, 0x80}), (bytes{0x81, 0x00})); // old bits of the first byte stay
    EXPECT_EQ(encode<std::int64_t>(u16, 0x12345678, {0, 0}), (bytes{0x78, 0x56}));
    EXPECT_EQ(encode<std::uint8_t>({.raw = type_kind::uint8, .length = 4}, 15, {0x00}), bytes{0x00});
    EXPECT_EQ(encode<std::uint16_t>({.raw = type_kind::uint16, .length = 12}, 0xFFF, {0, 0}), (bytes{0xFF, 0}));
    // The offset counts in the value; beyond it are zeros.
    EXPECT_EQ(encode<std::uint16_t>({.raw = type_kind::uint16, .offset = 4, .length = 16}, 0xABCD, {0, 0}),
              (bytes{0xBC, 0x0A}));
    EXPECT_EQ(encode<std::uint8_t>({.order = 7}, 1, {0}), bytes{0});
    // A kind outside the table stands for the converted one, which may be a real.
    EXPECT_EQ(encode<double>({.converted = type_kind::float64, .raw = type_kind::int16, .length = 16}, 2.9, {0, 0},
                             type_kind::boolean),
              (bytes{2, 0}));
}

TEST(encode, sign_encodings) {
    const struct {
        type_kind raw;
        std::uint32_t length;
        std::uint32_t encoding;
        std::int64_t value;
        std::uint64_t expected;
    } table[] = {
        {type_kind::int8, 8, 1, -3, 0x83},
        {type_kind::int8, 8, 2, -3, 0x02},
        {type_kind::int8, 8, 0, -3, 0x83},
        {type_kind::int8, 8, 1, 3, 0x03},
        {type_kind::char8, 8, 3, -128, 0x00},
        {type_kind::int16, 16, 2, -3, 0x0002},
        {type_kind::int16, 8, 2, -5, 0x04},
        {type_kind::int16, 8, 1, -5, 0x85},
        {type_kind::int32, 32, 2, -3, 0xFFFFFFFD}, // the mask is 0 at full length
        {type_kind::int64, 64, 2, -3, 0xFFFFFFFFFFFFFFFD},
        {type_kind::int64, 32, 2, -3, 0x00000002},
        {type_kind::int32, 32, 0, -3, 0x80000003},
        {type_kind::int64, 64, 1, -3, 0x8000000000000003},
    };
    for (const auto& row : table) {
        const signal_options options = {.raw = row.raw, .length = row.length, .encoding = row.encoding};
        EXPECT_EQ(encode<std::int64_t>(options, row.value, bytes(row.length / 8)), le(row.expected, row.length / 8))
            << make(options)->name() << " " << row.value;
    }
}

TEST(encode, reals) {
    const signal_options single = {.raw = type_kind::float32, .length = 32, .c = {0, 2, 0, 0, 0, 1}};
    const signal_options twice = {.raw = type_kind::float64, .length = 64};
    const auto bits = [](auto value) { return std::bit_cast<std::uint64_t>(static_cast<double>(value)); };
    EXPECT_EQ(encode<float>(single, 1.5F, bytes(4)), le(0x3FC00000, 4)); // the factor is not inverted
    EXPECT_EQ(encode<float>(twice, 1.5F, bytes(8)), le(bits(1.5)));
    EXPECT_EQ(encode<std::int8_t>(twice, -3, bytes(8)), le(bits(-3)));
    EXPECT_EQ(encode<std::uint64_t>(twice, 0x8000000000000401, bytes(8)), le(bits(0x1p63)));
    // A double is taken by its first four bytes.
    EXPECT_EQ(encode<double>(twice, std::bit_cast<double>(std::uint64_t{0x400000003FC00000}), bytes(8)), le(bits(1.5)));
    EXPECT_EQ(encode<double>({.converted = type_kind::float64, .raw = type_kind::float64, .length = 64}, 0.1, bytes(8),
                             type_kind::boolean),
              le(bits(0.1)));
}

TEST(encode, refuses) {
    const std::string conversion = "conversion type not supported";
    const std::string real = "specificed encoding not supported";
    const auto failure = [](const signal_options& options, type_kind kind) {
        const bytes source(8, 1);
        bytes destination(8, 0xEE);
        const std::string text =
            thrown<std::runtime_error>([&] { make(options)->encode(kind, source.data(), destination.data()); });
        EXPECT_EQ(destination, bytes(8, 0xEE));
        return text;
    };
    EXPECT_EQ(failure({.c = {0, 2, 0, 0, 0, 1}}, type_kind::uint8), conversion);
    EXPECT_EQ(failure({.c = {0, 2, 0, 0, 0, 1}}, type_kind::boolean), conversion);
    EXPECT_EQ(failure({.c = {0, 2, 0, 0, 0, 1}}, type_kind::float32), real);
    EXPECT_EQ(failure({}, type_kind::float64), real);
    EXPECT_EQ(failure({.raw = type_kind::float32}, type_kind::float64), real);
    EXPECT_EQ(failure({.order = 1}, type_kind::uint8), "big endian signal encoding not supported");
    EXPECT_EQ(failure({.order = 2}, type_kind::uint8), "inconsistent big endian signal encoding not supported");
}

TEST(bit_writer, words_have_64_bits_and_the_rest_is_zero) {
    std::uint64_t word = 0;
    set_bit(word, 63);
    EXPECT_EQ(word, 0x8000000000000000u);
    EXPECT_EQ(thrown<std::out_of_range>([&] { set_bit(word, 64); }), "invalid bitset<N> position");
    bytes destination(10, 0xEE);
    const double value = 1.0;
    make({.raw = type_kind::float64, .length = 72})
        ->write_bits(destination.data(), reinterpret_cast<const std::uint8_t*>(&value));
    EXPECT_EQ(destination, (bytes{0xEE, 0, 0, 0, 0, 0, 0xF0, 0x3F, 0x00, 0xEE}));
}

} // namespace
