// The fast decoder against the plain one, over all 121 types.
#include <random>

#include <gtest/gtest.h>

#include "introspection/xtypes/signal/bit_reader.hpp"
#include "tests/introspection/decode_comparison.hpp"

namespace {

using namespace tavi::test;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

constexpr signal_coefficients coefficient_sets[] = {
    {},
    {0, 0.5, -40, 0, 0, 1},
    {0, 0.1, 0, 0, 0, 1},
    {0, -1, 0, 0, 0, 1},
    {0, nan, 0, 0, 0, 1},
    {0.001, 0.1, -3, 1e-4, 0.7, 2},
    {0, 1, 0, 0, 1, -1}, // a pole at 1
    {0, 1, 0, 0, 0, 0},
    {1, 1, 1, nan, 0, 1},
};

// Every kind that has a path of its own, and some that read the signal's own kind.
std::vector<type_kind> output_kinds() {
    std::vector<type_kind> kinds = {type_kind::boolean, type_kind::float128, type_kind{0},
                                    type_kind{1},       type_kind{0x6006},   type_kind{0xFFFFFFFF}};
    any_scalar([&kinds](const auto& scalar) {
        kinds.push_back(scalar.kind);
        return false;
    });
    return kinds;
}

// Calls visit with a value of each of the eleven C types and its kind.
template<typename Visit>
void for_each_scalar(Visit&& visit) {
    any_scalar([&visit](const auto& scalar) {
        visit(typename std::remove_cvref_t<decltype(scalar)>::type{}, scalar.kind);
        return testing::Test::HasFatalFailure();
    });
}

class decode_differential : public testing::Test {
protected:
    std::uint32_t below(std::uint32_t limit) { return static_cast<std::uint32_t>(random_() % limit); }

    // Random bytes alone would hardly ever make a NaN, a full register or the pole of a fraction.
    std::vector<std::uint8_t> random_payload(std::size_t size) {
        static constexpr std::uint8_t patterns[] = {0x00, 0xFF, 0x80, 0x7F, 0x01};
        const std::uint32_t choice = below(2 * std::size(patterns));
        std::vector<std::uint8_t> payload(size, patterns[choice % std::size(patterns)]);
        for (std::size_t i = 0; choice >= std::size(patterns) && i < size; ++i) {
            payload[i] = static_cast<std::uint8_t>(random_());
        }
        return payload;
    }

    template<typename Raw>
    void compare(type_kind converted, std::uint32_t bit_offset, std::uint32_t bit_length,
                 const std::vector<type_kind>& kinds) {
        static constexpr std::uint8_t orders[] = {0, 2, 0, 2, 0, 2, 1, 9};
        static constexpr std::uint32_t encodings[] = {0, 1, 2, 3, 7};
        const signal_coefficients& coefficients = coefficient_sets[below(std::size(coefficient_sets))];
        const signal_byte_order order{orders[below(std::size(orders))]};
        const signal_encoding encoding{encodings[below(std::size(encodings))]};
        const signal_parameters signal{scalar_of<Raw>().kind,       order, bit_offset, bit_length, coefficients,
                                       conversion_of(coefficients), "",    encoding};
        const std::vector<std::uint8_t> payload = random_payload(touched_size(signal));
        const bit_reader reader(order, bit_offset, bit_length, 8 * sizeof(Raw), 8 * sizeof(Raw));
        ASSERT_LE(reader.first_byte() + reader.byte_count(), payload.size()); // nothing stands behind it
        const std::shared_ptr<dynamic_type> type = make_type(converted, signal);
        ASSERT_NE(type, nullptr);
        for (const type_kind kind : kinds) {
            ASSERT_EQ(compare_decoding<Raw>(*type, signal, kind, payload.data()), "");
        }
        const auto& bits = dynamic_cast<const signal_type_base&>(*type);
        ASSERT_EQ(compare_read_bits<Raw>(bits, signal, payload.data()), "");
    }

    std::mt19937_64 random_{20240229};
    const std::vector<type_kind> kinds_ = output_kinds();
};

TEST_F(decode_differential, all_types_with_random_signals) {
    for_each_scalar([&](auto raw, type_kind) {
        for_each_scalar([&](auto, type_kind converted) {
            for (int i = 0; i < 120 && !HasFatalFailure(); ++i) {
                // Reals take longer signals than they can hold.
                const std::uint32_t longest = (std::is_floating_point_v<decltype(raw)> ? 64 : 8) * sizeof(raw);
                compare<decltype(raw)>(converted, below(i % 4 == 0 ? 600 : 131), below(longest + 1), kinds_);
            }
        });
    });
}

TEST_F(decode_differential, all_offsets_and_lengths) {
    for_each_scalar([&](auto raw, type_kind kind) {
        for (std::uint32_t offset = 0; offset <= 130 && !HasFatalFailure(); ++offset) {
            for (std::uint32_t length = 0; length <= 8 * sizeof(raw) && !HasFatalFailure(); ++length) {
                compare<decltype(raw)>(kind, offset, length, {kinds_[below(17)]});
            }
        }
    });
}

} // namespace
