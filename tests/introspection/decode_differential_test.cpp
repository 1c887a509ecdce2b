// The fast decoder against the plain one, over all 121 types.
#include <random>

#include <gtest/gtest.h>

#include "tests/introspection/decode_comparison.hpp"

namespace {

using namespace tavi::test;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

constexpr signal_coefficients coefficient_sets[] = {
    {},
    {},
    {0, 0.5, -40, 0, 0, 1},
    {0, 0.1, 0, 0, 0, 1},
    {0, -1, 0, 0, 0, 1},
    {0, 1e300, 1, 0, 0, 1},
    {0, 1e17, -3, 0, 0, 1},
    {0, nan, 0, 0, 0, 1},
    {0, infinity, 0, 0, 0, 1},
    {0, 3, 7, 0, 0.25, 1},
    {0.001, 0.1, -3, 1e-4, 0.7, 2},
    {0, 1, 0, 0, 1, -1}, // a pole at 1
    {0, 1, 0, 0, 0, 0},
    {1, 1, 1, nan, 0, 1},
    {1, 0, 0, 0, 0, 1e-9},
};

// Every kind that has a path of its own, and some that read the signal's own kind.
std::vector<type_kind> output_kinds() {
    std::vector<type_kind> kinds = {type_kind::boolean, type_kind::float128,  type_kind::wide_char,
                                    type_kind{0},       type_kind{1},         type_kind{0x6006},
                                    type_kind{0x4082},  type_kind{0xFFFFFFFF}};
    any_scalar([&kinds](const auto& scalar) {
        kinds.push_back(scalar.kind);
        return false;
    });
    return kinds;
}

class decode_differential : public testing::Test {
protected:
    std::uint32_t below(std::uint32_t limit) { return static_cast<std::uint32_t>(random_() % limit); }

    void fill_payload() {
        // Random bytes alone would hardly ever make a NaN, a full register or the pole of a fraction.
        static constexpr std::uint8_t patterns[] = {0x00, 0xFF, 0x80, 0x7F, 0x01};
        payload_.unlock();
        const std::uint32_t choice = below(10);
        for (std::size_t i = 0; i < payload::capacity(); ++i) {
            payload_.bytes()[i] = choice < 5 ? patterns[choice] : static_cast<std::uint8_t>(random_());
        }
    }

    template<typename Raw>
    signal_parameters random_signal(std::uint32_t bit_offset, std::uint32_t bit_length) {
        static constexpr std::uint8_t orders[] = {0, 2, 0, 2, 0, 2, 1, 9};
        static constexpr std::uint32_t encodings[] = {0, 1, 2, 3, 7};
        signal_parameters signal{scalar_of<Raw>().kind,
                                 static_cast<signal_byte_order>(orders[below(std::size(orders))]),
                                 bit_offset,
                                 bit_length,
                                 coefficient_sets[below(std::size(coefficient_sets))],
                                 signal_conversion::identity,
                                 "",
                                 static_cast<signal_encoding>(encodings[below(std::size(encodings))])};
        signal.conversion = conversion_of(signal.coefficients);
        return signal;
    }

    template<typename Raw>
    void compare(type_kind converted, const signal_parameters& signal, const std::vector<type_kind>& kinds) {
        fill_payload();
        const std::shared_ptr<dynamic_type> type = make_type(converted, signal);
        ASSERT_NE(type, nullptr);
        const std::uint8_t* const source = payload_.lock(signal);
        for (type_kind kind : kinds) {
            ASSERT_EQ(compare_decoding<Raw>(*type, signal, kind, source), "");
        }
        ASSERT_EQ(compare_read_bits<Raw>(dynamic_cast<const signal_type_base&>(*type), signal, source), "");
    }

    std::mt19937_64 random_{20240229};
    payload payload_;
};

// Calls visit with a value of each of the eleven C types.
template<typename Visit>
void for_each_scalar(Visit&& visit) {
    any_scalar([&visit](const auto& scalar) {
        visit(typename std::remove_cvref_t<decltype(scalar)>::type{}, scalar.kind);
        return false;
    });
}

TEST_F(decode_differential, all_types_with_random_signals) {
    const std::vector<type_kind> kinds = output_kinds();
    for_each_scalar([&](auto raw, type_kind) {
        using Raw = decltype(raw);
        for_each_scalar([&](auto, type_kind converted) {
            for (int i = 0; i < 120 && !HasFatalFailure(); ++i) {
                compare<Raw>(converted, random_signal<Raw>(below(131), below(8 * sizeof(Raw) + 1)), kinds);
            }
        });
    });
}

TEST_F(decode_differential, all_offsets_and_lengths) {
    const std::vector<type_kind> kinds = output_kinds();
    for_each_scalar([&](auto raw, type_kind) {
        using Raw = decltype(raw);
        // Reals take longer signals than they can hold.
        const std::uint32_t longest = std::is_floating_point_v<Raw> ? 64 : 8 * sizeof(Raw);
        for (std::uint32_t offset = 0; offset <= 130 && !HasFatalFailure(); ++offset) {
            for (std::uint32_t length = 0; length <= longest && !HasFatalFailure(); ++length) {
                compare<Raw>(scalar_of<Raw>().kind, random_signal<Raw>(offset, length), {kinds[below(19)]});
            }
        }
    });
}

TEST_F(decode_differential, reals_of_up_to_512_bits) {
    for (int i = 0; i < 3000 && !HasFatalFailure(); ++i) {
        compare<float>(type_kind::float32, random_signal<float>(below(512), below(257)), {type_kind::float64});
        compare<double>(type_kind::float64, random_signal<double>(below(512), below(513)), {type_kind::float64});
    }
}

} // namespace
