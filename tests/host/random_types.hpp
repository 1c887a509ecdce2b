// Types as descriptions make them, and stranger ones, by chance.
#ifndef TESTS_HOST_RANDOM_TYPES_HPP
#define TESTS_HOST_RANDOM_TYPES_HPP

#include <bit>
#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <random>
#include <string>

#include "introspection/xtypes/alias_type.hpp"
#include "introspection/xtypes/array_type.hpp"
#include "introspection/xtypes/primitive_type.hpp"
#include "introspection/xtypes/signal/make_signal_type.hpp"
#include "introspection/xtypes/string_type.hpp"
#include "introspection/xtypes/struct_type.hpp"

namespace tavi::test {

using namespace qor::introspection::xtypes;

class random_types {
public:
    // plain_only: types that a record_plan takes, with offsets that fit a short record
    random_types(unsigned seed, bool plain_only) : random_(seed), plain_only_(plain_only) {}

    std::uint64_t below(std::uint64_t end) { return std::uniform_int_distribution<std::uint64_t>(0, end - 1)(random_); }
    bool one_in(std::uint64_t count) { return below(count) == 0; }

    std::shared_ptr<dynamic_type> signal() {
        const type_kind raw = kind();
        // Most signals present what is stored or a double.
        const type_kind converted = one_in(3) ? kind() : one_in(2) ? raw : type_kind::float64;
        const auto bits = static_cast<std::uint32_t>(8 * primitive_size(raw));
        const std::uint32_t length = one_in(3) ? bits : static_cast<std::uint32_t>(below(bits + 1));
        const auto order = static_cast<signal_byte_order>(one_in(20) ? below(5) : 2 * below(2));
        std::uint32_t offset = one_in(4) ? 0 : static_cast<std::uint32_t>(below(70));
        if (order == signal_byte_order::inconsistent_big_endian && !one_in(10) && offset != 0) {
            offset += (length + 7) / 8 * 8; // far enough for the walk to the front
        }
        double c[6] = {0, 1, 0, 0, 0, 1};
        const bool rational = one_in(8);
        const bool linear = one_in(2);
        for (std::size_t i = 0; i < std::size(c); ++i) {
            c[i] = rational || (linear && (i == 1 || i == 2)) ? factor() : c[i];
        }
        std::shared_ptr<dynamic_type> result;
        make_signal_type(converted, raw, result, order, offset, length, c[0], c[1], c[2], c[3], c[4], c[5],
                         one_in(2) ? name() : "", static_cast<signal_encoding>(one_in(30) ? 7 : below(4)));
        return result;
    }

    std::shared_ptr<dynamic_type> any(int depth) {
        switch (depth <= 0 ? 0 : below(plain_only_ ? 6 : 10)) {
        case 4:
            return std::make_shared<array_type>(*any(depth - 1), below(4));
        case 5:
            return structure(depth - 1);
        case 6:
            return std::make_shared<alias_type>(name(), *any(depth - 1));
        case 7:
            return std::make_shared<string_type>(below(5));
        case 8:
            return std::make_shared<primitive_type<std::uint64_t>>(type_kind::uint64, name());
        default:
            return signal();
        }
    }

    std::shared_ptr<struct_type> structure(int depth) {
        auto result = std::make_shared<struct_type>(name());
        for (std::uint64_t i = 0, count = below(6); i < count; ++i) {
            result->add_member_at({"m" + std::to_string(i) + name(), any(depth).get()}, below(12), 0, false);
        }
        result->set_memory_size(plain_only_ ? below(40) : random_());
        if (!plain_only_ && one_in(4)) {
            annotation_type kind("measurement" + name());
            kind.add_parameter("view", string_type(0))
                .add_parameter("cycle", *primitive_type<std::uint32_t>::instance())
                .add_parameter("address", *primitive_type<std::uint64_t>::instance());
            result->add_annotation(applied_annotation(kind)
                                       .apply_parameter("view", name())
                                       .apply_parameter("cycle", static_cast<std::uint32_t>(random_()))
                                       .apply_parameter("address", std::uint64_t{random_()} << 32));
        }
        return result;
    }

private:
    template<typename Value>
    Value one_of(std::initializer_list<Value> values) {
        return values.begin()[below(values.size())];
    }
    type_kind kind() {
        using enum type_kind;
        return one_of({char8, int8, uint8, int16, uint16, int32, uint32, int64, uint64, float32, float64});
    }
    double factor() {
        if (!plain_only_ && one_in(2)) {
            const double any = std::bit_cast<double>(std::uniform_int_distribution<std::uint64_t>()(random_));
            return one_in(10) ? one_of({std::nan(""), HUGE_VAL, -HUGE_VAL}) : std::isfinite(any) ? any : 0;
        }
        return one_of({0.1, 0.25, 0.01, -1.0, 2.0, -40.0, 1e-7, 1.0 / 3, 1e22, 0.0, -0.0, 5e-324,
                       1.7976931348623157e308, 655.35});
    }
    std::string name() { return one_of({"", "Speed", "km/h", "\xC2\xB0K", "a\"b\\c", "tab\there", "x_1"}); }

    std::mt19937 random_;
    bool plain_only_;
};

} // namespace tavi::test

#endif
